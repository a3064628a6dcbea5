#include "ir/decoder.h"

#include "ir/codec.h"
#include "ir/protocols.h"
#include "ir/pulse_text.h"

#include <cmath>

namespace quenix {

namespace {

// How far a run may stray from its expected length, as LIRC allows: 30 %, or 100 us (in
// samples of a calibrated delay) for the shortest runs.
constexpr double kRelativeTolerance = 0.3;
constexpr double kAbsoluteTolerance = 100.0 / 55.0;

bool Matches(const std::vector<int>& captured, const std::vector<double>& expected, double& unit) {
    if (captured.size() != expected.size() || captured.empty()) return false;
    double sumCaptured = 0;
    double sumExpected = 0;
    for (std::size_t i = 0; i < captured.size(); ++i) sumCaptured += captured[i], sumExpected += expected[i];
    unit = sumCaptured / sumExpected;
    for (std::size_t i = 0; i < captured.size(); ++i) {
        const double want = expected[i] * unit;
        if (std::abs(captured[i] - want) > std::max(kRelativeTolerance * want, kAbsoluteTolerance)) return false;
    }
    return true;
}

} // namespace

const char* ReadingName(Reading r) {
    switch (r) {
    case Reading::Literal: return "literal";
    case Reading::Timing: return "timing";
    default: return "none";
    }
}

std::optional<double> ReproducedUnit(std::string_view code, int protocol, const CapturedRuns& runs) {
    if (protocol != kProtoNec && protocol != kProtoSony && protocol != kProtoRc5) return std::nullopt;
    if (!code.empty() && (code.front() == 'G' || code.front() == 'g')) code.remove_prefix(1);
    if (code.empty()) return std::nullopt;
    ProtocolHeader h = HeaderFromPreset(protocol);
    h.repeat = 0;
    h.grepeat = 0;
    std::string sent = "G" + std::string(code);
    bool toggle = code.size() >= 3 && code[2] == '0'; // so that RC5's toggle bit goes out as read
    std::vector<double> expected;
    for (const PulseRun& r : CellsToRuns(EncodeCommand(sent, h, toggle), 1.0))
        if (r.mark || !expected.empty()) expected.push_back(r.us); // sampling starts with carrier
    for (const CapturedFrame& f : runs.frames) {
        double unit = 0;
        if (f.complete && Matches(f.runs, expected, unit)) return unit;
    }
    return std::nullopt;
}

DecodedRecording DecodeCapture(std::vector<std::uint8_t> capture) {
    DecodedRecording d;
    d.signal = DecodeRecording(std::move(capture));
    d.literalCode = d.signal.code;
    d.unit = d.signal.unitSamples;
    if (d.signal.signal.empty()) return d;
    const CapturedRuns runs = SplitFrames(UnpackSamples(d.signal.signal));
    if (d.signal.recognised) {
        if (auto unit = ReproducedUnit(d.signal.code, d.signal.protocol, runs)) {
            d.reading = Reading::Literal;
            d.unit = *unit;
            return d;
        }
    }
    const TimingReading t = ReadTiming(runs);
    if (t.ok && t.bits.size() >= 8) {
        RecordedSignal& s = d.signal;
        s.protocol = t.protocol;
        s.unitSamples = static_cast<int>(std::lround(t.unit));
        s.code = "G" + t.bits;
        s.verdict = BitCountVerdict(t.protocol, t.bits);
        s.status = s.verdict.status;
        s.recognised = true;
        d.reading = Reading::Timing;
        d.unit = t.unit;
    } else if (d.signal.recognised) {
        d.reading = Reading::Literal; // inconsistent, but all there is
    }
    return d;
}

DecodedFrame DecodeMonitorFrame(const std::vector<std::uint8_t>& capture) {
    DecodedFrame d;
    d.literal = ExtractFrame(capture);
    const std::string& literal = d.literal.frame;
    const CapturedRuns runs = SplitFrames(UnpackSamples(capture));
    const int literalProtocol = d.literal.analysis.protocol;
    if (!literal.empty() && ReproducedUnit(literal, literalProtocol, runs)) {
        d.frame = literal;
        d.protocol = literalProtocol;
        d.reading = Reading::Literal;
        return d;
    }
    const TimingReading t = ReadTiming(runs);
    if (t.ok && t.bits.size() >= kMinFrameLength) {
        d.frame = t.bits;
        d.protocol = t.protocol;
        d.reading = Reading::Timing;
    } else if (!literal.empty()) {
        d.frame = literal;
        d.protocol = literalProtocol;
        d.reading = Reading::Literal;
    }
    return d;
}

std::string LookupKey(std::string_view configText, const DecodedFrame& f) {
    std::string key = f.frame.empty() ? "UNKNOWN" : MonitorKey(configText, f.frame, f.protocol);
    const std::string& literal = f.literal.frame;
    if (key == "UNKNOWN" && !literal.empty() && literal != f.frame)
        key = MonitorKey(configText, literal, f.literal.analysis.protocol);
    return key;
}

int MeasuredUnit(const std::vector<std::uint8_t>& capture) {
    const std::string samples = UnpackSamples(capture);
    const TimingReading t = ReadTiming(SplitFrames(samples));
    if (t.ok) return static_cast<int>(std::lround(t.unit));
    const RunAnalysis a = AnalyseRuns(samples);
    return a.ok ? a.unit : 0;
}

} // namespace quenix
