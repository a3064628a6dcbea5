// The socket with LIRC's own clients: irw sees recognised keys, irsend sends and lists.
#include "ui/lircd_socket.h"

#include "support/fakes.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QProcess>
#include <QStandardPaths>
#include <QThread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <future>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace quenix {
namespace {

QCoreApplication& App() { return *QCoreApplication::instance(); }

// Runs the event loop until done() or five seconds.
template <class Done>
bool Spin(Done done) {
    QElapsedTimer t;
    t.start();
    while (!done() && t.elapsed() < 5000) {
        App().processEvents(QEventLoop::AllEvents, 20);
        QThread::msleep(2);
    }
    return done();
}

// A client connected to path, or a socket bound there and closed, as a program that ended leaves it.
int UnixSocket(const std::string& path, bool stale = false) {
    sockaddr_un a{AF_UNIX, {}};
    path.copy(a.sun_path, sizeof a.sun_path - 1);
    const int fd = ::socket(AF_UNIX, SOCK_STREAM, 0);
    if (stale) return ::bind(fd, reinterpret_cast<sockaddr*>(&a), sizeof a), ::close(fd);
    return ::connect(fd, reinterpret_cast<sockaddr*>(&a), sizeof a), fd;
}

TEST(LircdSocket, IrwAndIrsendTalkToTheProgram) {
    if (QStandardPaths::findExecutable("irw").isEmpty() || QStandardPaths::findExecutable("irsend").isEmpty())
        GTEST_SKIP() << "LIRC's irw and irsend are not installed";
    App();
    testing::TempDir dir;
    const std::string path = dir.str() + "/quenix/lircd";
    std::vector<std::string> sent;
    LircdServer server({[] { return RemotesOfConfiguration(testing::DefaultConfiguration()); },
                        [&](const std::string& d, const std::string& c) -> LircdServer::SendResult {
                            sent.push_back(d + "&" + c);
                            QThread::msleep(10); // a transmitter takes its time
                            if (c == "Mute") return {false, "Error sending infrared command! lirc0 is receive-only."};
                            return {true, d + " " + c + " executed."};
                        }},
                       "quenix 1.0.0");
    LircdSocket socket(server);
    std::string error;
    ASSERT_TRUE(socket.Listen({path}, error)) << error;
    LircdSocket second(server);
    EXPECT_FALSE(second.Listen({path}, error)); // a live socket is not taken over
    EXPECT_EQ(error, "another program serves " + path);
    {
        // A program that listens but never accepts, its queue full: refused at once, not waited on.
        const std::string held = path + ".held";
        sockaddr_un a{};
        a.sun_family = AF_UNIX;
        std::strncpy(a.sun_path, held.c_str(), sizeof a.sun_path - 1);
        auto* sa = reinterpret_cast<sockaddr*>(&a);
        std::vector<int> fds{::socket(AF_UNIX, SOCK_STREAM, 0)};
        ASSERT_EQ(::bind(fds[0], sa, sizeof a) | ::listen(fds[0], 0), 0);
        for (int i = 0; i < 8 && ::connect(fds.emplace_back(::socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0)), sa, sizeof a) == 0;)
            ++i;
        QElapsedTimer t;
        t.start();
        EXPECT_FALSE(second.Listen({held}, error));
        EXPECT_EQ(error, "another program serves " + held);
        EXPECT_LT(t.elapsed(), 1000);
        for (int fd : fds) ::close(fd);
    }

    QProcess irw;
    irw.start("irw", {QString::fromStdString(path)});
    ASSERT_TRUE(Spin([&] { return server.Clients().size() == 1; }));
    server.KeyRecognised("Sony TV", "Vol+", 0); // what the monitoring hook does for a key
    socket.Flush();
    ASSERT_TRUE(Spin([&] { return irw.canReadLine(); }));
    EXPECT_EQ(irw.readLine().toStdString(), "0000000000000490 00 Vol+ Sony_TV\n");
    irw.kill();
    irw.waitForFinished();

