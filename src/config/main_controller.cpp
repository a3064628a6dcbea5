#include "config/main_controller.h"

#include <array>

namespace quenix {
namespace {

struct ToggleRow {
    const char* control;
    const char* key;
    bool Settings::*flag;
};

constexpr std::array<ToggleRow, 8> kToggles = {{
    {"InfraredInMenu", "IRINENA", &Settings::irInEna},
    {"InfraredOutMenu", "IROUTENA", &Settings::irOutEna},
    {"IRDimmerMenu", "IRDIMENA", &Settings::irDimEna},
    {"WinampMenu", "WINAMPENA", &Settings::winampEna},
    {"ApplicationMenu", "APPLICATIONENA", &Settings::applicationEna},
    {"MouseMenu", "MOUSEENA", &Settings::mouseEna},
    {"KeyboardMenu", "KEYBOARDENA", &Settings::keyboardEna},
    {"BeepCheckbox", "BEEPON", &Settings::beepOn},
}};

// A kernel infrared device, which the receiver code names with its number and abilities.
constexpr int kKernelIrType = 5;

const char* ReceiverName(int type) {
    switch (type) {
    case 0: return "DCD Std";
    case 1: return "IR Mouse";
    case 2: return "IR Man";
    case 3: return "Creative";
    case 4: return "FirM";
    default: return "Unknown";
    }
}

template <class F, class... A>
void Call(const F& f, A&&... args) {
    if (f) f(std::forward<A>(args)...);
}

} // namespace

MainController::MainController(Context& ctx, View& view, View& waitView, BrowserController& browser, Hooks hooks)
    : ctx_(ctx), view_(view), wait_(waitView), browser_(browser), hooks_(std::move(hooks)) {
    ctx_.onReloaded = [this](const Settings& before) {
        Imported(ctx_.config.currentDevice, before);
        view_.setStatus("telvorin.cfg was changed by another program; it has been reloaded.");
    };
}

MainController::~MainController() { ctx_.onReloaded = nullptr; }

std::string MainController::FullTitle() const { return "Orvel's Quenix Remote Manager v" + ctx_.config.version(); }

void MainController::Wait(const std::string& text) {
    if (!waitShown_) {
        wait_.setVisible("frmWaitToStart", true);
        waitShown_ = true;
    }
    wait_.setText("WaitText", text);
    wait_.processEvents();
}

bool MainController::StartUp() {
    ctx_.monitoring = false;
    ctx_.editFlag = false;
    ctx_.validated = false;
    ctx_.irmanInitialised = false;

    view_.setStatus("Loading configuration file...");
    view_.processEvents();
    if (!ctx_.config.LoadConfiguration()) {
        // The reason names the file, the missing section or key, so a hand edit can be mended.
        ctx_.dialogs.messageBox(std::string("There is an error in the configuration file.\n"
                                            "The application will be closed.\n"
                                            "If the problem persists, please write to ") +
                                    kSupportMail + ".\n\n" + ctx_.config.lastError(),
                                "ZVK", MsgIcon::Critical, MsgButtons::Ok);
        return false;
    }
    const Settings& s = ctx_.settings();
    view_.setText("frmMain", FullTitle());
    Call(hooks_.showWindow);

    if (s.irInEna || s.irOutEna) Wait("Starting...");

    view_.setStatus("Select IR Interface...");
    view_.processEvents();
    ctx_.interfaceType = s.itypeLow;
    ctx_.txdOutput = s.itypeHigh;
    // The receiver code shows its own caption when it applies the interface; start-up then
    // names the stored type, "Unknown" included.
    Call(hooks_.applyInterface);
    if (s.itypeLow != kKernelIrType) view_.setText("ReceiverType", ReceiverName(s.itypeLow));

    view_.setChecked("BeepCheckbox", s.beepOn);
    view_.setTimerEnabled("BTAutoTimer", s.btMode != 0);
    view_.setText("ProcDelayparameter", std::to_string(s.procDelay));

    if (s.irInEna) {
        Wait("Initialize Infrared IN...");
        Call(hooks_.initInfraredIn);
    }
    if (s.irOutEna) {
        Wait("Initialize Infrared OUT...");
        Call(hooks_.initInfraredOut);
    }
    if (s.x10Ena) {
        Wait("Initialize X10...");
        Call(hooks_.initX10);
    }
    ShowSettings();

    if (s.itypeLow == 4) {
        view_.setItems("Zone", FirmZones());
        view_.setCurrentIndex("Zone", 0);
    }

    browser_.Refresh();
    view_.setCurrentIndex("HScroll1", s.procDelay);

    if (s.monitor)
        Call(hooks_.startMonitoring);
    else
        Call(hooks_.stopMonitoring);

    view_.setStatus("Application started successfully.");
    RefreshIcon();
    if (waitShown_) {
        wait_.setVisible("frmWaitToStart", false);
        waitShown_ = false;
    }
    return true;
}

void MainController::ShowSettings() {
    const Settings& s = ctx_.settings();
    for (const auto& row : kToggles) view_.setChecked(row.control, s.*row.flag);
    view_.setEnabled("InterfaceMenu", s.irInEna);
    view_.setChecked("X10ConfMenu", s.x10Ena);
    view_.setChecked("BluetoothConfigMenu", s.btEna);
    view_.setText("ProcDelayparameter", std::to_string(s.procDelay));
    view_.setTimerEnabled("BTAutoTimer", s.btMode != 0);
}

void MainController::Imported(const std::string& shownDevice, const Settings& before) {
    const Settings& s = ctx_.settings();
    // An imported port or receiver takes effect now, not at the next start.
    if (s.comPort != before.comPort || s.itypeLow != before.itypeLow || s.itypeHigh != before.itypeHigh) {
        ctx_.interfaceType = s.itypeLow;
        ctx_.txdOutput = s.itypeHigh;
        Call(hooks_.applyInterface);
        if (s.itypeLow != kKernelIrType) view_.setText("ReceiverType", ReceiverName(s.itypeLow));
    }
    ShowSettings();
    // Imported sections move the devices behind them; the device shown stays shown unless the
    // import brought a PROTOCOL= of its own.
    if (s.protocol != before.protocol)
        browser_.Refresh();
    else
        browser_.Reselect(shownDevice);
    // The lists enable Send; monitoring keeps it off.
    if (ctx_.monitoring) view_.setEnabled("SendButton", false);
}

bool MainController::Toggle(const std::string& control) {
    for (const auto& row : kToggles) {
        if (control != row.control) continue;
        // A check box has already changed its state when the click arrives; a menu item is
        // flipped here. Either way the stored flag decides the new value.
        bool on = !(ctx_.settings().*row.flag);
        const bool written = ctx_.config.SetGeneralKey(row.key, on ? "1" : "0");
        if (written) ctx_.settings().*row.flag = on;
        // The mark shows what is on disk, already while a box tells why: a write that failed
        // leaves the old state, a reload the other program's.
        on = ctx_.settings().*row.flag;
        view_.setChecked(control, on);
        if (control == std::string("InfraredInMenu")) {
            view_.setEnabled("InterfaceMenu", on);
            if (hooks_.irInputChanged) hooks_.irInputChanged();
        }
        ctx_.Written(written);
        return true;
    }
    return false;
}

void MainController::About() {
    ctx_.dialogs.messageBox("Quenix Remote Manager v" + ctx_.config.version() +
                                "\n\nInfrared remote-control manager: learn, send and monitor remote keys."
                                "\n\nWeb: " +
                                std::string(kWebPage) + "\nMail: " + kSupportMail + "\n\nSettings: " +
                                ctx_.config.path(),
                            "ZVK", MsgIcon::Information, MsgButtons::Ok);
}

void MainController::HelpContent() {
    if (hooks_.openHelp) {
        hooks_.openHelp();
        return;
    }
    Call(hooks_.openUrl, ctx_.config.dataFolder() + "/help/index.html");
}

void MainController::WebPage() { Call(hooks_.openUrl, std::string(kWebPage)); }

void MainController::NotYetImplemented() { ctx_.dialogs.message("Not yet implemented", "ZVK", MsgIcon::Information); }

void MainController::MinButton() {
    const bool compact = !browser_.compact();
    browser_.SetCompact(compact);
    // The compact window always carries its own title, whatever the device.
    view_.setText("frmMain", compact ? "KPL Send Mgr v" + ctx_.config.version() : FullTitle());
    view_.setText("MinButton", compact ? "Full window" : "Compact");
    Call(hooks_.compactChanged, compact);
}

void MainController::Minimised() {
    view_.setVisible("frmMain", false);
    RefreshIcon();
    view_.setVisible("TrayIcon", true);
}

void MainController::Restored() {
    view_.setVisible("TrayIcon", false);
    view_.setVisible("mnuSystray", false);
    if (ctx_.monitoring && browser_.compact()) MinButton();
}

std::string MainController::IconFile() const {
    if (!ctx_.monitoring) return "zvknomon.ico";
    // The phone remote's own monitoring state has its own icon.
    if (ctx_.settings().btEna && ctx_.btPortHandle != kNoPort) return "zvkbtmon.ico";
    return "zvkmon.ico";
}

void MainController::RefreshIcon() { Call(hooks_.iconChanged, IconFile()); }

void MainController::Exit() {
    if (ctx_.irPortHandle != kNoPort) {
        Call(hooks_.closePort, ctx_.irPortHandle);
        // The X10 port may be the same handle ("Default").
        if (ctx_.x10PortHandle == ctx_.irPortHandle) ctx_.x10PortHandle = kNoPort;
        ctx_.irPortHandle = kNoPort;
        Call(hooks_.setCaptureHandle, PortHandle{0});
    }
    // 0 is the handle of a port that was given up, never one to close.
    if (ctx_.settings().x10Com > 0 && ctx_.x10PortHandle > 0) {
        Call(hooks_.closePort, ctx_.x10PortHandle);
        ctx_.x10PortHandle = kNoPort;
    }
    ctx_.Written(ctx_.config.SaveConfiguration());
}

} // namespace quenix
