// The monitored-events editor and the Bluetooth settings, driven as a user drives these windows.

#include "ui_support.h"

#include "support/sim_serial.h"
#include "ui/frm_bt.h"
#include "ui/frm_monitor.h"

#include <QComboBox>
#include <QLabel>
#include <QLineEdit>

namespace quenix::testing {
namespace {

TEST(MonitorWindows, EventsAreBuiltFromTheListsAddedDeletedAndCleaned) {
    Rig rig;
    rig.store.settings().btEna = true; // the phone is an input device
    rig.store.settings().btCurrent = 12;
    Modals user({[&](QDialog& d) {
        // Each choice refills the next list.
        ClickRow(d, "IRDev", "Sony TV");
        ClickRow(d, "IRCmd", "Power");
        ClickRow(d, "OutDev", "Mouse");
        ClickRow(d, "OutCmd", "LEFT CLICK");
        rig.dialogs.answers = {MsgAnswer::Yes};
        Click(Find(d, "AdMonButton"));

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
        Click(Find(d, "AdMonButton"));

        ClickRow(d, "MonEvent", "Sony TV&Power,Mouse&LEFT CLICK");
        rig.dialogs.answers = {MsgAnswer::Yes};
        Click(Find(d, "Delete"));
        Click(Find(d, "CleanButton"));
        EXPECT_EQ(rig.dialogs.messages.back().text, "Found no orphaned events to delete.");
        Click(Find(d, "Command2"));
        EXPECT_FALSE(d.isVisible());
    }});
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
    Modals user({[&](QDialog& d) {
        EXPECT_FALSE(Find(d, "BtComListbox")->isEnabled());
        Click(Find(d, "BTCheckbox"));
        ClickRow(d, "BtComListbox", "COM4");
        Click(Find(d, "BTModeOption1"));

        Find<QComboBox>(d, "BTDevNrCombo")->setCurrentIndex(3);
        auto* name = Find<QLineEdit>(d, "BTDevName");
        EXPECT_EQ(name->text(), "Device 3");
        name->setText("Garage");
        Click(Find(d, "ButtonChange")); // reaches the file below
        Click(Find(d, "OKButton"));
        EXPECT_FALSE(d.isVisible());
    }});
    ShowBluetoothForm(rig.ctx, port, nullptr, [&] { ++phoneChanges; });
    const std::string disk = rig.OnDisk();
    for (const char* line : {"BTENA= 1\r\n", "BTCOM= 4\r\n", "BTMODE= 1\r\n", "BT3= Garage\r\n"})
        EXPECT_NE(disk.find(line), std::string::npos) << line;
    EXPECT_EQ(phoneChanges, 2); // enabled, then moved to COM4, while monitoring ran
}

} // namespace
} // namespace quenix::testing
