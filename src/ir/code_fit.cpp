#include "ir/code_fit.h"

#include "ir/codec.h"
#include "ir/protocols.h"
#include "ir/pulse_text.h"

#include <algorithm>
#include <cmath>
#include <string>

namespace quenix {

namespace {

constexpr double kRelativeTolerance = 0.3;
constexpr double kAbsoluteTolerance = 100.0 / 55.0; // samples of a calibrated delay
constexpr double kMaxStretch = 0.4;                 // units a receiver may add to a mark or take from it

} // namespace

std::vector<double> ExpectedRuns(std::string_view bits, int protocol, bool trailerUp) {
    std::vector<double> expected;
    const ProtocolPreset* row = FindPreset(protocol);
    if (!row || row->family == kProtoUnknown || bits.empty()) return expected;
    ProtocolHeader h = HeaderFromPreset(protocol);
    h.repeat = 0;
    h.grepeat = 0;
    std::string sent = "G" + std::string(bits);
    // The encoder flips the toggle it is given before it writes it.
    bool toggle = !trailerUp;
    if (row->toggle == Toggle::Rc5Bit) toggle = bits.size() >= 3 && bits[2] == '0';
    if (row->toggle == Toggle::MceBit) toggle = bits.size() == 32 && bits[16] == '0';
    for (const PulseRun& r : CellsToRuns(EncodeCommand(sent, h, toggle), 1.0))
        if (r.mark || !expected.empty()) expected.push_back(r.us); // sampling starts with carrier
    return expected;
}

RunFit FitRuns(const std::vector<int>& captured, const std::vector<double>& expected) {
    RunFit fit;
    const std::size_t n = captured.size();
    if (n != expected.size() || n < 2) return fit;
    double ee = 0, es = 0, xe = 0, xs = 0;
    for (std::size_t i = 0; i < n; ++i) {
        const double sign = i % 2 == 0 ? 1 : -1;
        ee += expected[i] * expected[i];
        es += expected[i] * sign;
        xe += captured[i] * expected[i];
        xs += captured[i] * sign;
    }
    const double det = ee * static_cast<double>(n) - es * es;
    if (det <= 0) return fit;
    const double unit = (xe * static_cast<double>(n) - es * xs) / det;
    if (unit <= 0) return fit;
    const double stretch = std::clamp((ee * xs - es * xe) / det, -kMaxStretch * unit, kMaxStretch * unit);
    double residual = 0;
    fit.within = true;
    for (std::size_t i = 0; i < n; ++i) {
        const double want = expected[i] * unit + (i % 2 == 0 ? stretch : -stretch);
        const double off = captured[i] - want;
        if (std::abs(off) > std::max(kRelativeTolerance * expected[i] * unit, kAbsoluteTolerance)) fit.within = false;
        residual += off * off / (expected[i] * unit * expected[i] * unit);
    }
    fit.ok = true;
    fit.unit = unit;
    fit.residual = residual / static_cast<double>(n);
    return fit;
}

RunFit FitBits(std::string_view bits, int protocol, const std::vector<int>& captured) {
    RunFit best;
    const ProtocolPreset* row = FindPreset(protocol);
    for (bool up : {false, true}) {
        const RunFit fit = FitRuns(captured, ExpectedRuns(bits, protocol, up));
        if (fit.ok && (!best.ok || fit.residual < best.residual)) best = fit;
        if (!row || row->toggle != Toggle::Rc6Trailer) break;
    }
    return best;
}

} // namespace quenix
