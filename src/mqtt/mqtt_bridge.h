#pragma once

// The program as an MQTT bridge: recognised keys and received codes out, sends in, and the
// discovery messages by which Home Assistant finds it. Runs on the window's thread; the link
// hands its events over to that thread.

#include "mqtt/mqtt_link.h"
#include "mqtt/mqtt_settings.h"

#include <functional>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace quenix {

struct KeyEvent {
    std::string device, command;
    std::string protocol, code, scancode; // empty when the key has no code (a phone key)
    int repeat = 0;
    std::string source; // "LIRC0", "COM1", "BT"
};

struct ReceivedCode {
    std::string protocol, code; // empty for a code no protocol reads
    std::vector<int> timings;
    int modulation = 38000;
};

struct SendOutcome {
    bool ok = false;
    std::string text;
};

class MqttBridge {
public:
    struct Backend {
        // A stored command of any device (infrared, X10, application, media player, mouse).
        std::function<SendOutcome(const std::string& device, const std::string& command)> send;
        // A code of a protocol given by name ("NEC", "SONY", "RC5").
        std::function<SendOutcome(const std::string& protocol, const std::string& code)> sendCode;
        std::function<SendOutcome(const std::vector<int>& timings, int modulation, int repeatCount)> sendTimings;
        // The status bar; called when the state of the link changes, not on every retry.
        std::function<void(const std::string& text)> status;
    };
    struct Identity {
        std::string hostName;
        std::string version;
    };

    MqttBridge(MqttLink& link, Backend backend, Identity identity);
    ~MqttBridge();

    // Connects with these settings (already overridden by the environment); a bridge that is
    // off or misconfigured says why in the status bar and stays down.
    void Start(const MqttSettings& settings);
    // Says offline and leaves the broker.
    void Stop();

    void Key(const KeyEvent& key);
    void Received(const ReceivedCode& code);
    // The learned keys (device, command) that get a device trigger each; republished when changed.
    void SetKeys(std::vector<std::pair<std::string, std::string>> keys);

    bool running() const { return running_; }
    bool connected() const { return connected_; }
    const std::string& baseTopic() const { return base_; }
    std::size_t queued() const { return queue_.size(); }
    std::size_t dropped() const { return queue_.dropped(); }

    // Keys kept while the broker is away; the oldest go first.
    static constexpr std::size_t kQueueBound = 500;
    // Requests larger than this are answered without being read.
    static constexpr std::size_t kMaxRequest = 64 * 1024;

    // The discovery messages for the current keys: (topic, payload), retained.
    std::vector<std::pair<std::string, std::string>> DiscoveryMessages() const;
    // The answer to one request on the send topic (the result's payload).
    std::string HandleSend(const std::string& payload);

private:
    void OnConnected();
    void OnDisconnected(const std::string& why, bool refused);
    void OnMessage(const std::string& topic, const std::string& payload);
    void PublishDiscovery();
    void Publish(MqttMessage m, bool keep);
    void Say(const std::string& text);
    std::string DeviceJson() const;
    std::string NodeId() const;

    MqttLink& link_;
    Backend backend_;
    Identity identity_;
    MqttSettings settings_;
    std::string base_;
    std::string where_; // host:port for the status bar
    bool running_ = false;
    bool connected_ = false;
    std::string lastStatus_;
    OutQueue queue_{kQueueBound};
    std::vector<std::pair<std::string, std::string>> keys_;
    std::set<std::string> published_; // discovery topics this run published
};

// A topic level made of letters, digits, "_" and "-" only, different for different names:
// anything else becomes "_" and its hex code.
std::string DiscoveryId(std::string_view name);

} // namespace quenix
