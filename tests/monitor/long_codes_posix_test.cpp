// Air conditioners' codes on a kernel receiver (a FIFO linked as lirc0): a long frame, or a
// press of two frames, is recorded twice, stored, recognised while monitoring, and sent back
// as the remote sent it.

#include "actions/executor.h"
#include "io/kernel_ir_device.h"
#include "io/receiver_controller.h"
#include "ir/capture_script.h"
#include "ir/learning.h"
#include "monitor/capture_source.h"
#include "monitor/monitor_engine.h"

#include <gtest/gtest.h>

#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace quenix::testing {
namespace {

std::string Bits(std::size_t n, unsigned seed) {
    std::string s;
    for (unsigned x = seed; s.size() < n; x = x * 1103515245u + 12345u) s += (x >> 16) & 1 ? '1' : '0';
    return s;
}

// Takes what a transmitter is given: the pieces written, joined by the spaces slept between them.
struct Transmitter final : KernelIrSystem {
    std::vector<std::uint32_t> sent;
    int writes = 0;
    int request(int, LircRequest r, std::uint32_t& v) override {
        if (r == LircRequest::GetFeatures) v = kLircCanSendPulse;
        return 0;
    }
    long read(int, std::uint8_t*, std::size_t) override { return 0; }
    int write(int, const std::uint8_t* data, std::size_t size) override {
        ++writes;
        for (std::size_t i = 0; i + 4 <= size; i += 4) std::memcpy(&sent.emplace_back(), data + i, 4);
        return 0;
    }
    bool waitReadable(int, int) override { return false; }
    void sleepUs(std::int64_t us) override { sent.push_back(static_cast<std::uint32_t>(us)); }
    std::int64_t nowUs() override { return 0; }
    std::string name(int) override { return "/dev/lirc1"; }
    std::string errorText(int) override { return {}; }
};

TEST(LongCodes, LearnedOnAKernelDeviceStoredRecognisedAndSentAsTheRemoteSentThem) {
    struct Row {
        const char* name;
        int sendpls;
        const char* bitg;
        std::string code;
    };
    const Row rows[] = {
        {"112 bits at NEC's timing", 560, "111111111111111100000000", "G" + Bits(112, 1)},
        {"200 bits behind a 3.4/1.7 ms lead-in at 420 us", 420, "111111110000", "G" + Bits(200, 2)},
        {"256 bits at NEC's timing: 445 ms", 560, "111111111111111100000000", "G" + Bits(256, 3)},
        {"a press of two frames, 64 and 152 bits, 20 ms apart", 430, "111111110000",
         "G" + Bits(64, 4) + "G" + Bits(152, 5)},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        Rig rig;
        std::string text = DefaultConfiguration();
        text.insert(text.find("[Monitoring]"), "[Aircon]\r\nGPROTO=0\r\nSENDPLS=" + std::to_string(row.sendpls) +
                                                   "\r\nREPEAT=0\r\nBITG= " + row.bitg +
                                                   "\r\nBIT0= 10\r\nBIT1= 1000\r\nGREPEAT=1\r\n\r\n");
        text.insert(text.find("[End]"), "Aircon&Cool,winamp&NEXT\r\n");
        ASSERT_TRUE(rig.Load(text));
        const ProtocolHeader h = DeviceHeader(text, "Aircon");
        std::string code = row.code;
        bool toggle = false;
        const std::vector<std::uint8_t> cells = PackCells(EncodeCommand(code, h, toggle));
        const std::vector<std::uint32_t> remote = CellsToDurations(cells.data(), static_cast<int>(cells.size()), h.sendpls);

        FakeView view;
        std::unique_ptr<SerialDriver> driver = MakeSystemSerialDriver(rig.dir.str());
        SerialPort port{*driver};
        std::unique_ptr<KernelIrSystem> system = MakeSystemKernelIr();
        KernelIrLibrary library{*system};
        const std::string fifo = rig.dir.file("fifo").string();
        ::mkfifo(fifo.c_str(), 0600);
        std::filesystem::create_symlink(fifo, rig.dir.file("lirc0"));
        const int writer = ::open(fifo.c_str(), O_RDWR | O_NONBLOCK);
        auto press = [&] {
            std::vector<std::uint32_t> words{Mode2Word(false, 500000)};
            for (std::size_t i = 0; i < remote.size(); ++i) words.push_back(Mode2Word(i % 2 == 0, remote[i]));
            words.push_back(kMode2Timeout | 20000);
            ASSERT_EQ(::write(writer, words.data(), words.size() * 4), static_cast<ssize_t>(words.size() * 4));
        };
        rig.ctx.irPortHandle = port.OpenComPort(kLircPortBase);
        library.SetHandle(rig.ctx.irPortHandle);
        rig.ctx.interfaceType = kKernelIr;
        rig.store.settings().irInEna = true;

        // Recorded twice (a record waits for a key pressed after the click), then stored.
        PortCaptureSource source{rig.ctx, port, library};
        FakeCanvas canvas;
        Waveform waveform{view, canvas};
        Recorder recorder{rig.ctx, view, source, waveform};
        for (int i = 0; i < 2; ++i) {
            std::thread later([&] { std::this_thread::sleep_for(std::chrono::milliseconds(30)), press(); });
            recorder.onRecButton();
            later.join();
        }
        EXPECT_EQ(view.text("CodeStr"), row.code) << view.text("StatusBar");
        ASSERT_TRUE(rig.ctx.validated);
        rig.store.currentDevice = "Aircon";
        rig.dialogs.inputs = {"Cool"};
        Learning{rig.ctx, view, source}.onSaveCmdButton();
        ASSERT_NE(rig.OnDisk().find("\n" + row.code + ",Cool\r\n"), std::string::npos) << view.text("StatusBar");

        // Recognised while monitoring: one press, one action.
        MonitorEngine engine{rig.ctx, view, port, library};
        std::vector<std::string> actions;
        engine.hooks().execute = [&](const std::string& d, const std::string& c) {
            actions.push_back(d + "&" + c);
            return std::string("done");
        };
        engine.Start();
        press();
        engine.OnIRMonTimer();
        EXPECT_EQ(view.text("RecCmd"), "Aircon&Cool");
        EXPECT_EQ(actions, std::vector<std::string>{"winamp&NEXT"});

        // Sent from the stored line: the remote's signal, in one write.
        Transmitter tx;
        KernelIrLibrary sender{tx};
        sender.SetHandle(3);
        std::string stored = rig.OnDisk().substr(rig.OnDisk().find("\n" + row.code + ",") + 1, row.code.size());
        const std::vector<std::uint8_t> out = PackCells(EncodeCommand(stored, DeviceHeader(rig.OnDisk(), "Aircon"), toggle));
        ASSERT_TRUE(sender.IRSend(out.data(), static_cast<int>(out.size()), h.sendpls, 0));
        EXPECT_EQ(tx.sent, remote);
        EXPECT_EQ(tx.writes, 1);
        ::close(writer);
    }
}

} // namespace
} // namespace quenix::testing
