#pragma once

// RecButton: one capture from the selected receiver, decoded into the record panel, and the
// rule that a new code must arrive twice in a row before it may be stored.

#include "config/context.h"
#include "core/view.h"
#include "ir/waveform.h"

#include <cstdint>
#include <string>
#include <vector>

namespace quenix {

// The receiver as recording and calibration see it. The real one drives the serial port and
// the capture library; tests script it.
class CaptureSource {
public:
    virtual ~CaptureSource() = default;
    // Sets the interface's lines and fills buffer (already sized to length, zeroed) with packed
    // samples. False when nothing came within the library's time-out or it could not be called.
    virtual bool record(int interfaceType, std::vector<std::uint8_t>& buffer, int procDelay, int length) = 0;
    // The IRMan receiver at 9600 baud 8 data bits, polled up to 50 times 100 ms apart: the bytes
    // of one key, empty when none came.
    virtual std::string readIRMan() = 0;
    // Why the last record() could not reach the capture library, in the system's words; empty
    // when it was reached (a false record() was then the library's time-out).
    virtual std::string failure() const { return {}; }
};

inline constexpr std::size_t kRecordBytes = 600;
// One sample at a calibrated PROCDELAY, in microseconds.
inline constexpr int kSampleUs = 55;

class Recorder {
public:
    Recorder(Context& ctx, View& view, CaptureSource& source, Waveform& waveform);

    void onRecButton();

    // The two-press state: 0 waits for a new code, 1 holds one to compare with.
    int counter() const { return counter_; }
    const std::string& remembered() const { return remembered_; }

private:
    void clearPanel();
    // False when the capture ended the recording (its message is shown).
    bool capture(std::vector<std::uint8_t>& buffer);
    void recordIRMan();
    void showProtocol(int protocol);
    void validate(const std::string& code, int protocol);

    Context& ctx_;
    View& view_;
    CaptureSource& source_;
    Waveform& waveform_;
    int counter_ = 0;
    std::string remembered_;
    // The last press held a code longer than a serial capture: the next ones are taken long.
    bool longNext_ = false;
};

} // namespace quenix
