#pragma once

// The phone remote's settings window (frmBT): enable flag, COM port, connection mode and the
// ten device names the phone shows. Every change goes to [General] at once.

#include "config/context.h"
#include "core/view.h"
#include "io/serial_port.h"

namespace quenix {

class BtConfig {
public:
    BtConfig(Context& ctx, View& view, SerialPort& port);

    // Shows the stored state.
    void Open();
    void OnBTCheckbox(bool checked);
    void OnBtComListbox();
    void OnBTModeOption(int index);
    void OnBTDevNrCombo();
    void OnButtonChange();

    static constexpr const char* kNameBox = "BTDevName";

private:
    void enableControls(bool on);

    Context& ctx_;
    View& view_;
    SerialPort& port_;
};

} // namespace quenix
