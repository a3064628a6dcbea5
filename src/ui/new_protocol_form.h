#pragma once

class QWidget;

namespace quenix {

struct Context;
class View;

// Shows the device editor (form NewProtocol) modally: for a new device, for the current
// device when ctx.editFlag is set, or filled from the record panel of mainView when the
// current device is "recorded". Returns QDialog::Accepted when the configuration changed,
// so that the caller refreshes its lists.
int ShowNewProtocolForm(Context& ctx, View& mainView, QWidget* parent);

} // namespace quenix
