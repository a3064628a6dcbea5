#pragma once

// The recorder's and calibration's receiver on the real serial port and capture library.

#include "config/context.h"
#include "io/capture_library.h"
#include "io/serial_port.h"
#include "ir/recorder.h"

namespace quenix {

class PortCaptureSource final : public CaptureSource {
public:
    PortCaptureSource(Context& ctx, SerialPort& port, CaptureLibrary& library)
        : ctx_(ctx), port_(port), library_(library) {}

    bool record(int interfaceType, std::vector<std::uint8_t>& buffer, int procDelay, int length) override;
    std::string readIRMan() override;
    std::string failure() const override { return failure_; }

private:
    Context& ctx_;
    SerialPort& port_;
    CaptureLibrary& library_;
    std::string failure_;
};

} // namespace quenix
