// Soak: keys through the monitoring path for a long run, on the simulated serial driver and a
// scripted capture library, with the shipped events running their actions through fakes. Prints
// the memory held after warm-up and at the end, the configuration writes and the keys lost. The
// recognised keys also go to 50 clients of the lircd socket, one of which floods it with garbage.
//
// Run from the source tree: bench/soak [keys]

#include "actions/executor.h"
#include "ir/codec.h"
#include "ir/pulse_text.h"
#include "lirc/lircd_server.h"
#include "monitor/monitor_engine.h"
#include "support/rig.h"
#include "support/sim_serial.h"
#include "resident.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <sys/stat.h>
#include <unistd.h>

using namespace quenix;
using namespace quenix::testing;

namespace {

// The file's identity: a save replaces it, so its inode or time changes.
std::pair<ino_t, long> Stamp(const std::string& path) {
    struct stat st {};
    stat(path.c_str(), &st);
    return {st.st_ino, st.st_mtim.tv_nsec + st.st_mtim.tv_sec * 1'000'000'000L};
}

} // namespace

int main(int argc, char** argv) {
    const int keys = argc > 1 ? std::atoi(argv[1]) : 100'000;
    const int warmUp = keys / 10;
    BasicRig<SimClock> rig;
    rig.store.settings().irInEna = true;
    rig.store.settings().winampEna = true;
    SimSerialDriver driver(rig.clock);
    SerialPort port(driver);
    driver.port(1).inputs = 0; // a key on the air for the standard receiver
    rig.ctx.irPortHandle = port.OpenComPort(1);
    FakeCaptureLibrary library;
    FakeView view;
    ActionBackends backends;
    long actions = 0;
    backends.winamp = [&](const std::string& c) { return ++actions, "winamp " + c + " executed."; };
    CommandExecutor executor(rig.ctx, port, library, view, backends);
    MonitorEngine engine(rig.ctx, view, port, library);
    engine.hooks().execute = [&](const std::string& d, const std::string& c) { return executor.Execute(d, c); };
    constexpr int kClients = 50; // client 0 floods
    LircdServer lircd({[&] { return RemotesOfConfiguration(rig.store.text()); }, {}}, "soak");
    for (int c = 0; c < kClients; ++c) lircd.Connect(c);
    engine.hooks().keyRecognised = [&](const std::string& key, int repeat) {
        const std::size_t amp = key.find('&');
        lircd.KeyRecognised(key.substr(0, amp), key.substr(amp + 1), repeat);
    };
    const std::string garbage = std::string(3000, '\x01') + "\nSEND_ONCE nobody nothing 99\nLIST\n";
    long clientLines = 0, floods = 0;

    // Three keys in turn, each with one event in the shipped file.
    const std::pair<const char*, const char*> pressed[] = {
        {"Sony TV", "Ch+"}, {"Sony TV", "Mute"}, {"Set-top Box", "Mute"}};
    std::vector<std::vector<std::uint8_t>> captures;
    for (auto [device, command] : pressed) {
        const ProtocolHeader h = DeviceHeader(rig.store.text(), device);
        std::string code = StoredCode(rig.store.text(), device, command);
        bool toggle = false;
        captures.push_back(SampleRuns(CellsToRuns(EncodeCommand(code, h, toggle), h.sendpls), 55));
    }

    const std::string path = rig.store.path();
    auto stamp = Stamp(path);
    long writes = 0, lost = 0, warmKb = 0;
    for (int k = 0; k < keys; ++k) {
        if (k == warmUp) warmKb = ResidentKb();
        const auto& [device, command] = pressed[k % 3];
        library.captures.push_back(captures[static_cast<std::size_t>(k % 3)]);
        view.setText("RecCmd", "");
        engine.OnIRMonTimer();
        if (view.text("RecCmd") != std::string(device) + "&" + command) ++lost;
        if (auto now = Stamp(path); now != stamp) ++writes, stamp = now;
        lircd.Receive(0, garbage);
        while (lircd.RunOne()) {
        }
        if (lircd.Dropped(0)) lircd.Disconnect(0), lircd.Connect(0), ++floods; // it comes back at once
        for (int c = 1; c < kClients; ++c) {
            const std::string& out = lircd.Pending(c);
            clientLines += std::count(out.begin(), out.end(), '\n');
            lircd.Written(c, out.size());
        }
        // The fakes' own logs would grow with every key; only the program's memory counts.
        view.history.clear();
        rig.clock.sleeps.clear();
        library.captureCalls.clear();
    }
    const long endKb = ResidentKb();
    std::printf("%-34s %12s\n", "soak", "value");
    std::printf("%-34s %12d\n", "keys", keys);
    std::printf("%-34s %12ld\n", "actions run", actions);
    std::printf("%-34s %12ld\n", "keys lost", lost);
    std::printf("%-34s %12ld\n", "configuration writes", writes);
    std::printf("%-34s %12ld\n", "socket key lines lost (49 clients)", 49L * keys - clientLines);
    std::printf("%-34s %12ld\n", "flooding client dropped", floods);
    std::printf("%-34s %12ld\n", "resident KB after warm-up", warmKb);
    std::printf("%-34s %12ld\n", "resident KB at the end", endKb);
    std::printf("%-34s %12ld\n", "growth after warm-up (KB)", endKb - warmKb);
    return lost == 0 && writes == 0 && clientLines == 49L * keys && endKb - warmKb < 1024 ? 0 : 1;
}
