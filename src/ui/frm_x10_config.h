#pragma once

class QWidget;

namespace quenix {

struct Context;
class SerialPort;
class View;

// Shows frmX10Config modally: names for the X10 addresses, the CM11/12 port, the enable flag
// and the interface reset. Outcomes are reported in mainView's status bar.
void ShowX10ConfigForm(Context& ctx, SerialPort& serial, View& mainView, QWidget* parent);

} // namespace quenix
