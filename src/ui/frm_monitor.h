#pragma once

class QWidget;

namespace quenix {

struct Context;

// Shows frmMonitor modally: the monitored-events editor.
void ShowMonitorForm(Context& ctx, QWidget* parent);

} // namespace quenix
