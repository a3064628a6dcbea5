#include "io/kernel_ir_device.h"

#include "ir/analysis.h"
#include "ir/decoder.h"
#include "serpulse/pulse_engine.h"

#include <algorithm>

namespace quenix {

namespace {

// A pause this long after a frame shows the decoder its end (it needs over 100 samples of
// 55 us): the moment to ask whether the capture holds enough.
constexpr std::int64_t kCheckPauseUs = 8000;
// The frame gap and the silences that end a capture, as the serial sampler has them.
constexpr std::int64_t kFrameGapUs = serpulse::kFrameGapNs / 1000;
constexpr std::int64_t kEndIdleUs = serpulse::kEndIdleNs / 1000;
constexpr std::int64_t kSingleFrameEndIdleUs = serpulse::kSingleFrameEndIdleNs / 1000;
// A monitoring call comes once the device has words; the first pulse word follows its pulse's
// end, so wait as long as the longest lead-in mark.
constexpr int kMonitorFirstWaitMs = 50;
// The silence that ends a frame at the device, where it can be set.
constexpr std::uint32_t kRecTimeoutUs = 20000;
constexpr std::uint32_t kCarrierHz = 38000;
constexpr std::uint32_t kDutyCyclePercent = 33;
// What one write may carry: the kernel refuses more values, or a longer signal, in one go.
constexpr std::size_t kMaxWriteValues = 511;
constexpr std::uint32_t kMaxWriteUs = 450000;

} // namespace

KernelIrDevice::KernelIrDevice(KernelIrSystem& system, int fd) : system_(system), fd_(fd), name_(system.name(fd)) {
    setUp();
}

bool KernelIrDevice::set(LircRequest request, std::uint32_t value) { return system_.request(fd_, request, value) == 0; }

void KernelIrDevice::setUp() {
    std::uint32_t features = 0;
    // A FIFO or a file answers no request: it carries mode2 words and cannot send.
    if (system_.request(fd_, LircRequest::GetFeatures, features) != 0) return;
    canReceive_ = (features & kLircCanRecMode2) != 0 && set(LircRequest::SetRecMode, kLircModeMode2);
    if (canReceive_ && (features & kLircCanSetRecTimeout) != 0) {
        std::uint32_t low = 0, high = 0;
        std::uint32_t timeout = kRecTimeoutUs;
        if (system_.request(fd_, LircRequest::GetMinTimeout, low) == 0) timeout = std::max(timeout, low);
        if (system_.request(fd_, LircRequest::GetMaxTimeout, high) == 0 && high > 0) timeout = std::min(timeout, high);
        set(LircRequest::SetRecTimeout, timeout);
    }
    canSend_ = (features & kLircCanSendPulse) != 0 && set(LircRequest::SetSendMode, kLircModePulse);
    if (canSend_ && (features & kLircCanSetSendCarrier) != 0) set(LircRequest::SetSendCarrier, kCarrierHz);
    if (canSend_ && (features & kLircCanSetSendDutyCycle) != 0) set(LircRequest::SetSendDutyCycle, kDutyCyclePercent);
}

bool KernelIrDevice::next(Mode2Event& event, int ms) {
    // One word a read: what a capture leaves unread stays in the device, where the next wait
    // on its descriptor sees it.
    for (;;) {
        const long n = system_.read(fd_, partial_ + partialBytes_, sizeof partial_ - partialBytes_);
        if (n < 0) {
            failed_ = true;
            error_ = name_ + " cannot be read any more: " + system_.errorText(static_cast<int>(-n));
            return false;
        }
        partialBytes_ += static_cast<std::size_t>(n);
        if (partialBytes_ == sizeof partial_) {
            std::vector<Mode2Event> one;
            DecodeMode2(partial_, sizeof partial_, one);
            partialBytes_ = 0;
            event = one.front();
            return true;
        }
        if (n > 0) continue;
        if (ms <= 0 || !system_.waitReadable(fd_, ms)) return false;
        ms = 0;
    }
}

int KernelIrDevice::capture(std::uint8_t* out, int bytes, int procDelay, const CaptureRule& rule) {
    using Kind = Mode2Event::Kind;
    failed_ = false;
    std::vector<std::uint8_t> buffer(static_cast<std::size_t>(bytes), 0);
    SampleWriter writer(buffer.data(), buffer.size(), serpulse::SamplePeriodNs(procDelay));
    bool started = false;
    bool checked = false;
    int frames = 0;
    std::int64_t lastGapUs = 0;
    std::int64_t lastEvent = system_.nowUs();
    const std::int64_t deadline = lastEvent + static_cast<std::int64_t>(rule.firstWaitMs) * 1000;
    auto endIdle = [&] { return frames >= 2 ? kEndIdleUs : kSingleFrameEndIdleUs; };
    // Whether a pause of pauseUs after the last pulse ends the capture.
    auto ends = [&](std::int64_t pauseUs) {
        if (pauseUs >= kCheckPauseUs && !checked) {
            checked = true;
            if (rule.complete && rule.complete(buffer)) return true;
        }
        return pauseUs >= endIdle();
    };
    auto done = [&] {
        std::copy(buffer.begin(), buffer.end(), out);
        return started ? 1 : 0;
    };

    // No signal has more edges than samples: a stream of empty words must not hold the window.
    for (std::size_t events = 0; events <= buffer.size() * 16;) {
        const std::int64_t now = system_.nowUs();
        int waitMs = 0;
        if (!started) {
            waitMs = static_cast<int>((deadline - now + 999) / 1000);
        } else {
            const std::int64_t quiet = now - lastEvent;
            if (ends(quiet)) return done();
            const std::int64_t nextLook = quiet < kCheckPauseUs ? kCheckPauseUs : endIdle();
            waitMs = static_cast<int>((nextLook - quiet + 999) / 1000);
        }
        Mode2Event e;
        if (!next(e, std::max(waitMs, 0))) {
            if (failed_) return -1;
            if (!started && system_.nowUs() >= deadline) return 0;
            continue;
        }
        lastEvent = system_.nowUs();
        ++events;
        switch (e.kind) {
        case Kind::Pulse:
            if (started && lastGapUs >= kFrameGapUs) ++frames;
            if (!started) frames = 1;
            started = true;
            checked = false;
            lastGapUs = 0;
            writer.add(true, e.value);
            break;
        case Kind::Space:
            if (!started) break; // the silence before a key
            writer.add(false, e.value);
            lastGapUs = e.value;
            if (ends(e.value)) return done();
            break;
        case Kind::Timeout:
            // The silence so far; the space that follows carries all of it.
            if (started && ends(e.value)) return done();
            break;
        default: break; // carrier reports and overflows carry no timing
        }
        if (writer.full()) return done();
    }
    return done();
}

bool KernelIrDevice::send(const std::uint8_t* packed, int byteCount, int pulseUs) {
    error_.clear();
    if (!canSend_) {
        error_ = name_ + " is a receiver only: it cannot send.";
        return false;
    }
    for (const auto& [piece, gapUs] :
         SendPieces(CellsToDurations(packed, byteCount, pulseUs), kMaxWriteValues, kMaxWriteUs)) {
        const int err = system_.write(fd_, reinterpret_cast<const std::uint8_t*>(piece.data()),
                                      piece.size() * sizeof(std::uint32_t));
        if (err != 0) {
            error_ = name_ + " refused the signal: " + system_.errorText(err);
            return false;
        }
        // The kernel returns once the piece is on the air.
        if (gapUs > 0) system_.sleepUs(gapUs);
    }
    return true;
}

bool MonitorCaptureComplete(const std::vector<std::uint8_t>& capture) {
    if (capture.size() < kMinCapturedBytes) return false;
    const bool long_ =
        std::any_of(capture.begin() + kMinCapturedBytes - 1, capture.end(), [](std::uint8_t b) { return b != 0; });
    return long_ && !DecodeMonitorFrame(capture).frame.empty();
}

std::optional<std::int32_t> KernelIrLibrary::SetHandle(PortHandle handle) {
    device_.reset();
    error_.clear();
    if (handle == kNoPort || handle == 0) return 1;
    device_ = std::make_unique<KernelIrDevice>(system_, static_cast<int>(handle));
    return 1;
}

bool KernelIrLibrary::Ready() {
    error_.clear();
    if (!device_)
        error_ = "no kernel infrared device is open.";
    else if (!device_->canReceive())
        error_ = device_->name() + " cannot receive pulse and space durations.";
    return error_.empty();
}

std::optional<std::int32_t> KernelIrLibrary::Capture(std::uint8_t* buffer, int procDelay, int length,
                                                     const CaptureRule& rule) {
    if (!Ready()) return std::nullopt;
    const int r = device_->capture(buffer, length, procDelay, rule);
    if (r < 0) {
        error_ = device_->error();
        return std::nullopt;
    }
    return r;
}

std::optional<std::int32_t> KernelIrLibrary::IRRecord(std::uint8_t* buffer, int procDelay, int length) {
    return Capture(buffer, procDelay, length, CaptureRule{});
}

std::optional<std::int32_t> KernelIrLibrary::IRMonitor(std::uint8_t* buffer, int procDelay) {
    return Capture(buffer, procDelay, 600, CaptureRule{kMonitorFirstWaitMs, MonitorCaptureComplete});
}

std::optional<std::int32_t> KernelIrLibrary::IRSend(const std::uint8_t* buffer, int byteCount, int pulseLength, int) {
    error_.clear();
    if (!device_) {
        error_ = "no kernel infrared device is open.";
        return std::nullopt;
    }
    if (!device_->send(buffer, byteCount, pulseLength)) {
        error_ = device_->error();
        return std::nullopt;
    }
    return 1;
}

} // namespace quenix
