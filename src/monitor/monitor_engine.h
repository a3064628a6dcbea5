#pragma once

// Monitoring: start, stop and restart from the main and tray menus, the infrared poll tick
// that turns a captured key into its device and command, and the handle-event operation
// that runs the key's [Monitoring] lines through the executor. Everything runs on the
// window's thread from its timers.

#include "config/context.h"
#include "core/view.h"
#include "io/capture_library.h"
#include "io/serial_port.h"
#include "ir/decoder.h"
#include "monitor/ir_port_watch.h"
#include "monitor/key_press.h"

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace quenix {

class MonitorEngine {
public:
    struct Hooks {
        // Runs one command of one device and returns the executor's result text.
        std::function<std::string(const std::string& device, const std::string& command)> execute;
        // The phone remote: its initialisation at start, its shutdown at stop (before the
        // engine closes the Bluetooth port).
        std::function<void()> bluetoothStart;
        std::function<void()> bluetoothStop;
        // Shows a handled event's result on the phone (only when Bluetooth is enabled).
        std::function<void(const std::string& result)> showOnPhone;
        // The main window's state and the actions of other controllers.
        std::function<bool()> minimised;
        std::function<bool()> compact;
        std::function<void()> minButton;
        std::function<void()> refreshIcon;
        std::function<void()> refreshProtocol;
        // Opens the monitored-events editor.
        std::function<void()> showEditor;
        // Every key that reaches the handle-event operation (device "&" command), infrared or
        // phone, before its actions run, and every further frame of a held key with its repeat
        // count (0 for the press itself): listeners such as the lircd socket see them.
        std::function<void(const std::string& key, int repeat)> keyRecognised;
        // Every frame the infrared tick decoded, known ("device&command") or "UNKNOWN", before
        // the key is handled; the capture it came from is still in the context's buffer.
        std::function<void(const DecodedFrame& frame, const std::string& key)> frameDecoded;
    };

    MonitorEngine(Context& ctx, View& view, SerialPort& port, CaptureLibrary& library, Hooks hooks = {});

    void Start();
    void Stop();
    void Restart();
    // MonitorConfigureMenu.
    void Configure();

    // IRMonTimer.
    void OnIRMonTimer();
    // Infrared input was switched on or off: a receiver that queues keys is emptied and
    // listened to again, or left alone while input is off.
    void InputChanged();
    // Whether the last tick found a serial receiver's line idle: the window may then wait for
    // the line to change instead of ticking.
    bool LineIdle() const { return lineIdle_; }
    // SecondTimer: the tick counter the phone's reply wait measures time by.
    void OnSecondTimer() { ++ctx_.secondTicks; }

    // Runs every [Monitoring] line of the key (device "&" command); the results of the
    // actions joined by "; ", or empty when nothing was done.
    std::string HandleEvent(const std::string& key);
    // The same for a further frame of a held key: only the actions that repeat while a key is
    // held run, once it has been held long enough, and no faster than each one's period.
    std::string HandleHeld(const std::string& key, const KeyPress::Step& step);

    Hooks& hooks() { return hooks_; }

    // Repeat suppression after a handled key.
    static constexpr int kKeyPauseMs = 300;

private:
    bool IrInput() const;
    bool BtInput() const;
    void CheckInterface();
    void TrayItems();
    std::string LibraryFailure() const;

    Context& ctx_;
    View& view_;
    SerialPort& port_;
    CaptureLibrary& library_;
    Hooks hooks_;
    // Whether the receiver hands over frames as they come (a kernel device) rather than one
    // capture per key followed by the pause.
    bool FrameByFrame() const;
    void Received(const std::string& key, const KeyPress::Step& step);

    IrPortWatch irPort_;
    KeyPress press_;
    bool lineIdle_ = false;
    // When each repeatable action of the held key last ran.
    std::map<std::string, std::int64_t> lastRepeatMs_;
};

// The output actions of a key: the text behind "," of every [Monitoring] line whose input part
// is the key, in file order.
std::vector<std::string> MonitoredActions(std::string_view configText, std::string_view key);
std::vector<std::string> MonitoredActions(const ConfigStore& config, std::string_view key);

} // namespace quenix
