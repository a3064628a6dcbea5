#pragma once

// Runs of one kind split into two lengths, which every reading of bits starts from, and the
// bi-phase reading of RC5 and its kin built on it.

#include "ir/rc6_reading.h"

#include <array>
#include <vector>

namespace quenix {

// RC5's 889 us unit at any sampling from 45 to 65 us, taken as 55.
inline constexpr double kNominalSampleUs = 55;
// Of the shortest runs: longer spaces are no bi-phase bit (RC5X's silence is).
inline constexpr double kRc5xShortest = 3.5;

double Sum(const std::vector<double>& x);
double Median(std::vector<double> x);

struct Classes {
    std::vector<bool> isLong;
    int shorts = 0;
    int longs = 0;
    double shortMean = 0;
    double longMean = 0;
    double threshold = 0;
};

// Splits runs into two lengths, starting between the shortest and the longest. When they
// are not two lengths (all bits alike), the reference decides: runs longer than ratio times
// it are long.
Classes TwoLengths(const std::vector<double>& x, double reference, double ratio);

struct BiPhaseScale {
    double unit = 0;                   // 0: the runs are not bi-phase
    std::array<double, 2> threshold{}; // between one unit and two, for marks and for spaces
};

// The scale of bi-phase runs, marks in kinds[0] and spaces in kinds[1].
BiPhaseScale BiPhaseScaleOf(const std::array<std::vector<double>, 2>& kinds);
// A bi-phase frame from its first carrier on: RC5, RC5X (a silence behind the 8th bit) or StreamZap.
FrameReading BiPhase(const std::vector<int>& r, const BiPhaseScale& s);

} // namespace quenix
