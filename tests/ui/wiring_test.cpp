// The window on a simulated serial port and capture library: what a user does from start to exit.

#include "ui_support.h"

#include "ir/capture_script.h"
#include "support/sim_serial.h"
#include "ui/signal_widget.h"

#include <QAction>
#include <QComboBox>
#include <QLabel>
#include <QPushButton>
#include <QScrollBar>
#include <QStatusBar>
#include <QSystemTrayIcon>

namespace quenix::testing {
namespace {

std::string Status(const WindowRig& rig) { return rig.find<QStatusBar>("StatusBar")->currentMessage().toStdString(); }

bool HasTrace(const QImage& image) {
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            if (image.pixelColor(x, y) == QColor(0, 255, 255)) return true;
    return false;
}

TEST(Wiring, StartLearnSendSwitchAndExit) {
    SimClock clock;
    SimSerialDriver driver{clock};
    for (int n : {1, 3}) driver.port(n); // the shipped configuration uses COM1
    SerialPort port{driver};
    FakeCaptureLibrary library;
    WindowRig rig(nullptr, {&port, &library});
    ASSERT_TRUE(rig.window->startUp());
    rig.window->show();
    auto* com = rig.find<QComboBox>("ComList");
    ASSERT_EQ(com->count(), 2);
    EXPECT_EQ(com->currentText().toStdString(), "COM1");
    ASSERT_FALSE(library.handles.empty());
    EXPECT_EQ(library.handles.back(), rig.ctx->irPortHandle);
    EXPECT_TRUE(rig.window->action("StdDcdMenu")->isChecked());

    ClickRow(*rig.window, "Protocol", "Sony TV");
    const std::string code = "G100000010000";
    library.captures = {Press(kProtoSony, code), Press(kProtoSony, code)};
    rig.find<QPushButton>("RecButton")->click();
    EXPECT_EQ(Status(rig), "A valid SONY type command has been received.");
    auto* signal = rig.find<SignalWidget>("Signal");
    ASSERT_NE(signal->drawing(), nullptr);
    EXPECT_TRUE(HasTrace(signal->grab().toImage()));
    auto* bar = rig.find<QScrollBar>("HScroll1");
    rig.find<QPushButton>("GReset")->click();
    EXPECT_EQ(bar->value(), 15);
    // The bar runs left to right: a click near its right end shows later samples.
    QTest::mouseClick(bar, Qt::LeftButton, {}, QPoint(bar->width() - 4, bar->height() / 2));
    EXPECT_LT(bar->value(), 15);

    rig.find<QPushButton>("SaveCmdButton")->click();
    EXPECT_EQ(Status(rig), "The command is not yet validated! Pres again Record button to validate.");
    rig.find<QPushButton>("RecButton")->click();
    rig.fakeDialogs.inputs = {"Sleep"};
    rig.find<QPushButton>("SaveCmdButton")->click();
    EXPECT_NE(rig.dir.read("telvorin.cfg").find(code + ",Sleep\r\n"), std::string::npos);
    auto* commands = rig.find<QListWidget>("SendCmd");
    ASSERT_NE(commands->currentItem(), nullptr);
    EXPECT_EQ(commands->currentItem()->text().toStdString(), "Sleep");

    // What is sent is drawn from its first sample on.
    rig.find<QPushButton>("SendButton")->click();
    ASSERT_FALSE(library.sends.empty());
    EXPECT_EQ(bar->value(), 0);
    EXPECT_DOUBLE_EQ(signal->drawing()->dots[0].x, 8);

    rig.window->action("IRMouseMenu")->trigger();
    EXPECT_EQ(rig.find<QLabel>("ReceiverType")->text().toStdString(), "IRMouse");
    EXPECT_NE(rig.dir.read("telvorin.cfg").find("ITYPE= 1\r\n"), std::string::npos);

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
