// Key presses as remotes send them, through the real kernel device code on a FIFO linked as
// lirc0: the frames of one press, held keys, new presses, words from before monitoring
// listened, and frames that a pipe delivers in pieces.

#include "actions/executor.h"
#include "io/kernel_ir_device.h"
#include "io/receiver_controller.h"
#include "io/serial_port.h"
#include "ir/codec.h"
#include "monitor/monitor_engine.h"
#include "support/rig.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace quenix::testing {
namespace {

// One frame of a stored key as a remote sends it: the device's lead-in and bit patterns,
// NEC's stop bit; toggle flips the third bit (RC5's toggle).
std::vector<std::uint32_t> Frame(const std::string& text, const std::string& device, const std::string& command,
                                 bool toggle = false) {
    const ProtocolHeader h = DeviceHeader(text, device);
    std::string bits = StoredCode(text, device, command).substr(1);
    if (toggle) bits[2] = bits[2] == '0' ? '1' : '0';
    std::string cells = h.bitg;
    for (char b : bits) cells += b == '1' ? h.bit1 : h.bit0;
    if (h.gproto == 0) cells += "1";
    const std::vector<std::uint8_t> packed = PackCells(cells);
    return CellsToDurations(packed.data(), static_cast<int>(packed.size()), h.sendpls);
}
const std::vector<std::uint32_t> kNecBurst = {9000, 2250, 560};

struct FifoRig : Rig {
    FakeView view;
    std::unique_ptr<SerialDriver> driver = MakeSystemSerialDriver(dir.str());
    SerialPort port{*driver};
    std::unique_ptr<KernelIrSystem> system = MakeSystemKernelIr();
    KernelIrLibrary library{*system};
    MonitorEngine engine{ctx, view, port, library};
    int writer = -1;
    std::vector<std::string> actions, lines; // what ran; the lircd socket's key and repeat count

    FifoRig() {
        std::string text = store.text();
        text.insert(text.find("[End]"), "Set-top Box&Ch+,winamp&NEXT\r\n"
                                        "Philips Amp&Mute,winamp&STOP\r\nSony TV&Vol+,mouse&UP\r\n");
        EXPECT_TRUE(Load(text));
        const std::string fifo = dir.file("fifo").string();
        ::mkfifo(fifo.c_str(), 0600);
        std::filesystem::create_symlink(fifo, dir.file("lirc0"));
        writer = ::open(fifo.c_str(), O_RDWR | O_NONBLOCK);
        ctx.irPortHandle = port.OpenComPort(kLircPortBase);
        library.SetHandle(ctx.irPortHandle);
        ctx.interfaceType = kKernelIr;
        store.settings().irInEna = true;
        engine.hooks().execute = [this](const std::string& d, const std::string& c) {
            actions.push_back(d + "&" + c);
            return d + " " + c + " executed.";
        };
        engine.hooks().keyRecognised = [this](const std::string& key, int repeat) {
            lines.push_back(key + " " + std::to_string(repeat));
        };
    }
    ~FifoRig() { ::close(writer); }

