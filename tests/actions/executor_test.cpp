#include "actions/executor.h"
#include "actions/send_controller.h"
#include "config/context.h"
#include "io/serial_port.h"
#include "support/fakes.h"
#include "support/sim_serial.h"

#include <gtest/gtest.h>

namespace quenix::testing {
namespace {

// Raw has one cell per bit and no lead-in or repeats, so the packed bytes are the code's bits.
const char* kConfig = "[General]\r\n"
                      "[Raw]\r\nGPROTO=3\r\nSENDPLS=420\r\nREPEAT=0\r\nBITG=\r\nBIT0=0\r\nBIT1=1\r\nGREPEAT=0\r\n"
                      "G10110011011001101,Long\r\nG10110,Six\r\nG1011,Five\r\nG10210,Two\r\n"
                      "[TV]\r\nGPROTO=0\r\nSENDPLS=560\r\nREPEAT=0\r\nBITG=111111111111111100000000\r\n"
                      "BIT0=10\r\nBIT1=1000\r\nGREPEAT=0\r\nG00000000,Power\r\n[Monitoring]\r\n[End]\r\n";

using Beeps = std::vector<std::pair<int, int>>;
const Beeps kFramed{{5000, 50}, {2000, 50}};

// The executor and the Send button on a simulated COM1 and a fake capture library; the other
// actions only record what they were asked.
struct SendRig {
    explicit SendRig(const std::string& config = kConfig) {
        EXPECT_TRUE(store.SetText(config));
        ctx.settings().irOutEna = true;
        driver.port(1).dtr = true; // as the receiver side leaves it
        ctx.irPortHandle = serial.OpenComPort(1);
        view.setTimerEnabled("IRMonTimer", true);
        send.hooks().drawWaveform = [this](const std::string& samples) {
            // Sent, but the window is not handed back yet.
            EXPECT_FALSE(view.isEnabled("SendButton") || view.isTimerEnabled("IRMonTimer"));
            drawn.push_back(samples);
        };
    }
    ActionBackends Backends() {
        auto record = [this](std::string kind, std::string answer) {
            return [this, kind, answer](const std::string& c) {
                calls.push_back(kind + ":" + c);
                return answer.empty() ? answer : answer + " " + c;
            };
        };
        return {[this](const std::string& unit, const std::string& c, int f, int level) {
                    calls.push_back("x10:" + unit + ":" + c + ":" + std::to_string(f) + ":" + std::to_string(level));
                    return std::string("X10 done");
                },
                record("mouse", "Mouse"), record("keyboard", ""), record("application", "Started"),
                record("winamp", "Winamp")};
    }
    std::vector<std::vector<std::uint8_t>> sentBytes() const {
        std::vector<std::vector<std::uint8_t>> out;
        for (const auto& s : library.sends) out.push_back(s.bytes);
        return out;
    }
    std::vector<bool> dtr() {
        std::vector<bool> out;
        for (const LineChange& c : driver.port(1).changes)
            if (c.line == "DTR") out.push_back(c.on);
        return out;
    }
    void pick(const std::string& device, const std::string& command) {
        store.currentDevice = device;
        store.currentCommand = command;
    }

