#pragma once

#include "config/context.h"
#include "core/view.h"

#include <string>

namespace quenix {

// The values of one protocol header as the editor writes them.
struct HeaderFields {
    std::string name;
    std::string description;
    int gproto = 0;
    int sendpls = 0;
    int repeat = 0;
    int grepeat = 0;
    std::string bitg, bit0, bit1;
};

// The header lines of a device section. A new device's text opens with a blank line and ends
// with one; an edited device's text replaces the old lines exactly, so it has neither.
std::string BuildHeaderText(const HeaderFields& h, bool forEdit);

// The device editor (form NewProtocol) without its window. It reads and writes the form
// through `form` by the controls' names, and reads the main window through `mainView`: the
// device list `Protocol` and, when made from a recording, the record panel.
//
// ctx.editFlag set: edit ctx.config.currentDevice. currentDevice "recorded": a new device
// filled from the last recognised recording. Otherwise: a new, empty device.
class DeviceEditor {
public:
    DeviceEditor(Context& ctx, View& form, View& mainView);

    // Fills the form. False when the edited device's header is broken; the user has been
    // told and the form must close.
    bool Open();
    // The protocol list changed selection (by the user): fill the entry's presets.
    void OnProtocolChanged();
    // Validates, asks, and on Yes changes and saves the configuration. True when it changed
    // (the form closes); false leaves the form open.
    bool OnCreate();

    bool editing() const { return editing_; }

private:
    bool LoadForEdit();
    void FillFromRecording();
    bool Refuse(const std::string& message);
    bool Apply(const std::string& name, const std::string& header);

    Context& ctx_;
    View& form_;
    View& main_;
    bool editing_ = false;
    std::string device_; // the edited device, as found by its name
    int loadedGproto_ = 0; // GPROTO= of the edited device as found
};

} // namespace quenix
