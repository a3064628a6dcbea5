#pragma once

// The phone remote's settings window (frmBT): enable flag, COM port, connection mode and the
// ten device names the phone shows. Every change goes to [General] at once.

#include "config/context.h"
#include "core/view.h"
#include "io/serial_port.h"

#include <functional>
#include <string>

namespace quenix {

// The name the phone shows for a device index: the stored one, or "Device n" while none was
// given, so that the phone never greets with an empty name.
std::string PhoneDeviceName(const Settings& settings, int index);

class BtConfig {
public:
    // phoneChanged runs after the enable flag or the port changed while monitoring runs, so
    // that the phone remote starts, stops or moves to the new port at once.
    BtConfig(Context& ctx, View& view, SerialPort& port, std::function<void()> phoneChanged = {});

    // Shows the stored state.
    void Open();
    void OnBTCheckbox(bool checked);
    void OnBtComListbox();
    void OnBTModeOption(int index);
    void OnBTDevNrCombo();
    void OnButtonChange();

    static constexpr const char* kNameBox = "BTDevName";
    // Longer names do not fit the phone's display line.
    static constexpr std::size_t kMaxName = 20;

private:
    void enableControls(bool on);
    void showPort();
    void refuse(const std::string& text);

    Context& ctx_;
    View& view_;
    SerialPort& port_;
    std::function<void()> phoneChanged_;
};

} // namespace quenix
