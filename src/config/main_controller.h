#pragma once

#include "config/browser_controller.h"
#include "config/context.h"
#include "core/view.h"

#include <functional>
#include <string>

namespace quenix {

// Start-up, the enable toggles, the small menu actions, the compact window and the exit of
// the main window. Steps owned by the interface, monitoring and port code are calls through
// Hooks, which the program fills; an unset hook is skipped.
class MainController {
public:
    struct Hooks {
        // Lists the serial ports and applies the stored interface type and transmit mode.
        std::function<void()> applyInterface;
        // Work done while the matching progress text shows.
        std::function<void()> initInfraredIn;
        std::function<void()> initInfraredOut;
        std::function<void()> initX10;
        // MonitoringStartMenu / MonitoringStopMenu.
        std::function<void()> startMonitoring;
        std::function<void()> stopMonitoring;
        // Infrared input was switched on or off.
        std::function<void()> irInputChanged;
        // Closes one serial port.
        std::function<void(PortHandle)> closePort;
        // Hands the capture library a port handle (0 = none).
        std::function<void(PortHandle)> setCaptureHandle;
        // Opens a web address or a local file in the desktop's viewer.
        std::function<void(const std::string&)> openUrl;
        // Opens the program's help where the platform has a viewer of its own; otherwise
        // the HTML help in the program folder goes to openUrl.
        std::function<void()> openHelp;
        // The tray icon file changed (a file name in the program folder).
        std::function<void(const std::string&)> iconChanged;
        // The window switched between the full and the compact layout.
        std::function<void(bool compact)> compactChanged;
        // The configuration has loaded and the window has its title: the window can be seen
        // while the interfaces start behind the progress window.
        std::function<void()> showWindow;
    };

    static constexpr const char* kSupportMail = "support@quenix-remote.org";
    static constexpr const char* kWebPage = "https://quenix-remote.org/";

    MainController(Context& ctx, View& view, View& waitView, BrowserController& browser, Hooks hooks = {});
    ~MainController();
    MainController(const MainController&) = delete;
    MainController& operator=(const MainController&) = delete;

    // The window's load handler. False when the configuration failed to load: the user has
    // been told and the program must end.
    bool StartUp();

    // Sets every check mark, the beep box and the capture delay from the settings, so the
    // window shows what the file holds (at start-up and after an import).
    void ShowSettings();
    // After File > Import or a reload of a file another program changed, given the device shown
    // and the settings before it.
    void Imported(const std::string& shownDevice, const Settings& before);

    // A checkable enable toggle, by object name (InfraredInMenu ... KeyboardMenu, BeepCheckbox).
    // False for a name that is not a toggle.
    bool Toggle(const std::string& control);

    void About();
    void HelpContent();
    void WebPage();
    void NotYetImplemented();
    void MinButton();
    // Window state changes: a minimised window hides in the notification area.
    void Minimised();
    void Restored();
    // The icon file that matches the monitoring state.
    std::string IconFile() const;
    void RefreshIcon();
    // Closes the ports and saves the configuration.
    void Exit();

    bool compact() const { return browser_.compact(); }
    // The program fills the hooks of the interface, port and monitoring code before StartUp.
    Hooks& hooks() { return hooks_; }
    std::string FullTitle() const;

private:
    void Wait(const std::string& text);

    Context& ctx_;
    View& view_;
    View& wait_;
    BrowserController& browser_;
    Hooks hooks_;
    bool waitShown_ = false;
};

} // namespace quenix