    void Put(std::vector<std::uint32_t> durations, std::uint32_t spaceBefore, bool timeout = true) {
        std::vector<std::uint32_t> words{Mode2Word(false, spaceBefore)};
        for (std::size_t i = 0; i < durations.size(); ++i) words.push_back(Mode2Word(i % 2 == 0, durations[i]));
        // A device reports the silence after a frame once its receive timeout has passed.
        if (timeout) words.push_back(kMode2Timeout | 20000);
        ASSERT_EQ(::write(writer, words.data(), words.size() * 4), static_cast<ssize_t>(words.size() * 4));
    }
    // Frames of a press period ms apart (start to start), each handled as it arrives.
    void Press(const std::vector<std::uint32_t>& first, int frames, int periodMs,
               const std::vector<std::uint32_t>& repeat = {}) {
        for (int i = 0; i < frames; ++i) {
            Put(i == 0 || repeat.empty() ? first : repeat, i == 0 ? 500000 : 20000);
            clock.advanceMs(i == 0 ? 1000 : periodMs);
            engine.OnIRMonTimer();
        }
    }
};

TEST(HeldKeys, OnePressOneActionAndAHeldKeyCountsItsFrames) {
    const std::string text = DefaultConfiguration();
    const auto sonyCh = Frame(text, "Sony TV", "Ch+"), necCh = Frame(text, "Set-top Box", "Ch+");
    const auto rc5 = Frame(text, "Philips Amp", "Mute"), rc5Toggled = Frame(text, "Philips Amp", "Mute", true);
    struct Case {
        const char* name;
        std::function<void(FifoRig&)> keys;
        std::vector<std::string> actions;
        std::vector<int> repeats; // of the lircd lines, in order
    };
    const std::string next = "winamp&NEXT", stop = "winamp&STOP";
    const Case cases[] = {
        {"SONY's shortest tap: three frames", [&](FifoRig& r) { r.Press(sonyCh, 3, 45); }, {next}, {0, 1, 2}},
        {"SONY held for ten frames", [&](FifoRig& r) { r.Press(sonyCh, 10, 45); }, {next},
         {0, 1, 2, 3, 4, 5, 6, 7, 8, 9}},
        {"SONY frames read late, after a slow action: the signal's gaps tell",
         [&](FifoRig& r) { r.Press(sonyCh, 4, 400); }, {next}, {0, 1, 2, 3}},
        {"NEC frame and repeat bursts", [&](FifoRig& r) { r.Press(necCh, 6, 108, kNecBurst); }, {next},
         {0, 1, 2, 3, 4, 5}},
        {"SONY pressed twice", [&](FifoRig& r) { r.Press(sonyCh, 3, 45), r.Press(sonyCh, 3, 45); }, {next, next},
         {0, 1, 2, 0, 1, 2}},
        {"RC5 pressed again at once: the toggle tells",
         [&](FifoRig& r) {
             r.Press(rc5, 2, 114);
             r.Put(rc5Toggled, 20000);
             r.clock.advanceMs(114);
             r.engine.OnIRMonTimer();
         },
         {stop, stop},
         {0, 1, 0}},
        {"a repeat burst with no press under way", [&](FifoRig& r) { r.Press(kNecBurst, 3, 108); }, {}, {}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        FifoRig rig;
        rig.engine.Start();
        c.keys(rig);
        EXPECT_EQ(rig.actions, c.actions);
        std::vector<int> repeats;
        for (const std::string& l : rig.lines) repeats.push_back(std::stoi(l.substr(l.rfind(' ') + 1)));
        EXPECT_EQ(repeats, c.repeats);
    }
}

TEST(HeldKeys, MovesRepeatOnlyOnceHeldAndNothingQueuedBeforeListeningFires) {
    const std::string text = DefaultConfiguration();
    const auto volUp = Frame(text, "Sony TV", "Vol+");
    FifoRig rig;
    // Pressed before monitoring started, and while infrared input was off.
    rig.Put(Frame(text, "Sony TV", "Ch+"), 500000);
    rig.engine.Start();
    for (int i = 0; i < 5; ++i) rig.engine.OnIRMonTimer();
    rig.store.settings().irInEna = false;
    rig.engine.InputChanged();
    rig.Put(Frame(text, "Set-top Box", "Ch+"), 500000);
    rig.engine.OnIRMonTimer();
    rig.store.settings().irInEna = true;
    rig.engine.InputChanged();
    rig.engine.OnIRMonTimer();
    EXPECT_EQ(rig.actions, std::vector<std::string>{});

    rig.Press(volUp, 7, 45); // 270 ms: a tap, however long
    EXPECT_EQ(rig.actions.size(), 1u);
    rig.Press(volUp, 20, 45); // 855 ms: the pointer keeps moving after the first 350 ms
    EXPECT_EQ(rig.actions.size(), 2u + 12u);
}

// A pipe (a receiver on another machine, a USB receiver that batches) may stall mid-frame: the
// frame still ends where its signal ends.
TEST(HeldKeys, AFrameDeliveredInPiecesIsStillOneFrame) {
    const std::string text = DefaultConfiguration();
    for (const auto& [device, command] : {std::pair{"Set-top Box", "Ch+"}, {"Sony TV", "Ch+"}, {"Philips Amp", "Mute"}})
        for (int stallMs : {12, 50}) {
            SCOPED_TRACE(std::string(device) + " stalled " + std::to_string(stallMs) + " ms");
            FifoRig rig;
            rig.engine.Start();
            const auto frame = Frame(text, device, command);
            const std::size_t cut = frame.size() / 2 | 1; // after a pulse, mid-frame
            rig.Put({frame.begin(), frame.begin() + static_cast<long>(cut)}, 500000, false);
            std::thread rest([&] {
                std::this_thread::sleep_for(std::chrono::milliseconds(stallMs));
                std::vector<std::uint32_t> words;
                for (std::size_t i = cut; i < frame.size(); ++i) words.push_back(Mode2Word(i % 2 == 0, frame[i]));
                if (::write(rig.writer, words.data(), words.size() * 4) < 0) ADD_FAILURE();
            });
            rig.engine.OnIRMonTimer();
            rest.join();
            EXPECT_EQ(rig.view.text("RecCmd"), std::string(device) + "&" + command);
        }
}

} // namespace
} // namespace quenix::testing
