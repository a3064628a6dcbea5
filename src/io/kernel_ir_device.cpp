#include "io/kernel_ir_device.h"

#include "ir/analysis.h"
#include "ir/decoder.h"
#include "ir/frame_list.h"
#include "ir/long_capture.h"
#include "serpulse/pulse_engine.h"

#include "ir/protocols.h"

#include <algorithm>
#include <cerrno>
#include <cmath>

namespace quenix {

namespace {

// No frame goes on after a pause this long behind a pulse (the longest bit of any protocol,
// RC5's two half-bits of space and two of mark, takes 3.6 ms): the moment to ask whether the
// capture holds a whole frame.
constexpr std::int64_t kCheckPauseUs = 4000;
// A pipe's writer may be a little late with a word now and then (a busy machine, a network):
// behind one, a bi-phase frame cut short can look whole, so wait longer before asking.
constexpr std::int64_t kPipeCheckPauseUs = 8000;
// The frame gap and the silences that end a capture, as the serial sampler has them.
constexpr std::int64_t kFrameGapUs = serpulse::kFrameGapNs / 1000;
constexpr std::int64_t kEndIdleUs = serpulse::kEndIdleNs / 1000;
constexpr std::int64_t kSingleFrameEndIdleUs = serpulse::kSingleFrameEndIdleNs / 1000;
// A pipe or a network link may hold back part of a frame for a while; only a silence this
// long, with no word to say what it was, ends a capture on one.
constexpr std::int64_t kStallUs = 250000;
// A monitoring call comes once the device has words; the first pulse word follows its pulse's
// end, so wait as long as the longest lead-in mark.
constexpr int kMonitorFirstWaitMs = 50;
constexpr std::uint32_t kDutyCyclePercent = 33;
// What one write may carry: the kernel refuses more values, or a longer signal, in one go.
// Kernels since 4.16 take 1023 values (maxWriteValues_ starts there), older ones 511; a frame
// split between writes may have one space stretched by the sleep between them, so an air
// conditioner's 256-bit frame goes whole where the kernel takes it.
constexpr std::size_t kOldMaxWriteValues = 511;
constexpr std::uint32_t kMaxWriteUs = 450000;
// NEC's repeat burst: a 9 ms mark, a 2.25 ms space and a 560 us mark.
constexpr double kNecBurstUs[] = {9000, 2250, 560};

} // namespace

KernelIrDevice::KernelIrDevice(KernelIrSystem& system, int fd) : system_(system), fd_(fd), name_(system.name(fd)) {
    setUp();
}

bool KernelIrDevice::set(LircRequest request, std::uint32_t value) { return system_.request(fd_, request, value) == 0; }

// Only the modes are set here: the receive timeout, carrier and duty cycle belong to the whole
// device and every other reader of it, so the receive side leaves them alone and the send side
// sets its carrier for each signal it sends.
void KernelIrDevice::setUp() {
    // A FIFO or a file answers no request: it carries mode2 words and cannot send.
    if (system_.request(fd_, LircRequest::GetFeatures, features_) != 0) return;
    answers_ = true;
    canReceive_ = (features_ & kLircCanRecMode2) != 0 && set(LircRequest::SetRecMode, kLircModeMode2);
    canSend_ = (features_ & kLircCanSendPulse) != 0 && set(LircRequest::SetSendMode, kLircModePulse);
}

void KernelIrDevice::discard() {
    std::uint8_t sink[4096];
    while (system_.read(fd_, sink, sizeof sink) > 0) {
    }
    partialBytes_ = 0;
    spaceUs_ = -1;
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
    gapUs_ = -1;
    std::vector<std::uint8_t> buffer(static_cast<std::size_t>(bytes), 0);
    SampleWriter writer(buffer.data(), buffer.size(), serpulse::SamplePeriodNs(procDelay));
    bool started = false;
    bool checked = false;
    int frames = 0;
    std::size_t frameRuns = 0; // of the frame under way
    std::int64_t lastGapUs = 0;
    // The silence the signal itself reported with its last word: after a pulse none yet; after
    // a timeout word the device tells that it fell silent and says nothing more until the next
    // edge. Whether the time since then is silence too: on a device, which hands each word over
    // as its edge passes, yes; on a pipe, which may stall mid-frame, only after a timeout word.
    std::int64_t reportedUs = 0;
    bool trustQuiet = answers_;
    std::int64_t lastEvent = system_.nowUs();
    const std::int64_t deadline = lastEvent + static_cast<std::int64_t>(rule.firstWaitMs) * 1000;
    auto endIdle = [&] { return frames >= 2 ? kEndIdleUs : kSingleFrameEndIdleUs; };
    auto silence = [&](std::int64_t quiet) { return reportedUs + (trustQuiet ? quiet : 0); };
    // Behind an air conditioner's long frame another of the same press may follow.
    auto mayGoOn = [&](std::int64_t s) { return frameRuns > kKeyFrameRuns && s < kFrameListMaxGapUs; };
    // Whether the capture ends after this long without a word.
    const std::int64_t checkPauseUs = answers_ ? kCheckPauseUs : kPipeCheckPauseUs;
    auto ends = [&](std::int64_t quiet) {
        if (quiet >= checkPauseUs && !checked) {
            checked = true;
            if (rule.complete && rule.complete(buffer)) return true;
        }
        const std::int64_t s = silence(quiet);
        if (mayGoOn(s)) return quiet >= kStallUs;
        if (rule.frameEnded && s >= kFrameGapUs && rule.frameEnded(buffer)) return true;
        return s >= endIdle() || quiet >= kStallUs;
    };
    // When to look again: the next of the marks ends() measures against.
    auto nextLookUs = [&](std::int64_t quiet) {
        std::int64_t at = kStallUs;
        for (std::int64_t mark : {kFrameGapUs, endIdle(), kFrameListMaxGapUs})
            if (trustQuiet && mark - reportedUs > quiet) at = std::min(at, mark - reportedUs);
        if (!checked) at = std::min(at, checkPauseUs);
        return std::max<std::int64_t>(at - quiet, 0);
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
            waitMs = static_cast<int>((nextLookUs(quiet) + 999) / 1000);
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
            if (!started) gapUs_ = spaceUs_;
            spaceUs_ = -1;
            if (started && lastGapUs >= kFrameGapUs) ++frames, frameRuns = 0;
            ++frameRuns;
            if (!started) frames = 1;
            started = true;
            checked = false;
            lastGapUs = 0;
            reportedUs = 0;
            trustQuiet = answers_;
            writer.add(true, e.value);
            break;
        case Kind::Space:
            spaceUs_ = e.value;
            if (!started) break; // the silence before a key
            writer.add(false, e.value);
            lastGapUs = e.value;
            ++frameRuns;
            // The space is over (a pulse has begun): it ends the capture by its own length. A
            // monitoring capture takes one frame: what came before a frame gap, whole or a
            // fragment a stalled pipe cut off, is never joined to the frame behind it; only an
            // air conditioner's frames of one press are.
            if (!mayGoOn(e.value) && (e.value >= endIdle() || (rule.frameEnded && e.value >= kFrameGapUs)))
                return done();
            reportedUs = 0;
            trustQuiet = answers_;
            break;
        case Kind::Timeout:
            spaceUs_ = e.value; // at least this long; a space word may follow with all of it
            if (!started) break;
            reportedUs = e.value;
            trustQuiet = true;
            if (ends(0)) return done();
            break;
        default: break; // carrier reports and overflows carry no timing
        }
        if (writer.full()) return done();
    }
    return done();
}

