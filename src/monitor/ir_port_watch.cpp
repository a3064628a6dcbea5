#include "monitor/ir_port_watch.h"

namespace quenix {

bool IrPortWatch::ReadDcd(bool& dcd) {
    if (lost_) {
        TryReopen();
        return false;
    }
    if (ctx_.irPortHandle == kNoPort) return false;
    std::uint32_t lines = 0;
    // A line read that fails is a port that went away: the capture library would sample a dead
    // line for the whole buffer on every tick.
    if (!port_.driver().modemStatus(ctx_.irPortHandle, lines)) {
        Lost();
        return false;
    }
    dcd = (lines & kModemDcdOn) != 0;
    return true;
}

void IrPortWatch::Lost() {
    const PortHandle gone = ctx_.irPortHandle;
    library_.SetHandle(kNoPort);
    port_.CloseHandle(gone);
    if (ctx_.x10PortHandle == gone) ctx_.x10PortHandle = kNoPort; // the X10 interface shared it
    ctx_.irPortHandle = kNoPort;
    lost_ = true;
    nextTryMs_ = ctx_.clock.nowMs() + kReopenMs;
    view_.setStatus(ComDeviceName(ctx_.settings().comPort) + " is gone; monitoring goes on when it is back.");
}

void IrPortWatch::TryReopen() {
    if (ctx_.clock.nowMs() < nextTryMs_) return;
    nextTryMs_ = ctx_.clock.nowMs() + kReopenMs;
    const int number = ctx_.settings().comPort;
    const PortHandle h = port_.OpenComPort(number);
    if (h == kNoPort) return;
    ctx_.irPortHandle = h;
    lost_ = false;
    library_.SetHandle(h);
    if (!IsLircPort(number)) port_.ConfigureComPort(9600, 8, h);
    view_.setStatus(ComDeviceName(number) + " is back.");
    if (powerUp_) powerUp_();
}

} // namespace quenix
