#include "monitor/bt_config.h"

#include "support/rig.h"
#include "support/sim_serial.h"

#include <gtest/gtest.h>

namespace quenix {
namespace {

using testing::SimClock;
using testing::SimSerialDriver;

class BtConfigTest : public ::testing::Test, protected BasicRig<SimClock> {
protected:
    BtConfigTest() : port(driver) {
        for (int n : {1, 3, 7, 8}) driver.port(n); // COM1 is the infrared receiver's
        ctx.settings().bt = {"Living", "Kitchen", "Bedroom", "Garage", "Attic", "Porch", "", "", "", ""};
        ctx.settings().btCom = 3;
        ctx.settings().btCurrent = 2;
        bt.Open();
    }
    void choosePort(int index) {
        view.setCurrentIndex("BtComListbox", index);
        bt.OnBtComListbox();
    }
    std::string lastMessage() const { return dialogs.messages.empty() ? "" : dialogs.messages.back().text; }

    FakeView view;
    SimSerialDriver driver{clock};
    SerialPort port;
    int phoneChanges = 0;
    BtConfig bt{ctx, view, port, [this] { ++phoneChanges; }};
};

TEST_F(BtConfigTest, Rename) {
    struct Case {
        int index;
        std::string name;
        std::string message;
    };
    const Case cases[] = {
        {2, "PORCH", "This name is in use for device 5 !"},
        {2, "bedroom", "This name is in use for device 2 !"}, // capitals only: refused
        {2, "Device 7", "This name is in use for device 7 !"}, // what the phone shows for 7
        {2, "Bed#room", "Invalid device name!"},
        {2, "   ", "Invalid device name!"},
        {2, "Big \"TV\"", "Invalid device name!"}, // the phone's text is quoted
        {2, std::string(21, 'x'), "Invalid device name!"},
        {2, "  Cellar ", "Current device name was changed."},
        {9, "Garden", "Current device name was changed."},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        dialogs = FakeDialogs();
        const auto before = ctx.settings().bt;
        view.setCurrentIndex("BTDevNrCombo", c.index);
        view.setText(BtConfig::kNameBox, c.name);
        bt.OnButtonChange();
        ASSERT_EQ(dialogs.messages.size(), 1u);
        EXPECT_EQ(dialogs.messages[0].text, c.message);
        EXPECT_EQ(dialogs.messages[0].caption, "ZVK");
        const bool changed = c.message == "Current device name was changed.";
        EXPECT_EQ(dialogs.messages[0].icon, changed ? MsgIcon::Information : MsgIcon::Critical);
        if (!changed) {
            EXPECT_EQ(ctx.settings().bt, before);
            continue;
        }
        const std::string stored = ctx.settings().bt[static_cast<std::size_t>(c.index)];
        EXPECT_EQ(stored, c.name == "  Cellar " ? "Cellar" : c.name);
        EXPECT_NE(OnDisk().find("BT" + std::to_string(c.index) + "= " + stored + "\r\n"), std::string::npos);
    }
}

TEST_F(BtConfigTest, PortsAndModes) {
    bt.OnBTCheckbox(true);
    // The receiver's port is not the phone's; a port held elsewhere says so.
    choosePort(0);
    EXPECT_EQ(lastMessage(), "COM1 is the infrared receiver's port.");
    EXPECT_EQ(ctx.settings().btCom, 3);
    EXPECT_EQ(view.currentIndex("BtComListbox"), 1);
    driver.port(8).busy = true;
    choosePort(3);
    EXPECT_EQ(lastMessage(), "Cannot open COM8: COM8 is in use by another program");

    // Mode 0 opens the chosen port at once and lets go of the old one; mode 1 only remembers it.
    ctx.btPortHandle = port.OpenComPort(3);
    choosePort(2);
    EXPECT_NE(OnDisk().find("BTCOM= 7\r\n"), std::string::npos);
    EXPECT_TRUE(driver.port(7).open && !driver.port(3).open);
    bt.OnBTModeOption(1);
    choosePort(1);
    EXPECT_FALSE(driver.port(7).open || driver.port(3).open);
    EXPECT_EQ(ctx.btPortHandle, kNoPort);
    EXPECT_EQ(phoneChanges, 0); // monitoring is off

    // A change the file did not take is not shown as made.
    BlockSaves();
    view.setChecked("BTCheckbox", false);
    bt.OnBTCheckbox(false);
    EXPECT_TRUE(view.isChecked("BTCheckbox") && ctx.settings().btEna);
    EXPECT_EQ(lastMessage().rfind("The configuration file could not be written.", 0), 0u);
}

} // namespace
} // namespace quenix
