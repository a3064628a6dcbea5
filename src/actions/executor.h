#pragma once

// ExecuteCommand: runs the current device's current command, whatever kind of device it is,
// and answers a one-line result text. The Send button, the monitoring engine and the phone
// remote all end here.

#include "actions/x10.h"
#include "config/context.h"

#include <functional>
#include <string>

namespace quenix {

class CaptureLibrary;
class DesktopActions;
class SerialPort;
class View;

inline constexpr const char* kIrOutputDisabled = "Infrared output is disabled!";
inline constexpr const char* kRecordedIncomplete = "Information about received command is not complete!";
inline constexpr const char* kRecordedUnknown = "You must first manually define a new device if UNKNOWN.";
inline constexpr const char* kNoCode = "No code to be send!";
inline constexpr const char* kInvalidCode = "Invalid code to be send!";
inline constexpr const char* kNotBinaryCode = "Please use only 1's and 0's for the code.";
inline constexpr const char* kIrSendError = "Error sending infrared command!";
inline constexpr const char* kDimmerDone = "IR Dimmer command executed OK.";

// The actions that are not infrared, one call per kind. Each frames itself with the beeps.
struct ActionBackends {
    // unit: the unit's name in [X10]; function: index in the X10 function list; dimLevel 0..100.
    std::function<std::string(const std::string& unit, const std::string& command, int function, int dimLevel)> x10;
    std::function<std::string(const std::string& command)> mouse;
    std::function<std::string(const std::string& command)> keyboard;
    std::function<std::string(const std::string& command)> application;
    std::function<std::string(const std::string& command)> winamp;
};

// The program's real actions behind the backends.
ActionBackends BackendsOf(DesktopActions& actions);

// The stored code of a device's command ("" when the device or command is missing), and the
// device's transmit header; keys missing from the section keep the NEC preset.
std::string StoredCode(const std::string& configText, const std::string& device, const std::string& command);
ProtocolHeader DeviceHeader(const std::string& configText, const std::string& device);

class CommandExecutor {
public:
    // view: the main window, whose record panel holds the "recorded" command and whose
    // DIMScroll gives the X10 dim level.
    CommandExecutor(Context& ctx, SerialPort& serial, CaptureLibrary& library, View& view, ActionBackends backends);

    // Runs ctx.config's current device and command.
    std::string ExecuteCommand();
    // Makes device and command current, then runs them.
    std::string Execute(const std::string& device, const std::string& command);
    // Whether the last run did what it was asked; callers that answer others (the lircd socket)
    // must not read it from the text.
    bool lastOk() const { return lastOk_; }

    // The main window's "X10" device lists functions and units in one list: a function word
    // picks the function, any other command the unit, and each keeps the other's last pick.
    void NoteX10Command(const std::string& command);
    const std::string& x10Unit() const { return x10Unit_; }
    int x10Function() const { return x10Function_; }

    // What the last infrared send put on the air: the padded cell string, the pulse length
    // and the number of data bits of the code. Empty / 0 when the last run sent no code.
    const std::string& lastCells() const { return lastCells_; }
    int lastPulseLength() const { return lastPulseLength_; }
    int lastBitCount() const { return lastBitCount_; }

private:
    std::string Infrared(const std::string& device, const std::string& command);
    std::string Dimmer(const std::string& command);
    // A backend's text, which fails empty or ending in "!".
    std::string Backend(std::string result);
    // False when the library could not be called.
    bool Send(const std::string& cells, int pulseLength);
    // The send error with the library's own words for what went wrong.
    std::string SendError() const;

    Context& ctx_;
    SerialPort& serial_;
    CaptureLibrary& library_;
    View& view_;
    ActionBackends backends_;
    std::string lastCells_;
    int lastPulseLength_ = 0;
    int lastBitCount_ = 0;
    bool lastOk_ = false;
    std::string x10Unit_;
    int x10Function_ = kX10On;
};

} // namespace quenix
