#include "actions/executor.h"
#include "config/context.h"
#include "io/serial_port.h"
#include "support/fakes.h"
#include "support/sim_serial.h"

#include <gtest/gtest.h>

namespace quenix::testing {
namespace {

// A device with one cell per bit, no lead-in and no repeats, so the packed bytes are the
// code's own bits.
const char* kConfig = "[General]\r\nBEEPON=1\r\n"
                      "[Raw]\r\nGPROTO=3\r\nSENDPLS=420\r\nREPEAT=0\r\nBITG=\r\nBIT0=0\r\nBIT1=1\r\nGREPEAT=0\r\n"
                      "G10110011011001101,Long\r\nG10110,Six\r\nG1011,Five\r\nG10210,Two\r\n"
                      "[TV]\r\nGPROTO=0\r\nSENDPLS=560\r\nREPEAT=0\r\nBITG=111111111111111100000000\r\n"
                      "BIT0=10\r\nBIT1=1000\r\nGREPEAT=0\r\nG00000000,Power\r\n"
                      "[Monitoring]\r\n[End]\r\n";

struct Rig {
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
    std::vector<std::string> calls; // backend calls as "kind:device:command"
    CommandExecutor exec{ctx, serial, library, view, Backends()};

    Rig() {
        EXPECT_TRUE(store.SetText(kConfig));
        Settings& s = ctx.settings();
        s.irOutEna = s.beepOn = true;
        driver.port(1).dtr = true; // as the receiver side leaves it
        ctx.irPortHandle = serial.OpenComPort(1);
    }

