#pragma once

// The timing reading's reading of one sequence, and its RC6 reader, which has a file of its own.

#include "ir/protocols.h"

#include <string>
#include <vector>

namespace quenix {

struct FrameReading {
    bool ok = false;
    bool repeat = false; // a lead-in and a stop mark without data, as NEC sends while a key is held
    bool leadIn = false; // read behind a lead-in
    int protocol = kProtoUnknown;
    std::string bits;
    double unit = 0;  // samples
    double doubt = 0; // how far runs strayed beyond the threshold they were read by, in units
};

// RC6 mode 0 and 6A behind its leader; the runs begin with the leader's mark.
FrameReading ReadRc6(const std::vector<int>& runs);
bool UsualRc6Length(int mode, std::size_t bits);
// A reading this close to RC6's edges (mean squared deviation per run) is RC6, not SONY.
inline constexpr double kRc6Closely = 0.05;

} // namespace quenix
