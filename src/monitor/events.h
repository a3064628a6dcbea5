#pragma once

// The monitored-events editor (frmMonitor): builds an event line from an input key and an
// output action, adds it to [Monitoring], deletes events and removes those whose device or
// command no longer exists. It works on the configuration text in memory and saves after
// every change.

#include "config/command_lists.h"
#include "config/context.h"
#include "core/view.h"

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace quenix {

// The command names of a device's own section, in file order.
std::vector<std::string> SectionCommands(std::string_view configText, std::string_view device);
std::vector<std::string> InputCommands(std::string_view configText, const std::string& device);
std::vector<std::string> OutputCommands(std::string_view configText, const std::string& device);
// The lines of [Monitoring], in file order.
std::vector<std::string> MonitoringLines(std::string_view configText);
// An input or output part (device "&" command) whose device and command still exist.
bool EventPartValid(std::string_view configText, const std::string& part);

class MonitorEvents {
public:
    MonitorEvents(Context& ctx, View& view, std::function<void()> close = {});

    // Fills the lists when the form opens.
    void Load();
    void OnIRDevChanged();
    void OnIRCmdChanged();
    void OnBTDevChanged();
    void OnOutDevChanged();
    void OnAdMonButton();
    // The Delete button: the selected event, after asking.
    void OnDelete();
    void OnCleanButton();
    // Command2 closes the form.
    void OnCommand2();

    // False when the file could not be written (the event then stays).
    bool DeleteEvent(const std::string& line, bool ask);
    // The event line the four lists make.
    std::string BuildLine() const;

private:
    void RefreshEvents();

    Context& ctx_;
    View& view_;
    std::function<void()> close_;
};

} // namespace quenix
