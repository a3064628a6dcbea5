// The monitored-events editor and the Bluetooth settings as windows: their lists, boxes and
// buttons driven the way a user drives them, on the shipped configuration.

#include "support/rig.h"
#include "support/sim_serial.h"
#include "ui/frm_bt.h"
#include "ui/frm_monitor.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDialog>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QRadioButton>
#include <QTest>
#include <QTimer>

#include <gtest/gtest.h>

#include <functional>

namespace quenix::testing {
namespace {

// Runs `drive` on the modal window once it shows, then closes it if it is still open.
void WhileOpen(const std::function<void(QDialog&)>& drive) {
    QTimer::singleShot(0, [drive] {
        auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
        ASSERT_NE(dialog, nullptr);
        drive(*dialog);
        if (dialog->isVisible()) dialog->reject();
    });
}

template <class W>
W* Find(QDialog& d, const char* name) {
    auto* w = d.findChild<W*>(name);
    EXPECT_NE(w, nullptr) << name;
    return w;
}

void ClickRow(QDialog& d, const char* list, const char* text) {
    auto* lw = Find<QListWidget>(d, list);
    const auto items = lw->findItems(text, Qt::MatchExactly);
    ASSERT_EQ(items.size(), 1) << list << ": " << text;
    lw->scrollToItem(items[0]);
    QTest::mouseClick(lw->viewport(), Qt::LeftButton, {}, lw->visualItemRect(items[0]).center());
}

void Click(QDialog& d, const char* button) { QTest::mouseClick(Find<QAbstractButton>(d, button), Qt::LeftButton); }

QStringList Rows(QDialog& d, const char* list) {
    QStringList rows;
    auto* lw = Find<QListWidget>(d, list);
    for (int i = 0; i < lw->count(); ++i) rows << lw->item(i)->text();
    return rows;
}

TEST(MonitorWindows, EventsAreBuiltFromTheListsAddedDeletedAndCleaned) {
    Rig rig;
    rig.store.settings().btEna = true; // the phone is an input device
    rig.store.settings().btCurrent = 12;
    WhileOpen([&](QDialog& d) {
        // Each choice refills the next list.
        ClickRow(d, "IRDev", "Sony TV");
        ClickRow(d, "IRCmd", "Power");
        ClickRow(d, "OutDev", "Mouse");
        EXPECT_TRUE(Rows(d, "OutCmd").contains("LEFT CLICK"));
        ClickRow(d, "OutCmd", "LEFT CLICK");
        rig.dialogs.answers = {MsgAnswer::Yes};
        Click(d, "AdMonButton");
        EXPECT_TRUE(Rows(d, "MonEvent").contains("Sony TV&Power,Mouse&LEFT CLICK"));

        // A phone key takes the device chosen beside it; the link and flip events belong to
        // the phone itself.
        ClickRow(d, "IRDev", "BT");
        auto* index = Find<QComboBox>(d, "BTDevListCombo");
        auto* label = Find<QLabel>(d, "BtDevLabel");
        EXPECT_EQ(index->currentIndex(), 0); // BTCURRENT 12 is no phone device
        ClickRow(d, "IRCmd", "FLIP OPEN");
        EXPECT_TRUE(!index->isVisibleTo(&d) && label->text() == "BT");
        ClickRow(d, "IRCmd", "UP");
        index->setCurrentIndex(3);
        EXPECT_TRUE(index->isVisibleTo(&d) && label->text() == "BT3");
        rig.dialogs.answers = {MsgAnswer::Yes};
        Click(d, "AdMonButton");
        EXPECT_TRUE(Rows(d, "MonEvent").contains("BT3&UP,Mouse&LEFT CLICK"));

        ClickRow(d, "MonEvent", "Sony TV&Power,Mouse&LEFT CLICK");
        rig.dialogs.answers = {MsgAnswer::Yes};
        Click(d, "Delete");
        EXPECT_FALSE(Rows(d, "MonEvent").contains("Sony TV&Power,Mouse&LEFT CLICK"));
        Click(d, "CleanButton");
        EXPECT_EQ(rig.dialogs.messages.back().text, "Found no orphaned events to delete.");
        Click(d, "Command2");
        EXPECT_FALSE(d.isVisible());
    });
    ShowMonitorForm(rig.ctx, nullptr);
    const std::string disk = rig.OnDisk();
    EXPECT_NE(disk.find("BT3&UP,Mouse&LEFT CLICK\r\n[End]"), std::string::npos);
    EXPECT_EQ(disk.find("Sony TV&Power,Mouse&LEFT CLICK"), std::string::npos);
}

TEST(MonitorWindows, BluetoothSettingsReachTheFileAndTheRunningPhone) {
    BasicRig<SimClock> rig;
    SimSerialDriver driver{rig.clock};
    for (int n : {1, 4, 6}) driver.port(n);
    SerialPort port{driver};
    rig.ctx.monitoring = true;
    int phoneChanges = 0;
    WhileOpen([&](QDialog& d) {
        auto* enable = Find<QCheckBox>(d, "BTCheckbox");
        EXPECT_FALSE(enable->isChecked());
        EXPECT_FALSE(Find<QWidget>(d, "BtComListbox")->isEnabled());
        Click(d, "BTCheckbox");
        EXPECT_TRUE(Find<QWidget>(d, "BtComListbox")->isEnabled());
        ClickRow(d, "BtComListbox", "COM4");
        Click(d, "BTModeOption1");

        // Never-named devices show the name the phone shows for them.
        Find<QComboBox>(d, "BTDevNrCombo")->setCurrentIndex(3);
        auto* name = Find<QLineEdit>(d, "BTDevName");
        EXPECT_EQ(name->text(), "Device 3");
        name->setText("Garage");
        Click(d, "ButtonChange");
        EXPECT_EQ(rig.dialogs.messages.back().text, "Current device name was changed.");
        Click(d, "OKButton");
        EXPECT_FALSE(d.isVisible());
    });
    ShowBluetoothForm(rig.ctx, port, nullptr, [&] { ++phoneChanges; });
    const std::string disk = rig.OnDisk();
    for (const char* line : {"BTENA= 1\r\n", "BTCOM= 4\r\n", "BTMODE= 1\r\n", "BT3= Garage\r\n"})
        EXPECT_NE(disk.find(line), std::string::npos) << line;
    EXPECT_EQ(phoneChanges, 2); // enabled, then moved to COM4, while monitoring ran
}

} // namespace
} // namespace quenix::testing
