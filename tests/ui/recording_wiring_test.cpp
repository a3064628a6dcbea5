#include "ui_support.h"

#include "ir/capture_script.h"
#include "support/sim_serial.h"
#include "ui/signal_widget.h"

#include <QPushButton>
#include <QScrollBar>
#include <QStatusBar>

#include <gtest/gtest.h>

namespace quenix::testing {
namespace {

std::string Status(const WindowRig& rig) {
    return rig.find<QStatusBar>("StatusBar")->currentMessage().toStdString();
}

bool HasTrace(const QImage& image) {
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            if (image.pixelColor(x, y) == QColor(0, 255, 255)) return true;
    return false;
}

// Learning a key through the window: record twice, draw, store, and find it in the list.
TEST(RecordingWiring, RecordValidateAndStore) {
    SimClock clock;
    SimSerialDriver driver{clock};
    driver.port(1);
    SerialPort port{driver};
    FakeCaptureLibrary library;
    WindowRig rig(nullptr, {&port, &library});
    ASSERT_TRUE(rig.window->startUp());
    rig.window->show();
    rig.clickRow("Protocol", "Sony TV");

    const std::string code = "G100000010000";
    library.captures = {Press(kProtoSony, code), Press(kProtoSony, code)};
    rig.find<QPushButton>("RecButton")->click();
    EXPECT_EQ(Status(rig), "A valid SONY type command has been received.");

    auto* signal = rig.find<SignalWidget>("Signal");
    ASSERT_NE(signal->drawing(), nullptr);
    EXPECT_TRUE(HasTrace(signal->grab().toImage()));
    rig.find<QScrollBar>("HScroll1")->setValue(-100);
    EXPECT_DOUBLE_EQ(signal->drawing()->dots[0].x, 8 - 7 - 100 + 7);
    rig.find<QPushButton>("GReset")->click();
    auto* bar = rig.find<QScrollBar>("HScroll1");
    EXPECT_EQ(bar->value(), 15);
    // The bar reaches as far left as puts the last byte at the left edge.
    EXPECT_EQ(bar->minimum(), 16 - static_cast<int>(signal->drawing()->samples.size()));

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
}

} // namespace
} // namespace quenix::testing
