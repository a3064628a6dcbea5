#include "support/sim_serial.h"

#include <algorithm>

namespace quenix::testing {

SimPort* SimSerialDriver::portOf(PortHandle h) {
    auto it = handles_.find(h);
    if (it == handles_.end()) return nullptr;
    SimPort& p = ports_[it->second];
    if (!p.present) {
        // A port pulled while open leaves a dead handle, even once the port is back.
        p.open = false;
        handles_.erase(it);
        return nullptr;
    }
    return &p;
}

PortHandle SimSerialDriver::open(const std::string& deviceName) {
    auto it = ports_.find(ComPortNumber(deviceName));
    SimPort* p = it == ports_.end() || !it->second.present ? nullptr : &it->second;
    openError_ = !p          ? "no such device"
                 : p->denied ? deviceName + ": Permission denied"
                             : deviceName + " is in use by another program";
    if (!p || p->denied || p->busy || p->open) return kNoPort;
    p->open = true;
    handles_[next_] = it->first;
    return next_++;
}

bool SimSerialDriver::setState(PortHandle h, const CommState& state) {
    return with(h, [&](SimPort& p) {
        // As Windows does: a line drops only when its control is switched to "disable".
        const std::uint32_t was = p.state.flags;
        p.state = state;
        if ((was & kCommFlagDtrControlMask) != 0 && (state.flags & kCommFlagDtrControlMask) == 0)
            setLine(p, p.dtr, "DTR", false);
        if ((was & kCommFlagRtsControlMask) != 0 && (state.flags & kCommFlagRtsControlMask) == 0)
            setLine(p, p.rts, "RTS", false);
    });
}

bool SimSerialDriver::read(PortHandle h, char* buffer, std::size_t max, std::size_t& got) {
    got = 0;
    return with(h, [&](SimPort& p) {
        if (p.peer) p.peer->poll(p, clock_.nowNs());
        got = std::min(max, p.rx.size());
        std::copy_n(p.rx.begin(), got, buffer);
        p.rx.erase(0, got);
    });
}

bool SimSerialDriver::write(PortHandle h, const char* data, std::size_t size, std::size_t& written) {
    written = 0;
    return with(h, [&](SimPort& p) {
        written = size;
        if (p.peer) p.peer->onWrite(p, std::string_view(data, size), clock_.nowNs());
    });
}

void SimSerialDriver::setLine(SimPort& p, bool& line, const char* name, bool on) {
    if (line == on) return;
    line = on;
    p.changes.push_back({name, on, clock_.nowNs()});
    if (p.peer) p.peer->onControl(p, clock_.nowNs());
}

bool SimSerialDriver::escape(PortHandle h, CommEscape function) {
    return with(h, [&](SimPort& p) {
        switch (function) {
        case CommEscape::SetDTR: setLine(p, p.dtr, "DTR", true); break;
        case CommEscape::ClrDTR: setLine(p, p.dtr, "DTR", false); break;
        case CommEscape::SetRTS: setLine(p, p.rts, "RTS", true); break;
        case CommEscape::ClrRTS: setLine(p, p.rts, "RTS", false); break;
        case CommEscape::SetBreak: setLine(p, p.brk, "BRK", true); break;
        case CommEscape::ClrBreak: setLine(p, p.brk, "BRK", false); break;
        }
    });
}

bool SimSerialDriver::modemStatus(PortHandle h, std::uint32_t& status) {
    status = 0;
    ++lineReads;
    return with(h, [&](SimPort& p) { status = p.peer ? p.peer->lines(p, clock_.nowNs()) : p.inputs; });
}

int SimSerialDriver::waitLineChange(PortHandle h, std::uint32_t mask) {
    std::uint32_t before = 0, now = 0;
    if (!modemStatus(h, before)) return -1;
    for (int step = 0; step < 1'000'000; ++step) { // 10 s of 10 us steps, then "interrupted"
        clock_.sleepNs(10'000);
        if (modemStatus(h, now) && ((now ^ before) & mask) != 0) return 1;
    }
    return 0;
}

bool SimSerialDriver::defaultConfig(const std::string& deviceName) {
    auto it = ports_.find(ComPortNumber(deviceName));
    return it != ports_.end() && it->second.present;
}

void SimSerialDriver::close(PortHandle h) {
    auto it = handles_.find(h);
    if (it == handles_.end()) return;
    ports_[it->second].open = false;
    handles_.erase(it);
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
    const double us = static_cast<double>(ns - startNs) / 1000.0;
    auto k = static_cast<std::size_t>(us / cellUs);
    // Each edge moves by its own wobble; cell k lasts from edge(k) to edge(k + 1).
    auto edge = [&](std::size_t i) { return static_cast<double>(i) * cellUs + jitterUs * Wobble(i); };
    if (k > 0 && us < edge(k))
        --k;
    else if (k + 1 < cells.size() && us >= edge(k + 1))
        ++k;
    return k < cells.size() && cells[k] == '1';
}

std::uint32_t DcdReceiver::lines(const SimPort& port, std::int64_t nowNs) {
    if (!port.rts || (power_ == RtsAndDtr && !port.dtr)) return kModemCtsOn | kModemDsrOn;
    const bool carrier = std::any_of(air.begin(), air.end(), [&](const Waveform& w) { return w.markAt(nowNs); });
    return kModemCtsOn | kModemDsrOn | (carrier != idleDcd_ ? kModemDcdOn : 0u);
}

std::uint32_t IRManPeer::lines(const SimPort&, std::int64_t) {
    return kModemCtsOn | kModemDsrOn | (looks_++ % 2 == 0 ? kModemDcdOn : 0u);
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

FakeCaptureLibrary::Result FakeCaptureLibrary::SetHandle(PortHandle h) {
    if (!reachable()) return std::nullopt;
    handles.push_back(h);
    return 1;
}

FakeCaptureLibrary::Result FakeCaptureLibrary::capture(const char* entry, std::uint8_t* buffer, int procDelay,
                                                       int length) {
    if (!reachable()) return std::nullopt;
    const std::string_view e(entry);
    using serpulse::Polarity;
    const bool monitor = e.rfind("IRMonitor", 0) == 0;
    if (sampler)
        return sampler->capture({buffer, length, procDelay,
                                 e.back() == 'N' ? Polarity::MarkWhenDcdOn : Polarity::MarkWhenDcdOff,
                                 monitor ? serpulse::kMonitorEdgeWaitNs : serpulse::kRecordEdgeWaitNs, monitor});
    captureCalls.push_back({entry, procDelay, length});
    if (captures.empty()) return 0;
    std::vector<std::uint8_t> next = std::move(captures.front());
    captures.pop_front();
    std::copy_n(next.begin(), std::min(next.size(), static_cast<std::size_t>(std::max(length, 0))), buffer);
    return 1;
}

FakeCaptureLibrary::Result FakeCaptureLibrary::IRSend(const std::uint8_t* buffer, int byteCount, int pulseLength,
                                                      int txdMode) {
    if (!reachable()) return std::nullopt;
    sends.push_back({std::vector<std::uint8_t>(buffer, buffer + std::max(byteCount, 0)), pulseLength, txdMode});
    return 1;
}

} // namespace quenix::testing
