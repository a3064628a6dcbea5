#include "ir/decoder.h"

#include "ir/code_fit.h"
#include "ir/codec.h"
#include "ir/frame_list.h"
#include "ir/protocols.h"
#include "ir/pulse_text.h"

#include <algorithm>
#include <cmath>

namespace quenix {

const char* ReadingName(Reading r) {
    switch (r) {
    case Reading::Literal: return "literal";
    case Reading::Timing: return "timing";
    default: return "none";
    }
}

CodeFit FitCode(std::string_view code, int protocol, const CapturedRuns& runs) {
    CodeFit best;
    if (!code.empty() && (code.front() == 'G' || code.front() == 'g')) code.remove_prefix(1);
    if (code.empty()) return best;
    const ProtocolPreset* row = FindPreset(protocol);
    for (bool up : {false, true}) {
        const std::vector<double> expected = ExpectedRuns(code, protocol, up);
        for (const CapturedFrame& f : runs.frames) {
            const RunFit fit = f.complete ? FitRuns(f.runs, expected) : RunFit{};
            if (fit.within && (!best.ok || fit.residual < best.residual)) best = {true, fit.unit, fit.residual};
        }
        if (!row || row->toggle != Toggle::Rc6Trailer) break;
    }
    return best;
}

namespace {

// The run analysis' code stands when it fits the capture, unless the timing reading read
// another code that fits it more closely.
bool KeepLiteral(const CodeFit& literal, const TimingReading& t, std::string_view literalBits,
                 const CapturedRuns& runs) {
    if (!literal.ok) return false;
    if (!t.ok || t.bits == literalBits) return true;
    const CodeFit timing = FitCode(t.bits, t.protocol, runs);
    return !timing.ok || literal.residual <= timing.residual;
}

// The run analysis knows three families; the timing reading names the protocol within one when
// it read the same bits.
int NamedAs(int literalProtocol, std::string_view bits, const TimingReading& t) {
    if (!t.ok || t.bits != bits || PresetFor(t.protocol).family != literalProtocol) return literalProtocol;
    return t.protocol;
}

void TakeTiming(DecodedRecording& d, int protocol, const std::string& bits, double unit) {
    RecordedSignal& s = d.signal;
    s.protocol = protocol;
    s.unitSamples = static_cast<int>(std::lround(unit));
    s.code = "G" + bits;
    s.verdict = BitCountVerdict(protocol, bits);
    s.status = s.verdict.status;
    s.recognised = true;
    d.reading = Reading::Timing;
    d.unit = unit;
}

} // namespace

DecodedRecording DecodeCapture(std::vector<std::uint8_t> capture) {
    DecodedRecording d;
    d.signal = DecodeRecording(std::move(capture));
    d.literalCode = d.signal.code;
    d.unit = d.signal.unitSamples;
    if (d.signal.signal.empty()) return d;
    const CapturedRuns runs = SplitFrames(UnpackSamples(d.signal.signal));
    if (const std::optional<FrameList> list = ReadFrameList(runs)) {
        TakeTiming(d, list->protocol, list->bits, list->unit);
        return d;
    }
    const TimingReading t = ReadTiming(runs);
    if (d.signal.recognised) {
        const CodeFit fit = FitCode(d.signal.code, d.signal.protocol, runs);
        if (KeepLiteral(fit, t, std::string_view(d.signal.code).substr(1), runs)) {
            d.reading = Reading::Literal;
            d.unit = fit.unit;
            if (const int named = NamedAs(d.signal.protocol, d.signal.code.substr(1), t); named != d.signal.protocol) {
                d.signal.protocol = named;
                d.signal.verdict = BitCountVerdict(named, d.signal.code.substr(1));
                d.signal.status = d.signal.verdict.status;
            }
            return d;
        }
    }
    if (t.ok && t.bits.size() >= 8) {
        TakeTiming(d, t.protocol, t.bits, t.unit);
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
    if (const std::optional<FrameList> list = ReadFrameList(runs)) {
        d.frame = list->bits;
        d.protocol = list->protocol;
        d.reading = Reading::Timing;
        return d;
    }
    const TimingReading t = ReadTiming(runs);
    if (!literal.empty() && KeepLiteral(FitCode(literal, literalProtocol, runs), t, literal, runs)) {
        d.frame = literal;
        d.protocol = NamedAs(literalProtocol, literal, t);
        d.reading = Reading::Literal;
        return d;
    }
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

namespace {

template <class Config> std::string Lookup(const Config& config, const DecodedFrame& f) {
    std::string key = f.frame.empty() ? "UNKNOWN" : MonitorKey(config, f.frame, f.protocol);
    const std::string& literal = f.literal.frame;
    if (key == "UNKNOWN" && !literal.empty() && literal != f.frame)
        key = MonitorKey(config, literal, f.literal.analysis.protocol);
    return key;
}

} // namespace

std::string LookupKey(std::string_view configText, const DecodedFrame& f) { return Lookup(configText, f); }

std::string LookupKey(const ConfigStore& config, const DecodedFrame& f) { return Lookup(config, f); }

int MeasuredUnit(const std::vector<std::uint8_t>& capture) {
    const std::string samples = UnpackSamples(capture);
    const TimingReading t = ReadTiming(SplitFrames(samples));
    if (t.ok) return static_cast<int>(std::lround(t.unit));
    const RunAnalysis a = AnalyseRuns(samples);
    return a.ok ? a.unit : 0;
}

} // namespace quenix
