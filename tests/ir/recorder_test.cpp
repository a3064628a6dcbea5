#include "capture_script.h"
#include "ir/analysis.h"
#include "ir/recorder.h"

#include <gtest/gtest.h>

namespace quenix {
namespace {

using namespace testing;
using Bytes = std::vector<std::uint8_t>;

class RecorderTest : public ShippedConfigTest {
protected:
    void SetUp() override {
        store.settings().beepOn = true;
        store.settings().procDelay = 23;
    }
};

Bytes Blip(std::size_t usedBytes, std::uint8_t fill = 0xF0) {
    Bytes b(kRecordBytes, 0);
    for (std::size_t i = 0; i < usedBytes; ++i) b[i] = fill;
    return b;
}

TEST_F(RecorderTest, StatusAndPanelByCapture) {
    struct Case {
        std::string name;
        int interfaceType;
        std::optional<Bytes> capture;
        std::string status;
        std::string protocol; // ProtocolName afterwards, and its colour
        std::uint32_t color;
        std::string fields; // BitNr/AddrVal/CmdVal/SendPulse
    };
    // 55 us samples: a 550 us cell measures 9 of them, the RC5 850 us cell 15.
    const Case cases[] = {
        {"creative", 3, Bytes(600, 0xFF), "Creative Infra record is not yet implemented!", "", 0xFFFFFF, "///"},
        {"no interface", 9, Bytes(600, 0xFF), "No Rec interface selected!", "", 0xFFFFFF, "///"},
        {"time-out", 0, std::nullopt, "No signal received for 5 seconds!", "", 0xFFFFFF, "///"},
        {"39 bytes", 0, Blip(39), "Recorded signal to short!", "", 0xFFFFFF, "///"},
        {"no dominant run", 0, Blip(40, 0xFF), "Recorded signal is invalid or unknown!", "", 0xFFFFFF, "///"},
        {"four on, four off: nothing long", 0, Blip(60), "Unknown protocol!", "UNK", kRed, "///220"},
        {"sony 12", 1, Press(kProtoSony, "G101010010000"), "A valid SONY type command has been received.", "SONY",
         kGreen, "12/21/16/495"},
        {"sony 15", 0, Press(kProtoSony, "G101010011000001"), "A valid 15 bits SONY type command has been received.",
         "SONY", kGreen, "15/169/65/495"},
        {"sony 13", 4, Press(kProtoSony, "G1010100100001"), "A possible invalid SONY type command has been received.",
         "SONY", kGreen, "13///495"},
        {"nec 32", 0, Press(kProtoNec, "G00100000110111110001000011101111"),
         "A valid NEC type command has been received.", "NEC", kGreen, "32///495"},
        {"rc5 14", 0, Press(kProtoRc5, "G11000010000001"), "A valid RC5 type command has been received.", "RC5",
         kGreen, "14/2/1/825"},
        // A quick tap: one frame, with nothing before it but the silence before the capture.
        {"rc5 tap", 0, Press(kProtoRc5, "G11000010000001", kSampleUs, kRecordBytes, false, true),
         "A valid RC5 type command has been received.", "RC5", kGreen, "14/2/1/825"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        ctx.interfaceType = c.interfaceType;
        Record(c.capture);
        EXPECT_EQ(view.text("StatusBar"), c.status);
        EXPECT_EQ(view.text("ProtocolName"), c.protocol);
        EXPECT_EQ(view.color("ProtocolName", View::ColorRole::Background), c.color);
        EXPECT_EQ(view.text("BitNr") + "/" + view.text("AddrVal") + "/" + view.text("CmdVal") + "/" +
                      view.text("SendPulse"),
                  c.fields);
        EXPECT_EQ(view.text("ProtocolParams"), c.protocol.empty() || c.protocol == "UNK" ? "" : c.protocol + " params");
    }
    EXPECT_EQ(source.calls.back().procDelay, 23);
    EXPECT_EQ(source.calls.back().length, 600);
}

TEST_F(RecorderTest, MonitoringRefusesAndLeavesThePanel) {
    view.setText("CodeStr", "G1");
    ctx.monitoring = true;
    Record(Press(kProtoSony, "G101010010000"));
    EXPECT_EQ(view.text("StatusBar"), "You cannot record a command when monitoring function is activated!");
    EXPECT_EQ(view.text("CodeStr"), "G1");
    EXPECT_TRUE(source.calls.empty());
    EXPECT_TRUE(beeper.beeps.empty());
}

TEST_F(RecorderTest, DrawsTheCaptureCutBehindItsLastCarrier) {
    Bytes capture = Press(kProtoSony, "G101010010000");
    std::size_t last = capture.size();
    while (capture[last - 1] == 0) --last;
    view.setCurrentIndex("HScroll1", 400);
    Record(capture);
    ASSERT_EQ(canvas.drawings.size(), 1u);
    EXPECT_EQ(canvas.drawings[0].samples.size(), (last + kTrailingSilenceBytes) * 8);
    EXPECT_EQ(view.currentIndex("HScroll1"), 15);
}

TEST_F(RecorderTest, TwoPressRule) {
    const Bytes a = Press(kProtoSony, "G101010011000001"), b = Press(kProtoSony, "G000101100100000");
    // RC5 presses of one key differ in the toggle; another key differs elsewhere.
    const Bytes r1 = Press(kProtoRc5, "G11000010000001", kSampleUs, kRecordBytes, false);
    const Bytes r0 = Press(kProtoRc5, "G11000010000001", kSampleUs, kRecordBytes, true);
    const Bytes other = Press(kProtoRc5, "G11000010000011", kSampleUs, kRecordBytes, true);
    struct Case {
        std::string name;
        std::vector<std::optional<Bytes>> presses; // nullopt: nothing received
        std::vector<bool> validated;               // after each press
    };
    const Case cases[] = {
        {"same twice", {a, a}, {false, true}},
        {"a b b", {a, b, b}, {false, false, true}},
        {"a b a", {a, b, a}, {false, false, false}},
        {"validated stays until a new code", {a, a, b}, {false, true, false}},
        // The code it vouched for is gone with the panel.
        {"a failed recording clears it", {a, a, std::nullopt}, {false, true, false}},
        {"rc5 toggles", {r1, r0}, {false, true}},
        {"rc5 other key", {r1, other}, {false, false}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Recorder fresh{ctx, view, source, waveform};
        for (std::size_t i = 0; i < c.presses.size(); ++i) {
            source.captures = {c.presses[i]};
            beeper.beeps.clear();
            fresh.onRecButton();
            EXPECT_EQ(ctx.validated, c.validated[i]) << "press " << i + 1;
            if (!c.presses[i]) continue;
            EXPECT_EQ(view.text("IRCommand"), "?");
            EXPECT_EQ(view.color("CodeStr", View::ColorRole::Background), c.validated[i] ? kGreen : kRed);
            const std::pair<int, int> after = c.validated[i] ? std::pair{5000, 50} : std::pair{2000, 300};
            EXPECT_EQ(beeper.beeps, (std::vector<std::pair<int, int>>{{5000, 50}, after}));
        }
    }
}

TEST_F(RecorderTest, KnownCodeValidatesAtOnce) {
    Record(Press(kProtoSony, "G010010010000"));
    EXPECT_EQ(view.text("IRCommand"), "Sony TV&&Vol+");
    EXPECT_TRUE(ctx.validated);
    EXPECT_EQ(recorder.counter(), 0);
    EXPECT_EQ(view.color("CodeStr", View::ColorRole::Background), 0xFFFFFFu);
    EXPECT_EQ(beeper.beeps, (std::vector<std::pair<int, int>>{{5000, 50}, {2000, 50}, {5000, 50}}));
}

TEST_F(RecorderTest, IRManHasNoGraph) {
    ctx.interfaceType = 2;
    source.irman = std::string("\x12\x34\x00\x00\x00\x00", 6);
    Record(std::nullopt);
    EXPECT_EQ(canvas.messages.back(), "No graph available for IRMan type IR input interface.");
    EXPECT_TRUE(canvas.drawings.empty());
    EXPECT_TRUE(source.calls.empty());
    EXPECT_EQ(view.text("CodeStr"), "G" + std::string("00010010") + "00110100" + std::string(32, '0'));
    EXPECT_EQ(view.color("CodeStr", View::ColorRole::Background), kRed);

    source.irman.clear();
    Record(std::nullopt);
    EXPECT_EQ(view.text("StatusBar"), "No signal received for 5 seconds!");
}

} // namespace
} // namespace quenix
