#include "mqtt/mqtt_link.h"

#include "core/module.h"

namespace quenix {
namespace {

using Post = std::function<void(std::function<void()>)>;

// libmosquitto and its TLS libraries live in a module, loaded when a broker is first set.
class LazyBrokerLink final : public MqttLink {
public:
    explicit LazyBrokerLink(Post post) : post_(std::move(post)) {}

    void Start(const Options& options, Events events) override {
        if (!real_) {
            std::string why;
            using Make = MqttLink* (*)(Post*);
            if (auto make = reinterpret_cast<Make>(ModuleSymbol("quenix-mqtt", "QuenixMakeBrokerLink", why))) {
                Post post = post_;
                real_.reset(make(&post));
            } else {
                post_([events, why] {
                    if (events.disconnected) events.disconnected("MQTT is not available: " + why, false);
                });
                return;
            }
        }
        real_->Start(options, std::move(events));
    }
    void Stop(const MqttMessage* last) override {
        if (real_) real_->Stop(last);
    }
    bool Publish(const MqttMessage& m) override { return real_ && real_->Publish(m); }
    void Subscribe(const std::string& topic, int qos) override {
        if (real_) real_->Subscribe(topic, qos);
    }

private:
    Post post_;
    std::unique_ptr<MqttLink> real_;
};

} // namespace

std::unique_ptr<MqttLink> MakeBrokerLink(Post post) { return std::make_unique<LazyBrokerLink>(std::move(post)); }

} // namespace quenix