    // irsend runs beside the event loop, which must keep serving it; a hung one is killed.
    auto irsend = [&](const std::string& args) {
        auto run = std::async(std::launch::async, [cmd = "timeout 10 irsend -d " + path + " " + args + " 2>&1; echo $?"] {
            std::string out;
            if (FILE* f = popen(cmd.c_str(), "r")) {
                char buf[512];
                for (std::size_t n; (n = fread(buf, 1, sizeof buf, f)) > 0;) out.append(buf, n);
                pclose(f);
            }
            return out;
        });
        EXPECT_TRUE(Spin([&] { return run.wait_for(std::chrono::seconds(0)) == std::future_status::ready; }));
        return run.get();
    };
    EXPECT_EQ(irsend("SEND_ONCE Sony_TV Power"), "Sony TV Power executed.\n\n0\n");
    EXPECT_EQ(sent, std::vector<std::string>{"Sony TV&Power"});
    EXPECT_EQ(irsend("LIST '' ''"), "Set-top_Box\nSony_TV\nPhilips_Amp\n\n0\n");
    EXPECT_THAT(irsend("SEND_ONCE Sony_TV Mute"), ::testing::MatchesRegex("Error sending .* receive-only.\n.*\n1\n"));

    // A client floods 100 sends and shuts its side, as "echo ... | socat" does; another's LIST is
    // answered between two of the sends, not after all, and the flood is answered before its end.
    sent.clear();
    const int flood = UnixSocket(path);
    for (int i = 0; i < 10; ++i) ASSERT_EQ(::write(flood, "SEND_ONCE Sony_TV Power 10\n", 27), 27);
    ::shutdown(flood, SHUT_WR);
    ASSERT_TRUE(Spin([&] { return !sent.empty(); }));
    EXPECT_EQ(irsend("LIST '' ''"), "Set-top_Box\nSony_TV\nPhilips_Amp\n\n0\n");
    EXPECT_LT(sent.size(), 50u);
    char buf[1024]; // every answer (76 bytes), then the end
    EXPECT_TRUE(Spin([&] { return ::recv(flood, buf, sizeof buf, MSG_PEEK | MSG_DONTWAIT) == 10 * 76; }));
    EXPECT_TRUE(Spin([&] { return ::recv(flood, buf, sizeof buf, MSG_DONTWAIT) == 0; }));
    ::close(flood);
}

// Whoever can write into the socket's folder can replace the socket: such a folder is refused, as
// is anything at the path that is not a socket. A stale socket is replaced; a given one is open to all.
TEST(LircdSocket, RefusesFoldersOthersCanWriteAndKeepsWhatIsNotASocket) {
    LircdServer server({}, "quenix 1.0.0");
    // Given or the program's own; the folder's mode; given away; what stands at the path; what is said.
    using Row = std::tuple<bool, mode_t, bool, std::string, std::string>;
    const Row rows[] = {
        {false, 0777, false, "", ", mode 0777): it must be your own folder with mode 0700; remove it and start again"},
        {false, 0700, true, "", " is not private (owner 65534, mode 0700)"},
        {false, 0700, false, "link", "-link is a link"},
        {false, 0700, false, "file", "/lircd is not a socket: it is left as it is"},
        {false, 0700, false, "socket", ""},
        {true, 0777, false, "", ", mode 0777): it must be yours or root's, and not writable by others without"},
        {true, 0755, true, "", " is open to other users (owner 65534, mode 0755)"},
        {true, 01777, false, "", ""},
    };
    testing::TempDir tmp;
    int n = 0;
    for (const auto& [given, mode, foreign, at, said] : rows) {
        SCOPED_TRACE(said);
        if (foreign && ::geteuid() != 0) continue; // only root can give a folder away
        const std::string real = tmp.str() + "/" + std::to_string(++n), dir = at == "link" ? real + "-link" : real;
        ::mkdir(real.c_str(), 0700);
        ::chmod(real.c_str(), mode);
        if (at == "link") ::symlink(real.c_str(), dir.c_str());
        if (at == "file") tmp.write(std::to_string(n) + "/lircd", "keep me");
        if (at == "socket") UnixSocket(dir + "/lircd", true);
        if (foreign) ::chown(real.c_str(), 65534, 65534);
        std::string error;
        LircdSocket socket(server);
        EXPECT_EQ(socket.Listen({dir + "/lircd", given}, error), said.empty());
        EXPECT_THAT(error, ::testing::HasSubstr(said));
        struct stat st {};
        ::stat((dir + "/lircd").c_str(), &st);
        EXPECT_EQ(at == "file" ? tmp.read(std::to_string(n) + "/lircd") : "keep me", "keep me");
        EXPECT_EQ((st.st_mode & 0777) == 0666, given && said.empty()); // as lircd's, for other users' clients
    }
}

} // namespace
} // namespace quenix
