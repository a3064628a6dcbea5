#include "io/kernel_ir.h"

#include <algorithm>
#include <cstring>

namespace quenix {

std::size_t DecodeMode2(const std::uint8_t* data, std::size_t size, std::vector<Mode2Event>& out) {
    using Kind = Mode2Event::Kind;
    const std::size_t whole = size - size % 4;
    for (std::size_t i = 0; i < whole; i += 4) {
        std::uint32_t word = 0;
        std::memcpy(&word, data + i, 4);
        Kind kind = Kind::Other;
        switch (word & kMode2TypeMask) {
        case kMode2Space: kind = Kind::Space; break;
        case kMode2Pulse: kind = Kind::Pulse; break;
        case kMode2Frequency: kind = Kind::Frequency; break;
        case kMode2Timeout: kind = Kind::Timeout; break;
        case kMode2Overflow: kind = Kind::Overflow; break;
        default: break;
        }
        out.push_back({kind, word & kMode2ValueMask});
    }
    return whole;
}

SampleWriter::SampleWriter(std::uint8_t* buffer, std::size_t bytes, std::int64_t periodNs)
    : buffer_(buffer), samples_(bytes * 8), periodNs_(std::max<std::int64_t>(periodNs, 1)) {}

void SampleWriter::add(bool pulse, std::uint32_t us) {
    const std::int64_t start = atNs_;
    atNs_ += static_cast<std::int64_t>(us) * 1000;
    if (!pulse) return;
    // The samples whose instant falls inside [start, end).
    const auto first = static_cast<std::size_t>((start + periodNs_ - 1) / periodNs_);
    const auto end = std::min(samples_, static_cast<std::size_t>((atNs_ + periodNs_ - 1) / periodNs_));
    for (std::size_t k = first; k < end; ++k) buffer_[k / 8] |= static_cast<std::uint8_t>(0x80u >> (k % 8));
}

std::vector<std::uint32_t> CellsToDurations(const std::uint8_t* packed, int byteCount, int pulseUs) {
    std::vector<std::uint32_t> out;
    const std::uint32_t cell = static_cast<std::uint32_t>(std::max(pulseUs, 1));
    bool level = true; // a first space run is dropped
    std::uint32_t run = 0;
    for (int i = 0; i < byteCount * 8; ++i) {
        const bool on = (packed[i / 8] & (0x80 >> (i % 8))) != 0;
        if (out.empty() && run == 0 && !on) continue;
        if (on != level) {
            out.push_back(run);
            run = 0;
            level = on;
        }
        run += cell;
    }
    // Padding and the trailing pause are silence the transmitter need not be told about.
    if (run > 0 && level) out.push_back(run);
    return out;
}

std::vector<std::pair<std::vector<std::uint32_t>, std::uint32_t>>
SendPieces(const std::vector<std::uint32_t>& durations, std::size_t maxValues, std::uint32_t maxUs) {
    std::vector<std::pair<std::vector<std::uint32_t>, std::uint32_t>> pieces;
    std::vector<std::uint32_t> piece;
    std::uint64_t length = 0;
    for (std::size_t i = 0; i < durations.size(); i += 2) {
        const std::uint32_t pulse = durations[i];
        const std::uint32_t space = i > 0 ? durations[i - 1] : 0;
        if (!piece.empty() && (piece.size() + 2 > maxValues || length + space + pulse > maxUs)) {
            pieces.emplace_back(std::move(piece), space);
            piece.clear();
            length = 0;
        } else if (!piece.empty()) {
            piece.push_back(space);
            length += space;
        }
        piece.push_back(pulse);
        length += pulse;
    }
    if (!piece.empty()) pieces.emplace_back(std::move(piece), 0);
    return pieces;
}

} // namespace quenix
