// The phone remote against a simulated Ericsson phone that speaks the AT dialogue on a
// simulated serial port, on the virtual clock.

#include "monitor/phone_remote.h"

#include "monitor/bt_config.h"
#include "support/rig.h"
#include "support/sim_serial.h"

#include <gtest/gtest.h>

#include <deque>
#include <set>
#include <utility>

namespace quenix::testing {
namespace {

using Lines = std::vector<std::string>;

constexpr int kBtCom = 5;

// Answers every command line with OK after 40 ms, except those it is told to ignore.
class PhoneSim final : public SimPeer {
public:
    std::uint32_t lines(const SimPort&, std::int64_t) override { return linkUp ? kModemCtsOn | kModemDsrOn : 0u; }
    void onWrite(SimPort&, std::string_view bytes, std::int64_t now) override {
        partial_ += bytes;
        for (std::size_t end; (end = partial_.find("\r\n")) != std::string::npos; partial_.erase(0, end + 2)) {
            const std::string cmd = partial_.substr(0, end);
            heard.push_back(cmd);
            if (linkUp && !silent.count(cmd))
                say(cmd == "AT+CGMM" ? "\r\n" + model + "\r\n\r\nOK\r\n" : "\r\nOK\r\n", now + 40'000'000);
        }
    }
    void poll(SimPort& port, std::int64_t now) override {
        for (; !due_.empty() && due_.front().first <= now; due_.pop_front()) port.rx += due_.front().second;
    }
    void say(const std::string& text, std::int64_t at = 0) { due_.emplace_back(at, text); }

    bool linkUp = true;
    std::string model = "T39m R101";
    std::set<std::string> silent;
    Lines heard;

private:
    std::string partial_;
    std::deque<std::pair<std::int64_t, std::string>> due_;
};

// SecondTimer as the event loop fires it during the reply wait: once, however far it fell behind.
class TickingView final : public FakeView {
public:
    explicit TickingView(SimClock& clock) : clock_(clock), last_(clock.nowMs()) {}
    void processEvents() override {
        FakeView::processEvents();
        if (duringWait) std::exchange(duringWait, nullptr)(); // another timer's work, once
        if (remote && clock_.nowMs() - last_ >= 200) remote->OnSecondTimer(), last_ = clock_.nowMs();
    }
    PhoneRemote* remote = nullptr;
    std::function<void()> duringWait;

private:
    SimClock& clock_;
    std::int64_t last_;
};

class PhoneRemoteTest : public ::testing::Test, protected BasicRig<SimClock> {
protected:
    PhoneRemoteTest() {
        ctx.settings().btEna = true;
        ctx.settings().btCom = kBtCom;
        ctx.settings().bt = {"Living", "Kitchen", "Bedroom", "Garage", "", "", "", "", "", ""}; // 4 to 9 never named
        driver.port(kBtCom).peer = &phone;
        view.remote = &remote;
        remote.handleEvent = [this](const std::string& key) {
            events.push_back(key);
            return key == "BT&CONNECTED" ? std::string() : "done " + key;
        };
    }
    // Initialises and forgets what the start-up said.
    void Connect() {
        ASSERT_TRUE(remote.Initialise());
        phone.heard.clear();
        events.clear();
    }
    // One key report arrives and the poll runs once.
    void Key(const std::string& report) {
        phone.say("\r\n+CKEV: " + report + "\r\n");
        remote.OnBTMonTimer();
    }
    bool Heard(const std::string& cmd) const { return std::count(phone.heard.begin(), phone.heard.end(), cmd) > 0; }

    TickingView view{clock};
    SimSerialDriver driver{clock};
    SerialPort port{driver};
    PhoneSim phone;
    PhoneRemote remote{ctx, view, port};
    Lines events;
};

TEST_F(PhoneRemoteTest, InitialiseDialogueAndModels) {
    struct Case {
        std::string model, silentCommand;
        bool ok;
        std::string expectModel;
    };
    const Case cases[] = {
        {"T39m R101", "", true, "Ericsson T39m"},           {"T39 R201", "", true, "Ericsson T39"},
        {"R520m", "", true, "Ericsson R520"},               {"Nokia 6310", "", true, "Unknown"},
        {"T39m", "AT+CGMM", true, "Unknown"}, // no model answer is no failure (nor a model)
        {"T39m", "ATZ", false, "Unknown"},                  {"T39m", "AT+CMER=3,2,0,0", false, "Ericsson T39m"},
    };
    const Lines dialogue = {"ATZ", "AT+CGMM", "AT+CSCS=\"8859-1\"", "AT*EAM=\"Quenix Manager\"", "AT+CMER=0,0,0,0",
                            "AT*EAID=1,2,\"Welcome to Orvel's Quenix Manager\"",
                            "AT*EAID=1,2,\"Current device is Living\"", "AT+CMER=3,2,0,0"};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.model + " / " + c.silentCommand);
        phone.model = c.model;
        phone.silent = {c.silentCommand};
        phone.heard.clear();
        events.clear();
        view.setTimerEnabled("BTMonTimer", false);
        view.setStatus("Command received");

