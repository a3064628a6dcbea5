#pragma once

// How well a code, sent with its protocol's preset, explains the runs of a captured frame.

#include <string_view>
#include <vector>

namespace quenix {

// The runs of one transmission of bits under the protocol's preset, in cells, from the first
// carrier on; a toggle bit goes out as the bits carry it. trailerUp picks RC6's trailer.
std::vector<double> ExpectedRuns(std::string_view bits, int protocol, bool trailerUp = false);

// Captured runs as unit * expected, plus stretch for a mark and less for a space (a receiver
// slow or quick to let go moves the end of every mark); least squares.
struct RunFit {
    bool ok = false;     // the counts match and a positive unit came out
    bool within = false; // every run within 30 %, or 100 us for the shortest, as LIRC allows
    double unit = 0;     // samples
    double residual = 0; // mean squared deviation, relative to each run
};
RunFit FitRuns(const std::vector<int>& captured, const std::vector<double>& expected);

// The closer of RC6's two trailers (one try for other protocols); a failed fit when none fits.
RunFit FitBits(std::string_view bits, int protocol, const std::vector<int>& captured);

} // namespace quenix
