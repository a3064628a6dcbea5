#include "capture_script.h"
#include "ir/waveform.h"

#include <gtest/gtest.h>

namespace quenix {
namespace {

using namespace testing;

// Bit k of byte i (from 1) sits at (8i - k + scroll + 7) * zoom: the first sample of a capture
// at 23 from the start view, set samples at 88 of the 140-unit box.
TEST(Waveform, ViewControlsNeedAPulseUnitAndSixtyBytes) {
    for (auto [bytes, pulse, acts] : {std::tuple{59, "550", false}, {60, "550", true}, {600, "  ", false}}) {
        SCOPED_TRACE(bytes);
        FakeView view;
        FakeCanvas canvas;
        Waveform w{view, canvas};
        view.setText("SendPulse", pulse);
        w.Show(std::vector<std::uint8_t>(bytes, 0xA5));
        EXPECT_EQ(canvas.drawings.back().samples.size(), bytes * 8u); // read to the end, drawn or not
        EXPECT_DOUBLE_EQ(canvas.drawings.back().dots[1].y - canvas.drawings.back().dots[0].y, 40);
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
