#include "actions/send_controller.h"
#include "send_rig.h"

namespace quenix::testing {
namespace {

const char* kConfig = "[General]\r\n"
                      "[TV]\r\nGPROTO=3\r\nSENDPLS=550\r\nREPEAT=0\r\nBITG=\r\nBIT0=0\r\nBIT1=1\r\nGREPEAT=0\r\n"
                      "G1011001101,Power\r\n[Monitoring]\r\n[End]\r\n";

struct Rig : SendRig {
    SendController send{ctx, view, serial, exec};
    std::vector<std::string> drawn;

    Rig(const std::string& device, const std::string& command) : SendRig(kConfig) {
        ctx.settings().winampEna = true;
        store.currentDevice = device;
        store.currentCommand = command;
        view.setTimerEnabled("IRMonTimer", true);
        send.hooks().drawWaveform = [this](const std::string& samples) {
            // Sent, but the window is not handed back yet.
            EXPECT_FALSE(view.isEnabled("SendButton") || view.isTimerEnabled("IRMonTimer"));
            drawn.push_back(samples);
        };
    }
    std::vector<bool> dtr() {
        std::vector<bool> out;
        for (const LineChange& c : driver.port(1).changes)
            if (c.line == "DTR") out.push_back(c.on);
        return out;
    }
};

TEST(SendButton, RefusesWithoutAUsableCode) {
    struct Row {
        const char *command, *code;
        std::uint32_t background;
        const char* status;
    } rows[] = {
        {"", "G1011001101", 0xFFFFFF, "There is no command selected!"},
        {"  Empty ", "G1011001101", 0xFFFFFF, "There is no command selected!"},
        {"Power", "G1011001101", 0xFF0000, " The received command is not yet validated!"},
        {"Power", "   ", 0x00FF00, "Nothing to be send!"},
    };
    for (const Row& r : rows) {
        Rig rig("TV", r.command);
        rig.view.setText("CodeStr", r.code);
        rig.view.setColor("CodeStr", View::ColorRole::Background, r.background);
        rig.send.onSendButton();
        EXPECT_EQ(rig.view.text("StatusBar"), r.status);
        EXPECT_TRUE(rig.library.sends.empty() && rig.drawn.empty());
        EXPECT_TRUE(rig.view.isTimerEnabled("IRMonTimer"));
        EXPECT_EQ(rig.dtr(), std::vector<bool>{false});
    }
}

TEST(SendButton, SendsDrawsAndHandsTheWindowBack) {
    struct Row {
        int interfaceType;
        bool monitoring;
        std::vector<bool> dtr;
    } rows[] = {{2, true, {false, true}}, {0, false, {false}}};
    for (const Row& r : rows) {
        SCOPED_TRACE(r.interfaceType);
        Rig rig("TV", "Power");
        rig.ctx.interfaceType = r.interfaceType;
        rig.ctx.monitoring = r.monitoring;
        rig.send.onCommandSelected();
        EXPECT_EQ(rig.view.text("CodeStr"), "G1011001101");
        rig.send.onSendButton();
        EXPECT_EQ(rig.view.text("StatusBar"), "TV Power executed.");
        EXPECT_EQ(rig.sentBytes(), (std::vector<std::vector<std::uint8_t>>{{0xB3, 0x40}}));
        EXPECT_EQ(rig.view.text("IRCommand"), "TV&&Power");
        EXPECT_EQ(rig.view.text("BitNr"), "10");
        // 16 padded cells and one closing cell, ten 55 us samples each.
        EXPECT_EQ(rig.drawn, std::vector<std::string>{SentSamples("1011001101000000", 550)});
        EXPECT_EQ(rig.dtr(), r.dtr);
        EXPECT_TRUE(rig.view.isEnabled("SendButton"));
        EXPECT_EQ(rig.view.isTimerEnabled("IRMonTimer"), r.monitoring);
    }
}

TEST(SendButton, SpecialDevicesSkipTheCodeChecksAndTheWaveform) {
    Rig rig("Winamp", "");
    rig.view.setColor("CodeStr", View::ColorRole::Background, 0xFF0000);
    rig.send.onSendButton();
    EXPECT_EQ(rig.calls, std::vector<std::string>{"winamp:"});
    EXPECT_EQ(rig.view.text("IRCommand"), "Winamp&&");
    EXPECT_TRUE(rig.drawn.empty());

    // The mouse is not one of them.
    Rig mouse("mouse", "EMPTY");
    mouse.send.onSendButton();
    EXPECT_EQ(mouse.view.text("StatusBar"), "There is no command selected!");
}

TEST(SendButton, DisplaySamplesRoundThePulseLength) {
    struct Row {
        const char* cells;
        int pulse;
        const char* samples;
    } rows[] = {{"10", 110, "110000"}, {"1", 137, "1100"}, {"01", 138, "000111000"}, {"", 550, "0000000000"}};
    for (const Row& r : rows) EXPECT_EQ(SentSamples(r.cells, r.pulse), r.samples) << r.cells << "@" << r.pulse;
}

} // namespace
} // namespace quenix::testing
