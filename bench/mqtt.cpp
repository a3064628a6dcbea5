// The MQTT bridge against a real broker (Debian's mosquitto, started here on a free port):
//  1. from the end of a key's last frame on a FIFO linked as lirc0 to its <base>/key message at
//     a subscriber on this machine (the kernel path, the bridge, the broker, a second client);
//  2. sends in a row through <base>/send, each answered on <base>/send/result;
//  3. this process's CPU while the link is up and nothing happens, against the link down.
//
// Run from the source tree: bench/mqtt [path to telvorin.cfg]

#include "mqtt/mqtt_bridge.h"

#include "live_fifo.h"

#include "free_port.h"

#include <atomic>
#include <condition_variable>
#include <csignal>
#include <cstdio>
#include <deque>
#include <fstream>
#include <mutex>
#include <netinet/in.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>

extern char** environ;

using namespace bench;

namespace {

// What the links hand over, run on the thread that drains it, as the window's loop does.
class Mailbox {
public:
    std::function<void(std::function<void()>)> poster() {
        return [this](std::function<void()> f) {
            std::lock_guard lock(mutex_);
            items_.push_back(std::move(f));
            ready_.notify_one();
        };
    }
    // Runs what came, waiting up to ms for something.
    void Run(int ms) {
        std::deque<std::function<void()>> now;
        {
            std::unique_lock lock(mutex_);
            ready_.wait_for(lock, std::chrono::milliseconds(ms), [this] { return !items_.empty(); });
            now.swap(items_);
        }
        for (auto& f : now) f();
    }

private:
    std::mutex mutex_;
    std::condition_variable ready_;
    std::deque<std::function<void()>> items_;
};

double CpuSeconds() {
    rusage u{};
    ::getrusage(RUSAGE_SELF, &u);
    return static_cast<double>(u.ru_utime.tv_sec + u.ru_stime.tv_sec) +
           static_cast<double>(u.ru_utime.tv_usec + u.ru_stime.tv_usec) / 1e6;
}

template <class Done>
bool RunUntil(Mailbox& box, Done done, int ms) {
    const std::int64_t end = NowNs() + ms * 1'000'000LL;
    while (!done() && NowNs() < end) box.Run(5);
    return done();
}

} // namespace

