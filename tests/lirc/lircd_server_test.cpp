#include "lirc/lircd_server.h"

#include "support/fakes.h"

#include <gtest/gtest.h>

namespace quenix {
namespace {

struct ServerRig {
    std::vector<std::string> sent;
    std::string result = "Sony TV Power executed.";
    std::vector<LircdRemote> remotes = RemotesOfConfiguration(testing::DefaultConfiguration());
    LircdServer server{{[this] { return remotes; },
                        [this](const std::string& d, const std::string& c) {
                            sent.push_back(d + "&" + c);
                            return result;
                        }},
                       "quenix 1.0.0"};
};

std::string Reply(const std::string& command, const std::string& status, const std::vector<std::string>& data = {}) {
    std::string t = "BEGIN\n" + command + "\n" + status + "\n";
    if (!data.empty()) t += "DATA\n" + std::to_string(data.size()) + "\n";
    for (const auto& d : data) t += d + "\n";
    return t + "END\n";
}

TEST(LircdServer, AnswersLircdsCommands) {
    struct Case {
        const char* line;
        std::string reply;
        std::vector<std::string> sent;
        std::string result = "Sony TV Power executed.";
    };
    const Case cases[] = {
        {"VERSION", Reply("VERSION", "SUCCESS", {"quenix 1.0.0"}), {}},
        {"list", Reply("list", "SUCCESS", {"Set-top_Box", "Sony_TV", "Philips_Amp"}), {}},
        {"LIST sony_tv Vol+", Reply("LIST sony_tv Vol+", "SUCCESS", {"0000000000000490 Vol+"}), {}},
        {"LIST Radio", Reply("LIST Radio", "ERROR", {"unknown remote: \"Radio\""}), {}},
        {"SEND_ONCE Sony_TV Power",
         Reply("SEND_ONCE Sony_TV Power", "SUCCESS", {"Sony TV Power executed."}),
         {"Sony TV&Power"}},
        {"SEND_ONCE Sony_TV Power 3",
         Reply("SEND_ONCE Sony_TV Power 3", "SUCCESS", {"Sony TV Power executed."}),
         {"Sony TV&Power", "Sony TV&Power", "Sony TV&Power"}},
        {"SEND_ONCE Sony_TV Power 11",
         Reply("SEND_ONCE Sony_TV Power 11", "ERROR", {"bad count \"11\": a number from 0 to 10"}),
         {}},
        {"SEND_ONCE Sony_TV Power -1",
         Reply("SEND_ONCE Sony_TV Power -1", "ERROR", {"bad count \"-1\": a number from 0 to 10"}),
         {}},
        {"SEND_ONCE Sony_TV Eject", Reply("SEND_ONCE Sony_TV Eject", "ERROR", {"unknown command: \"Eject\""}), {}},
        {"SEND_ONCE Sony_TV Power",
         Reply("SEND_ONCE Sony_TV Power", "ERROR", {"Infrared output is disabled!"}),
         {"Sony TV&Power"},
         "Infrared output is disabled!"},
        {"SEND_START Sony_TV Power",
         Reply("SEND_START Sony_TV Power", "ERROR",
               {"this transmitter sends whole key presses: use SEND_ONCE remote key [count]"}),
         {}},
        {"FROB", Reply("FROB", "ERROR", {"unknown command: \"FROB\""}), {}},
        {"\x01\x7f junk", Reply("", "ERROR", {"control characters in the command"}), {}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.line);
        ServerRig rig;
        rig.result = c.result;
        EXPECT_EQ(rig.server.Answer(c.line), c.reply);
        EXPECT_EQ(rig.sent, c.sent);
    }
}

// Lines arrive in pieces; an over-long line is refused once and the next one answered; a
// client that reads nothing is dropped without holding up the others.
TEST(LircdServer, ClientsCannotHarmEachOther) {
    ServerRig rig;
    LircdServer& s = rig.server;
    s.Connect(1);
    s.Connect(2);
    s.Receive(1, "VERS");
    EXPECT_EQ(s.Pending(1), "");
    s.Receive(1, "ION\r\n" + std::string(5000, 'x'));
    s.Receive(1, "yyy\nLIST\n");
    EXPECT_EQ(s.Pending(1), Reply("VERSION", "SUCCESS", {"quenix 1.0.0"}) + Reply("", "ERROR", {"line too long"}) +
                                Reply("LIST", "SUCCESS", {"Set-top_Box", "Sony_TV", "Philips_Amp"}));
    s.Written(1, s.Pending(1).size());

    for (int i = 0; i < 20000 && !s.Dropped(2); ++i) s.Receive(2, "VERSION\n");
    EXPECT_TRUE(s.Dropped(2));
    s.KeyRecognised("Sony TV", "Vol+", 0);
    EXPECT_EQ(s.Pending(1), "0000000000000490 00 Vol+ Sony_TV\n");
}

TEST(LircdServer, RepeatCountsUpWhileTheSameKeyComesAgainSoon) {
    ServerRig rig;
    LircdServer& s = rig.server;
    s.Connect(7);
    const std::pair<const char*, std::int64_t> presses[] = {{"Power", 0},    {"Power", 400}, {"Power", 800},
                                                            {"Power", 2000}, {"Mute", 2100}, {"Power", 2200}};
    for (auto [key, ms] : presses) s.KeyRecognised("Sony TV", key, ms);
    EXPECT_EQ(s.Pending(7), "0000000000000a90 00 Power Sony_TV\n0000000000000a90 01 Power Sony_TV\n"
                            "0000000000000a90 02 Power Sony_TV\n0000000000000a90 00 Power Sony_TV\n"
                            "0000000000000290 00 Mute Sony_TV\n0000000000000a90 00 Power Sony_TV\n");
}

} // namespace
} // namespace quenix
