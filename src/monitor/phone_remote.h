#pragma once

// The Ericsson phone on a Bluetooth serial link as a second remote control: the AT dialogue
// that registers our accessory menu entry and turns key reporting on, the key poll, the
// reconnect round and the connected/disconnected events.

#include "config/context.h"
#include "core/view.h"
#include "io/serial_port.h"

#include <functional>
#include <string>
#include <vector>

namespace quenix {

class PhoneRemote {
public:
    PhoneRemote(Context& ctx, View& view, SerialPort& port);

    // Runs a monitored event ("BT0&UP", "BT&CONNECTED") and returns its result text.
    std::function<std::string(const std::string& key)> handleEvent;
    // Called after a reconnect round so that the tray icon follows the link.
    std::function<void()> refreshTray;

    // Opens the port and runs the start-up dialogue; true when key reporting is on.
    bool Initialise();
    // Stop monitoring: both timers off, the port closed.
    void Close();

    void OnBTMonTimer();
    void OnBTAutoTimer();
    void OnSecondTimer() { ++ctx_.secondTicks; }

    // Writes the command with CR LF and waits up to 5 ticks for the expected text and CR LF.
    // Empty on time-out.
    std::string AtExchange(const std::string& command, const std::string& expected = "OK");
    void ShowOnPhone(const std::string& text);
    // A result for the phone's display from outside its dialogue: held back while an exchange
    // waits for its reply, shown after the next poll.
    void Show(const std::string& text);

    void ConnectedEvent();
    void DisconnectedEvent();

    const std::string& model() const { return model_; }
    const std::string& shift() const { return shift_; }
    bool active() const { return active_; }
    bool connected() const { return connected_; }

    static constexpr const char* kLabel = "BTLabel";
    static constexpr std::uint32_t kCyan = 0x00FFFF;
    static constexpr std::uint32_t kYellow = 0xFFFF00;
    static constexpr const char* kProgress = "Initialize bluetooth...";

private:
    // Waits while the window goes on answering.
    void Pause(int ms);
    std::string ReplyWait(const std::string& expected, bool keepKeys = true);
    std::string DeviceName(int index) const;
    void RunEvent(const std::string& key);
    void Poll();
    // One key report ("u,1"); false when it switched the remote off.
    bool Report(const std::string& report);
    void LinkLost();
    bool Fail();
    void RestoreStatus();
    void Drain();
    bool portOpen() const { return ctx_.btPortHandle != kNoPort && !stale_; }

    Context& ctx_;
    View& view_;
    SerialPort& port_;
    std::string model_ = "Unknown";
    std::string shift_;
    bool active_ = false;
    bool connected_ = false;
    bool disconnectAnnounced_ = false;
    // The reconnect round closes the port but keeps its number, so that the initialisation of
    // that round fails and the port is opened afresh only on the next round. The number is
    // never used again: on POSIX it may already name another file.
    bool stale_ = false;
    bool busy_ = false; // inside a reply wait
    std::string pending_;              // key reports read during an exchange, for the next poll
    std::vector<std::string> deferred_; // texts to show once no exchange is waiting
    std::string statusBefore_;
};

} // namespace quenix
