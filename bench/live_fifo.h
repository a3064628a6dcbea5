#pragma once

// Monitoring a FIFO linked as lirc0 in real time, the way the program does, for the benchmarks
// that time what follows a key: the shipped keys as mode2 durations, a feeder that writes each
// word as its pulse or space ends, and the engine ticking whenever the device has words.

#include "config/config_store.h"
#include "config/context.h"
#include "core/clock.h"
#include "io/capture_library.h"
#include "io/kernel_ir.h"
#include "io/receiver_controller.h"
#include "io/serial_port.h"
#include "ir/codec.h"
#include "monitor/monitor_engine.h"
#include "serpulse/system_line.h"
#include "support/fakes.h"
#include "support/learned_keys.h"

#include <algorithm>
#include <chrono>
#include <fcntl.h>
#include <filesystem>
#include <memory>
#include <poll.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace bench {

using namespace quenix;
using namespace quenix::testing;

inline std::int64_t NowNs() {
    return std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

struct Key {
    std::string device, name, cells;
    int sendpls;
};

inline std::vector<Key> ShippedKeys(const std::string& text) {
    std::vector<Key> keys;
    bool toggle = false;
    for (LearnedKey& k : LearnedKeys(text))
        keys.push_back({k.device, k.name, EncodeCommand(k.code, k.header, toggle), k.header.sendpls});
    return keys;
}

inline std::vector<std::uint32_t> Durations(const Key& k) {
    const std::vector<std::uint8_t> packed = PackCells(k.cells);
    return CellsToDurations(packed.data(), static_cast<int>(packed.size()), k.sendpls);
}

inline void Drain(int fd) {
    char sink[4096];
    while (::read(fd, sink, sizeof sink) > 0) {
    }
}

// When the last carrier that ended by t ended, for cells played from start.
inline std::int64_t LastPulseEnd(const std::string& cells, double cellUs, std::int64_t start, std::int64_t t) {
    std::int64_t last = start;
    for (std::size_t i = 0; i < cells.size(); ++i) {
        const auto end = start + static_cast<std::int64_t>(static_cast<double>(i + 1) * cellUs * 1000);
        if (end > t) break;
        if (cells[i] == '1' && (i + 1 == cells.size() || cells[i + 1] != '1')) last = end;
    }
    return last;
}

inline double Median(std::vector<double> v) {
    if (v.empty()) return -1;
    std::sort(v.begin(), v.end());
    return v[v.size() / 2];
}

// Monitoring a FIFO linked as lirc0 on the real clock, the way the program does.
struct LiveRig {
    TempDir folder;
    std::string config;
    ConfigStore store{folder.str()};
    SystemClock clock;
    FakeDialogs dialogs;
    FakeBeeper beeper;
    Context ctx{store, clock, dialogs, beeper};
    std::unique_ptr<SerialDriver> driver = MakeSystemSerialDriver(folder.str());
    SerialPort port{*driver};
    std::unique_ptr<CaptureLibrary> library =
        MakeCaptureLibrary((std::filesystem::canonical("/proc/self/exe").parent_path() / "../bin").string());
    FakeView view;
    std::unique_ptr<MonitorEngine> engine;
    int writer = -1;
    std::int64_t actionNs = 0;
    int actions = 0, lastRepeat = -1;
    serpulse::SystemTimebase time;

    explicit LiveRig(const std::string& text) : config(text) {
        const std::string fifo = folder.file("fifo").string();
        ::mkfifo(fifo.c_str(), 0600);
        std::filesystem::create_symlink(fifo, folder.file("lirc0"));
        config.insert(config.find("[End]"), "Set-top Box&Ch+,winamp&NEXT\r\nPhilips Amp&Mute,winamp&STOP\r\n");
        store.LoadFromText(config);
        store.settings().irInEna = true;
        ctx.irPortHandle = port.OpenComPort(kLircPortBase);
        library->SetHandle(ctx.irPortHandle);
        ctx.interfaceType = kKernelIr;
        MonitorEngine::Hooks hooks;
        hooks.execute = [this](const std::string&, const std::string&) {
            actionNs = NowNs();
            ++actions;
            return std::string("done");
        };
        hooks.keyRecognised = [this](const std::string&, int repeat) { lastRepeat = repeat; };
        engine = std::make_unique<MonitorEngine>(ctx, view, port, *library, hooks);
        writer = ::open(fifo.c_str(), O_WRONLY | O_NONBLOCK);
    }
    ~LiveRig() { ::close(writer); }

    // The kernel writes each word once its pulse or space has ended; the engine ticks whenever
    // the device has words, as the window's notifier does, until giveMs after the signal.
    void Play(const std::vector<std::uint32_t>& durations, std::int64_t start, int giveMs) {
        std::thread feeder([&] {
            std::int64_t at = start;
            for (std::size_t i = 0; i < durations.size(); ++i) {
                at += static_cast<std::int64_t>(durations[i]) * 1000;
                time.waitUntilNs(at - 200'000);
                while (NowNs() < at) {
                }
                const std::uint32_t word = Mode2Word(i % 2 == 0, durations[i]);
                if (::write(writer, &word, 4) != 4) return;
            }
        });
        std::int64_t end = start;
        for (std::uint32_t d : durations) end += static_cast<std::int64_t>(d) * 1000;
        while (NowNs() < end + giveMs * 1'000'000LL) {
            if (!ctx.monitoring) { // the window's timer and notifier run only while monitoring
                std::this_thread::sleep_for(std::chrono::milliseconds(20));
                continue;
            }
            pollfd p{static_cast<int>(ctx.irPortHandle), POLLIN, 0};
            if (::poll(&p, 1, 20) > 0) engine->OnIRMonTimer();
        }
        feeder.join();
    }
};

// A press of frames frames, period us apart (start to start); NEC's are a frame and bursts.
inline std::vector<std::uint32_t> Press(const Key& k, int frames, std::uint32_t periodUs) {
    const std::vector<std::uint32_t> frame = Durations(k);
    const std::vector<std::uint32_t> burst = {9000, 2250, 560};
    std::vector<std::uint32_t> out;
    for (int i = 0; i < frames; ++i) {
        const std::vector<std::uint32_t>& one = i > 0 && k.cells.rfind("1111111111111111", 0) == 0 ? burst : frame;
        std::uint32_t length = 0;
        for (std::uint32_t d : one) length += d;
        if (!out.empty()) out.push_back(periodUs - length);
        out.insert(out.end(), one.begin(), one.end());
    }
    return out;
}

inline Key FirstFrame(Key k) {
    // The encoder's transmission repeats the frame: keep the first, up to the gap after it.
    const std::size_t gap = k.cells.find(std::string(30, '0'));
    if (gap != std::string::npos) k.cells.resize(k.cells.find_last_of('1', gap) + 1);
    return k;
}

} // namespace bench
