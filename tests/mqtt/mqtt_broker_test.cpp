// The program's window against Debian's broker on a free local port, checked with its own
// clients: keys out, sends in, restart of the broker, a refused account, the last will.
#include "actions/x10.h"
#include "ir/capture_script.h"
#include "mqtt/mosquitto/mosquitto_link.h"
#include "support/cm11_sim.h"
#include "support/sim_serial.h"
#include "ui/ui_support.h"

#include <QAction>
#include <QLabel>
#include <QProcess>
#include <QStandardPaths>

#include <gmock/gmock.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <csignal>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

// A queued call from the broker's thread can still be in Qt's post queue when the process ends;
// its event is allocated inside QtCore, which has no frame pointers to show who asked for it.
extern "C" const char* __lsan_default_suppressions() { return "leak:libQt6Core.so\n"; }

namespace quenix::testing {
namespace {

constexpr const char* kBrokerProgram = "/usr/sbin/mosquitto";

// Binds port 0 (the system picks a free one) or connects to port; the port, or -1.
int LocalPort(int port) {
    const int fd = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in a{};
    a.sin_family = AF_INET;
    a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    a.sin_port = htons(static_cast<std::uint16_t>(port));
    socklen_t len = sizeof a;
    auto* sa = reinterpret_cast<sockaddr*>(&a);
    const bool ok = port ? connect(fd, sa, len) == 0 : bind(fd, sa, len) == 0 && getsockname(fd, sa, &len) == 0;
    close(fd);
    return ok ? ntohs(a.sin_port) : -1;
}

struct Broker {
    explicit Broker(bool anonymous = true) {
        port = LocalPort(0);
        // Started by root, the broker would turn into the user "mosquitto" and could not save its sessions.
        dir.write("mosquitto.conf", "listener " + std::to_string(port) + " 127.0.0.1\nallow_anonymous " +
                                        (anonymous ? "true" : "false") + "\npersistence true\npersistence_location " +
                                        dir.str() + "/\n" + (geteuid() == 0 ? "user root\n" : ""));
        Start();
    }
    ~Broker() { Stop(); }
    void Start() {
        proc.start(kBrokerProgram, {"-c", QString::fromStdString(dir.str() + "/mosquitto.conf")});
        proc.waitForStarted();
        for (int i = 0; i < 100 && LocalPort(port) < 0; ++i) QTest::qWait(20); // until it listens
    }
    void Stop() { // SIGTERM: the broker saves its sessions
        proc.terminate();
        proc.waitForFinished(3000);
    }
    std::string url() const { return "mqtt://127.0.0.1:" + std::to_string(port); }

