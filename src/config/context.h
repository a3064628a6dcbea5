#pragma once

#include "config/config_store.h"
#include "core/beeper.h"
#include "core/clock.h"
#include "core/dialogs.h"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace quenix {

// An OS serial handle as the system passes it around: a file descriptor on POSIX, a HANDLE
// on Windows. -1 means "not open".
using PortHandle = std::intptr_t;
inline constexpr PortHandle kNoPort = -1;

// The protocol header of the current infrared device.
struct ProtocolHeader {
    int gproto = 0;
    int sendpls = 550;
    int repeat = 50;
    int grepeat = 1;
    std::string bitg = "111111111111111100000000";
    std::string bit0 = "10";
    std::string bit1 = "1000";
};

// The process-wide state of one run, passed by reference to every controller. There are
// no mutable globals: whatever lives as long as the program lives here.
struct Context {
    Context(ConfigStore& store, Clock& clk, Dialogs& dlg, Beeper& bp)
        : config(store), clock(clk), dialogs(dlg), beeper(bp) {
        config.overwriteChangedFile = [this] {
            return dialogs.messageBox("telvorin.cfg was changed by another program since it was last read.\r\n"
                                      "Overwrite it with this program's configuration?\r\n\r\n"
                                      "No reloads the file; the change just made here is dropped.",
                                      "ZVK", MsgIcon::Question, MsgButtons::YesNo) == MsgAnswer::Yes;
        };
    }
    ~Context() { config.overwriteChangedFile = nullptr; }
    Context(const Context&) = delete;
    Context& operator=(const Context&) = delete;

    ConfigStore& config;
    Clock& clock;
    Dialogs& dialogs;
    Beeper& beeper;

    Settings& settings() { return config.settings(); }

    // Ports.
    PortHandle irPortHandle = kNoPort;
    PortHandle x10PortHandle = kNoPort;
    PortHandle btPortHandle = kNoPort;

    // Infrared interface and transmitter.
    int interfaceType = 0; // 0 DCDStd, 1 IRMouse, 2 IRMan, 3 Creative, 4 FirM, 9 Unknown
    int txdOutput = 0;     // 0 DTR, 1 TxD, 2 IrDA
    bool irmanInitialised = false;

    // Current device's protocol header and the RC5 toggle, which lives for the whole run.
    ProtocolHeader header;
    bool rc5Toggle = false;

    // Capture and send buffers.
    std::vector<std::uint8_t> captureBuffer = std::vector<std::uint8_t>(600, 0);
    std::string sendBuffer;

    // Run-time flags.
    bool monitoring = false;
    bool editFlag = false;
    bool validated = false;

    // SecondTimer ticks (one per 200 ms); the phone's reply wait resets and watches it.
    int secondTicks = 0;

    // Refreshes the windows after a save reloaded the file that another program changed; it gets
    // the settings as they were before.
    std::function<void(const Settings&)> onReloaded;

    // Tells the user, in a "ZVK" box, why the last change of telvorin.cfg did not reach the disk.
    // Passes ok through, so a caller writes `if (!ctx.Written(store.SaveConfiguration())) return;`.
    bool Written(bool ok) {
        if (!ok && config.reloaded()) {
            if (onReloaded) onReloaded(config.settingsBeforeReload());
        } else if (!ok) {
            const std::string& why = config.lastError();
            dialogs.message("The configuration file could not be written." +
                            (why.empty() ? std::string() : "\r\n" + why));
        }
        return ok;
    }

    // Saves a change made to the text since `before`. When the change was refused (ok false) or the
    // save fails, tells the user why and puts back `before`, which is what the disk holds.
    bool Commit(const std::string& before, bool ok = true) {
        if (Written(ok && config.SaveConfiguration())) return true;
        if (!config.reloaded()) config.SetText(before);
        return false;
    }

    // Beeps, when the beep option is on.
    void beepIfOn(int hz, int ms) {
        if (config.settings().beepOn) beeper.beep(hz, ms);
    }
};

} // namespace quenix
