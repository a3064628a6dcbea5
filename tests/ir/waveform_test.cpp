#include "capture_script.h"
#include "ir/waveform.h"

#include <gtest/gtest.h>

namespace quenix {
namespace {

using namespace testing;
using Bytes = std::vector<std::uint8_t>;

TEST(DrawSignal, PlacesLevelsAndEdges) {
    struct Case {
        std::string name;
        Bytes data;
        int scroll;
        double zoom, width;
        std::string samples;
        std::vector<double> dotX;
        std::vector<bool> high; // per dot
        std::vector<double> edgeX;
    };
    const Case cases[] = {
        // Byte 1 bit 7 sits at 8 - 7 + 15 + 7 = 23.
        {"one carrier sample", {0x80}, 15, 1, 600, "10000000", {23, 24, 25, 26, 27, 28, 29, 30},
         {true, false, false, false, false, false, false, false}, {23, 24}},
        // Three shrinks: fractional places, kept as they are.
        {"zoom 0.125", {0xC0}, 15, 0.125, 600, "11000000",
         {2.875, 3, 3.125, 3.25, 3.375, 3.5, 3.625, 3.75}, {true, true, false, false, false, false, false, false},
         {2.875, 3.125}},
        // Scroll is added before the zoom: 2 * (16 - 7 + 0 + 7) = 32 for byte 2 bit 7.
        {"second byte, zoom 2", {0x00, 0x80}, 0, 2, 600, "0000000010000000",
         {16, 18, 20, 22, 24, 26, 28, 30, 32, 34, 36, 38, 40, 42, 44, 46}, {}, {32, 34}},
        // Right edge at 40 - 10 = 30: places 23 to 29 drawn, 30 on only read.
        {"cut at the right edge", {0xFF, 0x00}, 15, 1, 40, "1111111100000000", {23, 24, 25, 26, 27, 28, 29}, {},
         {23}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        SignalDrawing d = DrawSignal(c.data, c.scroll, c.zoom, c.width, 140);
        EXPECT_EQ(d.samples, c.samples);
        EXPECT_DOUBLE_EQ(d.yLow, 128);
        EXPECT_DOUBLE_EQ(d.yHigh, 88);
        EXPECT_EQ(d.colorBgr, 0xFFFF00u);
        ASSERT_EQ(d.dots.size(), c.dotX.size());
        for (std::size_t i = 0; i < d.dots.size(); ++i) {
            EXPECT_DOUBLE_EQ(d.dots[i].x, c.dotX[i]) << i;
            const bool high = c.samples[i] == '1';
            if (!c.high.empty()) {
                EXPECT_EQ(high, c.high[i]);
            }
            EXPECT_DOUBLE_EQ(d.dots[i].y, high ? 88 : 128) << i;
        }
        ASSERT_EQ(d.edges.size(), c.edgeX.size());
        for (std::size_t i = 0; i < d.edges.size(); ++i) EXPECT_DOUBLE_EQ(d.edges[i].x, c.edgeX[i]);
    }
}

class WaveformTest : public ::testing::Test {
protected:
    FakeView view;
    FakeCanvas canvas;
    Waveform waveform{view, canvas};
};

TEST_F(WaveformTest, ViewControlsNeedAPulseUnitAndSixtyBytes) {
    struct Case {
        std::string name;
        std::size_t bytes;
        std::string pulse;
        bool acts;
    };
    const Case cases[] = {
        {"59 bytes", 59, "550", false},
        {"60 bytes", 60, "550", true},
        {"no pulse unit", 600, "  ", false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Waveform w{view, canvas};
        view.setText("SendPulse", c.pulse);
        w.Show(Bytes(c.bytes, 0xA5));
        const std::size_t drawn = canvas.drawings.size();
        w.onGExt();
        w.onGExt();
        w.onGshr();
        EXPECT_DOUBLE_EQ(w.zoom(), c.acts ? 2 : 1);
        w.onHScroll1(100); // always redraws
        EXPECT_EQ(w.scroll(), 100);
        w.onGReset();
        EXPECT_DOUBLE_EQ(w.zoom(), 1);
        EXPECT_EQ(w.scroll(), c.acts ? 15 : 100);
        EXPECT_EQ(view.currentIndex("HScroll1"), 15); // set by Show, and again by a reset
        EXPECT_EQ(canvas.drawings.size() - drawn, c.acts ? 5u : 1u);
    }
}

TEST_F(WaveformTest, ShrinkHasNoLowerBound) {
    view.setText("SendPulse", "550");
    waveform.Show(Bytes(60, 0x0F));
    for (int i = 0; i < 3; ++i) waveform.onGshr();
    EXPECT_DOUBLE_EQ(waveform.zoom(), 0.125);
    EXPECT_DOUBLE_EQ(canvas.drawings.back().dots[0].x, (8 - 7 + 15 + 7) * 0.125);
    for (int i = 0; i < 40; ++i) waveform.onGExt();
    EXPECT_DOUBLE_EQ(waveform.zoom(), 0.125 * 1099511627776.0);
    EXPECT_TRUE(canvas.drawings.back().dots.empty());
    EXPECT_EQ(canvas.drawings.back().samples.size(), 480u);
}

} // namespace
} // namespace quenix
