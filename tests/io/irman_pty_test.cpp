// The IRMan handshake through the real POSIX driver on a pseudo-terminal, with an IRMan
// simulator on the far end. Time is virtual: the simulator acts whenever the program waits.

#include "io/receiver_controller.h"
#include "support/fakes.h"
#include "pty_pair.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace quenix::testing {
namespace {

// A virtual clock whose waits let the device on the far end of the pty act: it hears what
// the program wrote before the wait and answers "I" then "R" with `answer` after `delayMs`.
class IRManOnPty final : public Clock {
public:
    explicit IRManOnPty(const PtyPair& pty) : pty_(pty) {}

    void sleep(int ms) override {
        sleeps.push_back(ms);
        heard += pty_.receive();
        if (replyAt_ < 0 && heard.find("IR") != std::string::npos && !answer.empty()) replyAt_ = now_ + delayMs;
        now_ += ms;
        if (replyAt_ >= 0 && now_ >= replyAt_) {
            pty_.send(answer);
            replyAt_ = -1;
            answer.clear();
        }
    }
    std::int64_t nowMs() override { return now_; }

    std::string answer;
    int delayMs = 0;
    std::string heard;
    std::vector<int> sleeps;

private:
    const PtyPair& pty_;
    std::int64_t now_ = 0;
    std::int64_t replyAt_ = -1;
};

struct IRManCase {
    const char* name;
    std::string answer; // empty: never answers
    int delayMs;
    bool accepted;
};

class IRManPtyTest : public ::testing::TestWithParam<IRManCase> {};

TEST_P(IRManPtyTest, HandshakeAcceptsOkWithinTwoSeconds) {
    const IRManCase& c = GetParam();
    TempDir folder;
    PtyPair pty;
    pty.linkAs(folder.path(), 6);
    folder.write(ConfigStore::kFileName, DefaultConfiguration());
    ConfigStore store(folder.str());
    ASSERT_TRUE(store.LoadConfiguration());
    store.settings().comPort = 6;

    IRManOnPty clock(pty);
    clock.answer = c.answer;
    clock.delayMs = c.delayMs;
    FakeDialogs dialogs;
    FakeBeeper beeper;
    Context ctx(store, clock, dialogs, beeper);
    FakeView view;
    auto driver = MakeSystemSerialDriver(folder.str());
    SerialPort port(*driver);
    auto library = MakeCaptureLibrary(folder.str()); // none there: SetHandle quietly fails
    ReceiverController controller(ctx, view, port, *library);

    controller.listPorts();
    ASSERT_NE(ctx.irPortHandle, kNoPort);
    controller.onIRManMenu();

    EXPECT_EQ(clock.heard, "IR");
    // Power off 200 ms, on 500 ms, "I", 500 ms, "R", then polls of 100 ms: twenty at most.
    ASSERT_GE(clock.sleeps.size(), 4u);
    EXPECT_EQ(std::vector<int>(clock.sleeps.begin(), clock.sleeps.begin() + 3), (std::vector<int>{200, 500, 500}));
    const std::vector<int> polls(clock.sleeps.begin() + 3, clock.sleeps.end());
    EXPECT_EQ(std::count(polls.begin(), polls.end(), 100), static_cast<long>(polls.size()));
    EXPECT_EQ(polls.size(), c.accepted ? static_cast<std::size_t>((c.delayMs + 99) / 100) : 20u);
    ASSERT_EQ(dialogs.messages.size(), 1u);
    EXPECT_EQ(dialogs.messages[0].caption, "ZVK");
    if (c.accepted) {
        EXPECT_EQ(dialogs.messages[0].text, "IRMan interface initialized OK");
        EXPECT_EQ(dialogs.messages[0].icon, MsgIcon::Information);
    } else {
        EXPECT_EQ(dialogs.messages[0].text, "IRMan interface cannot be initialized!");
        EXPECT_EQ(dialogs.messages[0].icon, MsgIcon::Exclamation);
    }
    EXPECT_EQ(ctx.irmanInitialised, c.accepted);
    EXPECT_EQ(view.text("ReceiverType"), "IRMan");
    EXPECT_TRUE(view.isChecked("IRManMenu"));

    // Choosing IRMan again on a port that answered does not repeat the handshake.
    clock.heard.clear();
    controller.onIRManMenu();
    EXPECT_EQ(clock.heard.empty(), c.accepted);
    EXPECT_EQ(dialogs.messages.size(), c.accepted ? 1u : 2u);
    port.CloseHandle(ctx.irPortHandle);
}

INSTANTIATE_TEST_SUITE_P(Answers, IRManPtyTest,
                         ::testing::Values(IRManCase{"capitals", "OK", 100, true},
                                           IRManCase{"leading_blanks", "  ok", 300, true},
                                           IRManCase{"just_in_time", "Ok\r\n", 1900, true},
                                           IRManCase{"late", " ok", 2100, false},
                                           IRManCase{"silent", "", 0, false}),
                         [](const auto& info) { return std::string(info.param.name); });

} // namespace
} // namespace quenix::testing
