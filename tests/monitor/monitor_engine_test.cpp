#include "monitor/monitor_engine.h"

#include "actions/executor.h"
#include "io/port_line.h"
#include "ir/codec.h"
#include "ir/pulse_text.h"
#include "support/rig.h"
#include "support/sim_serial.h"

#include <gtest/gtest.h>

namespace quenix::testing {
namespace {

const std::string kNoLibrary =
    "The capture library cannot be used: libserpulse.so: cannot open shared object file: No such file or directory";

struct EngineRig : BasicRig<SimClock> {
    FakeView view;
    SimSerialDriver driver{clock};
    SerialPort port{driver};
    FakeCaptureLibrary library;
    std::vector<std::pair<std::string, std::string>> executed;
    MonitorEngine engine{ctx, view, port, library};

    explicit EngineRig(const std::string& config = DefaultConfiguration()) {
        EXPECT_TRUE(Load(config));
        driver.port(1);
        ctx.irPortHandle = port.OpenComPort(1);
        engine.hooks().execute = [this](const std::string& d, const std::string& c) {
            executed.emplace_back(d, c);
            return d + " " + c + " executed.";
        };
    }
    SimPort& com1() { return driver.port(1); }
};

// A standard receiver on COM1 whose line the capture library's own sampler reads.
struct SampledRig : EngineRig {
    DcdReceiver receiver = StandardReceiver();
    PortLine line{port, ctx.irPortHandle};
    serpulse::Sampler sampler{line, clock};
    SampledRig() {
        com1().peer = &receiver;
        library.sampler = &sampler;
    }
};

// A key as the receiver would capture it: the device's own header, our encoder, a sampler.
std::vector<std::uint8_t> Capture(const EngineRig& rig, const std::string& device, std::string code) {
    ProtocolHeader h = DeviceHeader(rig.store.text(), device);
    bool toggle = false;
    return SampleRuns(CellsToRuns(EncodeCommand(code, h, toggle), h.sendpls), 55);
}

TEST(MonitorEngine, ConfigureStartAndStopByInputsAndInterface) {
    struct Case {
        const char* name;
        bool irIn, btIn;
        int type;
        bool dcdIdle; // what the line shows before any key
        const char* status;
        bool runs, libraryMissing = false;
    };
    const Case cases[] = {
        {"no input", false, false, 0, true, "There is no input plugin available to monitor!", false},
        {"standard receiver idle", true, false, 0, true, "Monitoring started OK.", true},
        {"standard receiver missing", true, false, 0, false, "Rec Interface invalid. Cannot start monitoring", true},
        {"IRMouse never fails the check", true, false, 1, false, "Monitoring started OK.", true},
        {"IRMan with phone", true, true, 2, true, "IR Man interface is not yet supported for monitoring!", true},
        {"Creative", true, false, 3, true, "Creative Infra interface is not yet supported for monitoring!", true},
        {"FirM", true, false, 4, true, "FirM interface is not yet supported for monitoring!", true},
        {"unknown interface", true, false, 9, true, "No Record interface selected!", true},
        {"phone only", false, true, 2, true, "Monitoring started OK.", true},
        {"no capture library", true, true, 1, false, kNoLibrary.c_str(), true, true},
    };
    // A key runs every line it starts, matched in any case, and no line it only begins.
    std::string config = DefaultConfiguration();
    config.insert(config.find("[End]"), "sony tv&CH+,X10&Desk Lamp&On\r\nSony TV&Ch+x,mouse&UP\r\n");
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        EngineRig rig(config);
        rig.store.settings().irInEna = c.irIn;
        rig.store.settings().btEna = c.btIn;
        rig.ctx.interfaceType = c.type;
        rig.com1().inputs = c.dcdIdle ? kModemDcdOn : 0;
        rig.library.missing = c.libraryMissing;
        int editors = 0;
        rig.engine.hooks().showEditor = [&] { ++editors; };
        rig.engine.Configure(); // the event editor needs an input to offer
        EXPECT_EQ(editors == 0, rig.view.text("StatusBar") == "No input device available to monitor!");
        EXPECT_EQ(editors, c.irIn || c.btIn ? 1 : 0);
        int btStarts = 0;
        rig.engine.hooks().bluetoothStart = [&] { ++btStarts; };
        bool monitoringWhenLeft = true;
        rig.engine.hooks().compact = [] { return true; };
        rig.engine.hooks().minButton = [&] { monitoringWhenLeft = rig.ctx.monitoring; };
        rig.engine.Start();

        EXPECT_EQ(rig.view.text("StatusBar"), c.status);
        const bool shown = rig.ctx.monitoring && rig.view.isChecked("MonitoringStartMenu") && btStarts == 1 &&
                           rig.OnDisk().find("MONITOR= 1") != std::string::npos;
        EXPECT_EQ(shown, c.runs);
        // The library is needed only by the ticks, which then do not run.
        EXPECT_EQ(rig.view.isTimerEnabled("IRMonTimer"), c.runs && c.irIn && !c.libraryMissing);
        EXPECT_EQ(rig.view.isTimerEnabled("BTAutoTimer"), c.runs && c.btIn);
        // The receivers' power, and the compact window left before the flag is set.
        EXPECT_TRUE(rig.com1().rts == (c.irIn && c.type <= 1) && rig.com1().dtr == (c.irIn && c.type == 1));
        EXPECT_EQ(monitoringWhenLeft, !c.runs);
        if (!c.runs) continue;
        EXPECT_TRUE(rig.view.text("frmMain") == "Quenix Monitor v" + rig.store.version() &&
                    !rig.view.isEnabled("SendButton"));
        // Whichever menu started monitoring, the tray offers Stop.
        EXPECT_TRUE(!rig.view.isEnabled("mnuStartMonitor") && rig.view.isEnabled("mnuStopMonitor"));

        // Stopped: the sender (FirM's zone box too) and the tray's Start come back, the phone's port closes.
        rig.driver.port(5);
        rig.ctx.btPortHandle = c.btIn ? rig.port.OpenComPort(5) : kNoPort;
        int icons = 0;
        rig.engine.hooks().refreshIcon = [&] { ++icons; };
        rig.engine.Stop();
        EXPECT_TRUE(!rig.ctx.monitoring && rig.OnDisk().find("MONITOR= 0\r\n") != std::string::npos);
        EXPECT_EQ(rig.view.text("StatusBar"), "Monitoring is stopped.");
        EXPECT_FALSE(rig.driver.port(5).open || rig.ctx.btPortHandle != kNoPort);
        EXPECT_FALSE(rig.view.isTimerEnabled("IRMonTimer") || rig.view.isTimerEnabled("BTAutoTimer"));
        EXPECT_TRUE(rig.view.isEnabled("SendButton") && (c.type != 4 || rig.view.isVisible("Zone")));
        EXPECT_TRUE(rig.view.isEnabled("mnuStartMonitor") && !rig.view.isEnabled("mnuStopMonitor") && icons == 1);
    }
}

TEST(MonitorEngine, TickTurnsKeysIntoActionsAndEndsSilentlyOtherwise) {
    struct Case {
        const char *name, *device, *code; // a key encoded with the device's header, or the bytes below
        int type;
        const char *recCmd, *execCmd, *status;
        std::vector<std::uint8_t> bytes = {}; // empty: the library answers 0
        bool irIn = true, missing = false, idle = false;
    };
    const std::vector<std::uint8_t> noise(600, 0xA5);
    const char* received = "Command received";
    const Case cases[] = {
        {"SONY key with two events", "Sony TV", "G000010010000", 0, "Sony TV&Ch+",
         "winamp NEXT executed.; X10&Desk Lamp On executed.", received},
        {"NEC key on the IRMouse", "Set-top Box", "G00100000110111111001000001101111", 1, "Set-top Box&Mute",
         "winamp PAUSE executed.", received},
        {"key without an event", "Sony TV", "G101010010000", 0, "Sony TV&Power", "none", received},
        {"RC5 with the toggle set", "Philips Amp", "G11110000010000", 0, "Philips Amp&Vol+", "none", received},
        // The remotes of today, each with its own header in the file.
        {"MCE (RC6) key", "Media PC", "G10000000000011110000010000100010", 0, "Media PC&OK", "mouse LEFT CLICK executed.",
         received},
        {"JVC key", "JVC Deck", "G1100010100001000", 1, "JVC Deck&Play", "none", received},
        {"Panasonic key", "Panasonic", "G010000000000010000000001000000001011110010111101", 0, "Panasonic&Power", "none",
         received},
        {"unlearned code", "Sony TV", "G111111111111", 0, "UNKNOWN", "none", received},
        // Learned before the timing reading: the run analysis took the lead-in for a leading 1.
        {"key stored as the run analysis read it", "Sony TV", "G111101111110", 0, "Sony TV&Old", "none", received},
        {"no capture", nullptr, nullptr, 0, "", "", ""},
        // Each receiver idles on its own level of DCD, the standard one on, the IRMouse off: an
        // idle tick is one line read and never calls the library.
        {"idle standard receiver", nullptr, nullptr, 0, "", "", "", noise, true, false, true},
        {"idle IRMouse", nullptr, nullptr, 1, "", "", "", noise, true, false, true},
        {"noise", nullptr, nullptr, 0, "", "", "", noise},
        {"all ones from the library", nullptr, nullptr, 0, "", "", "", std::vector<std::uint8_t>(600, 0xFF)},
        {"a few bytes filled", nullptr, nullptr, 0, "", "", "", std::vector<std::uint8_t>(20, 0xA5)},
        {"input off", nullptr, nullptr, 0, "", "", "", noise, false},
        // A library that cannot be called says so once and is not asked every millisecond.
        {"library gone", nullptr, nullptr, 0, "", "", kNoLibrary.c_str(), {}, true, true},
    };
    // A key runs every line it starts, matched in any case, and no line it only begins.
    std::string config = DefaultConfiguration();
    config.insert(config.find("[End]"), "sony tv&CH+,X10&Desk Lamp&On\r\nSony TV&Ch+x,mouse&UP\r\n");
    config.insert(config.find("G001010010000,Mute\r\n"), "G1111101111110,Old\r\n");
    config.insert(config.find("[X10]"),
                  "[Media PC]\r\nGPROTO=5\r\nSENDPLS=444\r\nREPEAT=160\r\nBITG= 11111100101010010011\r\nBIT0= 01\r\n"
                  "BIT1= 10\r\nGREPEAT=160\r\nG10000000000011110000010000100010,OK\r\n"
                  "[JVC Deck]\r\nGPROTO=6\r\nSENDPLS=526\r\nREPEAT=40\r\nBITG= 111111111111111100000000\r\n"
                  "BIT0= 10\r\nBIT1= 1000\r\nGREPEAT=1\r\nG1100010100001000,Play\r\n"
                  "[Panasonic]\r\nGPROTO=8\r\nSENDPLS=432\r\nREPEAT=140\r\nBITG= 111111110000\r\nBIT0= 10\r\n"
                  "BIT1= 1000\r\nGREPEAT=140\r\nG010000000000010000000001000000001011110010111101,Power\r\n");
    config.insert(config.find("[End]"), "Media PC&OK,mouse&LEFT CLICK\r\n");
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        EngineRig rig(config);
        rig.store.settings().irInEna = c.irIn;
        rig.ctx.interfaceType = c.type;
        rig.com1().inputs = (c.type == 1) != c.idle ? kModemDcdOn : 0; // the line is active, or idles
        rig.library.missing = c.missing;
        rig.library.captures.push_back(c.code ? Capture(rig, c.device, c.code) : c.bytes);
        if (rig.library.captures.back().empty()) rig.library.captures.clear();
        rig.view.setTimerEnabled("IRMonTimer", true);
        rig.driver.lineReads = 0;
        rig.engine.OnIRMonTimer();
        EXPECT_TRUE(!c.idle || (rig.driver.lineReads == 1 && rig.library.captureCalls.empty()));

        const auto& calls = rig.library.captureCalls;
        EXPECT_TRUE(!c.code || (calls.size() == 1 && calls[0].entry == (c.type == 1 ? "IRMonitorN" : "IRMonitor") &&
                                calls[0].procDelay == rig.store.settings().procDelay));
        EXPECT_EQ(rig.view.text("RecCmd") + "/" + rig.view.text("ExecCmd"), std::string(c.recCmd) + "/" + c.execCmd);
        EXPECT_EQ(rig.view.text("StatusBar"), c.status);
        EXPECT_EQ(rig.executed.empty(), std::string(c.execCmd).find("executed") == std::string::npos);
        EXPECT_EQ(rig.clock.sleeps, c.code ? std::vector<int>{MonitorEngine::kKeyPauseMs} : std::vector<int>{});
        EXPECT_EQ(rig.view.isTimerEnabled("IRMonTimer"), !c.missing);
    }
}

