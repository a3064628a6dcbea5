#include "ir/timing_reading.h"

#include "ir/codec.h"
#include "ir/protocols.h"
#include "ir/rc6_reading.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <map>
#include <numeric>

namespace quenix {

namespace {


// Lengths in units of the shortest runs.
constexpr double kGapUnits = 12;              // a space this long ends a sequence (NEC's lead-in space is 8)
constexpr double kGapBeforeLeadUnits = 5;     // and one this long when a lead-in mark follows it
constexpr double kGapBehindLeadUnits = 20;    // and behind a lead-in mark
constexpr double kLeadMarkUnits = 2.7;        // SONY's lead-in is 4 units, its longest bit mark 2
// A lead-in mark behind a short gap starts a new sequence; RC5X's 2-unit mark behind its silence,
// stretched by a slow receiver, does not.
constexpr double kLeadMarkSplit = 3.3;
constexpr double kLeadSpaceUnits = 2.5;       // behind a pulse-distance lead-in (NEC 8, repeat 4); SONY's is a bit's
constexpr double kPulseDistanceLeadMark = 4;  // times a bit's mark
constexpr double kPulseDistanceLeadSpace = 2; // times a bit's mark
constexpr double kPulseWidthLeadLong = 1.4;   // times a long mark
constexpr double kPulseWidthLeadShort = 2.5;  // times a short mark, when no mark is long
constexpr double kEvenSpread = 1.7;           // longest to median of runs that do not carry the bits
// RC5's 889 us unit at any sampling from 45 to 65 us, taken as 55.
constexpr double kNominalSampleUs = 55;
constexpr double kBiPhaseMinUs = 600;
constexpr double kBiPhaseMaxUs = 1250;
constexpr double kMinUnitUs = 300;          // shorter units are noise, not a remote
constexpr double kBiPhaseLongest = 3.2;     // units: two, stretched by jitter and the receiver
constexpr double kStretched = 0.15;         // marks this much longer or shorter than spaces
constexpr std::size_t kRc5Halves = 28;      // half-bits of RC5's 14 bits
constexpr std::size_t kBiPhaseMaxRuns = 80; // beyond RC5 and its longer kin: noise, not worth the search
constexpr double kRc5Preference = 3.0;      // in units of deviation
constexpr double kRc5Over15 = 0.25;         // the same, of RC5's 14 bits over StreamZap's 15

// Marks and spaces from the first carrier on; the last entry is the silence behind the
// last mark (0 when the capture ends in carrier).
std::vector<int> RunLengths(std::string_view s) {
    std::vector<int> runs;
    std::size_t i = s.find('1');
    while (i != std::string_view::npos && i < s.size()) {
        std::size_t end = s.find(s[i] == '1' ? '0' : '1', i);
        if (end == std::string_view::npos) end = s.size();
        runs.push_back(static_cast<int>(end - i));
        i = end;
    }
    if (runs.size() % 2 == 1) {
        runs.pop_back(); // a mark the end of the capture cut: its length says nothing
        if (!runs.empty()) runs.back() = 0;
    }
    return runs;
}

// The mean of the runs near the shortest, from the one at 2 % on, so that a glitch does
// not set it.
double ShortRun(std::vector<int> runs) {
    if (runs.size() < 2) return 0;
    runs.pop_back();
    std::sort(runs.begin(), runs.end());
    const double low = runs[runs.size() / 50];
    double sum = 0;
    int n = 0;
    for (int r : runs)
        if (r >= low && r <= 1.5 * low) sum += r, ++n;
    return n ? sum / n : 0;
}

double Sum(const std::vector<double>& x) { return std::accumulate(x.begin(), x.end(), 0.0); }

double Median(std::vector<double> x) {
    if (x.empty()) return 0;
    std::nth_element(x.begin(), x.begin() + static_cast<long>(x.size() / 2), x.end());
    return x[x.size() / 2];
}

struct Classes {
    std::vector<bool> isLong;
    int shorts = 0;
    int longs = 0;
    double shortMean = 0;
    double longMean = 0;
    double threshold = 0;
};

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

// Splits runs into two lengths, starting between the shortest and the longest. When they
// are not two lengths (all bits alike), the reference decides: runs longer than ratio times
// it are long.
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

// The long class's size in units of the short one: NEC's gaps are 3, SONY's marks 2.
int LongUnits(const Classes& c, double reference) {
    const double shortLength = c.shorts ? c.shortMean : reference;
    if (!c.longs || shortLength <= 0) return 2;
    return std::max(2, static_cast<int>(std::lround(c.longMean / shortLength)));
}

std::string Bits(const Classes& c) {
    std::string bits;
    for (bool l : c.isLong) bits += l ? '1' : '0';
    return bits;
}

// Runs of one kind that vary no more than jitter does.
bool Even(const std::vector<double>& x, double median) {
    return std::all_of(x.begin(), x.end(), [&](double v) { return v <= kEvenSpread * median; });
}

// A short mark before every gap whose length is the bit, then a stop mark; from the run
// first on (2 behind a lead-in).
FrameReading PulseDistance(const std::vector<int>& r, std::size_t first) {
    FrameReading f;
    f.protocol = kProtoNec;
    if (first == 2 && r.size() == 3) {
        f.ok = f.repeat = true;
        return f;
    }
    std::vector<double> marks;
    std::vector<double> spaces;
    for (std::size_t i = first; i < r.size(); ++i) (i % 2 == 0 ? marks : spaces).push_back(r[i]);
    const double mark = Median(marks);
    if (spaces.empty() || !Even(marks, mark)) return f;
    const Classes c = TwoLengths(spaces, mark, 1.8);
    // NEC's lead-in is 16 units of carrier and 8 (4 for a repeat) of silence; Samsung's 8 and 8.
    if (first == 2 && (r[0] < kPulseDistanceLeadMark * mark || r[1] < kPulseDistanceLeadSpace * mark)) return f;
    f.bits = Bits(c);
    const double units =
        static_cast<double>(marks.size()) + c.shorts + static_cast<double>(LongUnits(c, mark)) * c.longs;
    f.unit = (Sum(marks) + Sum(spaces)) / units;
    f.ok = true;
    return f;
}

// A short gap before every mark whose length is the bit; from the run first on (1 behind a
// lead-in; without one the gap before the first mark is part of the pause).
FrameReading PulseWidth(const std::vector<int>& r, std::size_t first) {
    FrameReading f;
    f.protocol = kProtoSony;
    std::vector<double> marks;
    std::vector<double> spaces;
    for (std::size_t i = first; i < r.size(); ++i) (i % 2 == 0 ? marks : spaces).push_back(r[i]);
    const double space = Median(spaces);
    if (marks.empty() || !Even(spaces, space)) return f;
    const Classes c = TwoLengths(marks, space, 1.5);
    // SONY's lead-in is 4 units, twice its long mark: a bi-phase frame opening with a
    // 2-unit mark is no lead-in.
    if (first == 1 && r[0] < (c.longs ? kPulseWidthLeadLong * c.longMean : kPulseWidthLeadShort * c.shortMean))
        return f;
    f.bits = Bits(c);
    const double units =
        static_cast<double>(spaces.size()) + c.shorts + static_cast<double>(LongUnits(c, space)) * c.longs;
    f.unit = (Sum(marks) + Sum(spaces)) / units;
    f.ok = true;
    return f;
}

struct BiPhaseScale {
    double unit = 0;                   // 0: the runs are not bi-phase
    std::array<double, 2> threshold{}; // between one unit and two, for marks and for spaces
};

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

// RC5X's silence of four half-bits behind its 8th bit: the space that holds it lasts four to six.
constexpr std::size_t kRc5xGapAt = 16; // half-bits read, the one before sampling included
constexpr double kRc5xGapUnits = 4;
constexpr double kRc5xLongest = 8;     // units, stretched
constexpr double kRc5xShortest = 3.5;  // of the shortest runs: longer spaces are no bi-phase bit

// The whole lengths in half-bits of the RC5 kin: a last 0 bit's space half runs into the gap.
bool WholeRc5(std::size_t halves, bool gap) {
    const std::size_t bits = (halves + 1) / 2;
    return gap ? bits == 20 : bits == 14 || bits == 15;
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
    std::size_t h = static_cast<std::size_t>(std::min_element(last, last + halves) - last);
    // RC5's own 14 bits are the commonest: a 15-bit reading must stray clearly less.
    auto biased = [&](std::size_t k) { return last[k] - ((k + 1) / 2 == kRc5Halves / 2 ? kRc5Over15 : 0); };
    std::size_t whole = 0;
    for (std::size_t k = 1; k < halves; ++k)
        if (WholeRc5(k, gapRun != kNoGap) && (whole == 0 || biased(k) < biased(whole))) whole = k;
    if (whole != 0 && last[whole] <= last[h] + kRc5Preference) h = whole;
    // A long space in anything but a whole RC5X frame is a bit stretched past reading.
    if (gapRun != kNoGap && h != whole) return f;
    if (last[h] == kNone) return f;
    std::vector<int> lengths(n);
    for (std::size_t i = n; i > 0; --i) {
        lengths[i - 1] = step[i * halves + h];
        h -= static_cast<std::size_t>(lengths[i - 1]);
    }
    std::string cells = "0";
    for (std::size_t i = 0; i < n; ++i) cells.append(static_cast<std::size_t>(lengths[i]), i % 2 == 0 ? '1' : '0');
    const double total = static_cast<double>(cells.size() - 1) + (gapRun != kNoGap ? kRc5xGapUnits : 0);
    if (cells.size() % 2 == 1) cells += '0'; // a last 0 bit's space half runs into the gap
    for (std::size_t i = 0; i + 1 < cells.size(); i += 2) f.bits += cells[i] == '0' ? '1' : '0';
    f.unit = std::accumulate(r.begin(), r.end(), 0.0) / total;
    f.doubt = last[h];
    if (gapRun != kNoGap) f.protocol = kProtoRc5x;
    else if (f.bits.size() == static_cast<std::size_t>(PresetFor(kProtoStreamZap).bits)) f.protocol = kProtoStreamZap;
    f.ok = true;
    return f;
}

// Lead-in cells of a row over its bit mark: NEC 16 and 8, Samsung 8 and 8, Kaseikyo 8 and 4.
std::pair<double, double> LeadCells(const ProtocolPreset& p) {
    const std::size_t mark = p.bitg.find('0');
    const std::size_t space = mark == std::string_view::npos ? 0 : p.bitg.size() - mark;
    const double bitMark = static_cast<double>(p.bit0.find('0'));
    return {static_cast<double>(mark == std::string_view::npos ? p.bitg.size() : mark) / bitMark,
            static_cast<double>(space) / bitMark};
}

// Names a pulse-distance reading after the row whose lead-in and bit count it matches best;
// a row that asks for the bit count read beats one that takes any.
// The unit and the receiver's stretch come from the bits: a receiver that shortens marks
// lengthens the spaces behind them by as much, the lead-in's too.
int NamePulseDistance(const std::vector<int>& r, bool leadIn, double unit, double stretch, std::size_t bits) {
    int named = kProtoNec;
    double best = std::numeric_limits<double>::infinity();
    bool specific = false;
    for (const ProtocolPreset& p : kProtocolPresets) {
        if (p.family != kProtoNec || (p.bits != 0 && static_cast<std::size_t>(p.bits) != bits)) continue;
        const auto [leadMark, leadSpace] = LeadCells(p);
        if ((leadMark > 1) != leadIn) continue;
        // Relative deviation: with jitter +-j, 8 units reach 8 (1 + j) and 16 come down to 16 (1 - j),
        // and the two meet where the deviations are equal.
        const double d = leadIn ? std::abs((r[0] - stretch) / unit / leadMark - 1) +
                                      std::abs((r[1] + stretch) / unit / leadSpace - 1)
                                : 0;
        if (d < best - 1e-9 || (d <= best + 1e-9 && p.bits != 0 && !specific))
            best = d, named = p.index, specific = p.bits != 0;
    }
    return named;
}

bool HasLeadIn(const std::vector<int>& runs, double shortRun) {
    return runs.size() >= 3 && runs[0] >= kLeadMarkUnits * shortRun;
}

FrameReading ReadBehindLeadIn(const std::vector<int>& runs, double shortRun) {
    if (!HasLeadIn(runs, shortRun)) return {};
    // RC6's leader space is a SONY bit's length: a frame that keeps to RC6's edges closely is RC6.
    FrameReading f = ReadRc6(runs);
    if (f.ok && f.doubt <= kRc6Closely * static_cast<double>(runs.size())) return f.leadIn = true, f;
    const FrameReading rc6 = f;
    f = runs[1] >= kLeadSpaceUnits * shortRun ? PulseDistance(runs, 2) : PulseWidth(runs, 1);
    if (!f.ok) f = rc6;
    f.leadIn = f.ok;
    return f;
}

FrameReading ReadWithoutLeadIn(const std::vector<int>& runs, const BiPhaseScale& scale) {
    FrameReading f = BiPhase(runs, scale);
    if (!f.ok && scale.unit == 0) f = PulseDistance(runs, 0);
    if (!f.ok && scale.unit == 0) f = PulseWidth(runs, 0);
    // Without a lead-in only a plausible unit makes it a code.
    if (f.unit * kNominalSampleUs < kMinUnitUs) f.ok = false;
    return f;
}

// The bit counts the protocols define; a sequence read at one of them is the likelier.
bool UsualLength(int protocol, std::size_t bits) {
    switch (protocol) {
    case kProtoNec: return bits == 32 || bits == 16 || bits == 48 || bits == 42;
    case kProtoSony: return bits == 12 || bits == 15 || bits == 20;
    case kProtoRc6A: return UsualRc6Length(6, bits);
    default: return static_cast<std::size_t>(PresetFor(protocol).bits) == bits;
    }
}

// The reading under its protocol's own name; Sharp's inverted second frame reads as the first.
void Name(FrameReading& f, const std::vector<int>& r) {
    if (!f.ok || f.repeat || f.protocol != kProtoNec) return;
    std::vector<double> marks;
    for (std::size_t i = f.leadIn ? 2 : 0; i < r.size(); i += 2) marks.push_back(r[i]);
    const double mark = Median(marks);
    f.protocol = NamePulseDistance(r, f.leadIn, f.unit > 0 ? f.unit : mark, f.unit > 0 ? mark - f.unit : 0,
                                   f.bits.size());
    f.bits = NormalisedCode(f.bits, f.protocol);
}

} // namespace

CapturedRuns SplitFrames(std::string_view samples) {
    CapturedRuns c;
    const std::vector<int> runs = RunLengths(samples);
    c.shortRun = ShortRun(runs);
    if (c.shortRun <= 0) return c;
    const double u = c.shortRun;
    CapturedFrame f;
    for (std::size_t i = 0; i < runs.size(); i += 2) {
        f.runs.push_back(runs[i]);
        const int space = runs[i + 1];
        const bool last = i + 2 >= runs.size();
        // A receiver that shortens marks lengthens the lead-in's space by as much: NEC's 8 units
        // reach 12 of the shortened bit marks.
        const bool behindLead = f.runs.size() == 1 && runs[i] >= kLeadMarkUnits * u;
        const bool gap = space >= (behindLead ? kGapBehindLeadUnits : kGapUnits) * u ||
                         (!last && space >= kGapBeforeLeadUnits * u && runs[i + 2] >= kLeadMarkSplit * u);
        if (!gap && !last) {
            f.runs.push_back(space);
            continue;
        }
        f.complete = gap;
        c.frames.push_back(std::move(f));
        f = {};
    }
    return c;
}

// Of the sequences read, the one read most often; then one of a usual length, the one read
// with less doubt, the longer, the earlier. A sequence the capture cut off counts only when
// no whole one was read. When some sequence opens with a lead-in, those without one are
// repeats sent without it, or pieces.
TimingReading ReadTiming(const CapturedRuns& runs) {
    struct Seen {
        int votes = 0;
        std::size_t first = 0;
        double unitSum = 0;
        double doubt = 0;
    };
    TimingReading t;
    std::vector<FrameReading> read;
    bool leadIns = false;
    for (const CapturedFrame& frame : runs.frames) {
        read.push_back(ReadBehindLeadIn(frame.runs, runs.shortRun));
        leadIns = leadIns || read.back().leadIn;
    }
    if (!leadIns) {
        // Bi-phase frames share their scale: more runs measure it better.
        const bool anyWhole =
            std::any_of(runs.frames.begin(), runs.frames.end(), [](const CapturedFrame& f) { return f.complete; });
        std::array<std::vector<double>, 2> pooled;
        for (const CapturedFrame& frame : runs.frames)
            if (frame.complete || !anyWhole)
                for (std::size_t i = 0; i < frame.runs.size(); ++i)
                    if (i % 2 == 0 || frame.runs[i] < kRc5xShortest * runs.shortRun) // not RC5X's silence
                        pooled[i % 2].push_back(frame.runs[i]);
        const BiPhaseScale scale = BiPhaseScaleOf(pooled);
        for (std::size_t i = 0; i < runs.frames.size(); ++i) read[i] = ReadWithoutLeadIn(runs.frames[i].runs, scale);
    }
    for (std::size_t i = 0; i < runs.frames.size(); ++i) Name(read[i], runs.frames[i].runs);
    for (bool wholeOnly : {true, false}) {
        std::map<std::pair<int, std::string>, Seen> seen;
        for (std::size_t i = 0; i < runs.frames.size(); ++i) {
            const FrameReading& r = read[i];
            if (wholeOnly && !runs.frames[i].complete) continue;
            if (!r.ok || r.repeat || r.bits.empty()) continue;
            Seen& s = seen[{r.protocol, r.bits}];
            if (s.votes++ == 0) s.first = i;
            s.unitSum += r.unit;
            s.doubt += r.doubt;
        }
        const std::pair<const std::pair<int, std::string>, Seen>* best = nullptr;
        for (const auto& entry : seen) {
            if (best) {
                const Seen& a = entry.second;
                const Seen& b = best->second;
                const std::size_t la = entry.first.second.size();
                const std::size_t lb = best->first.second.size();
                const bool ua = UsualLength(entry.first.first, la);
                const bool ub = UsualLength(best->first.first, lb);
                if (a.votes != b.votes   ? a.votes < b.votes
                    : ua != ub           ? ub
                    : a.doubt != b.doubt ? a.doubt > b.doubt
                    : la != lb           ? la < lb
                                         : a.first > b.first)
                    continue;
            }
            best = &entry;
        }
        if (!best) continue;
        t.ok = true;
        t.protocol = best->first.first;
        t.bits = best->first.second;
        t.unit = best->second.unitSum / best->second.votes;
        return t;
    }
    return t;
}

} // namespace quenix
