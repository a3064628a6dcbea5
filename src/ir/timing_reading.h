#pragma once

// The timing reading of a capture: runs measured in units of the protocol's own timing.
// The unit comes from the runs that carry the bits; lead-ins and gaps are told apart from
// them by their length in units. Reads pulse distance (NEC and its variants: 9 ms or 4.5 ms
// lead-in, repeat codes, any bit count and unit), pulse width (SONY 12/15/20 and the like)
// and bi-phase (RC5, a single frame included).

#include <string>
#include <string_view>
#include <vector>

namespace quenix {

// One sequence of a capture: its runs in samples, carrier first, ending with carrier.
struct CapturedFrame {
    std::vector<int> runs;
    bool complete = false; // a gap follows it: the capture did not end inside it
};

struct CapturedRuns {
    double shortRun = 0; // rough length of one unit in samples, from the shortest runs
    std::vector<CapturedFrame> frames;
};

// The runs of a sample string ("1" carrier), from its first carrier on, cut into sequences
// at the gaps between them.
CapturedRuns SplitFrames(std::string_view samples);

struct TimingReading {
    bool ok = false;
    int protocol = 99;
    std::string bits; // the data bits of the sequence most of the capture agrees on
    double unit = 0;  // samples per unit
};

TimingReading ReadTiming(const CapturedRuns& runs);

} // namespace quenix
