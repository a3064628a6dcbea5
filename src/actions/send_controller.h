#pragma once

// The main window's Send button: the checks before a send, the executor run, and what the
// window shows afterwards.

#include "config/context.h"

#include <functional>
#include <string>

namespace quenix {

class CommandExecutor;
class SerialPort;
class View;

inline constexpr const char* kNoCommandSelected = "There is no command selected!";
inline constexpr const char* kNotValidated = " The received command is not yet validated!";
inline constexpr const char* kNothingToSend = "Nothing to be send!";
inline constexpr const char* kX10NoUnit = "Select the X10 unit in the list first.";

// One display sample of the waveform lasts this long.
inline constexpr int kDisplaySampleUs = 55;

// Devices that are sent without a code of their own.
bool IsSpecialSendDevice(const std::string& device);

// The waveform of a sent cell string: each cell as Int(pulse / 55 + 0.5) samples, and one
// more cell's worth of "0" behind.
std::string SentSamples(const std::string& cells, int pulseLengthUs);

class SendController {
public:
    struct Hooks {
        // Redraws the signal box from display samples ("1"/"0", 55 us each).
        std::function<void(const std::string& samples)> drawWaveform;
    };

    SendController(Context& ctx, View& view, SerialPort& serial, CommandExecutor& executor, Hooks hooks = {});

    void onSendButton();
    // A click in the command list. The code field keeps a fresh recording: a stored command's
    // code is read from the file when it is sent.
    void onCommandSelected();
    // DIMLabel shows the dim level of DIMScroll.
    void showDimLevel();

    Hooks& hooks() { return hooks_; }

private:
    // The status text that stops a send, or nullptr.
    const char* codeRefusal() const;
    const char* x10Refusal();

    Context& ctx_;
    View& view_;
    SerialPort& serial_;
    CommandExecutor& executor_;
    Hooks hooks_;
};

} // namespace quenix
