#include "serpulse/serpulse.h"

#include "serpulse/pulse_engine.h"
#include "serpulse/system_line.h"

#include <memory>

// The library serves one port at a time, the one last given to SetHandle.

namespace {

struct PortState {
    std::intptr_t handle = 0;
    std::unique_ptr<serpulse::Line> line;
    serpulse::SystemTimebase time;
    std::unique_ptr<serpulse::Sampler> sampler;
};

PortState& Port() {
    static PortState state;
    return state;
}

serpulse::Sampler* SamplerOf(PortState& p) {
    if (!p.line) return nullptr;
    if (!p.sampler) p.sampler = std::make_unique<serpulse::Sampler>(*p.line, p.time);
    return p.sampler.get();
}

int32_t Capture(uint8_t* buffer, int32_t procDelay, int32_t length, serpulse::Polarity polarity, bool monitor) {
    serpulse::Sampler* sampler = SamplerOf(Port());
    if (!sampler) return 0;
    serpulse::Sampler::Request r;
    r.buffer = buffer;
    r.length = length;
    r.procDelay = procDelay;
    r.polarity = polarity;
    r.edgeWaitNs = monitor ? serpulse::kMonitorEdgeWaitNs : serpulse::kRecordEdgeWaitNs;
    r.acceptMarkAtStart = monitor;
    return sampler->capture(r);
}

constexpr int32_t kMonitorBytes = 600;

} // namespace

extern "C" {

SERPULSE_API int32_t SERPULSE_CALL SetHandle(intptr_t handle) {
    PortState& p = Port();
    p.sampler.reset();
    p.line.reset();
    p.handle = handle;
    // 0 (and -1, never a port) mean the port was closed.
    if (handle != 0 && handle != -1) p.line = serpulse::MakeSystemLine(handle);
    return 1;
}

SERPULSE_API int32_t SERPULSE_CALL IRRecord(uint8_t* buffer, int32_t procDelay, int32_t length) {
    return Capture(buffer, procDelay, length, serpulse::Polarity::MarkWhenDcdOff, false);
}

SERPULSE_API int32_t SERPULSE_CALL IRRecordN(uint8_t* buffer, int32_t procDelay, int32_t length) {
    return Capture(buffer, procDelay, length, serpulse::Polarity::MarkWhenDcdOn, false);
}

SERPULSE_API int32_t SERPULSE_CALL IRMonitor(uint8_t* buffer, int32_t procDelay) {
    return Capture(buffer, procDelay, kMonitorBytes, serpulse::Polarity::MarkWhenDcdOff, true);
}

SERPULSE_API int32_t SERPULSE_CALL IRMonitorN(uint8_t* buffer, int32_t procDelay) {
    return Capture(buffer, procDelay, kMonitorBytes, serpulse::Polarity::MarkWhenDcdOn, true);
}

SERPULSE_API int32_t SERPULSE_CALL IRSend(const uint8_t* buffer, int32_t byteCount, int32_t pulseLength,
                                          int32_t txdMode) {
    PortState& p = Port();
    if (!p.line) return 0;
    serpulse::Emitter emitter(*p.line, p.time);
    if (txdMode == 1) return emitter.sendTxd(buffer, byteCount, pulseLength) ? 1 : 0;
    emitter.sendDtr(buffer, byteCount, pulseLength);
    return 1;
}
}
