#include "send_rig.h"

namespace quenix::testing {
namespace {

// Raw has one cell per bit and no lead-in or repeats, so the packed bytes are the code's bits.
const char* kConfig = "[General]\r\n"
                      "[Raw]\r\nGPROTO=3\r\nSENDPLS=420\r\nREPEAT=0\r\nBITG=\r\nBIT0=0\r\nBIT1=1\r\nGREPEAT=0\r\n"
                      "G10110011011001101,Long\r\nG10110,Six\r\nG1011,Five\r\nG10210,Two\r\n"
                      "[TV]\r\nGPROTO=0\r\nSENDPLS=560\r\nREPEAT=0\r\nBITG=111111111111111100000000\r\n"
                      "BIT0=10\r\nBIT1=1000\r\nGREPEAT=0\r\nG00000000,Power\r\n[Monitoring]\r\n[End]\r\n";

// With the TxD carrier every run puts the port back to 115200 baud, 6 bits, whatever the device.
TEST(Executor, DispatchByNameAndFlagFallsThroughToInfrared) {
    struct Row {
        const char *device, *command;
        bool flag, irOut;
        const char *result, *call;
    } rows[] = {
        {"X10-Kitchen", "Dim", true, false, "X10 done", "x10:X10-Kitchen:Dim:4:37"},
        {"x10&lamp", "whatever", true, false, "X10 done", "x10:x10&lamp:whatever:2:37"},
        {"X10-Kitchen", "On", false, false, "Infrared output is disabled!", ""},
        {"Mouse", "LEFT", true, false, "Mouse LEFT", "mouse:LEFT"},
        {"mouse", "LEFT", false, false, "Infrared output is disabled!", ""},
        {"keyboard", "A", true, true, "", "keyboard:A"},
        {"application", "notepad", false, false, "Infrared output is disabled!", ""},
        // Off with infrared on: tried as an infrared device of that name, which has no code.
        {"winamp", "Play", false, true, "No code to be send!", ""},
        {"WINAMP", "Play", true, false, "Winamp Play", "winamp:Play"},
    };
    for (const Row& r : rows) {
        SCOPED_TRACE(std::string(r.device) + " " + r.command);
        SendRig rig(kConfig);
        Settings& s = rig.ctx.settings();
        s.x10Ena = s.mouseEna = s.keyboardEna = s.applicationEna = s.winampEna = r.flag;
        s.irOutEna = r.irOut;
        s.beepOn = true;
        rig.ctx.txdOutput = r.flag ? 1 : 0;
        rig.view.setCurrentIndex("DIMScroll", 37);
        EXPECT_EQ(rig.exec.Execute(r.device, r.command), r.result);
        EXPECT_EQ(rig.calls, *r.call ? std::vector<std::string>{r.call} : std::vector<std::string>{});
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
        {"Nowhere", "Power", "No code to be send!", {}, 0},
        {"Raw", "Five", "Invalid code to be send!", {}, 0},
        {"Raw", "Two", "Please use only 1's and 0's for the code.", {}, 0},
        {"Raw", "six", "Raw six executed.", {0xB0}, 420},
        // 17 cells padded to 24: the 17th lands in the last byte's top bit.
        {"Raw", "Long", "Raw Long executed.", {0xB3, 0x66, 0x80}, 420},
        // NEC: 24 lead-in cells, eight 0 bits of two cells, the stop cell.
        {"TV", "Power", "TV Power executed.", {0xFF, 0xFF, 0x00, 0xAA, 0xAA, 0x80}, 560},
    };
    for (const Row& r : rows) {
        SCOPED_TRACE(r.command);
        SendRig rig(kConfig);
        rig.ctx.settings().beepOn = true;
        rig.ctx.txdOutput = 1;
        EXPECT_EQ(rig.exec.Execute(r.device, r.command), r.result);
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

TEST(Executor, LibraryFailureGivesTheSendErrorWithoutSecondBeep) {
    for (const char* device : {"Raw", "IR Dimmer"}) {
        SendRig rig(kConfig);
        rig.ctx.settings().beepOn = rig.ctx.settings().irDimEna = true;
        rig.library.missing = true;
        EXPECT_EQ(rig.exec.Execute(device, "Six"), "Error sending infrared command!");
        EXPECT_EQ(rig.beeper.beeps, (Beeps{{5000, 50}}));
        EXPECT_TRUE(rig.exec.lastCells().empty());
    }
}

TEST(Executor, RecordedCommandComesFromTheRecordPanel) {
    struct Row {
        const char *protocol, *code, *result;
        std::vector<std::uint8_t> head;
    } rows[] = {
        {"", "G10110", "Information about received command is not complete!", {}},
        {"SONY", "  ", "Information about received command is not complete!", {}},
        {"UNK", "G10110", "You must first manually define a new device if UNKNOWN.", {}},
        // SONY: "1111" lead-in, "011" for 1, "01" for 0, repeats behind 40-cell gaps.
        {"SONY", "G10110", "Recorded recorded executed.", {0xF6, 0xB6, 0x80}},
    };
    for (const Row& r : rows) {
        SCOPED_TRACE(std::string(r.protocol) + "/" + r.code);
        SendRig rig(kConfig);
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
    struct Row {
        const char* command;
        std::size_t second;
        int pause;
    } rows[] = {{"g1", 20, 500}, {"G1", 20, 500}, {"ON/OFF", 200, 1000}};
    for (const Row& r : rows) {
        SCOPED_TRACE(r.command);
        SendRig rig(kConfig);
        rig.ctx.settings().beepOn = rig.ctx.settings().irDimEna = true;
        EXPECT_EQ(rig.exec.Execute("IR Dimmer", r.command), "IR Dimmer command executed OK.");
        EXPECT_EQ(rig.sentBytes(), (std::vector<std::vector<std::uint8_t>>{std::vector<std::uint8_t>(150, 0x55),
                                                                         std::vector<std::uint8_t>(r.second, 0x55)}));
        EXPECT_EQ(rig.library.sends[1].pulseLength, 2000);
        EXPECT_EQ(rig.clock.sleeps, std::vector<int>{r.pause});
        EXPECT_EQ(rig.beeper.beeps, kFramed);
    }
    // Without the dimmer option it is one more infrared device, and it has no section.
    SendRig rig(kConfig);
    EXPECT_EQ(rig.exec.Execute("ir dimmer", "g1"), "No code to be send!");
}

} // namespace
} // namespace quenix::testing
