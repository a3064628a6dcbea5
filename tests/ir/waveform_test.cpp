#include "capture_script.h"
#include "ir/analysis.h"
#include "ir/waveform.h"

#include <gtest/gtest.h>

namespace quenix {
namespace {

using namespace testing;
using Bytes = std::vector<std::uint8_t>;

// Byte i (from 1), bit k sits at (8i - k + scroll + 7) * zoom; every dot is one zoom step
// on, drawn at 88 when set and 128 when clear on a 140-unit box, until the right edge less 10.
TEST(DrawSignal, PlacesLevelsAndEdges) {
    struct Case {
        std::string name;
        Bytes data;
        int scroll;
        double zoom, width;
        double firstX;
        std::size_t dots;
        std::vector<double> edgeX;
    };
    const Case cases[] = {
        {"one carrier sample", {0x80}, 15, 1, 600, 23, 8, {23, 24}},
        {"zoom 0.125: fractional places, kept", {0xC0}, 15, 0.125, 600, 2.875, 8, {2.875, 3.125}},
        {"scroll is added before the zoom", {0x00, 0x80}, 0, 2, 600, 16, 16, {32, 34}},
        {"cut at the right edge", {0xFF, 0x00}, 15, 1, 40, 23, 7, {23}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        SignalDrawing d = DrawSignal(c.data, c.scroll, c.zoom, c.width, 140);
        EXPECT_EQ(d.samples, UnpackSamples(c.data)); // read to the end, drawn or not
        EXPECT_EQ(d.colorBgr, 0xFFFF00u);
        ASSERT_EQ(d.dots.size(), c.dots);
        for (std::size_t i = 0; i < d.dots.size(); ++i) {
            EXPECT_DOUBLE_EQ(d.dots[i].x, c.firstX + static_cast<double>(i) * c.zoom) << i;
            EXPECT_DOUBLE_EQ(d.dots[i].y, d.samples[i] == '1' ? 88 : 128) << i;
        }
        ASSERT_EQ(d.edges.size(), c.edgeX.size());
        for (std::size_t i = 0; i < d.edges.size(); ++i) EXPECT_DOUBLE_EQ(d.edges[i].x, c.edgeX[i]);
    }
}

TEST(Waveform, ViewControlsNeedAPulseUnitAndSixtyBytes) {
    struct Case {
        std::size_t bytes;
        std::string pulse;
        bool acts;
    };
    for (const Case& c : {Case{59, "550", false}, Case{60, "550", true}, Case{600, "  ", false}}) {
        SCOPED_TRACE(c.bytes);
        FakeView view;
        FakeCanvas canvas;
        Waveform w{view, canvas};
        view.setText("SendPulse", c.pulse);
        w.Show(Bytes(c.bytes, 0xA5));
        for (int i = 0; i < 3; ++i) w.onGshr(); // no lower bound: places are fractional
        EXPECT_DOUBLE_EQ(canvas.drawings.back().dots[0].x, 23 * (c.acts ? 0.125 : 1));
        for (int i = 0; i < 40; ++i) w.onGExt(); // nor an upper one
        EXPECT_DOUBLE_EQ(w.zoom(), c.acts ? 0.125 * 1099511627776.0 : 1);
        EXPECT_EQ(canvas.drawings.back().samples.size(), c.bytes * 8); // read, though beyond the edge
        w.onHScroll1(100); // always redraws
        EXPECT_EQ(w.scroll(), 100);
        w.onGReset();
        EXPECT_DOUBLE_EQ(w.zoom(), 1);
        EXPECT_EQ(w.scroll(), c.acts ? 15 : 100);
        EXPECT_EQ(view.currentIndex("HScroll1"), 15); // set by Show, and again by a reset
        EXPECT_EQ(canvas.drawings.size(), c.acts ? 46u : 2u);
    }
}

} // namespace
} // namespace quenix
