#pragma once

// The browser remote without the network: the answers of its routes, pairing by token and
// cookie, the devices a phone may send, the keypad whose keys are monitored events of the
// device "Web", and the WebSocket's messages. The transport hands over what it received and
// writes back what it is given; everything runs on the window's thread.
//
// Routes: GET / (the page, or with ?t=<token> the cookie and a redirect to /), GET /api/devices,
// POST /api/send {"device","command"}, and the WebSocket at /ws. Without the token or its cookie
// nothing but a short "pair first" answer.

#include "config/command_lists.h"
#include "config/settings.h"
#include "monitor/key_press.h"
#include "web/web_limits.h"

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace quenix::web {

inline constexpr const char* kKeyDevice = kWebKeypadDevice;
inline constexpr const char* kCookieName = "quenix";
// Between two "held" messages of one press; a longer silence ends it.
inline constexpr std::int64_t kHoldGapMs = 1000;

struct Device {
    std::string name;
    std::vector<std::string> commands;
};

// The devices a phone may send to, from the main window's device list: learned remotes, and the
// virtual devices whose facility is on (X10, Winamp, mouse, applications, IR dimmer).
std::vector<Device> SendableDevices(const std::vector<std::string>& names,
                                    const std::function<std::vector<std::string>(const std::string&)>& commandsOf,
                                    const Settings& flags);
std::vector<std::string> KeypadKeys();

struct Request {
    std::string method; // upper case
    std::string path;   // without the query
    std::string token;  // the query's t, if any
    std::map<std::string, std::string> headers; // names in lower case
    std::string body;
    std::string peer;
};

struct Response {
    int status = 200;
    std::string contentType;
    std::string body;
    std::vector<std::pair<std::string, std::string>> headers;
};

struct Outcome {
    bool ok = false;
    std::string text;
};

class Remote {
public:
    struct Backend {
        std::function<std::vector<Device>()> devices;
        // Runs one command through the executor.
        std::function<Outcome(const std::string& device, const std::string& command)> send;
        // A keypad press ("Web&Play"), and a further step of it while held.
        std::function<Outcome(const std::string& key)> press;
        std::function<void(const std::string& key, const KeyPress::Step& step)> held;
        std::function<std::int64_t()> nowMs;
    };

    Remote(Backend backend, std::string page);

    void SetToken(std::string token) { token_ = std::move(token); }
    const std::string& token() const { return token_; }

    Response Http(const Request& r);

    // A WebSocket asks to open: empty when it may, else why not (it is closed with 1008).
    std::string Admit(const Request& r);
    // The first message of an admitted client.
    std::string Open(int client);
    void Close(int client);
    // A text message from a client: the answers to send it back (none for most key steps).
    std::vector<std::string> Message(int client, const std::string& text);
    // A key that monitoring received, for every client.
    std::string Received(const std::string& key, int repeat);

    std::string DevicesJson() const;

private:
    enum class Auth { None, Cookie, Bearer, Refused };
    Auth Authorised(const Request& r);
    Response Page(const Request& r);
    Response Send(const Request& r);
    // Nothing when the device or command is not one a phone may send.
    std::optional<Outcome> SendChecked(const std::string& device, const std::string& command);

    struct Client {
        KeyPress press;
        bool holding = false;
        Bucket messages;
    };

    Backend backend_;
    std::string page_;
    std::string token_;
    PeerLimits requests_{20, 60};
    PeerLimits failures_{0.2, 10}; // wrong tokens: ten, then one in five seconds
    std::map<int, Client> clients_;
};

} // namespace quenix::web
