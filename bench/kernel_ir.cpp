// Kernel infrared devices on this machine:
//  1. decoding exactness: every shipped key as mode2 words with timing jitter, through the
//     device's capture into the monitoring path's decoder;
//  2. key latency: from the end of the last frame the monitoring path needs to the action,
//     on a FIFO fed in real time, beside the serial path's sampler on a line played in real time;
//  3. idle CPU of the running program, measured from outside: monitoring a FIFO, not
//     monitoring, and monitoring a pseudo-terminal through the 1 ms poll.
//
// Run from the source tree: bench/kernel_ir [path to telvorin.cfg [table]]

#include "io/capture_library.h"
#include "io/kernel_ir_device.h"
#include "io/pty_pair.h"
#include "io/receiver_controller.h"
#include "io/serial_port.h"
#include "ir/codec.h"
#include "ir/decoder.h"
#include "core/clock.h"
#include "monitor/monitor_engine.h"
#include "serpulse/system_line.h"
#include "support/fakes.h"
#include "support/learned_keys.h"

#include "live_fifo.h"
#include "played_line.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <linux/serial.h>
#include <sys/ioctl.h>
#include <poll.h>
#include <random>
#include <spawn.h>
#include <sstream>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

extern char** environ;

using namespace quenix;
using namespace quenix::testing;

using namespace bench;

