#pragma once

// An air conditioner's press of two or three frames of different bits, read as one code.

#include "ir/timing_reading.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace quenix {

// A key's frame has at most a lead-in, 48 bits, a stop mark and the gap behind it: more runs
// are an air conditioner's, which another frame of the same press may follow.
inline constexpr std::size_t kKeyFrameRuns = 2 + 2 * 48 + 2;
// The longest gap between the frames of one such press.
inline constexpr std::int64_t kFrameListMaxGapUs = 60000;

struct FrameList {
    std::string bits; // each frame's bits, "G" between frames: "0101...G1100..."
    int protocol = 99;
    double unit = 0; // samples
};

// The complete pulse-distance frames at the start of a capture, when there are two or three,
// not all alike, and one is longer than any remote key's (48 bits); nullopt otherwise, at the
// cost of one pass over the frames' sizes for an ordinary key.
std::optional<FrameList> ReadFrameList(const CapturedRuns& runs);

} // namespace quenix
