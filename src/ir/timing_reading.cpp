#include "ir/timing_reading.h"

#include "ir/biphase_reading.h"
#include "ir/code_fit.h"
#include "ir/codec.h"
#include "ir/protocols.h"

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
constexpr double kPulseDistanceLeadMark = 4;  // times a bit's mark
constexpr double kPulseDistanceLeadSpace = 2; // times a bit's mark
constexpr double kPulseWidthLeadLong = 1.4;   // times a long mark
constexpr double kPulseWidthLeadShort = 2.5;  // times a short mark, when no mark is long
constexpr double kEvenSpread = 1.7;           // longest to median of runs that do not carry the bits
constexpr double kMinUnitUs = 300;            // shorter units are noise, not a remote

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

// The long class's size in units of the short one: NEC's gaps are 3, SONY's marks 2. Measured
// over whole bits, with the other kind's run of each: a receiver's stretch of the marks cancels.
int LongUnits(const Classes& c, double other) {
    if (!c.longs || other <= 0) return 2;
    const double shortBit = c.shorts ? other + c.shortMean : 2 * other;
    return std::max(2, static_cast<int>(std::lround(2 * (other + c.longMean) / shortBit - 1)));
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
        if (p.index == kProtoPioneer) continue; // NEC's frame to the cell: only its repeats tell it

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

// How far a reading strays from the runs, sent again with its protocol's timing (a reading that
// cannot be sent back to the same runs strays without bound); its unit is then the fitted one,
// which knows the protocol's cells, as RCA's two-cell spaces.
double Refit(FrameReading& f, const std::vector<int>& runs) {
    const RunFit fit = FitBits(f.bits, f.protocol, runs);
    if (!fit.ok) return std::numeric_limits<double>::infinity();
    f.unit = fit.unit;
    return fit.residual;
}

// RC6, pulse distance and pulse width all open with a long mark: of the readings that keep to
// their own shape, the one whose protocol's timing gives the runs back most closely.
FrameReading ReadBehindLeadIn(const std::vector<int>& runs, double shortRun) {
    if (!HasLeadIn(runs, shortRun)) return {};
    // RC6's leader space is a SONY bit's length: a frame that keeps to RC6's edges closely is RC6.
    FrameReading best = ReadRc6(runs);
    best.leadIn = best.ok;
    if (best.ok && best.doubt <= kRc6Closely * static_cast<double>(runs.size())) return best;
    double least = best.ok ? Refit(best, runs) : std::numeric_limits<double>::infinity();
    for (FrameReading f : {PulseDistance(runs, 2), PulseWidth(runs, 1)}) {
        if (!f.ok) continue;
        f.leadIn = true;
        if (f.repeat) return f;
        Name(f, runs);
        const double d = Refit(f, runs);
        if (!best.ok || d < least) best = f, least = d;
    }
    return best;
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

// Readings of two frames that differ in a few bits at most: one press, read through jitter.
constexpr std::size_t kAlikeBits = 3;

bool Alike(const FrameReading& a, const FrameReading& b) {
    if (!a.ok || !b.ok || a.repeat || b.repeat) return false;
    // The RC5 kin never change their code within a press: the same runs are one code, whatever
    // length jitter made one of them read as.
    if (PresetFor(a.protocol).family == kProtoRc5 && PresetFor(b.protocol).family == kProtoRc5) return true;
    if (a.protocol != b.protocol || a.bits.size() != b.bits.size()) return false;
    std::size_t differ = 0;
    for (std::size_t i = 0; i < a.bits.size(); ++i) differ += a.bits[i] != b.bits[i];
    return differ <= kAlikeBits;
}

// Whole frames that read alike are read once more as their mean, which stands for them all: the
// jitter that pushed one frame's run across a threshold seldom pushes the others' as far. The
// weights count the frames each reading stands for.
template <class ReadFrame>
std::vector<int> ReadMeans(const CapturedRuns& runs, std::vector<FrameReading>& read, ReadFrame readFrame) {
    const std::vector<CapturedFrame>& frames = runs.frames;
    std::vector<int> weight(frames.size(), 1);
    for (std::size_t i = 0; i < frames.size(); ++i) {
        if (!frames[i].complete || weight[i] == 0) continue;
        std::vector<std::size_t> group{i};
        for (std::size_t j = i + 1; j < frames.size(); ++j)
            if (frames[j].complete && weight[j] && frames[j].runs.size() == frames[i].runs.size() &&
                Alike(read[i], read[j]))
                group.push_back(j);
        if (group.size() < 2) continue;
        std::vector<int> mean(frames[i].runs.size());
        for (std::size_t k = 0; k < mean.size(); ++k) {
            double sum = 0;
            for (std::size_t g : group) sum += frames[g].runs[k];
            mean[k] = static_cast<int>(std::lround(sum / static_cast<double>(group.size())));
        }
        const FrameReading m = readFrame(mean);
        if (!Alike(m, read[i])) continue;
        read[i] = m;
        for (std::size_t g : group) weight[g] = 0;
        weight[i] = static_cast<int>(group.size());
    }
    return weight;
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
    const bool anyWhole =
        std::any_of(runs.frames.begin(), runs.frames.end(), [](const CapturedFrame& f) { return f.complete; });
    std::vector<FrameReading> read;
    bool leadIns = false; // a piece the capture cut off says nothing of the others
    for (const CapturedFrame& frame : runs.frames) {
        read.push_back(ReadBehindLeadIn(frame.runs, runs.shortRun));
        leadIns = leadIns || (read.back().leadIn && (frame.complete || !anyWhole));
    }
    BiPhaseScale scale;
    if (!leadIns) {
        // Bi-phase frames share their scale: more runs measure it better.
        std::array<std::vector<double>, 2> pooled;
        for (const CapturedFrame& frame : runs.frames)
            if (frame.complete || !anyWhole)
                for (std::size_t i = 0; i < frame.runs.size(); ++i)
                    if (i % 2 == 0 || frame.runs[i] < kRc5xShortest * runs.shortRun) // not RC5X's silence
                        pooled[i % 2].push_back(frame.runs[i]);
        scale = BiPhaseScaleOf(pooled);
        for (std::size_t i = 0; i < runs.frames.size(); ++i) read[i] = ReadWithoutLeadIn(runs.frames[i].runs, scale);
    }
    const std::vector<int> weight = ReadMeans(runs, read, [&](const std::vector<int>& mean) {
        return leadIns ? ReadBehindLeadIn(mean, runs.shortRun) : ReadWithoutLeadIn(mean, scale);
    });
    for (std::size_t i = 0; i < runs.frames.size(); ++i) Name(read[i], runs.frames[i].runs);
    for (bool wholeOnly : {true, false}) {
        std::map<std::pair<int, std::string>, Seen> seen;
        for (std::size_t i = 0; i < runs.frames.size(); ++i) {
            const FrameReading& r = read[i];
            if (wholeOnly && !runs.frames[i].complete) continue;
            if (!r.ok || r.repeat || r.bits.empty() || weight[i] == 0) continue;
            Seen& s = seen[{r.protocol, r.bits}];
            if (s.votes == 0) s.first = i;
            s.votes += weight[i];
            s.unitSum += r.unit * weight[i];
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
        // Pioneer sends NEC's frame again whole, lead-in and all, where NEC sends a repeat burst
        // or nothing: two frames with a lead-in and no burst are Pioneer's. A piece the capture
        // cut short is no burst. (A NEC remote that repeats whole frames reads as Pioneer, with
        // the same bits.)
        int frames = 0;
        bool burst = false;
        for (std::size_t i = 0; i < read.size(); ++i) {
            if (read[i].ok && read[i].repeat) burst = burst || runs.frames[i].complete;
            else if (read[i].ok && read[i].leadIn && read[i].bits == t.bits) frames += weight[i];
        }
        if (t.protocol == kProtoNec && !burst && frames >= 2 &&
            t.bits.size() == static_cast<std::size_t>(PresetFor(kProtoPioneer).bits))
            t.protocol = kProtoPioneer;
        return t;
    }
    return t;
}

} // namespace quenix
