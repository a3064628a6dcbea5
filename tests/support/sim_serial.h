#pragma once

// A simulated serial driver: ports whose modem lines and data are driven by scripted devices on
// the far end, on the virtual clock.

#include "io/capture_library.h"
#include "io/serial_port.h"
#include "serpulse/pulse_engine.h"
#include "support/fakes.h"

#include <algorithm>
#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quenix::testing {

using SimClock = FakeClock;

struct SimPort;

// The device on the far end of a port.
class SimPeer {
public:
    virtual ~SimPeer() = default;
    // The modem input lines (kModemCtsOn, kModemDsrOn, kModemDcdOn) as the device drives them.
    virtual std::uint32_t lines(const SimPort& port, std::int64_t nowNs) = 0;
    virtual void onWrite(SimPort&, std::string_view, std::int64_t) {}
    // DTR, RTS or break changed.
    virtual void onControl(SimPort&, std::int64_t) {}
    // Before every read: put what is due into the port's receive queue.
    virtual void poll(SimPort&, std::int64_t) {}
};

struct LineChange {
    std::string line; // "DTR", "RTS", "BRK"
    bool on;
    std::int64_t ns;
};

struct SimPort {
    bool present = true;
    bool busy = false;   // held by another program
    bool denied = false; // the user may not open it
    bool open = false, dtr = false, rts = false, brk = false;
    CommState state{9600, 8, 2, 0, kCommFlagBinary | 0x10 | 0x1000}; // as a fresh port: even parity
    CommTimeouts timeouts{};
    std::string rx; // bytes waiting for the program
    std::vector<LineChange> changes;
    std::uint32_t inputs = kModemCtsOn | kModemDsrOn | kModemDcdOn; // when no peer drives them
    SimPeer* peer = nullptr;
};

class SimSerialDriver final : public SerialDriver {
public:
    explicit SimSerialDriver(SimClock& clock) : clock_(clock) {}

    // The port COMn, made present on first use.
    SimPort& port(int n) { return ports_[n]; }
    int lineReads = 0; // modem status reads, all an idle monitoring tick may cost

    PortHandle open(const std::string& deviceName) override;
    std::string openError() const override { return openError_; }
    bool getState(PortHandle h, CommState& s) override {
        return with(h, [&](SimPort& p) { s = p.state; });
    }
    bool setState(PortHandle h, const CommState& state) override;
    bool getTimeouts(PortHandle h, CommTimeouts& t) override {
        return with(h, [&](SimPort& p) { t = p.timeouts; });
    }
    bool setTimeouts(PortHandle h, const CommTimeouts& t) override {
        return with(h, [&](SimPort& p) { p.timeouts = t; });
    }
    bool read(PortHandle h, char* buffer, std::size_t max, std::size_t& got) override;
    bool write(PortHandle h, const char* data, std::size_t size, std::size_t& written) override;
    bool escape(PortHandle h, CommEscape function) override;
    bool modemStatus(PortHandle h, std::uint32_t& status) override;
    // A simulated UART can wait for its lines: the virtual clock runs on to the next change.
    bool canWaitForLines(PortHandle h) override { return portOf(h) != nullptr; }
    int waitLineChange(PortHandle h, std::uint32_t mask) override;
    bool defaultConfig(const std::string& deviceName) override;
    void close(PortHandle h) override;

private:
    SimPort* portOf(PortHandle h);
    template <class F>
    bool with(PortHandle h, F f) {
        SimPort* p = portOf(h);
        if (p) f(*p);
        return p != nullptr;
    }
    void setLine(SimPort& p, bool& line, const char* name, bool on);

    SimClock& clock_;
    std::map<int, SimPort> ports_;
    std::map<PortHandle, int> handles_;
    PortHandle next_ = 100;
    std::string openError_;
};

// A cell string on the air: cell k ("1" carrier) lasts from start + k * cellUs.
struct Waveform {
    std::string cells;
    double cellUs = 550;
    std::int64_t startNs = 0;
    // Timing error of the remote: every edge moves by up to this much, deterministically.
    double jitterUs = 0;
    bool markAt(std::int64_t ns) const;
};

// A demodulating receiver on DCD. Powered when the lines in `power` are on; while powered
// it shows `idleDcd` with no carrier and the opposite during carrier. Unpowered, DCD is off.
class DcdReceiver final : public SimPeer {
public:
    enum Power { Rts, RtsAndDtr };
    DcdReceiver(Power power, bool idleDcd) : power_(power), idleDcd_(idleDcd) {}
    std::uint32_t lines(const SimPort& port, std::int64_t nowNs) override;

    std::vector<Waveform> air;

private:
    Power power_;
    bool idleDcd_;
};

// The standard receiver idles with DCD on, the IRMouse one with DCD off.
inline DcdReceiver StandardReceiver() { return DcdReceiver(DcdReceiver::Rts, true); }
inline DcdReceiver IRMouseReceiver() { return DcdReceiver(DcdReceiver::RtsAndDtr, false); }

// An IRMan: powered from DTR and RTS, answers "I" then "R" with `answer` after `delayMs`
// (never when answer is empty). Its DCD is not connected and floats: on and off in turn.
class IRManPeer final : public SimPeer {
public:
    std::uint32_t lines(const SimPort& port, std::int64_t nowNs) override;
    void onWrite(SimPort& port, std::string_view bytes, std::int64_t nowNs) override;
    void onControl(SimPort& port, std::int64_t nowNs) override;
    void poll(SimPort& port, std::int64_t nowNs) override;

    std::string answer = "OK";
    int delayMs = 50;

private:
    std::string heard_;
    std::int64_t replyAt_ = -1;
    std::size_t looks_ = 0;
};

// A capture library that records what it is handed and answers captures from a script.
// With `missing` set, every call fails the way an absent library does.
class FakeCaptureLibrary final : public CaptureLibrary {
public:
    struct Send {
        std::vector<std::uint8_t> bytes;
        int pulseLength, txdMode;
    };
    struct Capture {
        std::string entry; // "IRRecord", "IRRecordN", "IRMonitor", "IRMonitorN"
        int procDelay, length;
    };

    using Result = std::optional<std::int32_t>;
    Result SetHandle(PortHandle h) override;
    Result IRRecord(std::uint8_t* b, int delay, int n) override { return capture("IRRecord", b, delay, n); }
    Result IRRecordN(std::uint8_t* b, int delay, int n) override { return capture("IRRecordN", b, delay, n); }
    Result IRMonitor(std::uint8_t* b, int delay) override { return capture("IRMonitor", b, delay, 600); }
    Result IRMonitorN(std::uint8_t* b, int delay) override { return capture("IRMonitorN", b, delay, 600); }
    Result IRSend(const std::uint8_t* buffer, int byteCount, int pulseLength, int txdMode) override;
    std::string error() const override { return error_; }
    bool Ready() override { return reachable(); }

    // Each capture call takes the next one (copied into the caller's buffer, result 1); an
    // empty script answers 0 with the buffer untouched.
    std::deque<std::vector<std::uint8_t>> captures;
    bool missing = false;
    // When set, the capture entries sample the receiver line through it instead.
    serpulse::Sampler* sampler = nullptr;

    std::vector<PortHandle> handles;
    std::vector<Capture> captureCalls;
    std::vector<Send> sends;

private:
    Result capture(const char* entry, std::uint8_t* buffer, int procDelay, int length);
    bool reachable();
    std::string error_;
};

} // namespace quenix::testing
