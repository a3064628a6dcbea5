#include "lirc/lircd_server.h"

#include "support/fakes.h"

#include <gtest/gtest.h>

namespace quenix {
namespace {

const char* kReceiverOnly = "Error sending infrared command! lirc0 is a receiver only: it cannot send.";

struct ServerRig {
    std::vector<std::string> sent;
    std::size_t failAt = 0; // the send that fails first, from 1
    std::vector<LircdRemote> remotes = RemotesOfConfiguration(testing::DefaultConfiguration());
    LircdServer server{{[this] { return remotes; },
                        [this](const std::string& d, const std::string& c) -> LircdServer::SendResult {
                            sent.push_back(d + "&" + c);
                            if (failAt && sent.size() >= failAt) return {false, kReceiverOnly};
                            return {true, d + " " + c + " executed."};
                        }},
                       "quenix 1.0.0"};
    std::string Ask(const std::string& line) { // the whole answer, every step run
        server.Connect(9);
        server.Receive(9, line + "\n");
        while (server.RunOne()) {}
        return server.Pending(9);
    }
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
        std::size_t failAt = 0;
    };
    const Case cases[] = {
        {"VERSION", Reply("VERSION", "SUCCESS", {"quenix 1.0.0"}), {}},
        {"list", Reply("list", "SUCCESS", {"Set-top_Box", "Sony_TV", "Philips_Amp"}), {}},
        {"LIST sony_tv Vol+", Reply("LIST sony_tv Vol+", "SUCCESS", {"0000000000000490 Vol+"}), {}},
        {"LIST Radio", Reply("LIST Radio", "ERROR", {"unknown remote: \"Radio\""}), {}},
        {"SEND_ONCE Sony_TV Power",
         Reply("SEND_ONCE Sony_TV Power", "SUCCESS", {"Sony TV Power executed."}),
         {"Sony TV&Power"}},
        {"SEND_ONCE Sony_TV Power 11",
         Reply("SEND_ONCE Sony_TV Power 11", "ERROR", {"bad count \"11\": a number from 0 to 10"}),
         {}},
        {"SEND_ONCE Sony_TV Eject", Reply("SEND_ONCE Sony_TV Eject", "ERROR", {"unknown command: \"Eject\""}), {}},
        // Judged by the send, not by its text; a count stops at the first failure.
        {"SEND_ONCE Sony_TV Power", Reply("SEND_ONCE Sony_TV Power", "ERROR", {kReceiverOnly}), {"Sony TV&Power"}, 1},
        {"SEND_ONCE Sony_TV Power 5",
         Reply("SEND_ONCE Sony_TV Power 5", "ERROR", {kReceiverOnly}), {"Sony TV&Power", "Sony TV&Power"}, 2},
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
        rig.failAt = c.failAt;
        EXPECT_EQ(rig.Ask(c.line), c.reply);
        EXPECT_EQ(rig.sent, c.sent);
    }
}

// Lines arrive in pieces; an over-long line is refused in its place and the next one answered; a
// client that reads nothing, or sends on while told to wait, is dropped without holding up the others.
TEST(LircdServer, ClientsCannotHarmEachOther) {
    ServerRig rig;
    LircdServer& s = rig.server;
    for (int c : {1, 2, 3}) s.Connect(c);
    s.Receive(1, "VERS");
    s.Receive(1, "ION\r\n" + std::string(5000, 'x'));
    s.Receive(1, "yyy\nLIST\n");
    while (s.RunOne()) {}
    EXPECT_EQ(s.Pending(1), Reply("VERSION", "SUCCESS", {"quenix 1.0.0"}) + Reply("", "ERROR", {"line too long"}) +
                                Reply("LIST", "SUCCESS", {"Set-top_Box", "Sony_TV", "Philips_Amp"}));
    s.Written(1, s.Pending(1).size());

    for (int i = 0; i < 20000 && !s.Dropped(2); ++i) s.Receive(2, "VERSION\n"), s.RunOne();
    for (int i = 0; i < 100000 && !s.Dropped(3); ++i) s.Receive(3, "VERSION\n");
    EXPECT_TRUE(s.Dropped(2) && s.Dropped(3));
    EXPECT_FALSE(s.HasWork());
    s.KeyRecognised("Sony TV", "Vol+", 0);
    EXPECT_EQ(s.Pending(1), "0000000000000490 00 Vol+ Sony_TV\n");
}

// One step per turn, the clients in turn: a LIST waits for one send of a flood, not for all of
// them, and the flooding client is told to wait while 16 commands are queued.
TEST(LircdServer, ClientsTakeTurnsOneStepEach) {
    ServerRig rig;
    LircdServer& s = rig.server;
    for (int c : {1, 2, 3}) s.Connect(c);
    for (int i = 0; i < 20; ++i) s.Receive(1, "SEND_ONCE Sony_TV Power 10\n");
    s.Receive(2, "LIST\n");
    s.Receive(3, "VERSION\n");
    EXPECT_TRUE(!s.Reading(1) && s.Reading(2));
    for (int i = 0; i < 3; ++i) s.RunOne();
    EXPECT_TRUE(rig.sent.size() == 1 && !s.Pending(2).empty() && !s.Pending(3).empty());
    int steps = 3;
    while (s.RunOne()) ++steps;
    EXPECT_EQ(steps, 20 * 10 + 2); // a step for every send
    EXPECT_TRUE(s.Reading(1));
}

} // namespace
} // namespace quenix
