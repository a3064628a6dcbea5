#pragma once

// The capture library's line access over the serial port layer, so that the sampler and the
// emitter run on any driver of the layer (the simulated one of the tests included).

#include "io/serial_port.h"
#include "serpulse/pulse_engine.h"

#include <algorithm>
#include <string_view>

namespace quenix {

class PortLine final : public serpulse::Line {
public:
    PortLine(SerialPort& port, PortHandle handle) : port_(port), handle_(handle) {}

    bool dcd() override { return port_.IsDCDOn(handle_); }
    void setDtr(bool on) override { port_.SetDTR(handle_, on); }
    bool write(const std::uint8_t* data, std::size_t size) override {
        for (std::size_t done = 0; done < size;) {
            std::size_t n = std::min(size - done, kComTransferMax);
            if (!port_.WriteComPort(std::string_view(reinterpret_cast<const char*>(data + done), n), handle_))
                return false;
            done += n;
        }
        return true;
    }
    void drain() override {}

private:
    SerialPort& port_;
    PortHandle handle_;
};

} // namespace quenix
