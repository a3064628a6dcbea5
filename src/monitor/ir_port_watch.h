#pragma once

// The infrared port under the monitoring tick: notices when it is gone (a USB adapter pulled, the
// far side of a pseudo-terminal closed) or was never there (a receiver plugged in after start-up,
// a port another program holds), tells the user once, and opens it once it is there.

#include "config/context.h"
#include "core/view.h"
#include "io/capture_library.h"
#include "io/serial_port.h"

#include <cstdint>
#include <functional>

namespace quenix {

class IrPortWatch {
public:
    // powerUp sets the receiver's lines again on a reopened port.
    IrPortWatch(Context& ctx, View& view, SerialPort& port, CaptureLibrary& library, std::function<void()> powerUp)
        : ctx_(ctx), view_(view), port_(port), library_(library), powerUp_(std::move(powerUp)) {}

    // One line read on the open port. False when there is no port to read (never opened, just
    // lost, or not back yet); otherwise dcd is the DCD line.
    bool ReadDcd(bool& dcd);
    // Monitoring (re)starts: a port that is not open is tried at the next tick and, while it
    // will not open, told about again.
    void Started() { told_ = false; }

    static constexpr int kReopenMs = 1000;

private:
    void Lost();
    void TryReopen();

    Context& ctx_;
    View& view_;
    SerialPort& port_;
    CaptureLibrary& library_;
    std::function<void()> powerUp_;
    bool lost_ = false; // not open: tried once a second
    bool gone_ = false; // and it was open before
    bool told_ = false; // the user knows

    std::int64_t nextTryMs_ = 0;
};

} // namespace quenix
