#include "serpulse/pulse_engine.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace serpulse {

std::int64_t SamplePeriodNs(int procDelay) {
    int d = std::clamp(procDelay, 0, 100);
    return 45'000 + 500 * static_cast<std::int64_t>(d);
}

int Sampler::capture(const Request& r) {
    if (!r.buffer || r.length <= 0) return 0;
    const std::int64_t period = SamplePeriodNs(r.procDelay);
    const int total = r.length * 8;

    // Find the start: a mark already present (monitor calls only), or an idle-to-mark edge.
    std::int64_t start = time_.nowNs();
    std::int64_t detected = start;
    bool m = mark(r.polarity);
    if (!m) stuck_ = false;
    // A monitor call on a line still stuck answers at once: the window's poll comes back
    // every millisecond, and each wait here would freeze it.
    if (m && r.acceptMarkAtStart && stuck_) return 0;
    if (!(m && r.acceptMarkAtStart)) {
        const std::int64_t deadline = start + r.edgeWaitNs;
        bool seenIdle = !m;
        std::int64_t lastIdle = start;
        for (;;) {
            if (time_.nowNs() >= deadline) return 0;
            time_.sleepNs(kEdgePollNs);
            std::int64_t now = time_.nowNs();
            if (!mark(r.polarity)) {
                seenIdle = true;
                stuck_ = false;
                lastIdle = now;
                continue;
            }
            if (!seenIdle) continue;
            // The edge came somewhere since the last idle look; take the middle.
            start = lastIdle + (now - lastIdle) / 2;
            detected = now;
            break;
        }
    }

    auto samples = [period](std::int64_t ns) { return static_cast<int>((ns + period - 1) / period); };
    const int frameGap = samples(kFrameGapNs);
    const int endIdle = samples(kEndIdleNs);
    const int singleFrameEndIdle = samples(kSingleFrameEndIdleNs);
    int lastMark = -1;
    int markRun = 0;
    int frames = 0;
    // A process can be kept from the processor for milliseconds. The samples it missed meanwhile
    // are split at the middle of the gap between the last look in time and the late one: the
    // older half keeps the level seen before, the newer half the level seen late, so a single
    // edge in the gap lands within half the gap instead of at its end.
    bool seenLevel = true; // the line was active when sampling began
    std::int64_t seenAt = detected;
    int lateUntil = -1;
    bool levelBefore = true, levelAfter = true;
    std::int64_t split = 0;
    for (int i = 0; i < total; ++i) {
        const std::int64_t t = start + static_cast<std::int64_t>(i) * period;
        bool s;
        if (t < detected) {
            s = true; // between the estimated edge and its detection the line was active
        } else if (i <= lateUntil) {
            s = t < split ? levelBefore : levelAfter;
        } else {
            time_.waitUntilNs(t);
            const bool read = mark(r.polarity);
            const std::int64_t now = time_.nowNs();
            s = read;
            if (now - t > period) {
                lateUntil = static_cast<int>((now - start) / period);
                levelBefore = seenLevel;
                levelAfter = read;
                split = seenAt + (now - seenAt) / 2;
                s = t < split ? levelBefore : levelAfter;
            }
            seenLevel = read;
            seenAt = now;
        }
        if (s) {
            if (lastMark < 0 || i - lastMark > frameGap) ++frames;
            r.buffer[i / 8] = static_cast<std::uint8_t>(r.buffer[i / 8] | (0x80u >> (i % 8)));
            lastMark = i;
            if (++markRun >= kStuckMarkSamples) {
                std::memset(r.buffer, 0, static_cast<std::size_t>(r.length));
                stuck_ = true;
                return 0;
            }
        } else {
            markRun = 0;
            if (i - lastMark >= (frames >= 2 ? endIdle : singleFrameEndIdle)) break; // the rest stays zero
        }
    }
    return 1;
}

namespace {
bool CellAt(const std::uint8_t* buffer, long cell) { return (buffer[cell / 8] & (0x80u >> (cell % 8))) != 0; }
} // namespace

std::vector<std::uint8_t> TxdStream(const std::uint8_t* buffer, int byteCount, int pulseUs) {
    std::vector<std::uint8_t> out;
    if (!buffer || byteCount <= 0 || pulseUs <= 0) return out;
    const long cells = static_cast<long>(byteCount) * 8;
    out.reserve(static_cast<std::size_t>(std::ceil(static_cast<double>(cells) * pulseUs / kTxdCharUs)) + 1);
    for (long c = 0; c < cells; ++c) {
        auto end = static_cast<std::size_t>(std::llround(static_cast<double>(c + 1) * pulseUs / kTxdCharUs));
        out.resize(std::max(out.size(), end), CellAt(buffer, c) ? kTxdCarrierByte : kTxdIdleByte);
    }
    return out;
}

void Emitter::sendDtr(const std::uint8_t* buffer, int byteCount, int pulseUs) {
    if (!buffer || byteCount <= 0 || pulseUs <= 0) return;
    const long cells = static_cast<long>(byteCount) * 8;
    const std::int64_t cellNs = static_cast<std::int64_t>(pulseUs) * 1000;
    bool level = false;
    line_.setDtr(false);
    const std::int64_t start = time_.nowNs();
    for (long c = 0; c < cells; ++c) {
        bool on = CellAt(buffer, c);
        if (on == level) continue;
        time_.waitUntilNs(start + c * cellNs);
        line_.setDtr(on);
        level = on;
    }
    time_.waitUntilNs(start + cells * cellNs);
    if (level) line_.setDtr(false);
}

bool Emitter::sendTxd(const std::uint8_t* buffer, int byteCount, int pulseUs) {
    std::vector<std::uint8_t> stream = TxdStream(buffer, byteCount, pulseUs);
    if (stream.empty()) return false;
    bool ok = line_.write(stream.data(), stream.size());
    line_.drain();
    return ok;
}

} // namespace serpulse