    TempDir dir;
    int port = 0;
    QProcess proc;
};

// mosquitto_sub for count messages; started, subscribed and left running while the test goes on.
struct Sub {
    Sub(const Broker& b, const char* topic, int count, QStringList extra = {}) {
        proc.start("mosquitto_sub", QStringList{"-p", QString::number(b.port), "-h", "127.0.0.1", "-t", topic, "-q",
                                                "1", "-C", QString::number(count), "-W", "8"} +
                                        extra);
        proc.waitForStarted();
        QTest::qWait(300);
    }
    // The lines it printed, while the window's events keep running.
    std::vector<std::string> lines() {
        for (int i = 0; i < 500 && proc.state() != QProcess::NotRunning; ++i) QTest::qWait(20);
        std::vector<std::string> out;
        for (const QByteArray& l : proc.readAllStandardOutput().split('\n'))
            if (!l.isEmpty()) out.push_back(l.toStdString());
        return out;
    }
    QProcess proc;
};

void Pub(const Broker& b, const char* topic, const QStringList& message) {
    QProcess p;
    p.start("mosquitto_pub",
            QStringList{"-p", QString::number(b.port), "-h", "127.0.0.1", "-t", topic, "-q", "1"} + message);
    while (p.state() != QProcess::NotRunning) QTest::qWait(10);
}

// The CM11 simulator behind a port of the simulated driver; the window's bytes cross its pty.
class Cm11Peer final : public SimPeer {
public:
    ~Cm11Peer() override { close(fd_); }
    std::uint32_t lines(const SimPort&, std::int64_t) override { return kModemCtsOn | kModemDsrOn; }
    void onWrite(SimPort&, std::string_view b, std::int64_t) override { (void)!write(fd_, b.data(), b.size()); }
    void poll(SimPort& port, std::int64_t) override {
        sim.service(0);
        char buf[64];
        for (ssize_t n; (n = read(fd_, buf, sizeof buf)) > 0;) port.rx.append(buf, static_cast<std::size_t>(n));
    }
    Cm11Sim sim;

private:
    int fd_ = open(sim.slavePath().c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK);
};

class NoSound final : public SoundPlayer {
    bool playWav(const std::string&) override { return true; }
    bool playMp3(const std::string&) override { return true; }
};

struct BrokerWindow {
    explicit BrokerWindow(const Broker& b, const char* user = nullptr) {
        driver.port(1).inputs = 0; // the standard receiver reads busy: a key is on the air
        driver.port(3).peer = &cm11;
        setenv("QUENIX_MQTT_URL", b.url().c_str(), 1);
        setenv("QUENIX_MQTT_TOPIC", "test/den", 1);
        if (user) rig.dir.write("mqtt.cfg", std::string("USER=") + user + "\nPASSWORD=secret\n");
        rig.window = nullptr;
        rig.window = std::make_unique<FrmMain>(*rig.ctx, MainWindowIo{&port, &library, &sound});
        unsetenv("QUENIX_MQTT_URL");
        unsetenv("QUENIX_MQTT_TOPIC");
        std::string cfg = DefaultConfiguration();
        const std::size_t from = cfg.find("[Application]\r\n") + 15, to = cfg.find("[Monitoring]");
        cfg.replace(from, to - from, "touch " + rig.dir.str() + "/ran,Touch\r\n");
        rig.dir.write("telvorin.cfg", cfg);
        EXPECT_TRUE(rig.window->startUp());
        rig.store.settings().x10Com = 3;
        rig.store.settings().x10Ena = true;
    }
    bool WaitFor(const std::string& statusStart) {
        for (int i = 0; i < 400; ++i, QTest::qWait(20))
            if (status().rfind(statusStart, 0) == 0) return true;
        return false;
    }
    std::string status() { return rig.find<QLabel>("MqttNote")->text().toStdString(); }
    void Press(std::initializer_list<const char*> sonyCodes) {
        for (const char* c : sonyCodes) library.captures.push_back(testing::Press(kProtoSony, c));
        if (!rig.ctx->monitoring) rig.window->action("MonitoringStartMenu")->trigger();
        for (int i = 0; i < 200 && !library.captures.empty(); ++i) QTest::qWait(10);
    }

