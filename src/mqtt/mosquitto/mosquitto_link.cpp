#include "mqtt/mosquitto/mosquitto_link.h"

#include <mosquitto.h>

#include <cerrno>
#include <chrono>
#include <cstring>

namespace quenix {
namespace {

constexpr int kKeepAliveS = 30;
constexpr int kLoopMs = 250;
constexpr auto kGoodbyeWait = std::chrono::milliseconds(1500);

std::once_flag libraryReady;

} // namespace

struct MosquittoCallbacks {
    static void Connected(mosquitto*, void* self, int rc) {
        auto* link = static_cast<MosquittoLink*>(self);
        if (rc != 0) {
            // The broker closes the connection after a refusal; the loop reports that.
            link->refused_ = true;
            link->refusal_ = mosquitto_connack_string(rc);
            return;
        }
        link->refused_ = false;
        link->up_ = true;
        link->Deliver([](MqttLink::Events& e) {
            if (e.connected) e.connected();
        });
    }
    static void Published(mosquitto*, void* self, int mid) {
        auto* link = static_cast<MosquittoLink*>(self);
        if (mid == link->lastMid_) link->lastDone_ = true;
    }
    static void Message(mosquitto*, void* self, const mosquitto_message* m) {
        std::string topic = m->topic ? m->topic : "";
        std::string payload(static_cast<const char*>(m->payload),
                            m->payload ? static_cast<std::size_t>(m->payloadlen) : 0);
        static_cast<MosquittoLink*>(self)->Deliver([topic = std::move(topic), payload = std::move(payload)](
                                                       MqttLink::Events& e) {
            if (e.message) e.message(topic, payload);
        });
    }
};


MosquittoLink::MosquittoLink(Post post) : post_(std::move(post)) {
    std::call_once(libraryReady, [] { mosquitto_lib_init(); });
}

MosquittoLink::~MosquittoLink() { Stop(nullptr); }

void MosquittoLink::Deliver(std::function<void(Events&)> call) {
    std::weak_ptr<Events> events = events_;
    post_([events, call = std::move(call)] {
        if (auto e = events.lock()) call(*e);
    });
}

bool MosquittoLink::Stopping() {
    std::lock_guard lock(mutex_);
    return stop_;
}

void MosquittoLink::Start(const Options& options, Events events) {
    Stop(nullptr);
    options_ = options;
    events_ = std::make_shared<Events>(std::move(events));
    stop_ = false;
    last_.reset();
    mosq_ = mosquitto_new(options.clientId.c_str(), true, this);
    mosquitto_threaded_set(mosq_, true);
    mosquitto_int_option(mosq_, MOSQ_OPT_PROTOCOL_VERSION, MQTT_PROTOCOL_V311);
    if (!options.user.empty())
        mosquitto_username_pw_set(mosq_, options.user.c_str(),
                                  options.password.empty() ? nullptr : options.password.c_str());
    const MqttMessage& w = options.will;
    if (!w.topic.empty()) // a will without a topic is a protocol error to the broker
        mosquitto_will_set(mosq_, w.topic.c_str(), static_cast<int>(w.payload.size()), w.payload.data(), w.qos,
                           w.retain);
    if (options.broker.tls) // the system's certificate authorities, and the host name checked
        mosquitto_tls_set(mosq_, nullptr, "/etc/ssl/certs", nullptr, nullptr, nullptr);
    mosquitto_connect_callback_set(mosq_, &MosquittoCallbacks::Connected);
    mosquitto_publish_callback_set(mosq_, &MosquittoCallbacks::Published);
    mosquitto_message_callback_set(mosq_, &MosquittoCallbacks::Message);
    thread_ = std::thread([this] { Run(); });
}

void MosquittoLink::Run() {
    Backoff backoff(options_.firstRetryMs, options_.maxRetryMs);
    const char* host = options_.broker.host.c_str();
    while (!Stopping()) {
        refused_ = false;
        // Asynchronous: the socket's connect does not block, so Stop is heard within a loop.
        int rc = mosquitto_connect_async(mosq_, host, options_.broker.port, kKeepAliveS);
        std::string why;
        if (rc == MOSQ_ERR_SUCCESS) {
            while (!Stopping() && rc == MOSQ_ERR_SUCCESS) rc = mosquitto_loop(mosq_, kLoopMs, 1);
            if (Stopping() && up_) {
                std::unique_lock lock(mutex_);
                if (last_) {
                    int mid = 0;
                    lastDone_ = false;
                    if (mosquitto_publish(mosq_, &mid, last_->topic.c_str(), static_cast<int>(last_->payload.size()),
                                          last_->payload.data(), last_->qos, last_->retain) == MOSQ_ERR_SUCCESS) {
                        lastMid_ = mid;
                        lock.unlock();
                        const auto until = std::chrono::steady_clock::now() + kGoodbyeWait;
                        while (!lastDone_ && std::chrono::steady_clock::now() < until &&
                               mosquitto_loop(mosq_, 50, 1) == MOSQ_ERR_SUCCESS) {
                        }
                    }
                }
                mosquitto_disconnect(mosq_);
                mosquitto_loop(mosq_, 50, 1);
                break;
            }
        }
        if (Stopping()) break;
        const bool wasUp = up_.exchange(false);
        if (refused_)
            why = refusal_;
        else if (rc == MOSQ_ERR_ERRNO)
            why = std::strerror(errno);
        else if (rc == MOSQ_ERR_CONN_LOST || rc == MOSQ_ERR_NO_CONN)
            why = "the connection was lost";
        else
            why = mosquitto_strerror(rc);
        const bool refused = refused_;
        Deliver([why, refused](Events& e) {
            if (e.disconnected) e.disconnected(why, refused);
        });
        if (wasUp) backoff.reset();
        std::unique_lock lock(mutex_);
        wake_.wait_for(lock, std::chrono::milliseconds(backoff.next()), [this] { return stop_; });
    }
    up_ = false;
}

void MosquittoLink::Stop(const MqttMessage* last) {
    if (!mosq_) return;
    {
        std::lock_guard lock(mutex_);
        stop_ = true;
        if (last) last_ = *last;
    }
    wake_.notify_all();
    if (thread_.joinable()) thread_.join();
    events_.reset(); // calls still on their way to the owner now find nobody
    mosquitto_destroy(mosq_);
    mosq_ = nullptr;
}

bool MosquittoLink::Publish(const MqttMessage& m) {
    if (!mosq_ || !up_) return false;
    return mosquitto_publish(mosq_, nullptr, m.topic.c_str(), static_cast<int>(m.payload.size()), m.payload.data(),
                             m.qos, m.retain) == MOSQ_ERR_SUCCESS;
}

void MosquittoLink::Subscribe(const std::string& topic, int qos) {
    if (mosq_) mosquitto_subscribe(mosq_, nullptr, topic.c_str(), qos);
}

} // namespace quenix

// The module's entry point, found by name by the program (broker_link_posix.cpp).
extern "C" __attribute__((visibility("default"))) quenix::MqttLink* QuenixMakeBrokerLink(
    quenix::MosquittoLink::Post* post) {
    return new quenix::MosquittoLink(std::move(*post));
}