    ActionBackends Backends() {
        ActionBackends b;
        b.x10 = [this](const std::string& d, const std::string& c, int f, int level) {
            calls.push_back("x10:" + d + ":" + c + ":" + std::to_string(f) + ":" + std::to_string(level));
            return std::string("x10 done");
        };
        auto one = [this](const char* kind) {
            return [this, kind](const std::string& c) {
                calls.push_back(std::string(kind) + ":" + c);
                return std::string(kind) + " done";
            };
        };
        b.mouse = one("mouse");
        b.keyboard = [this](const std::string& c) {
            calls.push_back("keyboard:" + c);
            return std::string();
        };
        b.application = one("application");
        b.winamp = one("winamp");
        return b;
    }
};

TEST(Executor, DispatchByNameAndFlagFallsThroughToInfrared) {
    struct Row {
        const char* device;
        const char* command;
        bool flag;   // the device's own control
        bool irOut;
        const char* result;
        const char* call; // "" when no backend ran
    } rows[] = {
        {"X10-Kitchen", "Dim", true, false, "x10 done", "x10:X10-Kitchen:Dim:4:37"},
        {"x10&lamp", "whatever", true, false, "x10 done", "x10:x10&lamp:whatever:2:37"},
        {"X10-Kitchen", "On", false, false, "Infrared output is disabled!", ""},
        {"Mouse", "LEFT", true, false, "mouse done", "mouse:LEFT"},
        {"mouse", "LEFT", false, false, "Infrared output is disabled!", ""},
        {"keyboard", "A", true, true, "", "keyboard:A"},
        {"application", "notepad", true, false, "application done", "application:notepad"},
        {"application", "notepad", false, false, "Infrared output is disabled!", ""},
        // Off with infrared on: looked for as an infrared device of that name.
        {"winamp", "Play", false, true, "No code to be send!", ""},
        {"WINAMP", "Play", true, false, "winamp done", "winamp:Play"},
        {"TV", "Power", true, false, "Infrared output is disabled!", ""},
    };
    for (const Row& r : rows) {
        SCOPED_TRACE(std::string(r.device) + " " + r.command);
        Rig rig;
        Settings& s = rig.ctx.settings();
        s.x10Ena = s.mouseEna = s.keyboardEna = s.applicationEna = s.winampEna = r.flag;
        s.irOutEna = r.irOut;
        rig.view.setCurrentIndex("DIMScroll", 37);
        EXPECT_EQ(rig.exec.Execute(r.device, r.command), r.result);
        EXPECT_EQ(rig.calls, *r.call ? std::vector<std::string>{r.call} : std::vector<std::string>{});
        EXPECT_TRUE(rig.library.sends.empty());
        EXPECT_TRUE(rig.beeper.beeps.empty()); // backends frame themselves
        EXPECT_EQ(rig.store.currentDevice, r.device);
        EXPECT_EQ(rig.store.currentCommand, r.command);
    }
}

TEST(Executor, TxdOutputReconfiguresThePortForAnyDevice) {
    for (int txd : {0, 1}) {
        Rig rig;
        rig.ctx.txdOutput = txd;
        rig.ctx.settings().winampEna = true;
        rig.driver.port(1).state.baudRate = 9600;
        rig.driver.port(1).state.byteSize = 8;
        EXPECT_EQ(rig.exec.Execute("winamp", "Play"), "winamp done");
        EXPECT_EQ(rig.driver.port(1).state.baudRate, txd ? 115200u : 9600u);
        EXPECT_EQ(rig.driver.port(1).state.byteSize, txd ? 6 : 8);
    }
}

TEST(Executor, CodeChecksBeforeSending) {
    struct Row {
        const char* device;
        const char* command;
        const char* result;
    } rows[] = {
        {"Raw", "Missing", "No code to be send!"},
        {"Nowhere", "Power", "No code to be send!"},
        {"Raw", "Five", "Invalid code to be send!"},
        {"Raw", "Two", "Please use only 1's and 0's for the code."},
        {"Raw", "six", "Raw six executed."},
    };
    for (const Row& r : rows) {
        SCOPED_TRACE(r.command);
        Rig rig;
        const bool ok = std::string(r.result).find("executed") != std::string::npos;
        EXPECT_EQ(rig.exec.Execute(r.device, r.command), r.result);
        EXPECT_EQ(rig.library.sends.size(), ok ? 1u : 0u);
        EXPECT_EQ(rig.beeper.beeps.size(), ok ? 2u : 0u);
    }
}

TEST(Executor, PadsPacksAndFramesWithBeeps) {
    Rig rig;
    rig.ctx.txdOutput = 1;
    EXPECT_EQ(rig.exec.Execute("Raw", "Long"), "Raw Long executed.");
    ASSERT_EQ(rig.library.sends.size(), 1u);
    const auto& send = rig.library.sends[0];
    // 17 cells padded to 24: the 17th cell lands in the last byte's top bit.
    EXPECT_EQ(send.bytes, (std::vector<std::uint8_t>{0xB3, 0x66, 0x80}));
    EXPECT_EQ(send.pulseLength, 420);
    EXPECT_EQ(send.txdMode, 1);
    EXPECT_EQ(rig.ctx.sendBuffer, std::string("\xB3\x66\x80"));
    EXPECT_EQ(rig.beeper.beeps, (std::vector<std::pair<int, int>>{{5000, 50}, {2000, 50}}));
    EXPECT_EQ(rig.exec.lastCells(), "101100110110011010000000");
    EXPECT_EQ(rig.exec.lastBitCount(), 17);

    rig.ctx.settings().beepOn = false;
    EXPECT_EQ(rig.exec.Execute("TV", "Power"), "TV Power executed.");
    // NEC: 24 lead-in cells, eight 0 bits of two cells, the stop cell, padded to 48.
    EXPECT_EQ(rig.library.sends[1].bytes, (std::vector<std::uint8_t>{0xFF, 0xFF, 0x00, 0xAA, 0xAA, 0x80}));
    EXPECT_EQ(rig.library.sends[1].pulseLength, 560);
    EXPECT_EQ(rig.beeper.beeps.size(), 2u);
}

TEST(Executor, MissingLibraryGivesTheSendErrorWithoutSecondBeep) {
    Rig rig;
    rig.library.missing = true;
    EXPECT_EQ(rig.exec.Execute("Raw", "Six"), "Error sending infrared command!");
    EXPECT_EQ(rig.beeper.beeps, (std::vector<std::pair<int, int>>{{5000, 50}}));
    EXPECT_TRUE(rig.exec.lastCells().empty());

    rig.ctx.settings().irDimEna = true;
    EXPECT_EQ(rig.exec.Execute("ir dimmer", "g1"), "Error sending infrared command!");
}

TEST(Executor, RecordedCommandComesFromTheRecordPanel) {
    struct Row {
        const char* protocol;
        const char* code;
        const char* pulse;
        const char* result;
        std::vector<std::uint8_t> bytes;
        int pulseLength;
    } rows[] = {
        {"", "G10110", "550", "Information about received command is not complete!", {}, 0},
        {"SONY", "  ", "550", "Information about received command is not complete!", {}, 0},
        {"UNK", "G10110", "550", "You must first manually define a new device if UNKNOWN.", {}, 0},
        {"RC5", "G101", "550", "Invalid code to be send!", {}, 0},
        // SONY: "1111" lead-in, "011" for 1, "01" for 0, then four repeats behind 40-cell gaps.
        {"SONY", "G10110", "600", "Recorded recorded executed.", {0xF6, 0xB6, 0x80}, 600},
    };
    for (const Row& r : rows) {
        SCOPED_TRACE(std::string(r.protocol) + "/" + r.code);
        Rig rig;
        rig.view.setText("ProtocolName", r.protocol);
        rig.view.setText("CodeStr", r.code);
        rig.view.setText("SendPulse", r.pulse);
        EXPECT_EQ(rig.exec.Execute("Recorded", "recorded"), r.result);
        if (r.bytes.empty()) {
            EXPECT_TRUE(rig.library.sends.empty());
            continue;
        }
        ASSERT_EQ(rig.library.sends.size(), 1u);
        const auto& sent = rig.library.sends[0].bytes;
        ASSERT_GE(sent.size(), r.bytes.size());
        EXPECT_EQ(std::vector<std::uint8_t>(sent.begin(), sent.begin() + 3), r.bytes);
        EXPECT_EQ(rig.library.sends[0].pulseLength, r.pulseLength);
        EXPECT_EQ(rig.exec.lastCells().size() % 8, 0u);
    }
}

TEST(Executor, DimmerBurstsAndPauses) {
    struct Row {
        const char* command;
        int second;
        int pause;
    } rows[] = {{"g1", 20, 500}, {"G1", 20, 500}, {"ON/OFF", 200, 1000}};
    for (const Row& r : rows) {
        SCOPED_TRACE(r.command);
        Rig rig;
        rig.ctx.settings().irDimEna = true;
        EXPECT_EQ(rig.exec.Execute("IR Dimmer", r.command), "IR Dimmer command executed OK.");
        ASSERT_EQ(rig.library.sends.size(), 2u);
        EXPECT_EQ(rig.library.sends[0].bytes, std::vector<std::uint8_t>(150, 0x55));
        EXPECT_EQ(rig.library.sends[1].bytes, std::vector<std::uint8_t>(static_cast<std::size_t>(r.second), 0x55));
        EXPECT_EQ(rig.library.sends[1].pulseLength, 2000);
        EXPECT_EQ(rig.clock.sleeps, std::vector<int>{r.pause});
        EXPECT_EQ(rig.beeper.beeps, (std::vector<std::pair<int, int>>{{5000, 50}, {2000, 50}}));
    }
    // Without the dimmer option it is one more infrared device, and it has no section.
    Rig rig;
    EXPECT_EQ(rig.exec.Execute("ir dimmer", "g1"), "No code to be send!");
    EXPECT_TRUE(rig.library.sends.empty());
}

} // namespace
} // namespace quenix::testing
