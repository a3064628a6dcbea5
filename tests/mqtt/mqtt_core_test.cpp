// The bridge on a recording link: requests and their answers, the queue while the broker is
// away, and the discovery messages field by field.
#include "ir/protocols.h"
#include "mqtt/ir_codes.h"
#include "mqtt/json.h"
#include "mqtt/mqtt_bridge.h"

#include <gmock/gmock.h>

namespace quenix {
namespace {

struct FakeLink : MqttLink {
    void Start(const Options& o, Events e) override { options = o, events = std::move(e); }
    void Stop(const MqttMessage* last) override { stopped = last ? last->payload : "(none)"; }
    bool Publish(const MqttMessage& m) override {
        if (up) sent.push_back(m);
        return up;
    }
    void Subscribe(const std::string& topic, int) override { subscribed.push_back(topic); }
    void Connect() { up = true, events.connected(); }
    void Drop(bool refused = false) { up = false, events.disconnected("Connection refused", refused); }
    Options options;
    Events events;
    bool up = false;
    std::vector<MqttMessage> sent;
    std::vector<std::string> subscribed;
    std::string stopped;
};

struct BridgeRig {
    BridgeRig() {
        MqttBridge::Backend b;
        b.send = [this](const std::string& d, const std::string& c) {
            calls.push_back("send " + d + "|" + c);
            return SendOutcome{d != "Nowhere", d == "Nowhere" ? "No code to be send!" : d + " " + c + " executed."};
        };
        b.sendCode = [this](const std::string& p, const std::string& c) {
            calls.push_back("code " + p + "|" + c);
            return SendOutcome{true, "sent"};
        };
        b.sendTimings = [this](const std::vector<int>& t, int m, int r) {
            calls.push_back("timings " + std::to_string(t.size()) + "|" + std::to_string(m) + "|" + std::to_string(r));
            return SendOutcome{true, "sent"};
        };
        b.status = [this](const std::string& s) { status.push_back(s); };
        bridge = std::make_unique<MqttBridge>(link, b, MqttBridge::Identity{"den", "1.0.0"});
        MqttSettings s;
        s.enabled = true;
        s.url = "mqtt://broker.lan";
        bridge->Start(s);
    }
    FakeLink link;
    std::vector<std::string> calls, status;
    std::unique_ptr<MqttBridge> bridge;
};

TEST(MqttSettings, BrokerUrlsAndTheSettingsFile) {
    struct Row {
        const char* url;
        const char* host;
        int port;
        bool tls;
    };
    for (const Row& r :
         {Row{"mqtt://hub", "hub", 1883, false}, Row{"mqtts://hub.lan:8884/", "hub.lan", 8884, true},
          Row{"mqtt://[::1]:1884", "::1", 1884, false}, Row{"mqtts://10.0.0.2", "10.0.0.2", 8883, true},
          Row{"http://hub", "", 0, false}, Row{"mqtt://", "", 0, false}, Row{"mqtt://hub:0", "", 0, false},
          Row{"mqtt://hub:70000", "", 0, false}, Row{"mqtt://hub:12x", "", 0, false},
          Row{"mqtt://user@hub", "", 0, false}, Row{"mqtt://[::1", "", 0, false}}) {
        std::string error;
        const auto a = ParseBrokerUrl(r.url, error);
        ASSERT_EQ(a.has_value(), *r.host != 0) << r.url << ": " << error;
        if (a)
            EXPECT_EQ(std::tie(a->host, a->port, a->tls), std::tie(r.host, r.port, r.tls)) << r.url;
        else
            EXPECT_FALSE(error.empty()) << r.url;
    }
    EXPECT_EQ(DefaultBaseTopic("den.example.org"), "quenix/den");
    EXPECT_EQ(DefaultBaseTopic("a+b#"), "quenix/ab");
    for (const char* bad : {"", "a/+/b", "a/#", "/a", "a/", "a//b"}) EXPECT_NE(BaseTopicProblem(bad), "") << bad;

    MqttSettings s;
    s.enabled = true, s.url = "mqtts://hub:8883", s.user = "me", s.password = " p=w ", s.baseTopic = "home/den";
    s.discoveryPrefix = "";
    const MqttSettings back = ReadMqttSettings(WriteMqttSettings(s));
    EXPECT_EQ(std::tie(back.enabled, back.url, back.user, back.password, back.baseTopic, back.discoveryPrefix),
              std::tie(s.enabled, s.url, s.user, s.password, s.baseTopic, s.discoveryPrefix));
    MqttSettings off;
    ApplyMqttEnvironment(off, "mqtt://127.0.0.1:1999", "test/q");
    EXPECT_TRUE(off.enabled);
    EXPECT_EQ(off.url + " " + off.baseTopic, "mqtt://127.0.0.1:1999 test/q");
}

TEST(MqttBridge, RequestsOnTheSendTopicAndTheirAnswers) {
    BridgeRig rig;
    struct Row {
        std::string request, answer, call;
    };
    const std::vector<Row> rows = {
        {R"({"device":"Sony TV","command":"Power"})", R"({"ok":true,"text":"Sony TV Power executed."})",
         "send Sony TV|Power"},
        {R"({"device":"Nowhere","command":"X","id":7})", R"({"ok":false,"text":"No code to be send!","id":7})",
         "send Nowhere|X"},
        {R"({"device":"Caf\u00e9","command":"\u00c9t\u00e9"})",
         "{\"ok\":true,\"text\":\"Caf\xc3\xa9 \xc3\x89t\xc3\xa9 executed.\"}", "send Caf\xe9|\xc9t\xe9"},
        {R"({"protocol":"NEC","code":"0010"})", R"({"ok":true,"text":"sent"})", "code NEC|0010"},
        {R"({"timings":[9000,-4500,562],"repeat_count":2,"id":"a"})", R"({"ok":true,"text":"sent","id":"a"})",
         "timings 3|38000|2"},
        {R"({"timings":[9000,-4500.5]})", R"({"ok":false,"text":"\"timings\" must be a list of microseconds."})", ""},
        {R"({"timings":"9000"})", R"({"ok":false,"text":"\"timings\" must be a list of microseconds."})", ""},
        {R"({"timings":[1],"modulation":-1})", R"({"ok":false,"text":"\"modulation\" must be a frequency in hertz."})",
         ""},
        {R"({"device":"Sony TV"})", R"({"ok":false,"text":"\"device\" and \"command\" must both be names."})", ""},
        {R"({"device":1,"command":"Power"})", R"({"ok":false,"text":"\"device\" and \"command\" must both be names."})",
         ""},
        {R"({"protocol":"NEC","code":5})", R"({"ok":false,"text":"\"protocol\" and \"code\" must both be texts."})",
         ""},
        {R"({"hello":1})",
         R"({"ok":false,"text":"The request names no device and command, no protocol and code, and no timings."})", ""},
        {"Power", R"({"ok":false,"text":"The request is not JSON."})", ""},
        {R"({"device":"a","command":"b"} x)", R"({"ok":false,"text":"The request is not JSON."})", ""},
        {std::string(40, '[') + std::string(40, ']'), R"({"ok":false,"text":"The request is not JSON."})", ""},
        {R"(["device"])", R"({"ok":false,"text":"The request must be a JSON object."})", ""},
        {std::string(10 * 1024 * 1024, ' '), R"({"ok":false,"text":"The request is larger than 64 KiB."})", ""},
    };
    for (const Row& r : rows) {
        rig.calls.clear();
        EXPECT_EQ(rig.bridge->HandleSend(r.request), r.answer) << r.request.substr(0, 60);
        EXPECT_EQ(rig.calls, r.call.empty() ? std::vector<std::string>{} : std::vector<std::string>{r.call});
    }
}

