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
#include <future>

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

TEST(LircdSocket, IrwAndIrsendTalkToTheProgram) {
    if (QStandardPaths::findExecutable("irw").isEmpty() || QStandardPaths::findExecutable("irsend").isEmpty())
        GTEST_SKIP() << "LIRC's irw and irsend are not installed";
    App();
    testing::TempDir dir;
    const std::string path = dir.str() + "/quenix/lircd";
    std::vector<std::string> sent;
    LircdServer server({[] { return RemotesOfConfiguration(testing::DefaultConfiguration()); },
                        [&](const std::string& d, const std::string& c) {
                            sent.push_back(d + "&" + c);
                            return d + " " + c + " executed.";
                        }},
                       "quenix 1.0.0");
    LircdSocket socket(server);
    std::string error;
    ASSERT_TRUE(socket.Listen(path, error)) << error;
    LircdSocket second(server);
    EXPECT_FALSE(second.Listen(path, error)); // a live socket is not taken over
    EXPECT_EQ(error, "another program serves " + path);

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
    EXPECT_THAT(irsend("SEND_ONCE Sony_TV Eject"), ::testing::HasSubstr("unknown command: \"Eject\""));
}

} // namespace
} // namespace quenix
