#pragma once

// The square-wave picture of the last signal in the main window's Signal box. The geometry is
// worked out here; the window only paints what comes out.

#include "core/view.h"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace quenix {

// The trace colour every control draws with: FFFF00 in blue-green-red order, a cyan trace.
inline constexpr std::uint32_t kTraceColorBgr = 0xFFFF00;

struct WaveDot {
    double x = 0;
    double y = 0;
};
struct WaveEdge {
    double x = 0; // a vertical stroke from yLow to yHigh
};

struct SignalDrawing {
    double width = 0;
    double height = 0;
    double yLow = 0;  // the baseline
    double yHigh = 0; // the carrier level
    std::uint32_t colorBgr = kTraceColorBgr;
    std::vector<WaveDot> dots;
    std::vector<WaveEdge> edges;
    std::string samples; // every sample as "0"/"1", drawn or not
};

// Lays the packed samples out on a box of width x height units (y grows downwards). A sample's
// place is (8i - k + scroll + 7) * zoom for bit k of byte i (from 1); places from the right
// edge less 10 on are not drawn, but still read into the sample text.
SignalDrawing DrawSignal(const std::vector<std::uint8_t>& data, int scroll, double zoom, double width, double height,
                         std::uint32_t colorBgr = kTraceColorBgr);

// Where the drawing goes: the window's Signal box, or a fake in tests.
class SignalCanvas {
public:
    virtual ~SignalCanvas() = default;
    virtual double canvasWidth() const = 0;
    virtual double canvasHeight() const = 0;
    virtual void paintSignal(const SignalDrawing& drawing) = 0;
    // A text in place of a graph; an empty text clears the box.
    virtual void showMessage(const std::string& text) = 0;
};

// The zoom and scroll state of the picture and the four controls that change it.
class Waveform {
public:
    static constexpr int kStartScroll = 15;
    // The view controls act only on a signal at least this long.
    static constexpr std::size_t kMinBytes = 60;

    Waveform(View& view, SignalCanvas& canvas) : view_(view), canvas_(canvas) {}

    // A new recording: back to the start position, then drawn.
    void Show(const std::vector<std::uint8_t>& data) { Show(data, kStartScroll); }
    void Show(const std::vector<std::uint8_t>& data, int scroll);
    // What was sent, as "0"/"1" samples, from its first sample on.
    void ShowSamples(const std::string& samples) { Show(PackSamples(samples), 0); }
    void ShowMessage(const std::string& text);
    void Clear();

    void onGExt();
    void onGshr();
    void onGReset();
    void onHScroll1(int value);
    // Redraws the current signal (the box was resized).
    void Redraw();

    // The scroll bar's range for a signal: from where its last byte reaches the left edge
    // to the start position.
    std::function<void(int minimum, int maximum)> scrollRange;

    double zoom() const { return zoom_; }
    int scroll() const { return scroll_; }
    const std::string& samples() const { return samples_; }
    const std::vector<std::uint8_t>& data() const { return data_; }

private:
    static std::vector<std::uint8_t> PackSamples(const std::string& samples);
    bool viewControlsActive() const;

    View& view_;
    SignalCanvas& canvas_;
    std::vector<std::uint8_t> data_;
    std::string samples_;
    double zoom_ = 1;
    int scroll_ = kStartScroll;
};

} // namespace quenix
