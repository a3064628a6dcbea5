#include "support/sim_serial.h"

#include <algorithm>
#include <cmath>

namespace quenix::testing {

SimPort* SimSerialDriver::portOf(PortHandle h) {
    auto it = handles_.find(h);
    return it == handles_.end() ? nullptr : &ports_[it->second];
}

PortHandle SimSerialDriver::open(const std::string& deviceName) {
    const int n = ComPortNumber(deviceName);
    auto it = ports_.find(n);
    openError_ = it == ports_.end() || !it->second.present ? "no such device"
                 : it->second.denied                       ? deviceName + ": Permission denied"
                                                           : deviceName + " is in use by another program";
    if (it == ports_.end() || !it->second.present || it->second.denied || it->second.busy || it->second.open)
        return kNoPort;
    it->second.open = true;
    PortHandle h = next_++;
    handles_[h] = n;
    return h;
}

bool SimSerialDriver::getState(PortHandle h, CommState& state) {
    SimPort* p = portOf(h);
    if (!p) return false;
    state = p->state;
    return true;
}

bool SimSerialDriver::setState(PortHandle h, const CommState& state) {
    SimPort* p = portOf(h);
    if (!p) return false;
    // As Windows does: a line drops only when its control is switched to "disable".
    const std::uint32_t was = p->state.flags;
    p->state = state;
    if ((was & kCommFlagDtrControlMask) != 0 && (state.flags & kCommFlagDtrControlMask) == 0)
        setLine(*p, p->dtr, "DTR", false);
    if ((was & kCommFlagRtsControlMask) != 0 && (state.flags & kCommFlagRtsControlMask) == 0)
        setLine(*p, p->rts, "RTS", false);
    return true;
}

bool SimSerialDriver::getTimeouts(PortHandle h, CommTimeouts& timeouts) {
    SimPort* p = portOf(h);
    if (!p) return false;
    timeouts = p->timeouts;
    return true;
}

bool SimSerialDriver::setTimeouts(PortHandle h, const CommTimeouts& timeouts) {
    SimPort* p = portOf(h);
    if (!p) return false;
    p->timeouts = timeouts;
    return true;
}

bool SimSerialDriver::read(PortHandle h, char* buffer, std::size_t max, std::size_t& got) {
    got = 0;
    SimPort* p = portOf(h);
    if (!p) return false;
    if (p->peer) p->peer->poll(*p, clock_.nowNs());
    got = std::min(max, p->rx.size());
    std::copy_n(p->rx.begin(), got, buffer);
    p->rx.erase(0, got);
    return true;
}

bool SimSerialDriver::write(PortHandle h, const char* data, std::size_t size, std::size_t& written) {
    written = 0;
    SimPort* p = portOf(h);
    if (!p) return false;
    p->tx.append(data, size);
    written = size;
    if (p->peer) p->peer->onWrite(*p, std::string_view(data, size), clock_.nowNs());
    return true;
}

void SimSerialDriver::setLine(SimPort& p, bool& line, const char* name, bool on) {
    if (line == on) return;
    line = on;
    p.changes.push_back({name, on, clock_.nowNs()});
    if (p.peer) p.peer->onControl(p, clock_.nowNs());
}

bool SimSerialDriver::escape(PortHandle h, CommEscape function) {
    SimPort* p = portOf(h);
    if (!p) return false;
    switch (function) {
    case CommEscape::SetDTR: setLine(*p, p->dtr, "DTR", true); break;
    case CommEscape::ClrDTR: setLine(*p, p->dtr, "DTR", false); break;
    case CommEscape::SetRTS: setLine(*p, p->rts, "RTS", true); break;
    case CommEscape::ClrRTS: setLine(*p, p->rts, "RTS", false); break;
    case CommEscape::SetBreak: setLine(*p, p->brk, "BRK", true); break;
    case CommEscape::ClrBreak: setLine(*p, p->brk, "BRK", false); break;
    }
    return true;
}

bool SimSerialDriver::modemStatus(PortHandle h, std::uint32_t& status) {
    status = 0;
    ++lineReads;
    SimPort* p = portOf(h);
    if (!p) return false;
    status = p->peer ? p->peer->lines(*p, clock_.nowNs()) : p->inputs;
    return true;
}

bool SimSerialDriver::defaultConfig(const std::string& deviceName) {
    auto it = ports_.find(ComPortNumber(deviceName));
    return it != ports_.end() && it->second.present;
}

void SimSerialDriver::close(PortHandle h) {
    SimPort* p = portOf(h);
    if (!p) return;
    p->open = false;
    handles_.erase(h);
}

namespace {
// A deterministic offset in [-1, 1] for edge k.
double Wobble(std::size_t k) {
    std::uint32_t x = static_cast<std::uint32_t>(k) * 2654435761u;
    x ^= x >> 15;
    return static_cast<double>(x % 2001) / 1000.0 - 1.0;
}
} // namespace

bool Waveform::markAt(std::int64_t ns) const {
    if (ns < startNs) return false;
    double us = static_cast<double>(ns - startNs) / 1000.0;
    auto k = static_cast<std::size_t>(us / cellUs);
    if (jitterUs > 0) {
        // Move the boundary in front of cell k by its wobble.
        double boundary = static_cast<double>(k) * cellUs + jitterUs * Wobble(k);
        if (us < boundary && k > 0) --k;
        else if (k + 1 < cells.size()) {
            double next = static_cast<double>(k + 1) * cellUs + jitterUs * Wobble(k + 1);
            if (us >= next) ++k;
        }
    }
    return k < cells.size() && cells[k] == '1';
}

std::uint32_t DcdReceiver::lines(const SimPort& port, std::int64_t nowNs) {
    bool powered = port.rts && (power_ == Rts || port.dtr);
    if (!powered) return kModemCtsOn | kModemDsrOn;
    bool carrier = std::any_of(air.begin(), air.end(), [&](const Waveform& w) { return w.markAt(nowNs); });
    bool dcd = carrier ? !idleDcd_ : idleDcd_;
    return kModemCtsOn | kModemDsrOn | (dcd ? kModemDcdOn : 0u);
}

std::uint32_t IRManPeer::lines(const SimPort&, std::int64_t) {
    const bool dcd = looks_++ % 2 == 0;
    return kModemCtsOn | kModemDsrOn | (dcd ? kModemDcdOn : 0u);
}

void IRManPeer::onControl(SimPort& port, std::int64_t) {
    if (!(port.dtr && port.rts)) { // power lost: the receiver forgets what it heard
        heard_.clear();
        replyAt_ = -1;
    }
}

void IRManPeer::onWrite(SimPort& port, std::string_view bytes, std::int64_t nowNs) {
    if (!(port.dtr && port.rts) || port.state.baudRate != 9600) return;
    heard_.append(bytes);
    if (heard_.size() >= 2 && heard_.compare(heard_.size() - 2, 2, "IR") == 0 && !answer.empty())
        replyAt_ = nowNs + static_cast<std::int64_t>(delayMs) * 1'000'000;
}

void IRManPeer::poll(SimPort& port, std::int64_t nowNs) {
    if (replyAt_ >= 0 && nowNs >= replyAt_) {
        port.rx += answer;
        replyAt_ = -1;
    }
}

bool FakeCaptureLibrary::reachable() {
    error_ = missing ? "libserpulse.so: cannot open shared object file: No such file or directory" : "";
    return !missing;
}

std::optional<std::int32_t> FakeCaptureLibrary::SetHandle(PortHandle h) {
    if (!reachable()) return std::nullopt;
    handles.push_back(h);
    return 1;
}

std::optional<std::int32_t> FakeCaptureLibrary::capture(const char* entry, std::uint8_t* buffer, int procDelay,
                                                        int length) {
    if (!reachable()) return std::nullopt;
    const std::string_view e(entry);
    using serpulse::Polarity;
    if (sampler && e.rfind("IRMonitor", 0) == 0)
        return sampler->capture({buffer, length, procDelay,
                                 e.back() == 'N' ? Polarity::MarkWhenDcdOn : Polarity::MarkWhenDcdOff,
                                 serpulse::kMonitorEdgeWaitNs, true});
    captureCalls.push_back({entry, procDelay, length});
    if (captures.empty()) return 0;
    std::vector<std::uint8_t> next = std::move(captures.front());
    captures.pop_front();
    std::copy_n(next.begin(), std::min(next.size(), static_cast<std::size_t>(std::max(length, 0))), buffer);
    return 1;
}

std::optional<std::int32_t> FakeCaptureLibrary::IRRecord(std::uint8_t* buffer, int procDelay, int length) {
    return capture("IRRecord", buffer, procDelay, length);
}
std::optional<std::int32_t> FakeCaptureLibrary::IRRecordN(std::uint8_t* buffer, int procDelay, int length) {
    return capture("IRRecordN", buffer, procDelay, length);
}
std::optional<std::int32_t> FakeCaptureLibrary::IRMonitor(std::uint8_t* buffer, int procDelay) {
    return capture("IRMonitor", buffer, procDelay, 600);
}
std::optional<std::int32_t> FakeCaptureLibrary::IRMonitorN(std::uint8_t* buffer, int procDelay) {
    return capture("IRMonitorN", buffer, procDelay, 600);
}

std::optional<std::int32_t> FakeCaptureLibrary::IRSend(const std::uint8_t* buffer, int byteCount, int pulseLength,
                                                       int txdMode) {
    if (!reachable()) return std::nullopt;
    sends.push_back({std::vector<std::uint8_t>(buffer, buffer + std::max(byteCount, 0)), pulseLength, txdMode});
    return 1;
}

} // namespace quenix::testing
