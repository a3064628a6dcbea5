#pragma once

// The forms in which home automation speaks of infrared: the Linux kernel's scancodes (what
// ir-keytable and Home Assistant's protocol helpers name a key by) and signed microsecond
// timings, pulses positive and spaces negative.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace quenix {

// "0x0408" for the stored code of a NEC, SONY or RC5 key ("G" + data bits, or the bits), as the
// kernel's decoder of that protocol reports it; empty when the code does not fit the protocol.
std::string KernelScancode(int protocol, std::string_view code);

// The runs of a packed capture (top bit first, a set bit for carrier) in microseconds, from the
// first pulse to the last; periodNs is the length of one sample.
std::vector<int> CaptureTimings(const std::vector<std::uint8_t>& capture, std::int64_t periodNs);

// Timings as a cell string of cellUs cells for the transmitter, sent repeatCount more times with
// a pause between; empty with the reason in error when they cannot be sent.
std::string TimingsToCells(const std::vector<int>& timings, int cellUs, int repeatCount, std::string& error);

inline constexpr int kTimingCellUs = 50;
inline constexpr int kMaxRepeatCount = 20;

} // namespace quenix