        EXPECT_EQ(remote.Initialise(), c.ok);
        EXPECT_EQ(remote.model(), c.expectModel);
        EXPECT_EQ(view.isTimerEnabled("BTMonTimer"), c.ok);
        EXPECT_EQ(view.textsOf("StatusBar").end()[-2], "Initialize bluetooth...");
        EXPECT_EQ(view.text("StatusBar"), "Command received"); // a reconnect round wipes nothing
        if (c.silentCommand.empty()) { EXPECT_EQ(phone.heard, dialogue); }
        EXPECT_EQ(view.text(PhoneRemote::kLabel),
                  c.ok ? c.expectModel + " is now connected." : std::string("Bluetoth unavailable!"));
        EXPECT_EQ(events, c.ok ? Lines{"BT&CONNECTED"} : Lines{});
        EXPECT_EQ(driver.port(kBtCom).open, c.ok);
        remote.Close();
    }
}

TEST_F(PhoneRemoteTest, KeyReports) {
    struct Case {
        Lines reports, events;
        int current;
    };
    const Case cases[] = {
        // Flip open is raised although its press flag is 0; reports compare in lower case.
        {{"u,1", "l,0", "l,1", "U,1"}, {"BT0&UP", "BT0&FLIP OPEN", "BT0&FLIP CLOSED", "BT0&UP"}, 0},
        {{"<,1", ">,1", "s,1", "e,1", "c,1"}, {"BT0&LEFT", "BT0&RIGHT", "BT0&YES", "BT0&NO", "BT0&C"}, 0},
        {{"5,1", "5,0", "#,1"}, {"BT0&5", "BT0&#"}, 0},
        {{"*,1", "4,1"}, {}, 4},               // a device choice, no event
        {{"*,1", "u,1"}, {}, 0},               // no digit: ignored
        {{"*,1", "*,0", "3,1"}, {"BT0&3"}, 0}, // the release ends the choice
        {{"*,1", "2,1", "*,0", "d,1"}, {"BT2&DOWN"}, 2},
        // Quick taps arrive several to a read: each counts, in order.
        {{"u,1\r\n+CKEV: u,0\r\n+CKEV: d,1"}, {"BT0&UP", "BT0&DOWN"}, 0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.reports.front() + " ... " + c.reports.back());
        Connect();
        for (const auto& r : c.reports) Key(r);
        EXPECT_EQ(events, c.events);
        EXPECT_EQ(ctx.settings().btCurrent, c.current);
        if (!c.events.empty()) { EXPECT_EQ(view.text("ExecCmd"), "done " + c.events.back()); }
        // "*" shows the current device; the choice is shown and stored.
        EXPECT_EQ(Heard("AT*EAID=1,2,\"Living\""), c.reports.front().front() == '*');
        const std::string chosen = PhoneDeviceName(ctx.settings(), c.current);
        EXPECT_EQ(Heard("AT*EAID=1,2,\"Selected device is " + chosen + "\""), c.current != 0);
        EXPECT_NE(OnDisk().find("BTCURRENT= " + std::to_string(c.current) + "\r\n"), std::string::npos);
        remote.Close();
        ctx.settings().btCurrent = 0;
        ctx.config.SetGeneralKey("BTCURRENT", "0");
    }
}