// An adapter pulled while monitoring: one status line, no capture on the dead line (each would
// sample it for the whole buffer), and keys again once the port is back.
TEST(MonitorEngine, APortThatGoesAwayIsToldOnceAndTakenBackWhenItReturns) {
    EngineRig rig;
    rig.store.settings().irInEna = true;
    rig.com1().inputs = 0; // the standard receiver reads as busy: DCD off
    rig.com1().present = false;
    for (int tick = 0; tick < 3000; ++tick, rig.clock.advanceMs(1)) rig.engine.OnIRMonTimer();
    EXPECT_EQ(rig.view.textsOf("StatusBar"),
              std::vector<std::string>{"COM1 is gone; monitoring goes on when it is back."});
    EXPECT_TRUE(rig.library.captureCalls.empty());
    EXPECT_EQ(rig.ctx.irPortHandle, kNoPort);

    rig.com1().present = true;
    rig.library.captures.push_back(Capture(rig, "Sony TV", "G000010010000"));
    for (int tick = 0; tick < 1500 && rig.view.text("RecCmd").empty(); ++tick, rig.clock.advanceMs(1))
        rig.engine.OnIRMonTimer();
    EXPECT_EQ(rig.view.text("RecCmd"), "Sony TV&Ch+");
    EXPECT_EQ(rig.view.textsOf("StatusBar").at(1), "COM1 is back.");
    EXPECT_EQ(rig.library.handles.back(), rig.ctx.irPortHandle);
}

