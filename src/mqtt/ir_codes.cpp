#include "mqtt/ir_codes.h"

#include "ir/protocols.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace quenix {
namespace {

// count bits of code from first, least significant first (NEC and SONY send that way).
unsigned LsbFirst(std::string_view bits, std::size_t first, std::size_t count) {
    unsigned v = 0;
    for (std::size_t i = 0; i < count; ++i)
        if (bits[first + i] == '1') v |= 1u << i;
    return v;
}

unsigned MsbFirst(std::string_view bits, std::size_t first, std::size_t count) {
    unsigned v = 0;
    for (std::size_t i = 0; i < count; ++i) v = (v << 1) | (bits[first + i] == '1' ? 1u : 0u);
    return v;
}

std::string Hex(unsigned v, int digits) {
    char buf[16];
    std::snprintf(buf, sizeof buf, "0x%0*x", digits, v);
    return buf;
}

// Gaps longer than this between two repetitions of a sequence that ends on a pulse.
constexpr int kRepeatGapUs = 40000;
// Longest run and longest whole transmission accepted from outside.
constexpr int kMaxRunUs = 500000;
constexpr long kMaxTotalUs = 2000000;

} // namespace

std::string KernelScancode(int protocol, std::string_view code) {
    if (!code.empty() && (code.front() == 'G' || code.front() == 'g')) code.remove_prefix(1);
    if (code.find_first_not_of("01") != std::string_view::npos) return {};
    const std::size_t n = code.size();
    if (protocol == kProtoNec && n == 32) {
        const unsigned a = LsbFirst(code, 0, 8), na = LsbFirst(code, 8, 8);
        const unsigned c = LsbFirst(code, 16, 8), nc = LsbFirst(code, 24, 8);
        if ((c ^ nc) != 0xFF) return Hex(na << 24 | a << 16 | nc << 8 | c, 8); // 32-bit NEC
        if ((a ^ na) != 0xFF) return Hex(a << 16 | na << 8 | c, 6);            // extended NEC
        return Hex(a << 8 | c, 4);
    }
    if (protocol == kProtoSony && (n == 12 || n == 15 || n == 20)) {
        const unsigned function = LsbFirst(code, 0, 7);
        const unsigned device = LsbFirst(code, 7, n == 15 ? 8 : 5);
        const unsigned sub = n == 20 ? LsbFirst(code, 12, 8) : 0;
        return Hex(device << 16 | sub << 8 | function, 6);
    }
    if (protocol == kProtoRc5 && n == 14) {
        // Start bits, toggle, 5 system bits, 6 command bits; a cleared second start bit is the
        // seventh command bit of RC-5X.
        const unsigned system = MsbFirst(code, 3, 5);
        const unsigned command = MsbFirst(code, 8, 6) | (code[1] == '0' ? 0x40u : 0u);
        return Hex(system << 8 | command, 4);
    }
    return {};
}

std::vector<int> CaptureTimings(const std::vector<std::uint8_t>& capture, std::int64_t periodNs) {
    std::vector<int> out;
    const std::size_t samples = capture.size() * 8;
    auto bit = [&](std::size_t i) { return (capture[i / 8] >> (7 - i % 8)) & 1; };
    std::size_t i = 0;
    while (i < samples && !bit(i)) ++i;
    while (i < samples) {
        const int level = bit(i);
        std::size_t j = i;
        while (j < samples && bit(j) == level) ++j;
        if (!level && j == samples) break; // the silence after the last pulse
        const auto us = static_cast<int>((static_cast<std::int64_t>(j - i) * periodNs + 500) / 1000);
        out.push_back(level ? us : -us);
        i = j;
    }
    return out;
}

std::string TimingsToCells(const std::vector<int>& timings, int cellUs, int repeatCount, std::string& error) {
    if (timings.empty()) return error = "No timings to send.", std::string();
    if (repeatCount < 0 || repeatCount > kMaxRepeatCount)
        return error = "repeat_count must be 0 to " + std::to_string(kMaxRepeatCount) + ".", std::string();
    std::string once;
    long total = 0;
    for (std::size_t k = 0; k < timings.size(); ++k) {
        const int t = timings[k];
        const bool pulse = k % 2 == 0;
        if (t == 0 || (t > 0) != pulse)
            return error = "Timings must alternate pulse (positive) and space (negative), starting with a pulse.",
                   std::string();
        if (std::abs(t) > kMaxRunUs) return error = "A timing is longer than half a second.", std::string();
        total += std::abs(t);
        const int cells = std::max(1, (std::abs(t) + cellUs / 2) / cellUs);
        once.append(static_cast<std::size_t>(cells), pulse ? '1' : '0');
    }
    const bool endsOnPulse = timings.size() % 2 == 1;
    if ((total + kRepeatGapUs) * (repeatCount + 1) > kMaxTotalUs)
        return error = "The signal is longer than two seconds.", std::string();
    std::string cells = once;
    for (int r = 0; r < repeatCount; ++r) {
        if (endsOnPulse) cells.append(static_cast<std::size_t>(kRepeatGapUs / cellUs), '0');
        cells += once;
    }
    return cells;
}

} // namespace quenix
