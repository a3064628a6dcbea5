// The program's window on a simulated port: a key recognised while monitoring reaches irw.
#include "ir/capture_script.h"
#include "support/sim_serial.h"
#include "ui/ui_support.h"

#include <QAction>
#include <QProcess>
#include <QStandardPaths>

#include <cstdlib>

namespace quenix::testing {
namespace {

TEST(LircdWindow, AKeyRecognisedWhileMonitoringReachesIrw) {
    if (QStandardPaths::findExecutable("irw").isEmpty()) GTEST_SKIP() << "LIRC's irw is not installed";
    TempDir sockets;
    const std::string path = sockets.str() + "/lircd";
    setenv("QUENIX_LIRCD_SOCKET", path.c_str(), 1);
    SimClock clock;
    SimSerialDriver driver{clock};
    driver.port(1).inputs = 0; // the standard receiver reads busy: DCD off while a key is on the air
    SerialPort port{driver};
    FakeCaptureLibrary library;
    WindowRig rig(nullptr, {&port, &library});
    unsetenv("QUENIX_LIRCD_SOCKET");
    ASSERT_TRUE(rig.window->startUp());

    QProcess irw;
    irw.start("irw", {QString::fromStdString(path)});
    ASSERT_TRUE(irw.waitForStarted());
    QTest::qWait(300);                                       // irw connects
    library.captures = {Press(kProtoSony, "G101010010000")}; // Sony TV, Power
    rig.window->action("MonitoringStartMenu")->trigger();
    for (int i = 0; i < 250 && !irw.canReadLine(); ++i) QTest::qWait(20);
    ASSERT_TRUE(irw.canReadLine());
    EXPECT_EQ(irw.readLine().toStdString(), "0000000000000a90 00 Power Sony_TV\n");
    irw.kill();
    irw.waitForFinished();
}

// A second instance on the same socket path says so where start-up's own texts leave it.
TEST(LircdWindow, ASecondWindowOnTheSameSocketSaysSoPastStartUp) {
    TempDir sockets;
    setenv("QUENIX_LIRCD_SOCKET", (sockets.str() + "/lircd").c_str(), 1);
    SimClock clock;
    SimSerialDriver driver{clock};
    SerialPort port{driver};
    FakeCaptureLibrary library;
    WindowRig first(nullptr, {&port, &library}), second(nullptr, {&port, &library});
    unsetenv("QUENIX_LIRCD_SOCKET");
    ASSERT_TRUE(second.window->startUp());
    EXPECT_EQ(second.window->view().text("StatusBar"), "Application started successfully.");
    EXPECT_EQ(second.window->view().text("StatusNote").rfind("lircd socket: ", 0), 0u);
}

} // namespace
} // namespace quenix::testing
