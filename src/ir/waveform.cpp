#include "ir/waveform.h"

#include "core/text.h"
#include "ir/codec.h"

namespace quenix {

namespace {
constexpr double kBaselineAboveBottom = 12;
constexpr double kHighAboveBaseline = 40;
constexpr double kRightMargin = 10;
} // namespace

SignalDrawing DrawSignal(const std::vector<std::uint8_t>& data, int scroll, double zoom, double width, double height,
                         std::uint32_t colorBgr) {
    SignalDrawing d;
    d.width = width;
    d.height = height;
    d.yLow = height - kBaselineAboveBottom;
    d.yHigh = d.yLow - kHighAboveBaseline;
    d.colorBgr = colorBgr;
    d.samples.reserve(data.size() * 8);
    const double limit = width - kRightMargin;
    bool previous = false;
    for (std::size_t n = 0; n < data.size(); ++n) {
        const int i = static_cast<int>(n) + 1;
        for (int k = 7; k >= 0; --k) {
            const bool set = (data[n] >> k) & 1;
            d.samples += set ? '1' : '0';
            const double x = (8.0 * i - k + scroll + 7) * zoom;
            if (x < limit) {
                d.dots.push_back({x, set ? d.yHigh : d.yLow});
                if (set != previous) d.edges.push_back({x});
            }
            previous = set;
        }
    }
    return d;
}

void Waveform::Show(const std::vector<std::uint8_t>& data, int scroll) {
    data_ = data;
    scroll_ = scroll;
    if (scrollRange) scrollRange(16 - 8 * static_cast<int>(data_.size()), kStartScroll);
    view_.setCurrentIndex("HScroll1", scroll_);
    Redraw();
}

std::vector<std::uint8_t> Waveform::PackSamples(const std::string& samples) { return PackCells(samples); }

void Waveform::ShowMessage(const std::string& text) {
    data_.clear();
    samples_.clear();
    canvas_.showMessage(text);
}

void Waveform::Clear() { ShowMessage(""); }

void Waveform::Redraw() {
    if (data_.empty()) return;
    SignalDrawing d = DrawSignal(data_, scroll_, zoom_, canvas_.canvasWidth(), canvas_.canvasHeight());
    samples_ = d.samples;
    canvas_.paintSignal(d);
}

bool Waveform::viewControlsActive() const {
    return !Trim(view_.text("SendPulse")).empty() && data_.size() >= kMinBytes;
}

void Waveform::onGExt() {
    if (!viewControlsActive()) return;
    zoom_ *= 2;
    Redraw();
}

void Waveform::onGshr() {
    if (!viewControlsActive()) return;
    zoom_ /= 2;
    Redraw();
}

void Waveform::onGReset() {
    if (!viewControlsActive()) return;
    zoom_ = 1;
    scroll_ = kStartScroll;
    view_.setCurrentIndex("HScroll1", scroll_);
    Redraw();
}

void Waveform::onHScroll1(int value) {
    scroll_ = static_cast<int>(static_cast<std::int16_t>(value));
    Redraw();
}

} // namespace quenix
