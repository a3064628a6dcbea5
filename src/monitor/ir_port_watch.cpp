#include "monitor/ir_port_watch.h"

#include "io/receiver_controller.h"

namespace quenix {

bool IrPortWatch::ReadDcd(bool& dcd) {
    // A port chosen in the list meanwhile is the user's: nothing to wait for.
    if (lost_ && ctx_.irPortHandle != kNoPort) lost_ = gone_ = false;
    // A port that never opened is waited for as one that went away.
    if (!lost_ && ctx_.irPortHandle == kNoPort && ctx_.settings().comPort > 0) {
        lost_ = true;
        nextTryMs_ = ctx_.clock.nowMs();
    }
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
    lost_ = gone_ = told_ = true;
    nextTryMs_ = ctx_.clock.nowMs() + kReopenMs;
    view_.setStatus(ComDeviceName(ctx_.settings().comPort) + " is gone; monitoring goes on when it is back.");
}

void IrPortWatch::TryReopen() {
    if (ctx_.clock.nowMs() < nextTryMs_) return;
    nextTryMs_ = ctx_.clock.nowMs() + kReopenMs;
    const int number = ctx_.settings().comPort;
    const PortHandle h = port_.OpenComPort(number);
    if (h == kNoPort) {
        if (told_) return;
        told_ = true;
        std::string why = port_.OpenError();
        if (why.empty()) why = ComDeviceName(number) + " does not open";
        if (why.back() != '.' && why.back() != '?') why += '.';
        view_.setStatus(why + " Monitoring starts once " + ComDeviceName(number) + " opens.");
        return;
    }
    ctx_.irPortHandle = h;
    lost_ = false;
    library_.SetHandle(h);
    if (!IsLircPort(number)) port_.ConfigureComPort(9600, 8, h);
    ShowPortOpened(view_, library_, number);
    view_.setStatus(ComDeviceName(number) + (gone_ ? " is back." : " is open; monitoring goes on."));
    gone_ = told_ = false;
    if (powerUp_) powerUp_();
}

} // namespace quenix
