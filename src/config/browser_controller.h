#pragma once

#include "config/context.h"
#include "core/view.h"

#include <functional>
#include <string>
#include <vector>

namespace quenix {

// What a selected device name stands for; decided from the name alone.
enum class DeviceKind { None, X10, Winamp, Mouse, IrDimmer, Application, Bluetooth, Keyboard, Recorded, Infrared };

DeviceKind KindOfDevice(const std::string& name);
// The zones a FirM interface offers.
std::vector<std::string> FirmZones();
// Splits a comma list ("a,b,c,") into its entries.
std::vector<std::string> SplitCommaList(const std::string& list);

// The device list `Protocol` and the command list `SendCmd` of the main window, and the
// File menu items that act on devices.
//
// The device list holds every section between [General] and [Monitoring] in file order
// (so [X10] and [Application] appear as the devices "X10" and "Application"), followed by the
// virtual devices that have no section of their own: Recorded, Winamp, IR Dimmer, Mouse,
// Keyboard, Bluetooth. PROTOCOL= is an index into that list; virtual devices stay in the list
// whether their facility is enabled or not, so that toggling a facility never shifts the index.
class BrowserController {
public:
    struct Hooks {
        // Before an infrared device is used: close an earlier interface's port, re-initialise
        // IRMan, reset the output lines.
        std::function<void()> prepareInfraredDevice;
        // Opens the device definition form (ctx.editFlag says New or Edit); true when the user
        // saved a device. Unset while the form does not exist.
        std::function<bool()> deviceForm;
    };

    BrowserController(Context& ctx, View& view, Hooks hooks = {});

    std::vector<std::string> DeviceNames() const;
    // Commands of a device as the list shows them.
    std::vector<std::string> CommandsOf(const std::string& device) const;

    // Fills the device list and selects the stored PROTOCOL= entry again.
    void Refresh();
    // Fills the device list and selects the named device, wherever it now stands (after a new
    // device or an import moved the sections).
    void Reselect(const std::string& device);
    // A click in the device list.
    void SelectDevice(int index);
    // A click in the command list.
    void SelectCommand(int index);

    void FileNew();
    void Edit();
    void ProtoDelete();
    void AddApplication();

    // The program fills the hooks of the receiver and the device form.
    Hooks& hooks() { return hooks_; }

    void SetCompact(bool compact);
    bool compact() const { return compact_; }
    std::string selectedDevice() const { return ctx_.config.currentDevice; }
    DeviceKind selectedKind() const { return KindOfDevice(ctx_.config.currentDevice); }

private:
    void ApplyTitle();
    void LoadProtocolParameters(const std::string& device);
    std::vector<std::string> SectionEntries(const std::string& section) const;
    void ShowCommands(const std::vector<std::string>& commands);
    void EnableLearning(bool on);
    // New (edit false) or Edit; selects the saved device afterwards.
    void OpenDeviceForm(bool edit);
    // Stores the device list index as PROTOCOL, telling the user when that cannot be written.
    void StoreProtocol(int index);

    Context& ctx_;
    View& view_;
    Hooks hooks_;
    bool compact_ = false;
    bool protocolWriteFailed_ = false;
};

} // namespace quenix
