#pragma once

// The logic of frmX10Config: names for the 256 X10 addresses, the interface's port, the
// enable flag and the interface reset. The window only forwards its events here.

#include "actions/x10.h"
#include "config/context.h"
#include "core/view.h"

#include <string>

namespace quenix {

class SerialPort;

class X10ConfigController {
public:
    // form: frmX10Config; mainView: frmMain, whose status bar shows the outcome.
    X10ConfigController(Context& ctx, SerialPort& serial, View& form, View& mainView);

    void onLoad();
    void onHouseOrUnitSelected();
    void onAdd();
    void onDelete();
    // Saves and reports; true when the window may close. A refused save keeps the window
    // and the file as they were.
    bool onOK();
    void onReset();
    // The window closes without OK.
    void onClose();

    const X10Names& names() const { return names_; }

private:
    int house() const;
    int unit() const;
    int selectedPort() const;
    // The name at the selected address, among all the names given.
    void showName();
    bool ask(const std::string& question);
    void refuse(const std::string& text);
    // The configuration text with the [X10] section holding names_.
    std::string textWithNames() const;
    // The main window's list of X10 functions and units, when it shows them.
    void refreshMainList();

    Context& ctx_;
    SerialPort& serial_;
    View& form_;
    View& main_;
    X10Names names_;
    bool saved_ = false;
};

} // namespace quenix