TEST(MqttBridge, KeysWaitInABoundedQueueWhileTheBrokerIsAway) {
    BridgeRig rig;
    EXPECT_EQ(rig.link.options.will.topic + " " + rig.link.options.will.payload, "quenix/den/status offline");
    EXPECT_TRUE(rig.link.options.will.retain);
    for (int i = 0; i < 3; ++i) rig.link.Drop(); // every retry fails the same way: said once
    const std::size_t extra = 3;
    for (std::size_t i = 0; i < MqttBridge::kQueueBound + extra; ++i)
        rig.bridge->Key({"Sony TV", "K" + std::to_string(i), "SONY", "101", "0x010015", 0, "COM1"});
    rig.bridge->Received({"SONY", "101", {600, -600}, 38000}); // not kept
    EXPECT_EQ(rig.bridge->queued(), MqttBridge::kQueueBound);
    rig.link.Connect();
    ASSERT_GE(rig.link.sent.size(), MqttBridge::kQueueBound);
    EXPECT_EQ(rig.link.sent.front().topic + " " + rig.link.sent.front().payload, "quenix/den/status online");
    std::vector<MqttMessage> keys;
    for (const auto& m : rig.link.sent)
        if (m.topic == "quenix/den/key") keys.push_back(m);
    ASSERT_EQ(keys.size(), MqttBridge::kQueueBound);
    EXPECT_EQ(keys.front().payload, R"({"device":"Sony TV","command":"K3","protocol":"SONY","code":"101",)"
                                    R"("scancode":"0x010015","repeat":0,"source":"COM1"})");
    EXPECT_THAT(keys.back().payload, ::testing::HasSubstr("\"K502\""));
    EXPECT_THAT(rig.link.subscribed,
                ::testing::ElementsAre("quenix/den/send", "homeassistant/device_automation/quenix_2fden/+/config"));
    EXPECT_THAT(rig.status,
                ::testing::ElementsAre(
                    "MQTT: connecting to broker.lan:1883...",
                    "MQTT: cannot reach the broker at broker.lan:1883 (Connection refused); retrying, keys are kept.",
                    "MQTT: connected to broker.lan:1883 as quenix/den. 3 keys from while it was away were dropped."));
    rig.link.Drop(true);
    EXPECT_EQ(rig.status.back(),
              "MQTT: the broker at broker.lan:1883 refused the connection (Connection refused); retrying.");
    rig.link.Connect();
    rig.bridge->Stop();
    EXPECT_EQ(rig.link.stopped, "offline");
}

