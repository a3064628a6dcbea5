#include "io/capture_library.h"

#include "io/dynamic_library.h"
#include "io/kernel_ir_device.h"

#include "serpulse/serpulse.h"

namespace quenix {

namespace {

using SetHandleFn = std::int32_t(SERPULSE_CALL*)(std::intptr_t);
using RecordFn = std::int32_t(SERPULSE_CALL*)(std::uint8_t*, std::int32_t, std::int32_t);
using MonitorFn = std::int32_t(SERPULSE_CALL*)(std::uint8_t*, std::int32_t);
using SendFn = std::int32_t(SERPULSE_CALL*)(const std::uint8_t*, std::int32_t, std::int32_t, std::int32_t);

class DynamicCaptureLibrary final : public CaptureLibrary {
public:
    explicit DynamicCaptureLibrary(std::string path) : path_(std::move(path)) {}

    std::optional<std::int32_t> SetHandle(PortHandle handle) override {
        // The library takes 0 for "no port"; the program's closed handle is -1.
        auto fn = entry<SetHandleFn>("SetHandle");
        if (!fn) return std::nullopt;
        return fn(handle == kNoPort ? 0 : handle);
    }
    std::optional<std::int32_t> IRRecord(std::uint8_t* buffer, int procDelay, int length) override {
        auto fn = entry<RecordFn>("IRRecord");
        if (!fn) return std::nullopt;
        return fn(buffer, procDelay, length);
    }
    std::optional<std::int32_t> IRRecordN(std::uint8_t* buffer, int procDelay, int length) override {
        auto fn = entry<RecordFn>("IRRecordN");
        if (!fn) return std::nullopt;
        return fn(buffer, procDelay, length);
    }
    std::optional<std::int32_t> IRMonitor(std::uint8_t* buffer, int procDelay) override {
        auto fn = entry<MonitorFn>("IRMonitor");
        if (!fn) return std::nullopt;
        return fn(buffer, procDelay);
    }
    std::optional<std::int32_t> IRMonitorN(std::uint8_t* buffer, int procDelay) override {
        auto fn = entry<MonitorFn>("IRMonitorN");
        if (!fn) return std::nullopt;
        return fn(buffer, procDelay);
    }
    std::optional<std::int32_t> IRSend(const std::uint8_t* buffer, int byteCount, int pulseLength,
                                       int txdMode) override {
        auto fn = entry<SendFn>("IRSend");
        if (!fn) return std::nullopt;
        return fn(buffer, byteCount, pulseLength, txdMode);
    }

    std::string error() const override { return error_; }

    bool Ready() override {
        for (const char* name : {"SetHandle", "IRRecord", "IRRecordN", "IRMonitor", "IRMonitorN", "IRSend"})
            if (!entry<void*>(name)) return false;
        return true;
    }

private:
    template <class Fn>
    Fn entry(const char* name) {
        error_.clear();
        if (!library_.loaded() && !library_.load(path_)) {
            error_ = library_.error();
            return nullptr;
        }
        void* symbol = library_.symbol(name);
        if (!symbol) {
            error_ = library_.error();
            return nullptr;
        }
        return reinterpret_cast<Fn>(symbol);
    }

    std::string path_;
    DynamicLibrary library_;
    std::string error_;
};

// The serial library, or the kernel device when SetHandle was given one.
class RoutingCaptureLibrary final : public CaptureLibrary {
public:
    explicit RoutingCaptureLibrary(std::string path)
        : serial_(std::move(path)), system_(MakeSystemKernelIr()), kernel_(*system_) {}

    std::optional<std::int32_t> SetHandle(PortHandle handle) override {
        onKernel_ = handle != kNoPort && handle != 0 && IsKernelIrHandle(handle);
        if (onKernel_) return kernel_.SetHandle(handle);
        kernel_.SetHandle(kNoPort);
        return serial_.SetHandle(handle);
    }
    std::optional<std::int32_t> IRRecord(std::uint8_t* buffer, int procDelay, int length) override {
        return active().IRRecord(buffer, procDelay, length);
    }
    std::optional<std::int32_t> IRRecordN(std::uint8_t* buffer, int procDelay, int length) override {
        return active().IRRecordN(buffer, procDelay, length);
    }
    std::optional<std::int32_t> IRMonitor(std::uint8_t* buffer, int procDelay) override {
        return active().IRMonitor(buffer, procDelay);
    }
    std::optional<std::int32_t> IRMonitorN(std::uint8_t* buffer, int procDelay) override {
        return active().IRMonitorN(buffer, procDelay);
    }
    std::optional<std::int32_t> IRMonitorLong(std::uint8_t* buffer, int procDelay, int length) override {
        return active().IRMonitorLong(buffer, procDelay, length);
    }
    std::optional<std::int32_t> IRSend(const std::uint8_t* buffer, int byteCount, int pulseLength,
                                       int txdMode) override {
        return active().IRSend(buffer, byteCount, pulseLength, txdMode);
    }
    bool CanSend() override { return active().CanSend(); }
    void Discard() override { active().Discard(); }
    void SetCarrier(int hz) override { active().SetCarrier(hz); }
    std::int64_t LastGapUs() const override { return onKernel_ ? kernel_.LastGapUs() : -1; }
    bool Ready() override { return active().Ready(); }
    std::string error() const override { return onKernel_ ? kernel_.error() : serial_.error(); }

private:
    CaptureLibrary& active() { return onKernel_ ? static_cast<CaptureLibrary&>(kernel_) : serial_; }

    DynamicCaptureLibrary serial_;
    std::unique_ptr<KernelIrSystem> system_;
    KernelIrLibrary kernel_;
    bool onKernel_ = false;
};

} // namespace

std::unique_ptr<CaptureLibrary> MakeCaptureLibrary(const std::string& programFolder) {
    return std::make_unique<RoutingCaptureLibrary>(programFolder + "/" + CaptureLibraryFileName());
}

} // namespace quenix
