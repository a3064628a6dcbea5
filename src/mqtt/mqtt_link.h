#pragma once

// The transport under the bridge: a connection to one broker that keeps itself up. The real one
// is libmosquitto on a thread of its own (mosquitto_link.h); tests put a recording fake here.

#include "mqtt/mqtt_settings.h"

#include <cstddef>
#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <utility>

namespace quenix {

struct MqttMessage {
    std::string topic;
    std::string payload;
    int qos = 0;
    bool retain = false;
};

class MqttLink {
public:
    // Delivered on the thread that owns the bridge, never on the link's own.
    struct Events {
        std::function<void()> connected;
        // why: one line; refused: the broker turned the user name or password down.
        std::function<void(const std::string& why, bool refused)> disconnected;
        std::function<void(const std::string& topic, const std::string& payload)> message;
    };
    struct Options {
        BrokerAddress broker;
        std::string user;
        std::string password;
        std::string clientId;
        MqttMessage will;
        int firstRetryMs = 500;
        int maxRetryMs = 30000;
    };

    virtual ~MqttLink() = default;
    // Connects in the background and keeps reconnecting until Stop.
    virtual void Start(const Options& options, Events events) = 0;
    // Publishes last (when connected) and waits briefly for the broker to take it, then leaves.
    virtual void Stop(const MqttMessage* last) = 0;
    // False when the message could not be handed to the connection.
    virtual bool Publish(const MqttMessage& m) = 0;
    virtual void Subscribe(const std::string& topic, int qos) = 0;
};

// The link this build has: libmosquitto on Linux; none (null) where the library is not built.
std::unique_ptr<MqttLink> MakeBrokerLink(std::function<void(std::function<void()>)> post);

// Waits between connection attempts: doubling from first up to max, back to first once a
// connection was made.
class Backoff {
public:
    Backoff(int firstMs, int maxMs) : first_(firstMs), max_(maxMs), next_(firstMs) {}
    int next() {
        const int wait = next_;
        next_ = next_ > max_ / 2 ? max_ : next_ * 2;
        return wait;
    }
    void reset() { next_ = first_; }

private:
    int first_, max_, next_;
};

// Messages kept while the broker is out of reach. When full the oldest goes: a key pressed
// minutes ago matters less than the one just pressed.
class OutQueue {
public:
    explicit OutQueue(std::size_t bound) : bound_(bound) {}
    void push(MqttMessage m) {
        if (items_.size() == bound_) {
            items_.pop_front();
            ++dropped_;
        }
        items_.push_back(std::move(m));
    }
    std::deque<MqttMessage> take() { return std::exchange(items_, {}); }
    std::size_t size() const { return items_.size(); }
    std::size_t dropped() const { return dropped_; }

private:
    std::size_t bound_;
    std::deque<MqttMessage> items_;
    std::size_t dropped_ = 0;
};

} // namespace quenix