    ConfigStore store;
    FakeClock clock;
    FakeDialogs dialogs;
    FakeBeeper beeper;
    Context ctx{store, clock, dialogs, beeper};
    SimClock simClock;
    SimSerialDriver driver{simClock};
    SerialPort serial{driver};
    FakeCaptureLibrary library;
    FakeView view;
    std::vector<std::string> calls; // "kind:command"
    CommandExecutor exec{ctx, serial, library, view, Backends()};
    SendController send{ctx, view, serial, exec};
    std::vector<std::string> drawn;
};

// With the TxD carrier every run puts the port back to 115200 baud, 6 bits, whatever the device.
TEST(Executor, DispatchByNameAndFlagFallsThroughToInfrared) {
    struct Row {
        const char *device, *command;
        bool flag, irOut;
        const char *result, *call;
    } rows[] = {
        {"X10-Kitchen", "Dim", true, false, "X10 done", "x10:Kitchen:Dim:4:37"},
        {"x10&lamp", "whatever", true, false, "X10 done", "x10:lamp:whatever:2:37"},
        // The main window's device: the command is a function, the unit is the last one picked.
        {"X10", "Off", true, false, "X10 done", "x10::Off:3:37"},
        {"X10-Kitchen", "On", false, false, "Infrared output is disabled!", ""},
        {"Mouse", "LEFT", true, false, "Mouse LEFT", "mouse:LEFT"},
        {"keyboard", "A", true, true, "", "keyboard:A"},
        // Off with infrared on: tried as an infrared device of that name, which has no code.
        {"winamp", "Play", false, true, "No code to be send!", ""},
        {"ir dimmer", "g1", true, true, "No code to be send!", ""}, // the dimmer option is off
        {"WINAMP", "Play", true, false, "Winamp Play", "winamp:Play"},
    };
    for (const Row& r : rows) {
        SCOPED_TRACE(std::string(r.device) + " " + r.command);
        SendRig rig;
        Settings& s = rig.ctx.settings();
        s.x10Ena = s.mouseEna = s.keyboardEna = s.applicationEna = s.winampEna = r.flag;
        s.irOutEna = r.irOut;
        s.beepOn = true;
        rig.ctx.txdOutput = r.flag ? 1 : 0;
        rig.view.setCurrentIndex("DIMScroll", 37);
        EXPECT_EQ(rig.exec.Execute(r.device, r.command), r.result);
        EXPECT_EQ(rig.calls, *r.call ? std::vector<std::string>{r.call} : std::vector<std::string>{});
        EXPECT_EQ(rig.exec.lastOk(), *r.call && *r.result); // a backend ran and said something
        EXPECT_TRUE(rig.library.sends.empty());
        EXPECT_TRUE(rig.beeper.beeps.empty()); // the backends frame themselves
        EXPECT_EQ(rig.store.currentDevice + " " + rig.store.currentCommand, std::string(r.device) + " " + r.command);
        EXPECT_EQ(rig.driver.port(1).state.baudRate, r.flag ? 115200u : 9600u);
        EXPECT_EQ(rig.driver.port(1).state.byteSize, r.flag ? 6 : 8);
    }
}

TEST(Executor, ChecksPadsPacksAndBeeps) {
    struct Row {
        const char *device, *command, *result;
        std::vector<std::uint8_t> bytes;
        int pulse;
    } rows[] = {
        {"Raw", "Missing", "No code to be send!", {}, 0},
        {"Raw", "five", "Invalid code to be send!", {}, 0}, // names match in any case
        {"Raw", "Two", "Please use only 1's and 0's for the code.", {}, 0},
        // 17 cells padded to 24: the 17th lands in the last byte's top bit.
        {"Raw", "Long", "Raw Long executed.", {0xB3, 0x66, 0x80}, 420},
    };
    for (const Row& r : rows) {
        SCOPED_TRACE(r.command);
        SendRig rig;
        rig.ctx.settings().beepOn = true;
        rig.ctx.txdOutput = 1;
        EXPECT_EQ(rig.exec.Execute(r.device, r.command), r.result);
        EXPECT_EQ(rig.exec.lastOk(), !r.bytes.empty());
        if (r.bytes.empty()) {
            EXPECT_TRUE(rig.library.sends.empty());
            EXPECT_TRUE(rig.beeper.beeps.empty());
            continue;
        }
        ASSERT_EQ(rig.sentBytes(), std::vector<std::vector<std::uint8_t>>{r.bytes});
        EXPECT_EQ(rig.library.sends[0].pulseLength, r.pulse);
        EXPECT_EQ(rig.library.sends[0].txdMode, 1);
        EXPECT_EQ(rig.ctx.sendBuffer, std::string(r.bytes.begin(), r.bytes.end()));
        EXPECT_EQ(rig.beeper.beeps, kFramed);
    }
}

TEST(Executor, RecordedCommandComesFromTheRecordPanel) {
    struct Row {
        const char *protocol, *code, *result;
        std::vector<std::uint8_t> head;
    } rows[] = {
        {"", "G10110", "Information about received command is not complete!", {}},
        {"UNK", "G10110", "You must first manually define a new device if UNKNOWN.", {}},
        // SONY: "1111" lead-in, "011" for 1, "01" for 0, repeats behind 40-cell gaps.
        {"SONY", "G10110", "Recorded recorded executed.", {0xF6, 0xB6, 0x80}},
    };
    for (const Row& r : rows) {
        SCOPED_TRACE(std::string(r.protocol) + "/" + r.code);
        SendRig rig;
        rig.view.setText("ProtocolName", r.protocol);
        rig.view.setText("CodeStr", r.code);
        rig.view.setText("SendPulse", "600");
        EXPECT_EQ(rig.exec.Execute("Recorded", "recorded"), r.result);
        ASSERT_EQ(rig.library.sends.size(), r.head.empty() ? 0u : 1u);
        if (r.head.empty()) continue;
        const auto& sent = rig.library.sends[0].bytes;
        EXPECT_EQ(std::vector<std::uint8_t>(sent.begin(), sent.begin() + 3), r.head);
        EXPECT_EQ(rig.library.sends[0].pulseLength, 600);
    }
}

TEST(Executor, DimmerBurstsAndPauses) {
    // The command, the length of its second burst and the pause behind it.
    for (auto [command, second, pause] : {std::tuple{"g1", 20, 500}, {"G1", 20, 500}, {"ON/OFF", 200, 1000}}) {
        SCOPED_TRACE(command);
        SendRig rig;
        rig.ctx.settings().beepOn = rig.ctx.settings().irDimEna = true;
        EXPECT_EQ(rig.exec.Execute("IR Dimmer", command), "IR Dimmer command executed OK.");
        EXPECT_EQ(rig.sentBytes(), (std::vector<std::vector<std::uint8_t>>{std::vector<std::uint8_t>(150, 0x55),
                                                                         std::vector<std::uint8_t>(second, 0x55)}));
        EXPECT_EQ(rig.library.sends[1].pulseLength, 2000);
        EXPECT_EQ(rig.clock.sleeps, std::vector<int>{pause});
        EXPECT_EQ(rig.beeper.beeps, kFramed);
        EXPECT_TRUE(rig.exec.lastOk());
        rig.library.missing = true;
        EXPECT_FALSE((rig.exec.Execute("IR Dimmer", command), rig.exec.lastOk()));
    }
}

// The code checks look at the code that would go out: the record panel's for the recorded
// command, the file's for a stored one. A missing library is named in the status bar.
TEST(SendButton, RefusalsAndFailuresSendNothing) {
    const std::string noLibrary =
        "Error sending infrared command! libserpulse.so: cannot open shared object file: No such file or directory";
    struct Row {
        const char *device, *command, *code;
        std::uint32_t background;
        std::string status;
    } rows[] = {
        {"TV", "", "G1011001101", 0xFFFFFF, "There is no command selected!"},
        {"TV", "  Empty ", "G1011001101", 0xFFFFFF, "There is no command selected!"},
        {"mouse", "EMPTY", "", 0xFFFFFF, "There is no command selected!"},
        {"Recorded", "Recorded", "G1011001101", 0xFF0000, " The received command is not yet validated!"},
        {"Recorded", "Recorded", "   ", 0x00FF00, "Nothing to be send!"},
        {"TV", "Mute", "G1011001101", 0x00FF00, "Nothing to be send!"}, // the field's code is not Mute's
        {"Raw", "Six", "", 0xFFFFFF, noLibrary},
        {"IR Dimmer", "ON/OFF", "", 0xFFFFFF, noLibrary},
    };
    for (const Row& r : rows) {
        SCOPED_TRACE(std::string(r.device) + " " + r.command);
        SendRig rig;
        Settings& s = rig.ctx.settings();
        s.x10Ena = s.irDimEna = s.beepOn = true;
        rig.library.missing = true;
        rig.pick(r.device, r.command);
        rig.view.setText("CodeStr", r.code);
        rig.view.setColor("CodeStr", View::ColorRole::Background, r.background);
        rig.send.onSendButton();
        EXPECT_EQ(rig.view.text("StatusBar"), r.status);
        EXPECT_TRUE(rig.library.sends.empty() && rig.drawn.empty() && rig.calls.empty());
        // A refusal leaves monitoring running; a send that failed got its first beep only.
        const bool tried = r.status == noLibrary;
        EXPECT_EQ(rig.view.isTimerEnabled("IRMonTimer"), !tried);
        EXPECT_EQ(rig.beeper.beeps, (tried ? Beeps{{5000, 50}} : Beeps{}));
        EXPECT_EQ(rig.dtr(), std::vector<bool>{false});
    }
}

// As at start-up, with nothing clicked, or after a click: the command shown is sent from the
// file, and a fresh recording in the code field, not yet saved, stays there.
TEST(SendButton, SendsTheShownCommandAndKeepsTheRecording) {
    // The interface, whether monitoring runs (and the command was clicked first), and DTR's changes.
    using Row = std::tuple<int, bool, std::vector<bool>>;
    for (const auto& [interfaceType, monitoring, dtr] : {Row{2, true, {false, true}}, Row{0, false, {false}}}) {
        SCOPED_TRACE(interfaceType);
        SendRig rig;
        rig.ctx.interfaceType = interfaceType;
        rig.ctx.monitoring = monitoring;
        rig.pick("Raw", "Six");
        rig.view.setText("CodeStr", "G111000111000");
        rig.view.setColor("CodeStr", View::ColorRole::Background, 0x00FF00);
        if (monitoring) rig.send.onCommandSelected();
        rig.send.onSendButton();
        EXPECT_EQ(rig.view.text("StatusBar"), "Raw Six executed.");
        EXPECT_EQ(rig.sentBytes(), (std::vector<std::vector<std::uint8_t>>{{0xB0}}));
        EXPECT_EQ(rig.view.text("CodeStr"), "G111000111000");
        EXPECT_EQ(rig.view.color("CodeStr", View::ColorRole::Background), 0x00FF00u);
        EXPECT_EQ(rig.view.text("IRCommand"), "Raw&&Six");
        EXPECT_EQ(rig.view.text("BitNr"), "5");
        // 8 padded cells and one closing cell, Int(420 / 55 + 0.5) = 8 samples each.
        std::string samples;
        for (char c : std::string("101100000")) samples.append(8, c);
        EXPECT_EQ(rig.drawn, std::vector<std::string>{samples});
        EXPECT_EQ(rig.dtr(), dtr);
        EXPECT_TRUE(rig.view.isEnabled("SendButton"));
        EXPECT_EQ(rig.view.isTimerEnabled("IRMonTimer"), monitoring);
    }
    // Special devices skip the code checks and draw nothing.
    SendRig rig;
    rig.ctx.settings().winampEna = true;
    rig.pick("Winamp", "");
    rig.view.setColor("CodeStr", View::ColorRole::Background, 0xFF0000);
    rig.send.onSendButton();
    EXPECT_EQ(rig.calls, std::vector<std::string>{"winamp:"});
    EXPECT_EQ(rig.view.text("IRCommand"), "Winamp&&");
    EXPECT_TRUE(rig.drawn.empty());
}

} // namespace
} // namespace quenix::testing