namespace {

void Exactness(const std::string& text) {
    std::printf("1. Every shipped key as mode2 words, each duration off by up to the jitter (uniform),\n"
                "   captured from a socket by the device code and decoded by the monitoring path\n");
    std::printf("   %-14s %-8s %-7s %-10s %-10s %s\n", "device", "jitter", "keys", "trials", "recognised", "rate");
    int sv[2];
    ::socketpair(AF_UNIX, SOCK_STREAM, 0, sv);
    ::fcntl(sv[1], F_SETFL, O_NONBLOCK);
    int size = 1 << 20;
    ::setsockopt(sv[0], SOL_SOCKET, SO_SNDBUF, &size, sizeof size);
    auto system = MakeSystemKernelIr();
    KernelIrLibrary library(*system);
    library.SetHandle(sv[1]);
    const std::vector<Key> keys = ShippedKeys(text);
    std::mt19937 random(10);
    constexpr int kTrials = 1000;
    for (double jitter : {0.10, 0.20}) {
        std::vector<std::string> devices;
        for (const Key& k : keys)
            if (std::find(devices.begin(), devices.end(), k.device) == devices.end()) devices.push_back(k.device);
        for (const std::string& device : devices) {
            int trials = 0, recognised = 0, count = 0;
            for (const Key& k : keys) {
                if (k.device != device) continue;
                ++count;
                const std::vector<std::uint32_t> exact = Durations(k);
                std::uniform_real_distribution<double> off(1 - jitter, 1 + jitter);
                for (int t = 0; t < kTrials; ++t) {
                    std::vector<std::uint32_t> words{Mode2Word(false, 500000)};
                    for (std::size_t i = 0; i < exact.size(); ++i)
                        words.push_back(Mode2Word(i % 2 == 0, static_cast<std::uint32_t>(exact[i] * off(random))));
                    words.push_back(kMode2Timeout | 20000);
                    if (::write(sv[0], words.data(), words.size() * 4) != static_cast<ssize_t>(words.size() * 4))
                        return;
                    std::vector<std::uint8_t> buffer(600, 0);
                    const auto r = library.IRMonitor(buffer.data(), 20);
                    const DecodedFrame f = DecodeMonitorFrame(buffer);
                    ++trials;
                    if (r == 1 && LookupKey(text, f) == k.device + "&" + k.name) ++recognised;

                    Drain(sv[1]);
                }
            }
            std::printf("   %-14s +-%2.0f %%   %-7d %-10d %-10d %.2f %%\n", device.c_str(), jitter * 100, count, trials,
                        recognised, 100.0 * recognised / trials);
        }
    }
    ::close(sv[0]);
    ::close(sv[1]);
}


void Latency(const std::string& text) {
    std::printf("\n2. From the end of the last frame the monitoring path needs to the action (ms, medians)\n");
    std::printf("   (the serial column times every capture that returned, handled or not)\n");
    std::printf("   %-30s %-14s %-10s %-14s %s\n", "signal", "FIFO (kernel)", "handled", "serial (DCD)", "handled");
    LiveRig rig(text);
    rig.engine->Start();
    std::vector<Key> keys = ShippedKeys(rig.config);
    auto key = [&](const std::string& device, const std::string& name) {
        return *std::find_if(keys.begin(), keys.end(),
                             [&](const Key& k) { return k.device == device && k.name == name; });
    };
    Key nec = key("Set-top Box", "Ch+");
    nec.cells = nec.cells.substr(0, nec.cells.find_last_of('1') + 1) + std::string(72, '0') + "111111111111111100001";
    Key sony = key("Sony TV", "Ch+");
    Key rc5 = key("Philips Amp", "Mute");
    rc5.cells = rc5.cells.substr(0, 220);
    const std::pair<const char*, Key> cases[] = {
        {"NEC frame + repeat burst", nec}, {"SONY 12 bit (encoder)", sony}, {"RC5, 2 frames (encoder gap)", rc5}};
    constexpr int kTrials = 15;
    for (const auto& [title, k] : cases) {
        const std::vector<std::uint32_t> durations = Durations(k);
        std::vector<double> kernel, serial;
        int kernelHandled = 0, serialHandled = 0;
        for (int trial = 0; trial < kTrials; ++trial) {
            rig.actionNs = 0;
            const std::int64_t start = NowNs() + 20'000'000;
            rig.Play(durations, start, 300); // the pause also makes the next trial a new press
            if (rig.actionNs) {
                ++kernelHandled;
                kernel.push_back(
                    static_cast<double>(rig.actionNs - LastPulseEnd(k.cells, k.sendpls, start, rig.actionNs)) / 1e6);
            }
            Drain(static_cast<int>(rig.ctx.irPortHandle));

            // The serial path: the capture library's sampler on a line played in real time.
            const std::int64_t lineStart = rig.time.nowNs() + 2'000'000;
            bench::PlayedLine line(rig.time, k.cells, k.sendpls, lineStart);
            serpulse::Sampler sampler(line, rig.time);
            std::vector<std::uint8_t> buffer(600, 0);
            serpulse::Sampler::Request r;
            r.buffer = buffer.data();
            r.length = 600;
            r.procDelay = 20;
            r.edgeWaitNs = 100'000'000;
            if (sampler.capture(r)) {
                const bool handled = LookupKey(rig.config, DecodeMonitorFrame(buffer)) == k.device + "&" + k.name;
                const std::int64_t done = rig.time.nowNs();
                serialHandled += handled ? 1 : 0;
                serial.push_back(static_cast<double>(done - LastPulseEnd(k.cells, k.sendpls, lineStart, done)) / 1e6);
            }
        }
        std::printf("   %-30s %-14.1f %2d/%-7d %-14.1f %2d/%d\n", title, Median(kernel), kernelHandled, kTrials,
                    Median(serial), serialHandled, kTrials);
    }
}

void HeldKeys(const std::string& text) {
    std::printf("\n4. Presses in real time through the FIFO: actions of a key whose event does not repeat, and the\n"
                "   lircd repeat count of its last frame (a press of n frames counts 0 .. n-1)\n");
    std::printf("   %-34s %-8s %-9s %s\n", "press", "frames", "actions", "last repeat");
    std::vector<Key> keys = ShippedKeys(text);
    auto key = [&](const std::string& device, const std::string& name) {
        return FirstFrame(*std::find_if(keys.begin(), keys.end(),
                                        [&](const Key& k) { return k.device == device && k.name == name; }));
    };
    struct Row {
        const char* title;
        Key key;
        int frames;
        std::uint32_t periodUs;
        bool beforeStart;
    };
    const Row rows[] = {
        {"SONY tapped", key("Sony TV", "Ch+"), 3, 45000, false},
        {"SONY held", key("Sony TV", "Ch+"), 10, 45000, false},
        {"NEC held (frame, then bursts)", key("Set-top Box", "Ch+"), 10, 108000, false},
        {"RC5 held", key("Philips Amp", "Mute"), 10, 114000, false},
        {"SONY held, all before Start", key("Sony TV", "Ch+"), 10, 45000, true},
    };
    for (const Row& row : rows) {
        LiveRig rig(text);
        if (!row.beforeStart) rig.engine->Start();
        rig.Play(Press(row.key, row.frames, row.periodUs), NowNs() + 20'000'000, 300);
        if (row.beforeStart) {
            rig.engine->Start();
            rig.Play({}, NowNs(), 500);
        }
        std::printf("   %-34s %-8d %-9d %d\n", row.title, row.frames, rig.actions, rig.lastRepeat);
    }
}

// utime + stime of a process, in seconds.
double ProcessCpu(pid_t pid) {
    std::ifstream stat("/proc/" + std::to_string(pid) + "/stat");
    std::string all((std::istreambuf_iterator<char>(stat)), std::istreambuf_iterator<char>());
    std::istringstream fields(all.substr(all.rfind(')') + 2));
    std::string skip;
    for (int i = 3; i < 14; ++i) fields >> skip;
    double user = 0, system = 0;
    fields >> user >> system;
    return (user + system) / static_cast<double>(::sysconf(_SC_CLK_TCK));
}

// Times the process went to sleep of its own accord: one per wake-up of an idle program.
long Wakeups(pid_t pid) {
    std::ifstream status("/proc/" + std::to_string(pid) + "/status");
    for (std::string line; std::getline(status, line);)
        if (line.rfind("voluntary_ctxt_switches:", 0) == 0) return std::stol(line.substr(line.find(':') + 1));
    return 0;
}

std::string WithKey(std::string text, const std::string& key, const std::string& value) {
    const std::size_t at = text.find(key + "=");
    return text.replace(at, text.find('\r', at) - at, key + "= " + value);
}

// A UART counts its modem-line changes (TIOCGICOUNT), which is what lets the program wait on them.
bool UartAnswers(const char* path) {
    const int fd = ::open(path, O_RDWR | O_NOCTTY | O_NONBLOCK);
    serial_icounter_struct counts{};
    const bool ok = fd >= 0 && ::ioctl(fd, TIOCGICOUNT, &counts) == 0;
    if (fd >= 0) ::close(fd);
    return ok;
}

void IdleCpu(const std::string& text) {
    std::printf("\n3. CPU of the running program while no key arrives (10 s each, measured from outside)\n");
    std::printf("   (CPU in clock ticks of 10 ms: a step of 0.1 %% in 10 s; wake-ups show what the ticks blur)\n");
    std::printf("   %-44s %-10s %-13s %s\n", "state", "CPU s", "of one core", "wake-ups/s");
    const std::filesystem::path bin = std::filesystem::canonical("/proc/self/exe").parent_path() / "../bin";
    struct Row {
        const char* title;
        int comPort, itype;
        const char* monitor;
        const char* irIn = "1";
        bool keys = false; // a NEC key every 100 ms, all along
        bool pty = true;   // COM1 a pty; otherwise /dev/ttyS0 itself
    };
    const Row rows[] = {{"not monitoring, LIRC0 a FIFO", kLircPortBase, kKernelIr, "0"},
                        {"monitoring LIRC0, a FIFO (waits on it)", kLircPortBase, kKernelIr, "1"},
                        {"monitoring LIRC0, input off, no keys", kLircPortBase, kKernelIr, "1", "0"},
                        {"monitoring LIRC0, input off, 10 keys/s", kLircPortBase, kKernelIr, "1", "0", true},
                        {"monitoring COM1, a pty (1 ms poll)", 1, 0, "1"},
                        {"monitoring COM1, ttyS0 a 16550A UART (waits)", 1, 0, "1", "1", false, false}};
    const std::vector<Key> keys = ShippedKeys(text);
    const std::vector<std::uint32_t> nec = Durations(FirstFrame(keys.front()));
    for (const Row& row : rows) {
        if (!row.pty && !UartAnswers("/dev/ttyS0")) {
            std::printf("   %-44s no UART here: /dev/ttyS0 does not count its line changes\n", row.title);
            continue;
        }
        TempDir folder;
        for (const auto& f : std::filesystem::directory_iterator(bin))
            if (f.is_regular_file()) std::filesystem::copy_file(f.path(), folder.file(f.path().filename().string()));
        std::string config = WithKey(text, "COMPORT", std::to_string(row.comPort));
        config = WithKey(WithKey(config, "ITYPE", std::to_string(row.itype)), "MONITOR", row.monitor);
        folder.write("telvorin.cfg", WithKey(config, "IRINENA", row.irIn));
        const std::string fifo = folder.file("fifo").string();
        ::mkfifo(fifo.c_str(), 0600);
        std::filesystem::create_symlink(fifo, folder.file("lirc0"));
        PtyPair pty;
        if (row.pty) pty.linkAs(folder.path(), 1);

        const std::string program = folder.file("quenix").string();
        char* argv[] = {const_cast<char*>(program.c_str()), nullptr};
        std::vector<std::string> env{"QT_QPA_PLATFORM=offscreen", "SDL_AUDIODRIVER=dummy",
                                     "ASAN_OPTIONS=detect_leaks=0"};
        for (char** e = environ; *e; ++e) env.emplace_back(*e);
        std::vector<char*> envp;
        for (auto& e : env) envp.push_back(e.data());
        envp.push_back(nullptr);
        pid_t pid = 0;
        if (::posix_spawn(&pid, program.c_str(), nullptr, nullptr, argv, envp.data()) != 0) {
            std::printf("   cannot start %s\n", program.c_str());
            return;
        }
        std::this_thread::sleep_for(std::chrono::seconds(4)); // start-up
        const double cpu0 = ProcessCpu(pid);
        const long wake0 = Wakeups(pid);
        if (row.keys) {
            const int writer = ::open(fifo.c_str(), O_WRONLY | O_NONBLOCK);
            std::vector<std::uint32_t> words{Mode2Word(false, 100000)};
            for (std::size_t i = 0; i < nec.size(); ++i) words.push_back(Mode2Word(i % 2 == 0, nec[i]));
            for (int i = 0; i < 100; ++i) {
                if (::write(writer, words.data(), words.size() * 4) < 0) break;
                std::this_thread::sleep_for(std::chrono::milliseconds(100));
            }
            ::close(writer);
        } else {
            std::this_thread::sleep_for(std::chrono::seconds(10));
        }
        const double cpu = ProcessCpu(pid) - cpu0;
        const double wakeups = static_cast<double>(Wakeups(pid) - wake0) / 10;
        ::kill(pid, SIGTERM);
        int status = 0;
        ::waitpid(pid, &status, 0);
        char share[16];
        std::snprintf(share, sizeof share, "%.2f %%", cpu * 10);
        std::printf("   %-44s %-10.3f %-13s %.0f\n", row.title, cpu, share, wakeups);
    }
}

} // namespace

int main(int argc, char** argv) {
    const std::string text = TempDir::ReadFile(argc > 1 ? argv[1] : "data/telvorin.cfg");
    if (text.empty()) {
        std::fprintf(stderr, "cannot read the configuration\n");
        return 1;
    }
    // A second argument runs one table: 1 to 4.
    const int only = argc > 2 ? std::atoi(argv[2]) : 0;
    if (only == 0 || only == 1) Exactness(text);
    if (only == 0 || only == 2) Latency(text);
    if (only == 0 || only == 3) IdleCpu(text);
    if (only == 0 || only == 4) HeldKeys(text);
    return 0;
}
