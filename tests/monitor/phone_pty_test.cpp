// The phone remote on the real serial layer: a pty linked as com5 in the program folder, with
// the phone answering on the master side whenever the program lets events run.

#include "monitor/phone_remote.h"

#include "io/pty_pair.h"
#include "support/rig.h"
#include "support/sim_serial.h"

#include <gtest/gtest.h>

namespace quenix {
namespace {

using testing::PtyPair;
using testing::SimClock;

// The phone answers between the program's reads, as the event loop would interleave them;
// SecondTimer ticks on the virtual clock.
class PhoneOnPty final : public FakeView {
public:
    PhoneOnPty(PtyPair& pty, SimClock& clock) : pty_(pty), clock_(clock), last_(clock.nowMs()) {}
    void processEvents() override {
        partial_ += pty_.receive(0, 0);
        std::size_t end;
        while ((end = partial_.find("\r\n")) != std::string::npos) {
            const std::string cmd = partial_.substr(0, end);
            partial_.erase(0, end + 2);
            heard.push_back(cmd);
            pty_.send(cmd == "AT+CGMM" ? "\r\nT68i R1\r\n\r\nOK\r\n" : "\r\nOK\r\n");
        }
        if (remote && clock_.nowMs() - last_ >= 200) {
            last_ = clock_.nowMs();
            remote->OnSecondTimer();
        }
    }
    PhoneRemote* remote = nullptr;
    std::vector<std::string> heard;

private:
    PtyPair& pty_;
    SimClock& clock_;
    std::int64_t last_;
    std::string partial_;
};

TEST(PhonePty, ConnectsAndReportsKeysOverRealPort) {
    BasicRig<SimClock> rig;
    auto& [folder, store, clock, dialogs, beeper, ctx] = rig;
    PtyPair pty;
    pty.linkAs(folder.path(), 5);
    ctx.settings().btEna = true;
    ctx.settings().btCom = 5;
    ctx.settings().btCurrent = 4;
    ctx.settings().bt[4] = "Attic";
    auto driver = MakeSystemSerialDriver(folder.str());
    SerialPort port(*driver);
    PhoneOnPty view(pty, clock);
    PhoneRemote remote(ctx, view, port);
    view.remote = &remote;
    std::vector<std::string> events;
    remote.handleEvent = [&](const std::string& key) {
        events.push_back(key);
        return std::string("ok");
    };

    ASSERT_TRUE(remote.Initialise());
    EXPECT_EQ(remote.model(), "Ericsson T68i");
    const std::vector<std::string> dialogue = {
        "ATZ", "AT+CGMM", "AT+CSCS=\"8859-1\"", "AT*EAM=\"Quenix Manager\"", "AT+CMER=0,0,0,0",
        "AT*EAID=1,2,\"Welcome to Orvel's Quenix Manager\"", "AT*EAID=1,2,\"Current device is Attic\"",
        "AT+CMER=3,2,0,0"};
    EXPECT_EQ(view.heard, dialogue);

    pty.send("\r\n+CKEV: 4,1\r\n");
    remote.OnBTMonTimer();
    pty.send("\r\n+CKEV: 4,0\r\n");
    remote.OnBTMonTimer();
    EXPECT_EQ(events, (std::vector<std::string>{"BT&CONNECTED", "BT4&4"}));
    EXPECT_EQ(view.text("ExecCmd"), "ok");

    remote.Close();
    EXPECT_EQ(ctx.btPortHandle, kNoPort);
}

} // namespace
} // namespace quenix