bool KernelIrDevice::send(const std::uint8_t* packed, int byteCount, int pulseUs, std::uint32_t carrierHz) {
    error_.clear();
    if (!canSend_) {
        error_ = name_ + " is a receiver only: it cannot send.";
        return false;
    }
    if ((features_ & kLircCanSetSendCarrier) != 0) set(LircRequest::SetSendCarrier, carrierHz);
    if ((features_ & kLircCanSetSendDutyCycle) != 0) set(LircRequest::SetSendDutyCycle, kDutyCyclePercent);
    const std::vector<std::uint32_t> durations = CellsToDurations(packed, byteCount, pulseUs);
    for (;;) {
        bool first = true, refusedWhole = false;
        for (const auto& [piece, gapUs] : SendPieces(durations, maxWriteValues_, kMaxWriteUs)) {
            const int err = system_.write(fd_, reinterpret_cast<const std::uint8_t*>(piece.data()),
                                          piece.size() * sizeof(std::uint32_t));
            // An older kernel refuses a piece it cannot hold before sending any of it.
            refusedWhole = err == EINVAL && first && piece.size() > kOldMaxWriteValues;
            if (refusedWhole) break;
            if (err != 0) {
                error_ = name_ + " refused the signal: " + system_.errorText(err);
                return false;
            }
            first = false;
            // The kernel returns once the piece is on the air.
            if (gapUs > 0) system_.sleepUs(gapUs);
        }
        if (!refusedWhole) break;
        maxWriteValues_ = kOldMaxWriteValues;
    }
    return true;
}