TEST(MqttBridge, DiscoveryMessagesFieldByField) {
    BridgeRig rig;
    rig.bridge->SetKeys({{"Sony TV", "Vol+"}, {"Sony TV", "Vol-"}, {"Sony TV", "Vol_"}});
    rig.link.Connect();
    std::map<std::string, JsonValue> config;
    for (const auto& m : rig.link.sent)
        if (m.topic.rfind("homeassistant/", 0) == 0) {
            EXPECT_TRUE(m.retain && m.qos == 1) << m.topic;
            auto v = ParseJson(m.payload);
            ASSERT_TRUE(v) << m.payload;
            config[m.topic] = *v;
        }
    const std::string node = "homeassistant/device_automation/quenix_2fden/";
    ASSERT_EQ(config.size(), 5u); // three triggers on three topics, the emitter and the receiver
    const JsonValue& t = config[node + "Sony_20TV_26Vol_2b/config"];
    auto field = [](const JsonValue& v, const char* k) { return v.find(k) ? WriteJson(*v.find(k)) : "(absent)"; };
    EXPECT_EQ(field(t, "automation_type"), "\"trigger\"");
    EXPECT_EQ(field(t, "topic"), "\"quenix/den/key\"");
    EXPECT_EQ(field(t, "type"), "\"button_short_press\"");
    EXPECT_EQ(field(t, "subtype"), "\"Sony TV Vol+\"");
    EXPECT_EQ(field(t, "payload"), "\"Sony TV&Vol+\"");
    EXPECT_EQ(field(t, "value_template"),
              "\"{{ value_json.device ~ '&' ~ value_json.command if value_json.repeat == 0 else '' }}\"");
    EXPECT_EQ(field(t, "platform"), "(absent)"); // only device-wide discovery messages carry it
    EXPECT_EQ(field(t, "device"), R"({"identifiers":["quenix_2fden"],"name":"Quenix den","manufacturer":"Quenix",)"
                                  R"("model":"Quenix Remote Manager","sw_version":"1.0.0"})");
    EXPECT_TRUE(config.count(node + "Sony_20TV_26Vol-/config") && config.count(node + "Sony_20TV_26Vol_5f/config"));
    const JsonValue& e = config["homeassistant/infrared/quenix_2fden/emitter/config"];
    EXPECT_EQ(field(e, "schema") + field(e, "command_topic") + field(e, "unique_id") + field(e, "availability_topic"),
              R"("emitter""quenix/den/send""quenix_2fden_emitter""quenix/den/status")");
    const JsonValue& r = config["homeassistant/infrared/quenix_2fden/receiver/config"];
    EXPECT_EQ(field(r, "schema") + field(r, "state_topic") + field(r, "unique_id"),
              R"("receiver""quenix/den/ir/received""quenix_2fden_receiver")");

    // A key deleted now, and one left retained by an earlier run, are both cleared.
    rig.link.sent.clear();
    rig.bridge->SetKeys({{"Sony TV", "Vol+"}});
    rig.link.events.message(node + "Old_26Key/config", "{}");
    std::set<std::string> cleared;
    for (const auto& m : rig.link.sent)
        if (m.payload.empty() && m.retain) cleared.insert(m.topic);
    EXPECT_THAT(cleared, ::testing::ElementsAre(node + "Old_26Key/config", node + "Sony_20TV_26Vol-/config",
                                                node + "Sony_20TV_26Vol_5f/config"));
}

