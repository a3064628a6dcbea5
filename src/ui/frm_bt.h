#pragma once

class QWidget;

namespace quenix {

struct Context;
class SerialPort;

// Shows frmBT modally: the phone remote's enable flag, port, mode and device names.
void ShowBluetoothForm(Context& ctx, SerialPort& serial, QWidget* parent);

} // namespace quenix