int main(int argc, char** argv) {
    const std::string text = TempDir::ReadFile(argc > 1 ? argv[1] : "data/telvorin.cfg");
    const char* broker = "/usr/sbin/mosquitto";
    if (text.empty() || ::access(broker, X_OK) != 0) {
        std::fprintf(stderr, "needs the configuration and %s\n", broker);
        return 1;
    }
    TempDir dir;
    const int port = FreePort();
    dir.write("mosquitto.conf", "listener " + std::to_string(port) + " 127.0.0.1\nallow_anonymous true\nlog_dest none\n" +
                                    (::getuid() == 0 ? "user root\n" : ""));
    const std::string conf = dir.file("mosquitto.conf").string();
    char* brokerArgv[] = {const_cast<char*>(broker), const_cast<char*>("-c"), const_cast<char*>(conf.c_str()),
                          nullptr};
    pid_t brokerPid = 0;
    if (::posix_spawn(&brokerPid, broker, nullptr, nullptr, brokerArgv, environ) != 0) return 1;
    std::this_thread::sleep_for(std::chrono::milliseconds(500));

    Mailbox box;
    const std::string url = "mqtt://127.0.0.1:" + std::to_string(port);
    auto link = MakeBrokerLink(box.poster());
    int sends = 0;
    MqttBridge::Backend backend;
    backend.send = [&](const std::string&, const std::string&) { return SendOutcome{true, "done"}; };
    MqttBridge bridge(*link, backend, {"bench", "1.0.0"});
    MqttSettings settings;
    settings.enabled = true;
    settings.url = url;
    settings.baseTopic = "quenix/bench";
    settings.discoveryPrefix.clear();

    // The subscriber: another client; the time each message arrives is taken on its own thread.
    std::mutex arrivedMutex;
    std::vector<std::pair<std::string, std::int64_t>> arrived;
    auto subscriber = MakeBrokerLink([](std::function<void()> f) { f(); });
    std::atomic<bool> subscribed = false;
    MqttLink::Options o;
    std::string error;
    o.broker = *ParseBrokerUrl(url, error);
    o.clientId = "bench-subscriber";
    MqttLink::Events events;
    events.connected = [&] {
        subscriber->Subscribe("quenix/bench/key", 0);
        subscriber->Subscribe("quenix/bench/send/result", 0);
        subscribed = true;
    };
    events.message = [&](const std::string& topic, const std::string&) {
        std::lock_guard lock(arrivedMutex);
        arrived.emplace_back(topic, NowNs());
    };
    subscriber->Start(o, events);
    bridge.Start(settings);
    if (!RunUntil(box, [&] { return bridge.connected() && subscribed; }, 5000)) {
        std::printf("no connection to the broker at %s\n", url.c_str());
        ::kill(brokerPid, SIGTERM);
        return 1;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(200)); // the subscriptions settle
    auto count = [&](const std::string& topic) {
        std::lock_guard lock(arrivedMutex);
        return std::count_if(arrived.begin(), arrived.end(), [&](const auto& a) { return a.first == topic; });
    };

    std::printf("1. From the end of the last frame on the FIFO to <base>/key at a subscriber (ms)\n");
    std::printf("   %-26s %-8s %-8s %-8s %s\n", "key", "median", "max", "keys", "arrived");
    LiveRig rig(text);
    auto previous = rig.engine->hooks().keyRecognised;
    rig.engine->hooks().keyRecognised = [&](const std::string& key, int repeat) {
        if (previous) previous(key, repeat);
        const std::size_t amp = key.find('&');
        KeyEvent e;
        e.device = key.substr(0, amp);
        e.command = key.substr(amp + 1);
        e.repeat = repeat;
        e.source = "LIRC0";
        bridge.Key(e);
    };
    rig.engine->Start();
    std::vector<Key> keys = ShippedKeys(rig.config);
    for (const char* name : {"Set-top Box&Ch+", "Sony TV&Ch+", "Philips Amp&Mute"}) {
        const std::string wanted(name);
        Key k = FirstFrame(*std::find_if(keys.begin(), keys.end(), [&](const Key& key) {
            return key.device + "&" + key.name == wanted;
        }));
        std::vector<double> ms;
        constexpr int kTrials = 20;
        for (int t = 0; t < kTrials; ++t) {
            const long before = count("quenix/bench/key");
            const std::int64_t start = NowNs() + 20'000'000;
            // The engine and the bridge share this thread, as the window's; the subscriber's
            // clock runs on its own.
            rig.Play(Durations(k), start, 250);
            if (!RunUntil(box, [&] { return count("quenix/bench/key") > before; }, 1000)) continue;
            std::lock_guard lock(arrivedMutex);
            const std::int64_t at = arrived.back().second;
            ms.push_back(static_cast<double>(at - LastPulseEnd(k.cells, k.sendpls, start, at)) / 1e6);
        }
        std::printf("   %-26s %-8.1f %-8.1f %-8d %zu\n", name, Median(ms),
                    ms.empty() ? -1.0 : *std::max_element(ms.begin(), ms.end()), kTrials, ms.size());
    }

    std::printf("\n2. Sends in a row through <base>/send\n");
    constexpr int kSends = 1000;
    const long results0 = count("quenix/bench/send/result");
    const std::int64_t t0 = NowNs();
    for (int i = 0; i < kSends; ++i) {
        subscriber->Publish({"quenix/bench/send", R"({"device":"Sony TV","command":"Ch+","id":)" + std::to_string(i) + "}",
                             1, false});
    }
    RunUntil(box, [&] { return count("quenix/bench/send/result") - results0 >= kSends; }, 20000);
    sends = static_cast<int>(count("quenix/bench/send/result") - results0);
    std::printf("   %d sent, %d results, %.0f ms in all\n", kSends, sends, static_cast<double>(NowNs() - t0) / 1e6);

    std::printf("\n3. CPU of this process over 10 s with nothing happening\n");
    auto idle = [&](const char* title) {
        const double c0 = CpuSeconds();
        RunUntil(box, [] { return false; }, 10000);
        const double cpu = CpuSeconds() - c0;
        std::printf("   %-34s %.3f s  %.2f %% of a core\n", title, cpu, cpu * 10);
    };
    idle("link up (bridge and subscriber)");
    bridge.Stop();
    subscriber->Stop(nullptr);
    idle("link down");

    ::kill(brokerPid, SIGTERM);
    int status = 0;
    ::waitpid(brokerPid, &status, 0);
    return 0;
}