// TxD sending reconfigures the port before every action: the receiver it powers must stay on.
TEST(MonitorEngine, KeysStillArriveAfterTxDSends) {
    SampledRig rig;
    DcdReceiver& receiver = rig.receiver;
    rig.store.settings().winampEna = true;
    rig.ctx.txdOutput = 1;
    rig.port.ConfigureComPort(9600, 8, rig.ctx.irPortHandle); // as opened at start-up
    ActionBackends backends;
    backends.winamp = [](const std::string& c) { return "winamp " + c + " executed."; };
    CommandExecutor executor(rig.ctx, rig.port, rig.library, rig.view, backends);
    rig.engine.hooks().execute = [&](const std::string& d, const std::string& c) { return executor.Execute(d, c); };
    rig.engine.Start();

    const ProtocolHeader h = DeviceHeader(rig.store.text(), "Sony TV");
    std::string code = "G000010010000";
    bool toggle = false;
    const std::string cells = EncodeCommand(code, h, toggle);
    for (int press = 0; press < 3; ++press) {
        SCOPED_TRACE(press);
        receiver.air.push_back({cells, static_cast<double>(h.sendpls), rig.clock.nowNs() + 300'000'000});
        rig.view.setText("ExecCmd", "");
        for (int tick = 0; tick < 400 && rig.view.text("ExecCmd").empty(); ++tick) {
            rig.clock.advanceMs(1);
            rig.engine.OnIRMonTimer();
        }
        EXPECT_EQ(rig.view.text("RecCmd"), "Sony TV&Ch+");
        EXPECT_EQ(rig.view.text("ExecCmd"), "winamp NEXT executed.");
        EXPECT_EQ(rig.com1().state.baudRate, 115200u);
    }
}

} // namespace
} // namespace quenix::testing

