#pragma once

// Kernel infrared devices (/dev/lirc<n>) and FIFOs that carry their words: the word format,
// the conversion of pulse and space durations into the packed capture form the decoder reads,
// and of a packed cell string into the durations the kernel transmits. Pure functions over
// bytes and numbers; the device itself is in kernel_ir_device.h.

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace quenix {

// mode2 words: the top byte says what the low 24 bits (microseconds, or hertz) are.
inline constexpr std::uint32_t kMode2Space = 0x00000000;
inline constexpr std::uint32_t kMode2Pulse = 0x01000000;
inline constexpr std::uint32_t kMode2Frequency = 0x02000000;
inline constexpr std::uint32_t kMode2Timeout = 0x03000000;
inline constexpr std::uint32_t kMode2Overflow = 0x04000000;
inline constexpr std::uint32_t kMode2TypeMask = 0xFF000000;
inline constexpr std::uint32_t kMode2ValueMask = 0x00FFFFFF;

// Feature bits and modes of LIRC_GET_FEATURES, LIRC_SET_REC_MODE and LIRC_SET_SEND_MODE.
inline constexpr std::uint32_t kLircModePulse = 0x00000002;
inline constexpr std::uint32_t kLircModeMode2 = 0x00000004;
inline constexpr std::uint32_t kLircCanSendPulse = kLircModePulse;
inline constexpr std::uint32_t kLircCanRecMode2 = kLircModeMode2 << 16;
inline constexpr std::uint32_t kLircCanSetSendCarrier = 0x00000100;
inline constexpr std::uint32_t kLircCanSetSendDutyCycle = 0x00000200;
inline constexpr std::uint32_t kLircCanSetRecTimeout = 0x10000000;

inline constexpr std::uint32_t Mode2Word(bool pulse, std::uint32_t us) {
    return (pulse ? kMode2Pulse : kMode2Space) | (us & kMode2ValueMask);
}

struct Mode2Event {
    enum class Kind : std::uint8_t { Space, Pulse, Frequency, Timeout, Overflow, Other };
    Kind kind = Kind::Other;
    std::uint32_t value = 0;
};

// Decodes the whole 32-bit words of data (in the machine's byte order, as the kernel hands
// them out) and appends them to out. Answers the bytes used: a word cut short by the end of
// data is left for the next read.
std::size_t DecodeMode2(const std::uint8_t* data, std::size_t size, std::vector<Mode2Event>& out);

// Lays durations onto a zeroed capture buffer: sample k is taken at k x period, 8 samples a
// byte, the earliest in the top bit, a set bit for carrier.
class SampleWriter {
public:
    SampleWriter(std::uint8_t* buffer, std::size_t bytes, std::int64_t periodNs);
    void add(bool pulse, std::uint32_t us);
    bool full() const { return atNs_ >= static_cast<std::int64_t>(samples_) * periodNs_; }

private:
    std::uint8_t* buffer_;
    std::size_t samples_;
    std::int64_t periodNs_;
    std::int64_t atNs_ = 0;
};

// The cells of a packed buffer (top bit first), each pulseUs long, as alternating pulse and
// space durations that start and end with a pulse; empty when no cell is on.
std::vector<std::uint32_t> CellsToDurations(const std::uint8_t* packed, int byteCount, int pulseUs);

// Splits durations into pieces the kernel takes in one write: each starts and ends with a
// pulse, holds at most maxValues values and lasts at most maxUs. The second of each pair is
// the space to wait before the next piece.
std::vector<std::pair<std::vector<std::uint32_t>, std::uint32_t>>
SendPieces(const std::vector<std::uint32_t>& durations, std::size_t maxValues, std::uint32_t maxUs);

} // namespace quenix
