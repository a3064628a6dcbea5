#include "ui_support.h"

#include "support/sim_serial.h"

#include <QAction>
#include <QComboBox>
#include <QLabel>
#include <QSystemTrayIcon>

#include <gtest/gtest.h>

namespace quenix::testing {
namespace {

TEST(ReceiverWiring, StartUpOpensThePortMenusSelectAndExitReleases) {
    SimClock clock;
    SimSerialDriver driver{clock};
    driver.port(1); // the shipped configuration uses COM1
    driver.port(3);
    SerialPort port{driver};
    FakeCaptureLibrary library;
    WindowRig rig(nullptr, {&port, &library});

    ASSERT_TRUE(rig.window->startUp());
    auto* com = rig.find<QComboBox>("ComList");
    ASSERT_EQ(com->count(), 2);
    EXPECT_EQ(com->currentText().toStdString(), "COM1");
    EXPECT_TRUE(driver.port(1).open);
    ASSERT_FALSE(library.handles.empty());
    const PortHandle opened = library.handles.back();
    EXPECT_EQ(opened, rig.ctx->irPortHandle);
    EXPECT_TRUE(rig.window->action("StdDcdMenu")->isChecked());
    EXPECT_TRUE(driver.port(1).rts);

    rig.window->action("IRMouseMenu")->trigger();
    EXPECT_EQ(rig.find<QLabel>("ReceiverType")->text().toStdString(), "IRMouse");
    EXPECT_TRUE(rig.window->action("IRMouseMenu")->isChecked());
    EXPECT_FALSE(rig.window->action("StdDcdMenu")->isChecked());
    EXPECT_NE(rig.dir.read("telvorin.cfg").find("ITYPE= 1\r\n"), std::string::npos);

    // Exit releases the port, saves the whole text and leaves no tray icon behind.
    ASSERT_TRUE(rig.store.SetText(rig.store.text() + "left behind"));
    rig.window->action("mnuExit")->trigger();
    EXPECT_EQ(rig.dir.read("telvorin.cfg").find("left behind"), std::string::npos);
    EXPECT_FALSE(rig.window->trayIcon()->isVisible());
    EXPECT_FALSE(driver.port(1).open);
    EXPECT_EQ(library.handles.back(), 0);
    EXPECT_EQ(rig.ctx->irPortHandle, kNoPort);
}

} // namespace
} // namespace quenix::testing
