#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quenix {

// A signal as timed runs, the way LIRC's mode2 and irsimsend write it ("pulse N" /
// "space N", microseconds).
struct PulseRun {
    bool mark = false;
    double us = 0;
};

// Reads pulse/space lines and ignores every other line. nullopt, with error set, on a
// pulse or space line whose length is not a positive number.
std::optional<std::vector<PulseRun>> ParseMode2(std::string_view text, std::string& error);

std::string FormatMode2(const std::vector<PulseRun>& runs);

// The runs of a cell string whose cells last cellUs each; trailing gap cells are dropped.
std::vector<PulseRun> CellsToRuns(std::string_view cells, double cellUs);

// What the capture library would record: sampling starts with the first carrier (the
// receiver line going active), one sample every periodUs, taken in the middle of its
// period; the buffer is filled up with silence.
inline constexpr std::size_t kCaptureBytes = 600;
std::vector<std::uint8_t> SampleRuns(const std::vector<PulseRun>& runs, double periodUs,
                                     std::size_t bytes = kCaptureBytes);

} // namespace quenix
