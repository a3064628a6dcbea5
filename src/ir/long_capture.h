#pragma once

// Captures longer than the serial sampler's 600 bytes (264 ms at 55 us a sample): an air
// conditioner's frame of up to 256 bits, or the two or three frames of one of its presses,
// lasts up to ~900 ms. Kernel devices take them, the serial recorder only for the press after
// one that did not fit, and the offline tools; ordinary keys stay at 600 bytes.

#include "ir/pulse_text.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace quenix {

// 2048 bytes: 16384 samples, ~900 ms at 55 us.
inline constexpr std::size_t kLongCaptureBytes = 2048;
// Silence kept behind the last carrier: 28 ms at 55 us, more than a frame gap, so the
// decoder sees the last frame end.
inline constexpr std::size_t kLongCaptureTail = 64;

// The bytes a capture of runs needs at periodUs: the ordinary 600 at least.
inline std::size_t CaptureBytesFor(const std::vector<PulseRun>& runs, double periodUs) {
    double us = 0;
    for (const PulseRun& r : runs) us += r.us;
    const auto bytes = static_cast<std::size_t>(us / periodUs / 8) + kLongCaptureTail;
    return std::clamp(bytes, kCaptureBytes, kLongCaptureBytes);
}

// A long capture cut behind its last carrier and its tail of silence, never below 600 bytes:
// the decoder then reads an ordinary key exactly as it always did.
inline void TrimCapture(std::vector<std::uint8_t>& capture) {
    if (capture.size() <= kCaptureBytes) return;
    std::size_t used = capture.size();
    while (used > 0 && capture[used - 1] == 0) --used;
    capture.resize(std::clamp(used + kLongCaptureTail, kCaptureBytes, capture.size()));
}

} // namespace quenix
