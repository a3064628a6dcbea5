#include "capture_script.h"
#include "ir/analysis.h"
#include "ir/waveform.h"

#include <gtest/gtest.h>

namespace quenix {
namespace {

using namespace testing;

// Byte i (from 1), bit k sits at (8i - k + scroll + 7) * zoom, set bits at 88 and clear ones
// at 128 on a 140-unit box, until the right edge less 10.
TEST(DrawSignal, PlacesLevelsAndEdges) {
    struct Case {
        std::vector<std::uint8_t> data;
        int scroll;
        double zoom, width;
        double firstX;
        std::size_t dots;
        std::vector<double> edgeX;
    };
    const Case cases[] = {
        {{0xC0}, 15, 0.125, 600, 2.875, 8, {2.875, 3.125}}, // fractional places are kept
        {{0x00, 0x80}, 0, 2, 600, 16, 16, {32, 34}},        // scroll is added before the zoom
        {{0xFF, 0x00}, 15, 1, 40, 23, 7, {23}},             // cut at the right edge
    };
    for (const Case& c : cases) {
        SignalDrawing d = DrawSignal(c.data, c.scroll, c.zoom, c.width, 140);
        EXPECT_EQ(d.samples, UnpackSamples(c.data)); // read to the end, drawn or not
        ASSERT_EQ(d.dots.size(), c.dots) << c.firstX;
        for (std::size_t i = 0; i < d.dots.size(); ++i) {
            EXPECT_DOUBLE_EQ(d.dots[i].x, c.firstX + static_cast<double>(i) * c.zoom) << i;
            EXPECT_DOUBLE_EQ(d.dots[i].y, d.samples[i] == '1' ? 88 : 128) << i;
        }
        std::vector<double> edges;
        for (const WaveEdge& e : d.edges) edges.push_back(e.x);
        EXPECT_EQ(edges, c.edgeX);
    }
}

TEST(Waveform, ViewControlsNeedAPulseUnitAndSixtyBytes) {
    for (auto [bytes, pulse, acts] : {std::tuple{59, "550", false}, {60, "550", true}, {600, "  ", false}}) {
        SCOPED_TRACE(bytes);
        FakeView view;
        FakeCanvas canvas;
        Waveform w{view, canvas};
        view.setText("SendPulse", pulse);
        w.Show(std::vector<std::uint8_t>(bytes, 0xA5));
        for (int i = 0; i < 3; ++i) w.onGshr(); // no lower bound: places are fractional
        EXPECT_DOUBLE_EQ(canvas.drawings.back().dots[0].x, 23 * (acts ? 0.125 : 1));
        for (int i = 0; i < 40; ++i) w.onGExt(); // nor an upper one
        EXPECT_DOUBLE_EQ(w.zoom(), acts ? 0.125 * 1099511627776.0 : 1);
        w.onHScroll1(100); // always redraws
        EXPECT_EQ(w.scroll(), 100);
        w.onGReset();
        EXPECT_DOUBLE_EQ(w.zoom(), 1);
        EXPECT_EQ(w.scroll(), acts ? 15 : 100);
        EXPECT_EQ(view.currentIndex("HScroll1"), 15); // set by Show, and again by a reset
        EXPECT_EQ(canvas.drawings.size(), acts ? 46u : 2u);
    }
}

} // namespace
} // namespace quenix
