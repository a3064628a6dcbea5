#include "web/web_json.h"
#include "web/web_limits.h"
#include "web/web_remote.h"
#include "web/web_settings.h"

#include <gtest/gtest.h>

namespace quenix::web {
namespace {

TEST(WebJson, ReadsFlatObjectsOfStringsOnly) {
    const std::pair<const char*, const char*> cases[] = {
        {R"({"device":"TV","command":"Vol+"})", "command=Vol+;device=TV;"},
        {R"( { "a" : "x\"y\\z\/" , "n": -1.5e3, "t": true, "z": null } )", "a=x\"y\\z/;"},
        {R"({"a":"caf\u00e9 caf\u00C3\u00A9"})", "a=caf\xE9 caf\xC3\xA9;"},
        {"{\"a\":\"caf\xC3\xA9 \xE2\x82\xAC\"}", "a=caf\xE9 ?;"},   // UTF-8 in, Latin-1 out
        {R"({"a":"\ud83d\ude00"})", "a=?;"},                        // a pair beyond Latin-1
        {R"({})", ""},
        {R"({"a":"x"} {})", nullptr}, {R"({"a":{"b":"c"}})", nullptr}, {R"({"a":["x"]})", nullptr},
        {R"({"a":"x)", nullptr}, {R"({"a":"\q"})", nullptr}, {R"({"a":"\ud83d"})", nullptr},
        {R"({"a":"\)", nullptr}, {"{\"a\":\"\xC3\"}", nullptr}, {"{\"a\":\"x\ny\"}", nullptr}, {R"({"a":tru})", nullptr},
    };
    for (auto [json, want] : cases) {
        const auto got = ReadFlatObject(json);
        ASSERT_EQ(got.has_value(), want != nullptr) << json;
        std::string flat;
        if (!got) continue;
        for (const auto& [k, v] : *got) flat += k + "=" + v + ";";
        EXPECT_EQ(flat, want) << json;
    }
    EXPECT_EQ(Quoted("\"\\\x01\xE9"), "\"\\\"\\\\\\u0001\xC3\xA9\"");
}

TEST(WebLimits, MetersHeadersBodiesAndUpgrades) {
    const std::string get = "GET / HTTP/1.1\r\nHost: x\r\n\r\n";
    const std::string post = "POST /api/send HTTP/1.1\r\nContent-Length: 5\r\n\r\nhello";
    const struct {
        std::vector<std::string> chunks;
        int status;
    } cases[] = {
        {{get, get, post, get}, 0},                                // keep-alive, one after another
        {{"POST / HTTP/1.1\r\nContent-Le", "ngth: 3\r\n\r", "\nabc" + get}, 0}, // split anywhere
        {{"GET / HTTP/1.1\r\nUpgrade: websocket\r\n\r\n", std::string(100000, 'x')}, 0}, // frames are not requests
        {{"GET / HTTP/1.1\r\nX: " + std::string(kMaxHeaderBytes, 'x') + "\r\n\r\n"}, 431},
        {{std::string(kMaxHeaderBytes + 1, 'x')}, 431},
        {{"POST / HTTP/1.1\r\nContent-Length: " + std::to_string(kMaxBodyBytes + 1) + "\r\n\r\n"}, 413},
        {{"POST / HTTP/1.1\r\nContent-Length: 5x\r\n\r\n"}, 413},
        {{"POST / HTTP/1.1\r\nTransfer-Encoding: chunked\r\n\r\n"}, 411},
        {{"POST / HTTP/1.1\r\nContent-Length: 2\r\n\r\nab" "GET / HTTP/1.1\r\nContent-Length: 99999\r\n\r\n", get}, 413},
    };
    for (const auto& c : cases) {
        RequestMeter meter;
        int status = 0;
        for (const std::string& chunk : c.chunks) status = meter.Feed(chunk);
        EXPECT_EQ(status, c.status) << c.chunks.front().substr(0, 40);
    }
    Bucket b;
    int taken = 0;
    for (int i = 0; i < 100; ++i) taken += b.Take(1000, 10, 20);
    EXPECT_EQ(taken, 20);
    EXPECT_TRUE(b.Take(1100, 10, 20)); // 100 ms at 10 a second buys one
    EXPECT_FALSE(b.Take(1100, 10, 20));
}

TEST(WebSettings, FileAndEnvironment) {
    WebSettings s = ReadWebSettings("ENABLED=1\r\nPORT=99999\nTOKEN=abc\nNEWER=1\n");
    EXPECT_TRUE(s.enabled);
    EXPECT_EQ(s.port, kDefaultPort);
    EXPECT_EQ(ReadWebSettings(WriteWebSettings(s)).token, "abc");
    const struct {
        const char* web;
        bool ok;
        std::string address;
        int port;
    } cases[] = {{"127.0.0.1:9000", true, "127.0.0.1", 9000}, {"[::1]:9001", true, "::1", 9001},
                 {":9002", true, "0.0.0.0", 9002}, {"localhost", false, "", 0}, {"1.2.3.4:0", false, "", 0}};
    for (const auto& c : cases) {
        WebSettings e;
        ListenAt at = ListenOf(e);
        std::string error;
        EXPECT_EQ(ApplyWebEnvironment(e, at, c.web, "tok", error), c.ok) << c.web;
        if (c.ok) {
            EXPECT_EQ(at.address + ":" + std::to_string(at.port), c.address + ":" + std::to_string(c.port));
        }
        EXPECT_EQ(e.token, "tok");
    }
    EXPECT_EQ(NewToken().size(), 32u);
    EXPECT_NE(NewToken(), NewToken());
    EXPECT_FALSE(SameToken("", ""));
}

// A held key: steps only while the same press goes on, none after a silence or a release.
TEST(WebRemote, KeypadPressAndHold) {
    std::int64_t now = 0;
    std::vector<std::string> calls;
    Remote::Backend b;
    b.devices = [] { return std::vector<Device>{}; };
    b.press = [&](const std::string& key) { calls.push_back("press " + key); return Outcome{true, "ok"}; };
    b.held = [&](const std::string& key, const KeyPress::Step& s) {
        calls.push_back("held " + key + " " + std::to_string(s.repeat) + " " + std::to_string(s.heldMs));
    };
    b.nowMs = [&] { return now; };
    Remote r(b, "");
    r.Open(1);
    auto key = [&](const char* k, const char* state, std::int64_t at) {
        now = at;
        return r.Message(1, std::string("{\"type\":\"key\",\"key\":\"") + k + "\",\"state\":\"" + state + "\"}");
    };
    EXPECT_NE(key("play", "down", 0).at(0).find("\"key\":\"Web&Play\""), std::string::npos);
    key("Play", "held", 100);
    key("Play", "held", 500);
    key("Play", "held", 2000); // silent too long: over
    key("Play", "held", 2100);
    key("Play", "down", 2200);
    key("Play", "up", 2300);
    key("Play", "held", 2400);
    EXPECT_NE(key("Eject", "down", 2500).at(0).find("No key"), std::string::npos);
    const std::vector<std::string> want = {"press Web&Play", "held Web&Play 1 100", "held Web&Play 2 500",
                                           "press Web&Play"};
    EXPECT_EQ(calls, want);
}

} // namespace
} // namespace quenix::web
