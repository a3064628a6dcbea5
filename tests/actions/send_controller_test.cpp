#include "actions/executor.h"
#include "actions/send_controller.h"
#include "config/context.h"
#include "io/serial_port.h"
#include "support/fakes.h"
#include "support/sim_serial.h"

#include <gtest/gtest.h>

namespace quenix::testing {
namespace {

const char* kConfig = "[General]\r\n"
                      "[TV]\r\nGPROTO=3\r\nSENDPLS=550\r\nREPEAT=0\r\nBITG=\r\nBIT0=0\r\nBIT1=1\r\nGREPEAT=0\r\n"
                      "G1011001101,Power\r\n[Monitoring]\r\n[End]\r\n";

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
    std::vector<std::string> winampCalls;
    CommandExecutor exec{ctx, serial, library, view, Backends()};
    std::vector<std::string> drawn;
    SendController send{ctx, view, serial, exec};

    Rig(const std::string& device, const std::string& command) {
        EXPECT_TRUE(store.SetText(kConfig));
        ctx.settings().irOutEna = true;
        ctx.settings().winampEna = true;
        driver.port(1).dtr = true; // as the receiver side leaves it
        ctx.irPortHandle = serial.OpenComPort(1);
        store.currentDevice = device;
        store.currentCommand = command;
        view.setTimerEnabled("IRMonTimer", true);
        send.hooks().drawWaveform = [this](const std::string& samples) {
            // Sending is over, but the window has not been handed back yet.
            EXPECT_FALSE(view.isEnabled("SendButton"));
            EXPECT_FALSE(view.isTimerEnabled("IRMonTimer"));
            drawn.push_back(samples);
        };
    }

    ActionBackends Backends() {
        ActionBackends b;
        b.winamp = [this](const std::string& c) {
            winampCalls.push_back(c);
            return std::string("Winamp ") + c;
        };
        return b;
    }

    std::vector<std::string> dtr() {
        std::vector<std::string> out;
        for (const LineChange& c : driver.port(1).changes)
            if (c.line == "DTR") out.push_back(c.on ? "on" : "off");
        return out;
    }
};

TEST(SendButton, RefusesWithoutAUsableCode) {
    struct Row {
        const char* command;
        const char* code;
        std::uint32_t background;
        const char* status;
    } rows[] = {
        {"", "G1011001101", 0xFFFFFF, "There is no command selected!"},
        {"  Empty ", "G1011001101", 0xFFFFFF, "There is no command selected!"},
        {"Power", "G1011001101", 0xFF0000, " The received command is not yet validated!"},
        {"Power", "   ", 0x00FF00, "Nothing to be send!"},
    };
    for (const Row& r : rows) {
        SCOPED_TRACE(r.status);
        Rig rig("TV", r.command);
        rig.view.setText("CodeStr", r.code);
        rig.view.setColor("CodeStr", View::ColorRole::Background, r.background);
        rig.send.onSendButton();
        EXPECT_EQ(rig.view.text("StatusBar"), r.status);
        EXPECT_TRUE(rig.library.sends.empty());
        EXPECT_TRUE(rig.drawn.empty());
        EXPECT_TRUE(rig.view.isTimerEnabled("IRMonTimer"));
        EXPECT_EQ(rig.dtr(), std::vector<std::string>{"off"});
    }
}

TEST(SendButton, SendsShowsTheWaveformAndHandsTheWindowBack) {
    struct Row {
        int interfaceType;
        bool monitoring;
        std::vector<std::string> dtr;
    } rows[] = {{2, true, {"off", "on"}}, {0, false, {"off"}}};
    for (const Row& r : rows) {
        SCOPED_TRACE(r.interfaceType);
        Rig rig("TV", "Power");
        rig.ctx.interfaceType = r.interfaceType;
        rig.ctx.monitoring = r.monitoring;
        rig.send.onCommandSelected();
        EXPECT_EQ(rig.view.text("CodeStr"), "G1011001101");
        rig.send.onSendButton();
        EXPECT_EQ(rig.view.text("StatusBar"), "TV Power executed.");
        ASSERT_EQ(rig.library.sends.size(), 1u);
        EXPECT_EQ(rig.library.sends[0].bytes, (std::vector<std::uint8_t>{0xB3, 0x40}));
        EXPECT_EQ(rig.view.text("IRCommand"), "TV&&Power");
        EXPECT_EQ(rig.view.text("BitNr"), "10");
        // 16 padded cells and one closing cell, ten 55 us samples each at 550 us.
        ASSERT_EQ(rig.drawn.size(), 1u);
        EXPECT_EQ(rig.drawn[0], SentSamples("1011001101000000", 550));
        EXPECT_EQ(rig.drawn[0].size(), 170u);
        EXPECT_EQ(rig.dtr(), r.dtr);
        EXPECT_TRUE(rig.view.isEnabled("SendButton"));
        EXPECT_EQ(rig.view.isTimerEnabled("IRMonTimer"), r.monitoring);
    }
}

TEST(SendButton, SpecialDevicesSkipTheCodeChecksAndTheWaveform) {
    Rig rig("Winamp", "");
    rig.view.setColor("CodeStr", View::ColorRole::Background, 0xFF0000);
    rig.send.onSendButton();
    EXPECT_EQ(rig.winampCalls, std::vector<std::string>{""});
    EXPECT_EQ(rig.view.text("StatusBar"), "Winamp ");
    EXPECT_EQ(rig.view.text("IRCommand"), "Winamp&&");
    EXPECT_TRUE(rig.drawn.empty());

    // The mouse is not one of them: it needs a command like an infrared device.
    Rig mouse("mouse", "EMPTY");
    mouse.send.onSendButton();
    EXPECT_EQ(mouse.view.text("StatusBar"), "There is no command selected!");
}

TEST(SendButton, DisplaySamplesRoundThePulseLength) {
    struct Row {
        const char* cells;
        int pulse;
        const char* samples;
    } rows[] = {
        {"10", 110, "110000"},  // 2 samples a cell
        {"1", 137, "1100"},     // 2.49 rounds down
        {"01", 138, "000111000"}, // 2.51 rounds up
        {"", 550, "0000000000"},
    };
    for (const Row& r : rows) EXPECT_EQ(SentSamples(r.cells, r.pulse), r.samples) << r.cells << "@" << r.pulse;
}

} // namespace
} // namespace quenix::testing