namespace quenix::testing {
namespace {

// A serial receiver takes one capture per key and pauses: a key whose signal is still there
// after the pause is the same press held; one that comes later is pressed again.
TEST(MonitorEngine, ASerialKeyStillThereAfterThePauseIsHeld) {
    EngineRig rig;
    rig.com1().inputs = 0; // carrier on the line
    rig.engine.Start();
    for (int laterMs : {0, 20, 500}) {
        rig.clock.advanceMs(laterMs);
        rig.library.captures.push_back(Capture(rig, "Sony TV", "G000010010000"));
        rig.engine.OnIRMonTimer();
    }
    EXPECT_EQ(rig.executed.size(), 2u);
}

// Between keys a serial receiver's line is waited for, not polled: the tick says the line is
// idle, the wait returns when the key begins, and the key is read as the 1 ms poll reads it.
TEST(MonitorEngine, AnIdleLineIsWaitedForAndTheKeyStillRead) {
    SampledRig rig;
    DcdReceiver& receiver = rig.receiver;
    rig.engine.Start();
    const ProtocolHeader h = DeviceHeader(rig.store.text(), "Sony TV");
    std::string code = "G000010010000";
    bool toggle = false;
    const std::int64_t keyAt = rig.clock.nowNs() + 2'000'000'000;
    receiver.air.push_back({EncodeCommand(code, h, toggle), static_cast<double>(h.sendpls), keyAt});
    rig.engine.OnIRMonTimer();
    EXPECT_TRUE(rig.engine.LineIdle());
    ASSERT_EQ(rig.driver.waitLineChange(rig.ctx.irPortHandle, kModemDcdOn), 1);
    EXPECT_LT(rig.clock.nowNs() - keyAt, 20'000); // woken as the lead-in began
    rig.engine.OnIRMonTimer();
    EXPECT_FALSE(rig.engine.LineIdle());
    EXPECT_EQ(rig.view.text("RecCmd"), "Sony TV&Ch+");
}

} // namespace
} // namespace quenix::testing