bool IsNecRepeatBurst(const std::vector<std::uint8_t>& capture, int procDelay) {
    const std::string samples = UnpackSamples(capture);
    const double sampleUs = static_cast<double>(serpulse::SamplePeriodNs(procDelay)) / 1000;
    std::size_t at = samples.find('1');
    for (std::size_t i = 0; i < 3; ++i) {
        if (at == std::string::npos || samples[at] != (i % 2 == 0 ? '1' : '0')) return false;
        std::size_t end = samples.find(samples[at] == '1' ? '0' : '1', at);
        if (end == std::string::npos) end = samples.size();
        const double us = static_cast<double>(end - at) * sampleUs, want = kNecBurstUs[i];
        if (std::abs(us - want) > std::max(want * 0.3, 300.0)) return false;
        at = end;
    }
    return samples.find('1', at) == std::string::npos;
}

bool IsWholeFrame(const DecodedFrame& f) {
    std::size_t bits = 0;
    for (char c : f.frame) bits += c == '0' || c == '1';
    const ProtocolPreset* p = FindPreset(f.protocol);
    if (!p || p->index == kProtoCustom) return false;
    if (p->bits > 0) return bits == static_cast<std::size_t>(p->bits);
    switch (p->index) {
    case kProtoNec: return bits == 32 || bits == 16 || bits == 42 || bits == 48;
    case kProtoSony: return bits == 12 || bits == 15 || bits == 20;
    case kProtoRc6A: return bits == 20 || bits == 24 || bits == 32;
    default: return false;
    }
}

std::optional<std::int32_t> KernelIrLibrary::SetHandle(PortHandle handle) {
    device_.reset();
    error_.clear();
    if (handle == kNoPort || handle == 0) return 1;
    device_ = std::make_unique<KernelIrDevice>(system_, static_cast<int>(handle));
    return 1;
}

void KernelIrLibrary::Discard() {
    if (device_) device_->discard();
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
    // Record waits for a key pressed from now on, not one that came before the click.
    if (Ready()) device_->discard();
    return Capture(buffer, procDelay, length, CaptureRule{});
}

namespace {

// Early, at a pause, only a frame of its protocol's whole length or a repeat burst: a pipe
// that stalls mid-frame must not cut a shorter code off it. Any frame ends at the gap after it.
// A long capture is read as far as its signal goes, so an ordinary key costs what it always did.
CaptureRule MonitorRule(int procDelay) {
    auto read = [](const std::vector<std::uint8_t>& capture) {
        if (capture.size() <= kCaptureBytes) return capture;
        std::vector<std::uint8_t> cut = capture;
        TrimCapture(cut);
        return cut;
    };
    CaptureRule rule;
    rule.firstWaitMs = kMonitorFirstWaitMs;
    rule.complete = [procDelay, read](const std::vector<std::uint8_t>& capture) {
        const std::vector<std::uint8_t> c = read(capture);
        return IsWholeFrame(DecodeMonitorFrame(c)) || IsNecRepeatBurst(c, procDelay);
    };
    rule.frameEnded = [procDelay, read](const std::vector<std::uint8_t>& capture) {
        const std::vector<std::uint8_t> c = read(capture);
        return !DecodeMonitorFrame(c).frame.empty() || IsNecRepeatBurst(c, procDelay);
    };
    return rule;
}

} // namespace

std::optional<std::int32_t> KernelIrLibrary::IRMonitor(std::uint8_t* buffer, int procDelay) {
    return Capture(buffer, procDelay, static_cast<int>(kCaptureBytes), MonitorRule(procDelay));
}

std::optional<std::int32_t> KernelIrLibrary::IRMonitorLong(std::uint8_t* buffer, int procDelay, int length) {
    return Capture(buffer, procDelay, std::max(length, static_cast<int>(kCaptureBytes)), MonitorRule(procDelay));
}

std::optional<std::int32_t> KernelIrLibrary::IRSend(const std::uint8_t* buffer, int byteCount, int pulseLength, int) {
    error_.clear();
    if (!device_) {
        error_ = "no kernel infrared device is open.";
        return std::nullopt;
    }
    if (!device_->send(buffer, byteCount, pulseLength, carrierHz_)) {
        error_ = device_->error();
        return std::nullopt;
    }
    return 1;
}

} // namespace quenix
