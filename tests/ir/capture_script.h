#pragma once
// Captures for the recorder and calibration tests, from the project's own encoder.

#include "ir/codec.h"
#include "ir/protocols.h"
#include "ir/pulse_text.h"
#include "ir/recorder.h"
#include "ir/waveform.h"
#include "support/rig.h"

#include <gtest/gtest.h>

#include <deque>
#include <optional>
#include <string>
#include <vector>

namespace quenix::testing {

// One key press of code ("G" + bits) under the protocol's preset, sampled every periodUs. RC5
// presses carry toggle 1 unless told that the previous press set it; a tap sends one frame.
inline std::vector<std::uint8_t> Press(int protocol, std::string code, double periodUs = kSampleUs,
                                       std::size_t bytes = kRecordBytes, bool rc5Toggle = false, bool tap = false) {
    ProtocolHeader h = HeaderFromPreset(protocol);
    if (tap) h.repeat = 0;
    bool toggle = rc5Toggle;
    return SampleRuns(CellsToRuns(EncodeCommand(code, h, toggle), h.sendpls), periodUs, bytes);
}

class ScriptedSource final : public CaptureSource {
public:
    struct Call {
        int type, procDelay, length;
    };
    // nullopt: the library's time-out.
    std::deque<std::optional<std::vector<std::uint8_t>>> captures;
    std::string irman;
    std::vector<Call> calls;
    bool record(int type, std::vector<std::uint8_t>& buffer, int procDelay, int length) override {
        calls.push_back({type, procDelay, length});
        std::optional<std::vector<std::uint8_t>> next;
        if (!captures.empty()) next = captures.front(), captures.pop_front();
        if (next) std::copy_n(next->begin(), std::min(next->size(), buffer.size()), buffer.begin());
        return next.has_value();
    }
    std::string readIRMan() override { return irman; }
};

class FakeCanvas final : public SignalCanvas {
public:
    std::vector<SignalDrawing> drawings;
    std::vector<std::string> messages;
    double canvasWidth() const override { return 600; }
    double canvasHeight() const override { return 140; }
    void paintSignal(const SignalDrawing& d) override { drawings.push_back(d); }
    void showMessage(const std::string& text) override { messages.push_back(text); }
};

// The shipped configuration, a scripted receiver, and the recorder on them.
class ShippedConfigTest : public ::testing::Test, protected Rig {
protected:
    void Record(std::optional<std::vector<std::uint8_t>> capture) {
        source.captures = {std::move(capture)};
        beeper.beeps.clear();
        recorder.onRecButton();
    }
    FakeView view;
    ScriptedSource source;
    FakeCanvas canvas;
    quenix::Waveform waveform{view, canvas};
    Recorder recorder{ctx, view, source, waveform};
};

} // namespace quenix::testing
