#pragma once

// The sampler and the emitter of the capture library, written against two small
// interfaces (the port's lines, a time base) so that the same code runs on a real port and
// on the simulated one of the tests.

#include <cstddef>
#include <cstdint>
#include <vector>

namespace serpulse {

class Line {
public:
    virtual ~Line() = default;
    virtual bool dcd() = 0;
    virtual void setDtr(bool on) = 0;
    // Queues all bytes for transmission; false when the port refuses them.
    virtual bool write(const std::uint8_t* data, std::size_t size) = 0;
    // Returns once the queued bytes have left the port.
    virtual void drain() = 0;
};

class Timebase {
public:
    virtual ~Timebase() = default;
    // Monotonic nanoseconds.
    virtual std::int64_t nowNs() = 0;
    // Gives the processor away for about ns; may overshoot.
    virtual void sleepNs(std::int64_t ns) = 0;
    // Returns at the given time, as exactly as the machine allows (may spin).
    virtual void waitUntilNs(std::int64_t t) = 0;
};

// The sample period: 45 us plus 0.5 us per step of PROCDELAY (clamped to 0..100), so the
// default PROCDELAY of 20 samples every 55 us, the unit the decoder counts in, and the
// range spans 45 to 95 us. Calibration walks PROCDELAY up from 0 while a 550 us unit
// shrinks from 12 samples through 10 (PROCDELAY about 15..25) to 9 and settles near 20.
std::int64_t SamplePeriodNs(int procDelay);

// The receiver line's polarity: the standard receiver pulls DCD off while it sees carrier,
// the IRMouse one raises it.
enum class Polarity { MarkWhenDcdOff, MarkWhenDcdOn };

// A run of marks this long is a line stuck active (a missing receiver, a pseudo-terminal),
// not a remote: no protocol keeps carrier on for 44 ms (800 samples of 55 us).
inline constexpr int kStuckMarkSamples = 800;
// When sampling stops. A pause of 16.5 ms (300 samples of 55 us, where the decoder ends a
// sequence) separates frames. Once two frames are in, 35 ms of silence ends the capture;
// with one frame so far, sampling goes on for 140 ms of silence, longer than the longest
// repeat gap (RC5's 150 units of 850 us), because the decoder reads RC5 from its second
// frame. Either way the key is handled long before 4800 samples (264 ms) would be full.
inline constexpr std::int64_t kFrameGapNs = 16'500'000;
inline constexpr std::int64_t kEndIdleNs = 35'000'000;
inline constexpr std::int64_t kSingleFrameEndIdleNs = 140'000'000;
// How often an idle line is looked at while waiting for the first edge: a thousand looks a
// second cost about 1 % of a core. The edge is then placed in the middle of the last idle
// millisecond, so the first mark is off by 0.25 ms on average (at most 0.5 ms), which no
// decision of the decoder rests on: the lead-in is long, and RC5 is read from its second
// frame.
inline constexpr std::int64_t kEdgePollNs = 1'000'000;
// How long a monitor call waits for a first edge before it answers "nothing". The caller
// looks at the line first and calls only while it is active, so the wait covers a mark that
// ended in between; it runs on the window's thread and must stay short.
inline constexpr std::int64_t kMonitorEdgeWaitNs = 2'000'000;
// How long a record call waits for a first edge.
inline constexpr std::int64_t kRecordEdgeWaitNs = 5'000'000'000;

class Sampler {
public:
    Sampler(Line& line, Timebase& time) : line_(line), time_(time) {}

    struct Request {
        std::uint8_t* buffer = nullptr; // zeroed by the caller
        int length = 0;                 // bytes
        int procDelay = 0;
        Polarity polarity = Polarity::MarkWhenDcdOff;
        std::int64_t edgeWaitNs = kRecordEdgeWaitNs;
        // A monitor call comes after the caller saw the line active: a mark already under
        // way is taken as the start. A record call waits for a fresh edge.
        bool acceptMarkAtStart = false;
    };

    // Fills the buffer eight samples a byte, earliest in the top bit, from the first edge on.
    // 1 when a signal was captured, 0 on time-out or a stuck line (the buffer then all zero).
    int capture(const Request& request);

    // Set after a capture ran into a stuck line; cleared once the line is seen idle. While it
    // is set, a monitor call that finds the line marked answers 0 at once.
    bool stuck() const { return stuck_; }
    void reset() { stuck_ = false; }

private:
    bool mark(Polarity p) { return line_.dcd() == (p == Polarity::MarkWhenDcdOn); }

    Line& line_;
    Timebase& time_;
    bool stuck_ = false;
};

// The software carrier on TxD at 115200 baud, 6 data bits, one stop bit: a character lasts
// 8 bit times (69.4 us). The transmitter lights while TxD is at space (logic 0, as in the
// start bit). The carrier character 0x1B puts the wire through 0 1 1 0 1 1 0 1 (start, data
// LSB first, stop): three 8.7 us pulses per character, 3, 3 and 2 bit times apart, a carrier
// of 43.2 kHz on average with a duty cycle of 37.5 %, inside the pass band of a 38 kHz
// receiver. The idle character 0x3F leaves only its start bit, one 8.7 us pulse per 69.4 us
// (14.4 kHz, 12.5 %), which a 38 kHz receiver rejects; keeping the UART busy during "0"
// cells lets its own clock time the cells instead of the host's sleeps.
inline constexpr std::uint8_t kTxdCarrierByte = 0x1B;
inline constexpr std::uint8_t kTxdIdleByte = 0x3F;
inline constexpr double kTxdCharUs = 8 * 1e6 / 115200.0;

// The character stream for the cells of buffer (byteCount bytes, top bit first), each cell
// pulseUs long. Cell boundaries fall on the character nearest their exact time, so the
// error never adds up.
std::vector<std::uint8_t> TxdStream(const std::uint8_t* buffer, int byteCount, int pulseUs);

class Emitter {
public:
    Emitter(Line& line, Timebase& time) : line_(line), time_(time) {}

    // DTR on for every "1" cell, off for every "0" cell, each pulseUs long; the transmitter
    // adds the 38 kHz carrier. DTR is left off.
    void sendDtr(const std::uint8_t* buffer, int byteCount, int pulseUs);
    // The software carrier on TxD (see TxdStream); returns once the stream has left.
    bool sendTxd(const std::uint8_t* buffer, int byteCount, int pulseUs);

private:
    Line& line_;
    Timebase& time_;
};

} // namespace serpulse
