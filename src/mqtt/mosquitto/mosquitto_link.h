#pragma once

// MqttLink on libmosquitto. The connection lives on a thread of its own, so a broker that is
// slow, absent or refusing never holds up the window; its events are handed to the owner's
// thread through post.

#include "mqtt/mqtt_link.h"

#include <atomic>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>

struct mosquitto;

namespace quenix {

class MosquittoLink final : public MqttLink {
public:
    using Post = std::function<void(std::function<void()>)>;
    explicit MosquittoLink(Post post);
    ~MosquittoLink() override;

    void Start(const Options& options, Events events) override;
    void Stop(const MqttMessage* last) override;
    bool Publish(const MqttMessage& m) override;
    void Subscribe(const std::string& topic, int qos) override;

private:
    void Run();
    void Deliver(std::function<void(Events&)> call);
    bool Stopping();

    Post post_;
    Options options_;
    // Shared with the calls in flight to the owner's thread, which must not reach a link (or a
    // bridge) that has gone.
    std::shared_ptr<Events> events_;
    mosquitto* mosq_ = nullptr;
    std::thread thread_;
    std::mutex mutex_;
    std::condition_variable wake_;
    bool stop_ = false;
    std::optional<MqttMessage> last_;
    std::atomic<bool> up_{false};

    friend struct MosquittoCallbacks;
    bool refused_ = false;
    std::string refusal_;
    std::atomic<int> lastMid_{-1};
    std::atomic<bool> lastDone_{false};
};

} // namespace quenix
