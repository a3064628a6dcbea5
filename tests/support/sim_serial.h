#pragma once

// A simulated serial driver: ports whose modem lines and data are driven by scripted
// devices on the far end, on a virtual clock that serves both the program (milliseconds)
// and the capture library (nanoseconds).

#include "core/clock.h"
#include "io/capture_library.h"
#include "io/serial_port.h"
#include "serpulse/pulse_engine.h"

#include <algorithm>
#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quenix::testing {

class SimClock final : public Clock, public serpulse::Timebase {
public:
    void sleep(int ms) override {
        sleeps.push_back(ms);
        ns_ += static_cast<std::int64_t>(ms) * 1'000'000;
    }
    std::int64_t nowMs() override { return ns_ / 1'000'000; }
    std::int64_t nowNs() override { return ns_; }
    void sleepNs(std::int64_t ns) override { ns_ += std::max<std::int64_t>(ns, 0); }
    void waitUntilNs(std::int64_t t) override { ns_ = std::max(ns_, t); }
    void advanceMs(std::int64_t ms) { ns_ += ms * 1'000'000; }

    std::vector<int> sleeps;

private:
    std::int64_t ns_ = 1'000'000'000'000;
};

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
    bool open = false;
    bool dtr = false, rts = false, brk = false;
    CommState state{9600, 8, 2, 0, kCommFlagBinary | 0x10 | 0x1000}; // as a fresh port: even parity
    CommTimeouts timeouts{};
    std::string rx; // bytes waiting for the program
    std::string tx; // bytes the program wrote
    std::vector<LineChange> changes;
    std::uint32_t inputs = kModemCtsOn | kModemDsrOn | kModemDcdOn; // when no peer drives them
    SimPeer* peer = nullptr;
};

class SimSerialDriver final : public SerialDriver {
public:
    explicit SimSerialDriver(SimClock& clock) : clock_(clock) {}

    // The port COMn, made present on first use.
    SimPort& port(int n) { return ports_[n]; }
    // The port behind an open handle.
    SimPort* portOf(PortHandle h);
    int lineReads = 0; // modem status reads, all an idle monitoring tick may cost

    PortHandle open(const std::string& deviceName) override;
    std::string openError() const override { return openError_; }
    bool getState(PortHandle h, CommState& state) override;
    bool setState(PortHandle h, const CommState& state) override;
    bool getTimeouts(PortHandle h, CommTimeouts& timeouts) override;
    bool setTimeouts(PortHandle h, const CommTimeouts& timeouts) override;
    bool read(PortHandle h, char* buffer, std::size_t max, std::size_t& got) override;
    bool write(PortHandle h, const char* data, std::size_t size, std::size_t& written) override;
    bool escape(PortHandle h, CommEscape function) override;
    bool modemStatus(PortHandle h, std::uint32_t& status) override;
    bool defaultConfig(const std::string& deviceName) override;
    void close(PortHandle h) override;

private:
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
        int pulseLength;
        int txdMode;
    };
    struct Capture {
        std::string entry; // "IRRecord", "IRRecordN", "IRMonitor", "IRMonitorN"
        int procDelay;
        int length;
    };

    std::optional<std::int32_t> SetHandle(PortHandle h) override;
    std::optional<std::int32_t> IRRecord(std::uint8_t* buffer, int procDelay, int length) override;
    std::optional<std::int32_t> IRRecordN(std::uint8_t* buffer, int procDelay, int length) override;
    std::optional<std::int32_t> IRMonitor(std::uint8_t* buffer, int procDelay) override;
    std::optional<std::int32_t> IRMonitorN(std::uint8_t* buffer, int procDelay) override;
    std::optional<std::int32_t> IRSend(const std::uint8_t* buffer, int byteCount, int pulseLength,
                                       int txdMode) override;
    std::string error() const override { return error_; }
    bool Ready() override { return reachable(); }

    // Each capture call takes the next one (copied into the caller's buffer, result 1); an
    // empty script answers 0 with the buffer untouched.
    std::deque<std::vector<std::uint8_t>> captures;
    bool missing = false;
    // When set, the monitor entries sample the receiver line through it instead.
    serpulse::Sampler* sampler = nullptr;

    std::vector<PortHandle> handles;
    std::vector<Capture> captureCalls;
    std::vector<Send> sends;

private:
    std::optional<std::int32_t> capture(const char* entry, std::uint8_t* buffer, int procDelay, int length);
    bool reachable();
    std::string error_;
};

} // namespace quenix::testing