TEST(MqttCodes, ScancodesAndTimings) {
    struct Row {
        int protocol;
        const char* code;
        const char* scancode;
    };
    for (const Row& r :
         {Row{kProtoNec, "G00100000110111110001000011101111", "0x0408"},
          Row{kProtoNec, "00100000000000000001000011101111", "0x040008"},
          Row{kProtoNec, "00100000110111110001000000000000", "0xfb040008"},
          Row{kProtoSony, "G101010010000", "0x010015"}, Row{kProtoSony, "101010010000000", "0x010015"},
          Row{kProtoSony, "10101001000001000000", "0x010215"}, Row{kProtoRc5, "G11010000001100", "0x100c"},
          Row{kProtoRc5, "10010000001100", "0x104c"}, Row{kProtoNec, "G0101", ""},
          Row{kProtoRc5, "G1101000000110x", ""}, Row{kProtoCustom, "G1010", ""}})
        EXPECT_EQ(KernelScancode(r.protocol, r.code), r.scancode) << r.code;

    // 4 idle samples, 12 on, 6 off, 2 on, idle to the end; 50 us a sample.
    std::vector<std::uint8_t> capture = {0x0F, 0xFF, 0x03, 0x00, 0x00};
    EXPECT_EQ(CaptureTimings(capture, 50000), (std::vector<int>{600, -300, 100}));
    std::string error;
    EXPECT_EQ(TimingsToCells({600, -300, 100}, 50, 1, error), "111111111111000000"
                                                              "11" +
                                                                  std::string(800, '0') +
                                                                  "111111111111000000"
                                                                  "11");
    for (const auto& bad : std::vector<std::vector<int>>{{}, {-600, 300}, {600, 300}, {600, -300, 0}, {600000}})
        EXPECT_EQ(TimingsToCells(bad, 50, 0, error), "") << bad.size();
    EXPECT_EQ(TimingsToCells({9000, -4500}, 50, 300, error), "");
    EXPECT_EQ(error, "repeat_count must be 0 to 20.");
}

} // namespace
} // namespace quenix
