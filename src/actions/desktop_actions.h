#pragma once

// The actions on the PC behind one object, so that the command executor only dispatches:
// each call runs one device's command and returns its result text. The X10, application and
// player calls frame themselves with the beeps (when the beep option is on), since where the
// first beep falls differs between them; mouse and keyboard never beep. The player link and
// the mouse are made on first use and live to the end of the run.

#include "actions/audio.h"
#include "actions/launcher.h"
#include "actions/mouse.h"
#include "actions/winamp.h"
#include "config/context.h"

#include <memory>
#include <string>

namespace quenix {

class SerialPort;

class DesktopActions {
public:
    // sound: the program's one audio output (MakeSystemAudio), which is also its beeper.
    DesktopActions(Context& ctx, SerialPort& serial, SoundPlayer& sound);
    ~DesktopActions();
    DesktopActions(const DesktopActions&) = delete;
    DesktopActions& operator=(const DesktopActions&) = delete;

    // unit: a name in [X10]; function: the index in the X10 function list; dimLevel: 0..100.
    std::string x10(const std::string& unit, const std::string& command, int function, int dimLevel);
    std::string mouse(const std::string& command);
    std::string keyboard(const std::string& command);
    std::string application(const std::string& command);
    std::string winamp(const std::string& command);

private:
    Context& ctx_;
    SerialPort& serial_;
    SoundPlayer& sound_;
    std::unique_ptr<ProgramLauncher> launcher_;
    std::unique_ptr<MouseDriver> mouseDriver_;
    std::unique_ptr<clsMouse> mouse_;
    std::unique_ptr<WinampLink> winampLink_;
    std::unique_ptr<clsWinamp> winamp_;
};

} // namespace quenix
