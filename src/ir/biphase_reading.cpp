#include "ir/biphase_reading.h"

#include "ir/code_fit.h"
#include "ir/protocols.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <string>

namespace quenix {

namespace {

constexpr double kBiPhaseMinUs = 600;
constexpr double kBiPhaseMaxUs = 1250;
constexpr double kBiPhaseLongest = 3.2;     // units: two, stretched by jitter and the receiver
constexpr double kStretched = 0.15;         // marks this much longer or shorter than spaces
constexpr std::size_t kBiPhaseMaxRuns = 80; // beyond RC5 and its longer kin: noise, not worth the search
constexpr double kRc5Preference = 3.0;      // in units of deviation
constexpr double kRc5Over15 = 1.25;         // a 15-bit reading's residual over a 14-bit one's

// Splits runs of one kind into short and long ones, from a first guess of the threshold.
// The threshold then moves to the middle of the gap the two classes' spread leaves between
// them: at 30 % jitter 1 unit reaches 1.3 and 2 units come down to 1.4.
Classes SplitShortLong(const std::vector<double>& x, double threshold) {
    Classes c;
    for (int round = 0; round < 8; ++round) {
        Classes next;
        next.threshold = threshold;
        double sumShort = 0;
        double sumLong = 0;
        for (double v : x) {
            const bool isLong = v > threshold;
            next.isLong.push_back(isLong);
            (isLong ? sumLong : sumShort) += v;
            ++(isLong ? next.longs : next.shorts);
        }
        if (next.shorts) next.shortMean = sumShort / next.shorts;
        if (next.longs) next.longMean = sumLong / next.longs;
        const bool settled = round > 0 && next.isLong == c.isLong;
        c = std::move(next);
        if (settled || c.shorts == 0 || c.longs == 0) break;
        double deviation = 0;
        for (std::size_t i = 0; i < x.size(); ++i) {
            const double d = x[i] / (c.isLong[i] ? c.longMean : c.shortMean) - 1;
            deviation += d * d;
        }
        // A uniform spread of +-j has a standard deviation of j / sqrt(3).
        const double j = std::clamp(std::sqrt(3 * deviation / static_cast<double>(x.size())), 0.02, 0.35);
        threshold = (c.shortMean * (1 + j) + c.longMean * (1 - j)) / 2;
        if (threshold <= c.shortMean || threshold >= c.longMean) threshold = std::sqrt(c.shortMean * c.longMean);
    }
    return c;
}

// RC5X's silence of four half-bits behind its 8th bit: the space that holds it lasts four to six.
constexpr std::size_t kRc5xGapAt = 16; // half-bits read, the one before sampling included
constexpr double kRc5xGapUnits = 4;
constexpr double kRc5xLongest = 8;     // units, stretched

// The whole lengths in half-bits of the RC5 kin: a last 0 bit's space half runs into the gap.
bool WholeRc5(std::size_t halves, bool gap) {
    const std::size_t bits = (halves + 1) / 2;
    return gap ? bits == 20 : bits == 14 || bits == 15;
}

} // namespace

double Sum(const std::vector<double>& x) { return std::accumulate(x.begin(), x.end(), 0.0); }

double Median(std::vector<double> x) {
    if (x.empty()) return 0;
    std::nth_element(x.begin(), x.begin() + static_cast<long>(x.size() / 2), x.end());
    return x[x.size() / 2];
}

Classes TwoLengths(const std::vector<double>& x, double reference, double ratio) {
    if (x.empty()) return {};
    const auto [lo, hi] = std::minmax_element(x.begin(), x.end());
    Classes c = SplitShortLong(x, std::sqrt(*lo * *hi));
    if (c.shorts && c.longs && c.longMean >= 1.5 * c.shortMean) return c;
    const double mean = Sum(x) / static_cast<double>(x.size());
    const bool allLong = mean > ratio * reference;
    c.isLong.assign(x.size(), allLong);
    c.shorts = allLong ? 0 : static_cast<int>(x.size());
    c.longs = allLong ? static_cast<int>(x.size()) : 0;
    c.shortMean = allLong ? 0 : mean;
    c.longMean = allLong ? mean : 0;
    c.threshold = ratio * reference;
    return c;
}

// Bi-phase runs last one unit or two. Without a lead-in to tell the unit by, a code of
// alternating bits has only 2-unit runs: RC5's unit, whatever the sampling, settles it.
// Marks and spaces get a threshold each, as a receiver lengthens the one at the other's cost.
BiPhaseScale BiPhaseScaleOf(const std::array<std::vector<double>, 2>& kinds) {
    BiPhaseScale s;
    std::vector<double> x = kinds[0];
    x.insert(x.end(), kinds[1].begin(), kinds[1].end());
    if (x.empty()) return s;
    const Classes c = TwoLengths(x, 0, 0); // a single length stays one class
    double threshold = 0;
    if (c.shorts && c.longs) {
        if (c.longMean > 2.6 * c.shortMean) return s;
        threshold = c.threshold;
    } else {
        double unit = Sum(x) / static_cast<double>(x.size());
        if (unit * kNominalSampleUs > kBiPhaseMaxUs) unit /= 2;
        threshold = 1.5 * unit;
    }
    // Marks and spaces measure apart only when the receiver stretches one of them; otherwise
    // the threshold of all runs, measured on twice as many, is the steadier.
    std::array<Classes, 2> own;
    std::array<double, 2> scale{};
    for (std::size_t k = 0; k < 2; ++k) {
        own[k] = TwoLengths(kinds[k], 0, 0);
        if (own[k].shorts && own[k].longs && own[k].longMean < 2.6 * own[k].shortMean)
            scale[k] = (own[k].shortMean * own[k].shorts + own[k].longMean * own[k].longs) /
                       (own[k].shorts + 2.0 * own[k].longs);
    }
    const bool stretched = scale[0] > 0 && scale[1] > 0 && std::abs(scale[0] / scale[1] - 1) > kStretched;
    double units = 0;
    for (std::size_t k = 0; k < 2; ++k) {
        s.threshold[k] = stretched ? own[k].threshold : threshold;
        for (double v : kinds[k]) units += v > s.threshold[k] ? 2 : 1;
    }
    s.unit = Sum(x) / units;
    if (s.unit * kNominalSampleUs < kBiPhaseMinUs || s.unit * kNominalSampleUs > kBiPhaseMaxUs) s.unit = 0;
    return s;
}

// Manchester: every bit changes level in its middle, so a run that starts on a bit boundary
// lasts one unit, and only a run that starts mid-bit may last two. Of the readings that keep
// to this, the one that strays least beyond the threshold wins, the RC5 kin's lengths when
// they stray hardly more. Sampling starts with the first carrier, the second half of the
// first start bit. One space far too long for a bit is RC5X's silence.
FrameReading BiPhase(const std::vector<int>& r, const BiPhaseScale& s) {
    FrameReading f;
    f.protocol = kProtoRc5;
    if (r.size() < 2 || r.size() > kBiPhaseMaxRuns || s.unit <= 0) return f;
    constexpr std::size_t kNoGap = 0; // run 0 is a mark, never the silence
    std::size_t gapRun = kNoGap;
    for (std::size_t i = 0; i < r.size(); ++i) {
        if (r[i] <= kBiPhaseLongest * s.unit) continue;
        if (i % 2 == 0 || gapRun != kNoGap || r[i] > kRc5xLongest * s.unit) return f;
        gapRun = i;
    }

    constexpr double kNone = std::numeric_limits<double>::infinity();
    const std::size_t n = r.size();
    const std::size_t halves = 2 * n + 2;
    // cost[i * halves + h]: the least deviation of the runs before run i, with h half-bits
    // read (the one before sampling began included); step: the last run's length in units.
    std::vector<double> cost((n + 1) * halves, kNone);
    std::vector<int> step((n + 1) * halves, 0);
    cost[1] = 0;
    for (std::size_t i = 0; i < n; ++i) {
        const double over = (r[i] - s.threshold[i % 2]) / s.unit;
        for (std::size_t h = 1; h + 2 < halves; ++h) {
            const double base = cost[i * halves + h];
            if (base == kNone) continue;
            auto relax = [&](int units, double add) {
                const std::size_t to = (i + 1) * halves + h + static_cast<std::size_t>(units);
                if (base + add < cost[to]) cost[to] = base + add, step[to] = units;
            };
            if (gapRun != kNoGap && i == gapRun) {
                // The silence spans the 8th bit's end: the 8th bit's space half before it (a 0),
                // the 9th bit's after it (a 1), both or neither.
                if (h + 1 < kRc5xGapAt || h > kRc5xGapAt) continue;
                const double x = r[i] / s.unit - kRc5xGapUnits;
                for (std::size_t to = kRc5xGapAt; to <= kRc5xGapAt + 1; ++to) {
                    const double len = static_cast<double>(to - h);
                    // Jitter scales with a run's length: a bit's run strays by a part of 1.5
                    // units beyond its threshold, this one by the same part of its own length.
                    const double d = std::max({0.0, len - 0.5 - x, x - len - 0.5}) * 1.5 / (len + kRc5xGapUnits);
                    const std::size_t at = (i + 1) * halves + to;
                    if (base + d < cost[at]) cost[at] = base + d, step[at] = static_cast<int>(to - h);
                }
                continue;
            }
            relax(1, std::max(0.0, over));
            if (h % 2 == 1) relax(2, std::max(0.0, -over));
        }
    }
    const double* last = &cost[n * halves];
    auto readingAt = [&](std::size_t end) {
        FrameReading g;
        if (last[end] == kNone) return g;
        std::vector<int> lengths(n);
        for (std::size_t i = n, at = end; i > 0; --i) {
            lengths[i - 1] = step[i * halves + at];
            at -= static_cast<std::size_t>(lengths[i - 1]);
        }
        std::string cells = "0";
        for (std::size_t i = 0; i < n; ++i) cells.append(static_cast<std::size_t>(lengths[i]), i % 2 == 0 ? '1' : '0');
        const double total = static_cast<double>(cells.size() - 1) + (gapRun != kNoGap ? kRc5xGapUnits : 0);
        if (cells.size() % 2 == 1) cells += '0'; // a last 0 bit's space half runs into the gap
        for (std::size_t i = 0; i + 1 < cells.size(); i += 2) g.bits += cells[i] == '0' ? '1' : '0';
        g.unit = std::accumulate(r.begin(), r.end(), 0.0) / total;
        g.doubt = last[end];
        g.protocol = gapRun != kNoGap                                                       ? kProtoRc5x
                     : g.bits.size() == static_cast<std::size_t>(PresetFor(kProtoStreamZap).bits) ? kProtoStreamZap
                                                                                          : kProtoRc5;
        g.ok = true;
        return g;
    };
    const std::size_t h = static_cast<std::size_t>(std::min_element(last, last + halves) - last);
    // Of the whole lengths the runs allow, the one whose timing gives them back most closely: the
    // unit is not known beforehand, so 14 bits read as 15 stray little more than right. RC5's own
    // 14 bits are the commonest, so a 15-bit reading must come clearly closer.
    FrameReading whole;
    double closest = std::numeric_limits<double>::infinity();
    for (std::size_t k = 1; k < halves; ++k) {
        if (!WholeRc5(k, gapRun != kNoGap) || last[k] > last[h] + kRc5Preference) continue;
        const FrameReading g = readingAt(k);
        const RunFit fit = g.ok ? FitBits(g.bits, g.protocol, r) : RunFit{};
        const double d = fit.residual * (g.protocol == kProtoStreamZap ? kRc5Over15 : 1);
        if (fit.ok && d < closest) whole = g, closest = d;
    }
    if (whole.ok) return whole;
    // A long space in anything but a whole RC5X frame is a bit stretched past reading.
    if (gapRun != kNoGap) return f;
    return readingAt(h);
}

} // namespace quenix
