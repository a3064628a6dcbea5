#pragma once

// The monitored-events editor (frmMonitor): builds an event line from an input key and an
// output action, adds it to [Monitoring], deletes events and removes those whose device or
// command no longer exists. It works on the configuration text in memory and saves after
// every change.

#include "config/context.h"
#include "core/view.h"

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace quenix {

// The fixed command lists, comma lists with a trailing comma.
inline constexpr const char* kBtCommands =
    "CONNECTED,DISCONNECTED,YES,C,NO,LEFT,RIGHT,1,2,3,4,5,6,7,8,9,0,#,UP,DOWN,FLIP OPEN,FLIP CLOSED,";
inline constexpr const char* kX10Commands = "All-U-Off,All-L-On,On,Off,Dim,Bri,All-L-Off,";
inline constexpr const char* kWinampCommands =
    "POWER ON,POWER OFF,PLAY,PREV,NEXT,PAUSE,STOP,FFW,REW,NEXT in PL,PREV in PL,NEXT 10 in PL,PREV 10 in PL,"
    "VOLUP,VOLDOWN,GETNAME,EQON,REPEAT,SHUFFLE,PLAYLIST,DOUBLE,VISUAL,TIME ELAPSED,TIME REMAINING,";
inline constexpr const char* kDimmerCommands = "ON/OFF,DIM/BRI,";
inline constexpr const char* kMouseCommands =
    "LEFT CLICK,RIGHT CLICK,DOUBLECLICK,LEFT,LEFTUP,UP,RIGHTUP,RIGHT,RIGHTDOWN,DOWN,LEFTDOWN,";

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
    bool Save(const std::string& before);

    Context& ctx_;
    View& view_;
    std::function<void()> close_;
};

} // namespace quenix
