#include "mqtt/mqtt_bridge.h"

#include "mqtt/json.h"

#include <cmath>
#include <cstdio>
#include <random>

namespace quenix {
namespace {

std::string Str(const std::string& latin1) { return JsonString(Latin1ToUtf8(latin1)); }
std::string StrOrNull(const std::string& latin1) { return latin1.empty() ? "null" : Str(latin1); }

std::string Outcome(const SendOutcome& r, const JsonValue* id) {
    return std::string("{\"ok\":") + (r.ok ? "true" : "false") + ",\"text\":" + Str(r.text) +
           (id ? ",\"id\":" + WriteJson(*id) : std::string()) + "}";
}

// An integer within [lo, hi] or nothing.
bool Integer(const JsonValue* v, long lo, long hi, long& out) {
    if (!v || v->type != JsonValue::Type::Number || v->number != std::floor(v->number) || v->number < lo ||
        v->number > hi)
        return false;
    out = static_cast<long>(v->number);
    return true;
}

// Fields that hold a password are never part of a message, so nothing here can leak it; the
// status texts name the broker by host and port only.
constexpr const char* kOnline = "online";
constexpr const char* kOffline = "offline";

} // namespace

std::string DiscoveryId(std::string_view name) {
    std::string out;
    for (char c : name) {
        const auto u = static_cast<unsigned char>(c);
        if ((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-') {
            out += c;
        } else {
            char buf[4];
            std::snprintf(buf, sizeof buf, "_%02x", u);
            out += buf;
        }
    }
    return out;
}

MqttBridge::MqttBridge(MqttLink& link, Backend backend, Identity identity)
    : link_(link), backend_(std::move(backend)), identity_(std::move(identity)) {}

MqttBridge::~MqttBridge() { Stop(); }

void MqttBridge::Say(const std::string& text) {
    if (text == lastStatus_) return;
    lastStatus_ = text;
    if (backend_.status) backend_.status(text);
}

void MqttBridge::Start(const MqttSettings& settings) {
    Stop();
    settings_ = settings;
    lastStatus_.clear();
    if (!settings.enabled) return;
    std::string error;
    const auto broker = ParseBrokerUrl(settings.url, error);
    if (!broker) return Say("MQTT: " + error);
    base_ = settings.baseTopic.empty() ? DefaultBaseTopic(identity_.hostName) : settings.baseTopic;
    if (std::string problem = BaseTopicProblem(base_); !problem.empty()) return Say("MQTT: " + problem);
    where_ = broker->host + ":" + std::to_string(broker->port);

    MqttLink::Options o;
    o.broker = *broker;
    o.user = settings.user;
    o.password = settings.password;
    std::random_device random;
    char suffix[16];
    std::snprintf(suffix, sizeof suffix, "-%06x", random() & 0xFFFFFFu);
    // Two programs on one base topic must not throw each other off the broker.
    o.clientId = "quenix-" + NodeId().substr(0, 40) + suffix;
    o.will = {base_ + "/status", kOffline, 1, true};
    MqttLink::Events e;
    e.connected = [this] { OnConnected(); };
    e.disconnected = [this](const std::string& why, bool refused) { OnDisconnected(why, refused); };
    e.message = [this](const std::string& topic, const std::string& payload) { OnMessage(topic, payload); };
    running_ = true;
    Say("MQTT: connecting to " + where_ + "...");
    link_.Start(o, std::move(e));
}

void MqttBridge::Stop() {
    if (!running_) return;
    const MqttMessage offline{base_ + "/status", kOffline, 1, true};
    link_.Stop(connected_ ? &offline : nullptr);
    running_ = false;
    connected_ = false;
    published_.clear();
}

void MqttBridge::Publish(MqttMessage m, bool keep) {
    if (connected_ && link_.Publish(m)) return;
    if (keep) queue_.push(std::move(m));
}

void MqttBridge::OnConnected() {
    connected_ = true;
    link_.Publish({base_ + "/status", kOnline, 1, true});
    link_.Subscribe(base_ + "/send", 1);
    if (!settings_.discoveryPrefix.empty())
        link_.Subscribe(settings_.discoveryPrefix + "/device_automation/" + NodeId() + "/+/config", 1);
    PublishDiscovery();
    const std::size_t dropped = queue_.dropped();
    for (MqttMessage& m : queue_.take()) Publish(std::move(m), true);
    std::string text = "MQTT: connected to " + where_ + " as " + base_ + ".";
    if (dropped) text += " " + std::to_string(dropped) + " keys from while it was away were dropped.";
    Say(text);
}

void MqttBridge::OnDisconnected(const std::string& why, bool refused) {
    connected_ = false;
    if (!running_) return;
    Say(refused ? "MQTT: the broker at " + where_ + " refused the connection (" + why + "); retrying."
                : "MQTT: cannot reach the broker at " + where_ + " (" + why + "); retrying, keys are kept.");
}

void MqttBridge::OnMessage(const std::string& topic, const std::string& payload) {
    if (topic == base_ + "/send") {
        Publish({base_ + "/send/result", HandleSend(payload), 1, false}, true);
        return;
    }
    // A retained trigger of a key that is gone (learned in an earlier run, deleted since).
    if (!payload.empty() && !settings_.discoveryPrefix.empty() && !published_.count(topic) &&
        topic.rfind(settings_.discoveryPrefix + "/device_automation/" + NodeId() + "/", 0) == 0)
        link_.Publish({topic, "", 1, true});
}

std::string MqttBridge::HandleSend(const std::string& payload) {
    if (payload.size() > kMaxRequest)
        return Outcome({false, "The request is larger than " + std::to_string(kMaxRequest / 1024) + " KiB."}, nullptr);
    const auto request = ParseJson(payload);
    if (!request) return Outcome({false, "The request is not JSON."}, nullptr);
    if (request->type != JsonValue::Type::Object)
        return Outcome({false, "The request must be a JSON object."}, nullptr);
    const JsonValue* id = request->find("id");
    const JsonValue* device = request->find("device");
    const JsonValue* command = request->find("command");
    const JsonValue* timings = request->find("timings");
    const JsonValue* protocol = request->find("protocol");
    const JsonValue* code = request->find("code");
    auto fail = [id](const std::string& text) { return Outcome({false, text}, id); };
    auto run = [&](const auto& fn, auto&&... args) {
        return fn ? Outcome(fn(args...), id) : fail("Sending is not available.");
    };

    if (device || command) {
        if (!device || !device->isString() || !command || !command->isString() || device->text.empty() ||
            command->text.empty())
            return fail("\"device\" and \"command\" must both be names.");
        return run(backend_.send, Utf8ToLatin1(device->text), Utf8ToLatin1(command->text));
    }
    if (timings) {
        if (timings->type != JsonValue::Type::Array) return fail("\"timings\" must be a list of microseconds.");
        std::vector<int> t;
        for (const JsonValue& v : timings->items) {
            long us = 0;
            if (!Integer(&v, -10000000, 10000000, us)) return fail("\"timings\" must be a list of microseconds.");
            t.push_back(static_cast<int>(us));
        }
        long modulation = 38000, repeat = 0;
        if (const JsonValue* m = request->find("modulation");
            m && m->type != JsonValue::Type::Null && !Integer(m, 0, 1000000, modulation))
            return fail("\"modulation\" must be a frequency in hertz.");
        if (const JsonValue* r = request->find("repeat_count"); r && !Integer(r, 0, 1000, repeat))
            return fail("\"repeat_count\" must be a whole number.");
        return run(backend_.sendTimings, t, static_cast<int>(modulation), static_cast<int>(repeat));
    }
    if (protocol || code) {
        if (!protocol || !protocol->isString() || !code || !code->isString())
            return fail("\"protocol\" and \"code\" must both be texts.");
        return run(backend_.sendCode, protocol->text, code->text);
    }
    return fail("The request names no device and command, no protocol and code, and no timings.");
}

void MqttBridge::Key(const KeyEvent& k) {
    if (!running_) return;
    std::string p = "{\"device\":" + Str(k.device) + ",\"command\":" + Str(k.command) +
                    ",\"protocol\":" + StrOrNull(k.protocol) + ",\"code\":" + StrOrNull(k.code) +
                    ",\"scancode\":" + StrOrNull(k.scancode) + ",\"repeat\":" + std::to_string(k.repeat) +
                    ",\"source\":" + StrOrNull(k.source) + "}";
    Publish({base_ + "/key", std::move(p), 1, false}, true);
}

void MqttBridge::Received(const ReceivedCode& c) {
    if (!connected_) return; // raw codes are of the moment: none are kept while away
    std::string p = "{\"protocol\":" + StrOrNull(c.protocol) + ",\"code\":" + StrOrNull(c.code) + ",\"timings\":[";
    for (std::size_t i = 0; i < c.timings.size(); ++i) p += (i ? "," : "") + std::to_string(c.timings[i]);
    p += "],\"modulation\":" + std::to_string(c.modulation) + "}";
    Publish({base_ + "/ir/received", std::move(p), 0, false}, false);
}

void MqttBridge::SetKeys(std::vector<std::pair<std::string, std::string>> keys) {
    if (keys == keys_) return;
    keys_ = std::move(keys);
    if (connected_) PublishDiscovery();
}

std::string MqttBridge::NodeId() const { return DiscoveryId(base_); }

std::string MqttBridge::DeviceJson() const {
    return "{\"identifiers\":[" + JsonString(NodeId()) + "],\"name\":" + Str("Quenix " + identity_.hostName) +
           ",\"manufacturer\":\"Quenix\",\"model\":\"Quenix Remote Manager\",\"sw_version\":" +
           JsonString(identity_.version) + "}";
}

std::vector<std::pair<std::string, std::string>> MqttBridge::DiscoveryMessages() const {
    std::vector<std::pair<std::string, std::string>> out;
    if (settings_.discoveryPrefix.empty()) return out;
    const std::string node = NodeId(), device = DeviceJson(), prefix = settings_.discoveryPrefix;
    const std::string availability = ",\"availability_topic\":" + JsonString(base_ + "/status");
    out.emplace_back(
        prefix + "/infrared/" + node + "/emitter/config",
        "{\"name\":\"Infrared emitter\",\"schema\":\"emitter\",\"command_topic\":" + JsonString(base_ + "/send") +
            ",\"unique_id\":" + JsonString(node + "_emitter") + availability + ",\"qos\":1,\"device\":" + device + "}");
    out.emplace_back(prefix + "/infrared/" + node + "/receiver/config",
                     "{\"name\":\"Infrared receiver\",\"schema\":\"receiver\",\"state_topic\":" +
                         JsonString(base_ + "/ir/received") + ",\"unique_id\":" + JsonString(node + "_receiver") +
                         availability + ",\"device\":" + device + "}");
    // One trigger per key; it fires on the press, not on the frames of a held key.
    const std::string keyTopic = JsonString(base_ + "/key");
    for (const auto& [dev, cmd] : keys_) {
        out.emplace_back(prefix + "/device_automation/" + node + "/" + DiscoveryId(dev + "&" + cmd) + "/config",
                         "{\"automation_type\":\"trigger\",\"topic\":" + keyTopic +
                             ",\"type\":\"button_short_press\",\"subtype\":" + Str(dev + " " + cmd) +
                             ",\"payload\":" + Str(dev + "&" + cmd) +
                             ",\"value_template\":\"{{ value_json.device ~ '&' ~ value_json.command "
                             "if value_json.repeat == 0 else '' }}\",\"qos\":1,\"device\":" +
                             device + "}");
    }
    return out;
}

void MqttBridge::PublishDiscovery() {
    std::set<std::string> now;
    for (auto& [topic, payload] : DiscoveryMessages()) {
        now.insert(topic);
        link_.Publish({topic, payload, 1, true});
    }
    for (const std::string& gone : published_)
        if (!now.count(gone)) link_.Publish({gone, "", 1, true});
    published_ = std::move(now);
}

} // namespace quenix