// The phone's display text goes out whole, in 100-byte writes, and keeps its line end; keys pressed while it is shown
// are not dropped with the reply; a poll or a result from outside the dialogue waits until no exchange waits for its
// reply; "*" pressed while a text is up puts our name back; a line that arrives in pieces is completed.
TEST_F(PhoneRemoteTest, DisplayReadsAndSwitchingOff) {
    Connect();
    const std::string title(150, 't');
    phone.say("\r\n+CKEV: u,1\r\n", clock.nowNs() + 10'000'000);
    remote.ShowOnPhone(title);
    EXPECT_EQ(phone.heard, Lines{"AT*EAID=1,2,\"" + title + "\""});
    remote.OnBTMonTimer();
    EXPECT_EQ(events, Lines{"BT0&UP"});

    // A reply that never comes is given up after five ticks.
    phone.heard.clear();
    phone.silent.insert("AT+FOO");
    const std::int64_t before = clock.nowMs();
    EXPECT_EQ(remote.AtExchange("AT+FOO"), "");
    EXPECT_NEAR(static_cast<double>(clock.nowMs() - before), 1000.0, 200.0);
    view.duringWait = [&] { // a poll due once the reply is in, and a text from outside
        clock.advanceMs(50);
        remote.OnBTMonTimer();
        remote.Show("Later");
    };
    EXPECT_EQ(remote.AtExchange("AT"), "\r\nOK\r\n");
    EXPECT_EQ(phone.heard, (Lines{"AT+FOO", "AT"}));
    remote.OnBTMonTimer();
    EXPECT_EQ(phone.heard, (Lines{"AT+FOO", "AT", "AT*EAID=1,2,\"Later\""}));

    phone.heard.clear();
    phone.say("\r\n+CKEV: *,1\r\n");
    phone.say("\r\n+CKEV: *,0\r\n", clock.nowNs() + 400'000'000);
    remote.ShowOnPhone("Hello");
    EXPECT_EQ(phone.heard, (Lines{"AT*EAID=1,2,\"Hello\"", "AT*EAID=1,2,\"Quenix Manager\""}));
    EXPECT_EQ(remote.shift(), "");

    phone.say("+CKEV: d");
    phone.say(",1\r\n", clock.nowNs() + 300'000'000);
    remote.OnBTMonTimer();
    EXPECT_EQ(events, (Lines{"BT0&UP", "BT0&DOWN"}));

    // "*" and "#" switch the remote off until our entry is chosen in the phone's menu.
    Key("*,1");
    phone.heard.clear();
    Key("#,1");
    EXPECT_EQ(phone.heard, (Lines{"AT*EAID=1,2,\"Quenix Remote Disabled\"", "AT*EAID=0", "AT+CMER =0,0,0,0"}));
    EXPECT_EQ(remote.shift(), "");

    phone.heard.clear();
    phone.say("\r\n*EAAI\r\n");
    remote.OnBTMonTimer();
    EXPECT_EQ(phone.heard, (Lines{"AT*EAID=1,2,\"Quenix Manager\"", "AT+CMER =3,2,0,0"}));
    Key("u,1");
    EXPECT_EQ(events, (Lines{"BT0&UP", "BT0&DOWN", "BT0&UP"}));
}

// A phone link that drops while a text goes to the display: the wait ends, the loss is told once,
// and the link comes back in the usual two rounds.
TEST_F(PhoneRemoteTest, LinkLostWhileATextIsWrittenIsToldOnceAndComesBack) {
    Connect();
    ctx.monitoring = true;
    const std::int64_t start = clock.nowMs();
    view.duringWait = [this] { driver.port(kBtCom).present = false; };
    remote.ShowOnPhone("Volume 12");
    EXPECT_LE(clock.nowMs() - start, 2000); // the reply wait ends in its five ticks
    for (int poll = 0; poll < 3; ++poll) remote.OnBTMonTimer();
    EXPECT_EQ(events, Lines{"BT&DISCONNECTED"});
    EXPECT_EQ(view.text(PhoneRemote::kLabel), "BT disconnected!");

    driver.port(kBtCom).present = true;
    remote.OnBTAutoTimer();
    remote.OnBTAutoTimer();
    EXPECT_EQ(events, (Lines{"BT&DISCONNECTED", "BT&CONNECTED"}));
    remote.Close();
}

// The link is lost when the phone refuses to take its keys back, or silently, when it goes
// out of range and the handshake lines drop. Reconnecting takes two rounds of BTAutoTimer, and
// only the round that connects raises BT&CONNECTED; there are no rounds in mode 1.
TEST_F(PhoneRemoteTest, LostLinkDisconnectsAndReconnectsInTwoRounds) {
    for (bool silent : {false, true}) {
        SCOPED_TRACE(silent);
        Connect();
        ctx.monitoring = true;
        phone.linkUp = !silent;
        phone.silent = {"AT+CMER =3,2,0,0"};
        if (!silent) phone.say("\r\n*EAAI\r\n");
        remote.OnBTMonTimer();
        EXPECT_EQ(events, Lines{"BT&DISCONNECTED"});
        EXPECT_EQ(view.text(PhoneRemote::kLabel), "BT disconnected!");

        ctx.settings().btMode = 1;
        phone.linkUp = false;
        phone.heard.clear();
        events.clear();
        remote.OnBTAutoTimer();
        EXPECT_TRUE(driver.port(kBtCom).open); // no reconnection in mode 1

        // The link is down: the first round only closes the port and fails, writing nothing.
        ctx.settings().btMode = 0;
        int trays = 0;
        remote.refreshTray = [&] { ++trays; };
        remote.OnBTAutoTimer();
        EXPECT_EQ(view.text(PhoneRemote::kLabel), "Bluetoth unavailable!");
        EXPECT_TRUE(phone.heard.empty() && events.empty() && !driver.port(kBtCom).open);

        // The phone is back: the next round opens the port afresh and connects; later ones idle.
        phone.linkUp = true;
        phone.silent.clear();
        remote.OnBTAutoTimer();
        EXPECT_EQ(events, Lines{"BT&CONNECTED"});
        remote.OnBTAutoTimer();
        EXPECT_EQ(trays, 2);
        remote.Close();
    }
    ctx.monitoring = false; // nor while monitoring is off
    remote.OnBTAutoTimer();
    EXPECT_FALSE(driver.port(kBtCom).open);
}

} // namespace
} // namespace quenix::testing
