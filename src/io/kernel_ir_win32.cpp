// Windows has no kernel infrared devices of this kind: every handle is a serial port.

#include "io/kernel_ir_device.h"

namespace quenix {

namespace {

class NoKernelIr final : public KernelIrSystem {
public:
    int request(int, LircRequest, std::uint32_t&) override { return 1; }
    long read(int, std::uint8_t*, std::size_t) override { return -1; }
    int write(int, const std::uint8_t*, std::size_t) override { return 1; }
    bool waitReadable(int, int) override { return false; }
    void sleepUs(std::int64_t) override {}
    std::int64_t nowUs() override { return 0; }
    std::string name(int) override { return "LIRC"; }
    std::string errorText(int) override { return "not available on Windows"; }
};

} // namespace

std::unique_ptr<KernelIrSystem> MakeSystemKernelIr() { return std::make_unique<NoKernelIr>(); }

bool IsKernelIrHandle(PortHandle) { return false; }

} // namespace quenix
