#pragma once

#include <functional>

class QWidget;

namespace quenix {

struct Context;
class SerialPort;

// Shows frmBT modally: the phone remote's enable flag, port, mode and device names.
// phoneChanged runs when a change must reach the running phone remote.
void ShowBluetoothForm(Context& ctx, SerialPort& serial, QWidget* parent, std::function<void()> phoneChanged = {});

} // namespace quenix
