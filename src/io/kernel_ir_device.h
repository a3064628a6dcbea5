#pragma once

// A kernel infrared device, or a FIFO that carries its mode2 words, behind the capture
// library's contract: the capture calls read pulse and space durations and lay them onto the
// packed buffer at the sample period PROCDELAY gives, so the decoder sees what a serial
// receiver would have given it; IRSend writes the cells as the kernel's durations.

#include "io/capture_library.h"
#include "io/kernel_ir.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace quenix {

// The requests made of a device; each system maps them onto its own numbers.
enum class LircRequest {
    GetFeatures,
    SetRecMode,
    SetSendMode,
    SetSendCarrier,
    SetSendDutyCycle,
};

// The calls a device needs from the operating system.
class KernelIrSystem {
public:
    virtual ~KernelIrSystem() = default;
    // 0, or the error number of a refused request. value carries the argument or the answer.
    virtual int request(int fd, LircRequest request, std::uint32_t& value) = 0;
    // Bytes read; 0 when nothing is waiting; minus the error number when the device failed
    // (gone, unplugged).
    virtual long read(int fd, std::uint8_t* buffer, std::size_t size) = 0;
    // 0 once all bytes are written, else the error number.
    virtual int write(int fd, const std::uint8_t* data, std::size_t size) = 0;
    // Waits up to ms for something to read; true when there is.
    virtual bool waitReadable(int fd, int ms) = 0;
    virtual void sleepUs(std::int64_t us) = 0;
    virtual std::int64_t nowUs() = 0;
    // The device's path, for messages.
    virtual std::string name(int fd) = 0;
    virtual std::string errorText(int error) = 0;
};

std::unique_ptr<KernelIrSystem> MakeSystemKernelIr();
// True when a handle the serial layer gave out is not a serial port: a kernel infrared
// device or a FIFO that stands for one.
bool IsKernelIrHandle(PortHandle handle);

// How a capture ends.
struct CaptureRule {
    int firstWaitMs = 5000;
    // Asked at the first pause after a pulse: true when the buffer holds all a caller needs,
    // however the words that follow may arrive.
    std::function<bool(const std::vector<std::uint8_t>&)> complete;
    // Asked once the signal has been silent for a frame gap: true when what came is a frame.
    std::function<bool(const std::vector<std::uint8_t>&)> frameEnded;
};

class KernelIrDevice {
public:
    KernelIrDevice(KernelIrSystem& system, int fd);

    bool canReceive() const { return canReceive_; }
    bool canSend() const { return canSend_; }
    const std::string& name() const { return name_; }

    // 1 when a signal was captured into buffer (zeroed, bytes long), 0 when none came, -1
    // when the device failed (error() says why).
    int capture(std::uint8_t* buffer, int bytes, int procDelay, const CaptureRule& rule);
    bool send(const std::uint8_t* packed, int byteCount, int pulseUs, std::uint32_t carrierHz);
    // Throws away every word queued so far.
    void discard();
    // The space the device reported before the last capture's first pulse (the gap since the
    // frame before, in full even after a timeout word); -1 when no space word came just before.
    std::int64_t gapUs() const { return gapUs_; }
    const std::string& error() const { return error_; }

private:
    void setUp();
    bool set(LircRequest request, std::uint32_t value);
    // The next event, waiting up to ms for one; false on none or on failure (failed_ set).
    bool next(Mode2Event& event, int ms);

    KernelIrSystem& system_;
    int fd_;
    std::string name_;
    std::uint32_t features_ = 0;
    bool answers_ = false; // a device, not a pipe
    bool canReceive_ = true;
    bool canSend_ = false;
    bool failed_ = false;
    std::string error_;
    std::int64_t spaceUs_ = -1, gapUs_ = -1;
    std::size_t maxWriteValues_ = 1023; // 511 once the kernel refused a longer write
    std::uint8_t partial_[4] = {};
    std::size_t partialBytes_ = 0;
};

// A capture that holds NEC's repeat burst and nothing else: the key under way is still held.
bool IsNecRepeatBurst(const std::vector<std::uint8_t>& capture, int procDelay);
struct DecodedFrame;
// A frame of its protocol's whole length (NEC 16/32/42/48, SONY 12/15/20, RC5 bits).
bool IsWholeFrame(const DecodedFrame& f);

// The capture library on a kernel device, for whichever handle SetHandle last gave it.
class KernelIrLibrary final : public CaptureLibrary {
public:
    explicit KernelIrLibrary(KernelIrSystem& system) : system_(system) {}

    std::optional<std::int32_t> SetHandle(PortHandle handle) override;
    std::optional<std::int32_t> IRRecord(std::uint8_t* buffer, int procDelay, int length) override;
    std::optional<std::int32_t> IRRecordN(std::uint8_t* buffer, int procDelay, int length) override {
        return IRRecord(buffer, procDelay, length);
    }
    std::optional<std::int32_t> IRMonitor(std::uint8_t* buffer, int procDelay) override;
    std::optional<std::int32_t> IRMonitorN(std::uint8_t* buffer, int procDelay) override {
        return IRMonitor(buffer, procDelay);
    }
    std::optional<std::int32_t> IRMonitorLong(std::uint8_t* buffer, int procDelay, int length) override;
    std::optional<std::int32_t> IRSend(const std::uint8_t* buffer, int byteCount, int pulseLength,
                                       int txdMode) override;
    bool Ready() override;
    bool CanSend() override { return device_ && device_->canSend(); }
    void Discard() override;
    void SetCarrier(int hz) override { carrierHz_ = static_cast<std::uint32_t>(hz); }
    std::int64_t LastGapUs() const override { return device_ ? device_->gapUs() : -1; }
    std::string error() const override { return error_; }

private:
    std::optional<std::int32_t> Capture(std::uint8_t* buffer, int procDelay, int length, const CaptureRule& rule);

    KernelIrSystem& system_;
    std::unique_ptr<KernelIrDevice> device_;
    std::string error_;
    std::uint32_t carrierHz_ = 38000;
};

} // namespace quenix
