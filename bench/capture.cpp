// The capture library's sampler on this machine, in real time:
//  1. sample-period error and jitter (a simulated line that timestamps every look);
//  2. CPU time while the real library waits for a first edge on an idle pseudo-terminal;
//  3. time from a frame's end to the capture call's return, against a full buffer.

#include "io/capture_library.h"
#include "io/pty_pair.h"
#include "ir/analysis.h"
#include "ir/codec.h"
#include "ir/protocols.h"
#include "serpulse/pulse_engine.h"
#include "serpulse/system_line.h"
#include "support/fakes.h"

#include "played_line.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdio>
#include <fcntl.h>
#include <string>
#include <sys/resource.h>
#include <unistd.h>
#include <vector>

using namespace quenix;

namespace {

serpulse::SystemTimebase gTime;
using bench::PlayedLine;

double CpuSeconds() {
    rusage u{};
    ::getrusage(RUSAGE_SELF, &u);
    return static_cast<double>(u.ru_utime.tv_sec + u.ru_stime.tv_sec) +
           static_cast<double>(u.ru_utime.tv_usec + u.ru_stime.tv_usec) / 1e6;
}

void SamplePeriod() {
    std::printf("1. Sample period (600-byte capture of a 5.5 ms square wave, every look timestamped; us)\n");
    std::printf("   %-9s %-8s %-10s %-8s %-10s %-10s %-10s %s\n", "PROCDELAY", "period", "mean", "error", "off(sd)",
                "|off| p50", "|off| p99", "missed (filled in)");
    std::string square;
    for (int i = 0; i < 80; ++i) square += "1111100000";
    for (int delay : {0, 20, 40, 70}) {
        const double nominal = static_cast<double>(serpulse::SamplePeriodNs(delay)) / 1000.0;
        PlayedLine line(gTime, square, 550, gTime.nowNs());
        serpulse::Sampler sampler(line, gTime);
        std::vector<std::uint8_t> buffer(600, 0);
        serpulse::Sampler::Request r;
        r.buffer = buffer.data();
        r.length = 600;
        r.procDelay = delay;
        r.acceptMarkAtStart = true;
        sampler.capture(r);
        // The first look found the carrier; every later look is a sample taken at its
        // scheduled time, or late (the samples it missed are then filled in, not looked at).
        std::vector<std::int64_t> t(line.looks.begin() + 1, line.looks.end());
        const double p = nominal * 1000;
        std::vector<double> lateness; // us off the nearest sample time
        for (std::int64_t look : t) {
            const double d = static_cast<double>(look - t[0]);
            lateness.push_back((d - std::round(d / p) * p) / 1000.0);
        }
        double sum = 0, sum2 = 0;
        for (double v : lateness) {
            sum += v;
            sum2 += v * v;
        }
        const double n = static_cast<double>(lateness.size());
        const double mean = sum / n;
        const double sd = std::sqrt(std::max(0.0, sum2 / n - mean * mean));
        const double span = static_cast<double>(t.back() - t[0]) / 1000.0;
        const double samples = std::floor(span / nominal) + 1;
        std::sort(lateness.begin(), lateness.end(), [](double a, double b) { return std::fabs(a) < std::fabs(b); });
        std::printf("   %-9d %-8.2f %-10.3f %-8.3f %-10.3f %-10.2f %-10.2f %.0f of %.0f\n", delay, nominal,
                    span / (samples - 1), span / (samples - 1) - nominal, sd, std::fabs(lateness[lateness.size() / 2]),
                    std::fabs(lateness[lateness.size() * 99 / 100]), std::max(0.0, samples - n), samples);
    }
}

void IdleCpu() {
    std::printf("\n2. CPU time while waiting for a first edge (the real library, an idle pseudo-terminal)\n");
    testing::TempDir folder;
    testing::PtyPair pty;
    pty.linkAs(folder.path(), 1);
    const int slave = ::open(folder.file("com1").c_str(), O_RDWR | O_NOCTTY);
    if (slave < 0) {
        std::printf("   no pseudo-terminal\n");
        return;
    }
    char exe[PATH_MAX] = {};
    ssize_t len = ::readlink("/proc/self/exe", exe, sizeof exe - 1);
    std::string bin = std::string(exe, static_cast<std::size_t>(std::max<ssize_t>(len, 0)));
    bin = bin.substr(0, bin.rfind('/')) + "/../bin";
    auto library = MakeCaptureLibrary(bin);
    if (!library->SetHandle(slave)) {
        std::printf("   %s\n", library->error().c_str());
        return;
    }
    std::vector<std::uint8_t> buffer(600, 0);

    double wall0 = static_cast<double>(gTime.nowNs()) / 1e9, cpu0 = CpuSeconds();
    auto got = library->IRRecord(buffer.data(), 20, 600);
    double wall = static_cast<double>(gTime.nowNs()) / 1e9 - wall0, cpu = CpuSeconds() - cpu0;
    std::printf("   IRRecord, no signal:     returned %d after %.3f s, CPU %.3f s (%.2f %% of one core)\n",
                got.value_or(-1), wall, cpu, 100 * cpu / wall);

    wall0 = static_cast<double>(gTime.nowNs()) / 1e9;
    cpu0 = CpuSeconds();
    int calls = 0;
    while (static_cast<double>(gTime.nowNs()) / 1e9 - wall0 < 2.0) {
        library->IRMonitor(buffer.data(), 20);
        ++calls;
    }
    wall = static_cast<double>(gTime.nowNs()) / 1e9 - wall0;
    cpu = CpuSeconds() - cpu0;
    std::printf("   IRMonitor, no signal:    %d calls in %.3f s, CPU %.3f s (%.2f %% of one core)\n", calls, wall, cpu,
                100 * cpu / wall);
    // The floor: the same number of bare 1 ms sleeps, nothing looked at.
    wall0 = static_cast<double>(gTime.nowNs()) / 1e9;
    cpu0 = CpuSeconds();
    for (int i = 0; i < 2000; ++i) gTime.sleepNs(1'000'000);
    wall = static_cast<double>(gTime.nowNs()) / 1e9 - wall0;
    cpu = CpuSeconds() - cpu0;
    std::printf("   bare 1 ms sleeps:        2000 in %.3f s, CPU %.3f s (%.2f %% of one core)\n", wall, cpu,
                100 * cpu / wall);
    library->SetHandle(0);
    ::close(slave);
}

std::string Encode(int protocol, const std::string& bits, int repeat) {
    ProtocolHeader h = HeaderFromPreset(protocol);
    if (repeat >= 0) h.repeat = repeat;
    std::string code = "G" + bits;
    bool toggle = false;
    return EncodeCommand(code, h, toggle);
}

void FrameEndToReturn() {
    std::printf("\n3. From the last carrier to the capture's return (PROCDELAY 20: 55 us, full buffer 264 ms)\n");
    std::printf("   %-34s %-10s %-16s %-18s %-10s %-8s\n", "signal", "ms", "return after ms", "full buffer after",
                "CPU ms", "decoded");
    std::printf("   (medians of 5 trials; a trial decodes when the monitor path finds the frame sent)\n");
    const std::string nec = "00100000110111110001000011101111";
    const std::string necFrame = Encode(kProtoNec, nec, 0);
    struct Case {
        const char* name;
        std::string cells;
        double cellUs;
        std::string bits;
    };
    const Case cases[] = {
        {"NEC frame alone", necFrame, 550, nec},
        {"NEC frame + repeat burst", necFrame + std::string(72, '0') + "111111111111111100001", 550, nec},
        {"SONY 12 bit, 5 sequences (encoder)", Encode(kProtoSony, "101010010000", -1), 550, "101010010000"},
        {"RC5, 2 frames (encoder gap)", Encode(kProtoRc5, "11010110001101", -1).substr(0, 220), 850, ""},
    };
    constexpr int kTrials = 5;
    for (const Case& c : cases) {
        std::vector<double> after, cpu;
        int decoded = 0;
        double signalMs = 0;
        for (int trial = 0; trial < kTrials; ++trial) {
            const std::int64_t start = gTime.nowNs() + 2'000'000;
            PlayedLine line(gTime, c.cells, c.cellUs, start);
            serpulse::Sampler sampler(line, gTime);
            std::vector<std::uint8_t> buffer(600, 0);
            serpulse::Sampler::Request r;
            r.buffer = buffer.data();
            r.length = 600;
            r.procDelay = 20;
            const double cpu0 = CpuSeconds();
            const int ok = sampler.capture(r);
            const std::int64_t returned = gTime.nowNs();
            cpu.push_back((CpuSeconds() - cpu0) * 1000);
            signalMs = static_cast<double>(line.lastCarrierEndNs() - start) / 1e6;
            after.push_back(static_cast<double>(returned - line.lastCarrierEndNs()) / 1e6);
            MonitorFrame f = ExtractFrame(buffer);
            if (ok && !f.frame.empty() && (c.bits.empty() || f.frame == c.bits)) ++decoded;
        }
        std::sort(after.begin(), after.end());
        std::sort(cpu.begin(), cpu.end());
        const double fullMs = 4800 * 0.055 - signalMs;
        char full[32];
        if (fullMs > 0)
            std::snprintf(full, sizeof full, "%.0f ms", fullMs);
        else
            std::snprintf(full, sizeof full, "(fills it)");
        std::printf("   %-34s %-10.0f %-16.1f %-18s %-10.0f %d/%d\n", c.name, signalMs, after[kTrials / 2], full,
                    cpu[kTrials / 2], decoded, kTrials);
    }
}

} // namespace

int main() {
    SamplePeriod();
    IdleCpu();
    FrameEndToReturn();
    return 0;
}
