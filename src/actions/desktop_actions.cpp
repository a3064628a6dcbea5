#include "actions/desktop_actions.h"

#include "actions/application.h"
#include "actions/x10.h"

namespace quenix {

DesktopActions::DesktopActions(Context& ctx, SerialPort& serial, SoundPlayer& sound)
    : ctx_(ctx), serial_(serial), sound_(sound) {}

DesktopActions::~DesktopActions() = default;

std::string DesktopActions::x10(const std::string& unit, const std::string& command, int function, int dimLevel) {
    return X10Action(ctx_, serial_, unit, command, function, dimLevel);
}

std::string DesktopActions::mouse(const std::string& command) {
    if (!mouse_) {
        mouseDriver_ = MakeSystemMouseDriver();
        mouse_ = std::make_unique<clsMouse>(*mouseDriver_);
    }
    return MouseAction(*mouse_, command);
}

std::string DesktopActions::keyboard(const std::string& command) { return KeyboardAction(command); }

std::string DesktopActions::application(const std::string& command) {
    if (!launcher_) launcher_ = MakeSystemLauncher(ctx_.config.folder());
    return ApplicationAction(ctx_, *launcher_, sound_, command);
}

std::string DesktopActions::winamp(const std::string& command) {
    if (!winamp_) {
        const std::string& path = ctx_.settings().winampPath;
        winampLink_ = MakeSystemWinampLink(path);
        winamp_ = std::make_unique<clsWinamp>(*winampLink_, FolderOf(path));
    }
    return WinampAction(ctx_, *winamp_, command);
}

} // namespace quenix
