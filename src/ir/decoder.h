#pragma once

// The decoder that recording, learning, calibration, monitoring and quenix-ir share. The run
// analysis reads a capture first; its code is kept when, sent again with its protocol's
// timing, it gives the captured runs back (and the timing reading's code, if another, does
// not fit them more closely). Otherwise, or when it fails, the timing reading stands.

#include "ir/analysis.h"
#include "ir/timing_reading.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace quenix {

class ConfigStore;

enum class Reading { None, Literal, Timing };
const char* ReadingName(Reading r);

// How code ("G" + bits, or bits), sent with its protocol's preset, fits the closest whole
// sequence of the capture: each run within 30 % or 100 us once the unit and a receiver's
// stretch of the marks are fitted.
struct CodeFit {
    bool ok = false;
    double unit = 0;     // samples
    double residual = 0; // mean squared deviation, relative to each run
};
CodeFit FitCode(std::string_view code, int protocol, const CapturedRuns& runs);

struct DecodedRecording {
    RecordedSignal signal; // the run analysis' result, or one built from the timing reading
    Reading reading = Reading::None;
    double unit = 0;         // samples, 0 when nothing could be measured
    std::string literalCode; // what the run analysis read, whether or not it was kept
};
DecodedRecording DecodeCapture(std::vector<std::uint8_t> capture);

struct DecodedFrame {
    MonitorFrame literal; // the run analysis' reading (its measured lengths are shown)
    std::string frame;    // the chosen bits; empty when the tick ends silently
    int protocol = 99;
    Reading reading = Reading::None;
};
DecodedFrame DecodeMonitorFrame(const std::vector<std::uint8_t>& capture);

// The key of a received frame: device "&" command, or "UNKNOWN". Codes learned before the
// timing reading existed hold what the run analysis read, so that is looked up too.
std::string LookupKey(std::string_view configText, const DecodedFrame& f);
std::string LookupKey(const ConfigStore& config, const DecodedFrame& f);

// The unit of a capture in samples, rounded; 0 when it cannot be measured.
int MeasuredUnit(const std::vector<std::uint8_t>& capture);

} // namespace quenix