    SimClock clock;
    SimSerialDriver driver{clock};
    SerialPort port{driver};
    FakeCaptureLibrary library;
    NoSound sound;
    Cm11Peer cm11;
    WindowRig rig;
};

bool HaveBroker() {
    return QFile::exists(kBrokerProgram) && !QStandardPaths::findExecutable("mosquitto_sub").isEmpty();
}

TEST(MqttBroker, KeysOutSendsInAndKeysKeptOverABrokerRestart) {
    if (!HaveBroker()) GTEST_SKIP() << "Debian's mosquitto and mosquitto-clients are not installed";
    Broker broker;
    BrokerWindow w(broker);
    ASSERT_TRUE(w.WaitFor("MQTT: connected to 127.0.0.1:")) << w.status();

    Sub retained(broker, "test/den/status", 1);
    EXPECT_EQ(retained.lines(), std::vector<std::string>{"online"});
    Sub trigger(broker, "homeassistant/device_automation/test_2fden/Sony_20TV_26Power/config", 1);
    EXPECT_THAT(trigger.lines().at(0), ::testing::HasSubstr(R"("subtype":"Sony TV Power","payload":"Sony TV&Power")"));

    // A persistent session, so that the keys published while this subscriber is away wait for it.
    const QStringList session = {"-c", "-i", "quenix-test-sub"};
    Sub keys(broker, "test/den/key", 1, session);
    w.Press({"G101010010000"});
    EXPECT_EQ(keys.lines(),
              std::vector<std::string>{R"({"device":"Sony TV","command":"Power","protocol":"SONY",)"
                                       R"("code":"101010010000","scancode":"0x010015","repeat":0,"source":"COM1"})"});

    Sub results(broker, "test/den/send/result", 6);
    Pub(broker, "test/den/send", {"-m", R"({"device":"application","command":"Touch"})"});
    Pub(broker, "test/den/send", {"-m", R"({"device":"X10-Fan","command":"Off"})"});
    Pub(broker, "test/den/send", {"-m", R"({"protocol":"SONY","code":"101010010000","id":2})"});
    Pub(broker, "test/den/send", {"-m", R"({"device":"Nobody","command":"Power"})"});
    Pub(broker, "test/den/send", {"-m", "not json"});
    w.rig.dir.write("big", std::string(10 * 1024 * 1024, 'x'));
    Pub(broker, "test/den/send", {"-f", QString::fromStdString(w.rig.dir.str() + "/big")});
    EXPECT_THAT(results.lines(), ::testing::ElementsAre(R"({"ok":true,"text":"Touch executed."})",
                                                        R"({"ok":true,"text":"X10-Fan Off."})",
                                                        R"({"ok":true,"text":"SONY 101010010000 executed.","id":2})",
                                                        R"({"ok":false,"text":"No code to be send!"})",
                                                        R"({"ok":false,"text":"The request is not JSON."})",
                                                        R"({"ok":false,"text":"The request is larger than 64 KiB."})"));
    EXPECT_TRUE(std::filesystem::exists(w.rig.dir.file("ran")));
    using Ev = Cm11Sim::Event;
    EXPECT_EQ(w.cm11.sim.events, (std::vector<Ev>{{Ev::Address, 6, 14, 0}, {Ev::Function, 6, kX10Off, 0}}));
    EXPECT_EQ(w.library.sends.size(), 1u);

    broker.Stop();
    ASSERT_TRUE(w.WaitFor("MQTT: cannot reach the broker")) << w.status();
    w.Press({"G010010010000", "G110010010000"}); // Vol+ and Vol- while it is away
    broker.Start();
    ASSERT_TRUE(w.WaitFor("MQTT: connected to 127.0.0.1:")) << w.status();
    Sub later(broker, "test/den/key", 2, session);
    const auto got = later.lines();
    ASSERT_EQ(got.size(), 2u);
    EXPECT_THAT(got[0], ::testing::HasSubstr(R"("command":"Vol+")"));
    EXPECT_THAT(got[1], ::testing::HasSubstr(R"("command":"Vol-")"));
}

TEST(MqttBroker, ARefusedAccountIsSaidOnceAndTheWindowGoesOn) {
    if (!HaveBroker()) GTEST_SKIP() << "Debian's mosquitto and mosquitto-clients are not installed";
    Broker broker(false);
    BrokerWindow w(broker, "someone");
    ASSERT_TRUE(w.WaitFor("MQTT: the broker at 127.0.0.1:")) << w.status();
    EXPECT_THAT(w.status(), ::testing::HasSubstr("refused the connection (Connection Refused: not authorised.)"));
    EXPECT_THAT(w.status(), ::testing::Not(::testing::HasSubstr("secret")));
    w.Press({"G101010010000"}); // monitoring runs on
    EXPECT_EQ(w.rig.window->view().text("RecCmd"), "Sony TV&Power");
}

TEST(MqttBroker, TheBrokerSaysOfflineForALinkThatDied) {
    if (!HaveBroker()) GTEST_SKIP() << "Debian's mosquitto and mosquitto-clients are not installed";
    Broker broker;
    const pid_t child = fork();
    if (child == 0) {
        MosquittoLink link([](std::function<void()>) {});
        MqttLink::Options o;
        o.broker = {"127.0.0.1", broker.port, false};
        o.clientId = "quenix-test-will";
        o.will = {"test/will/status", "offline", 1, true};
        link.Start(o, {});
        pause();
        _exit(0);
    }
    QTest::qWait(700);
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    Sub will(broker, "test/will/status", 1);
    EXPECT_EQ(will.lines(), std::vector<std::string>{"offline"});
}

} // namespace
} // namespace quenix::testing
