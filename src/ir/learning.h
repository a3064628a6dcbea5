#pragma once

// Storing and deleting learned commands, and the PROCDELAY sampling delay: set by hand or
// found by calibration with a SONY remote.

#include "config/context.h"
#include "core/view.h"
#include "ir/recorder.h"

#include <functional>
#include <string>

namespace quenix {

class Learning {
public:
    // After a command was stored or deleted: refill the command list of the current device
    // and select the named command (empty: keep the browser's choice).
    using RefreshCommands = std::function<void(const std::string& select)>;

    Learning(Context& ctx, View& view, CaptureSource& source, RefreshCommands refresh = {});

    void onSaveCmdButton();
    void onDeleteCmdButton();
    void onMenuProcDelay();
    void onCalibrationMenu();

private:
    // Asks until the name is usable or the user gives up; empty when given up.
    std::string askCommandName();
    bool nameInCurrentDevice(const std::string& name) const;
    // False when the store refused the text (lastError says why).
    bool insertCommandLine(const std::string& line);
    // Writes PROCDELAY to the file and, once it is there, to the settings and the window.
    bool storeProcDelay(int value);

    Context& ctx_;
    View& view_;
    CaptureSource& source_;
    RefreshCommands refresh_;
};

} // namespace quenix
