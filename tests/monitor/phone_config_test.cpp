#include "monitor/bt_config.h"

#include "support/rig.h"
#include "support/sim_serial.h"

#include <gtest/gtest.h>

namespace quenix::testing {
namespace {

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

TEST_F(BtConfigTest, RenameThenPortsAndModes) {
    const char* invalid = "Invalid device name!";
    const std::pair<std::string, std::string> cases[] = {
        {"PORCH", "This name is in use for device 5 !"},
        {"bedroom", "This name is in use for device 2 !"}, // capitals only: refused
        {"Device 7", "This name is in use for device 7 !"}, // what the phone shows for 7
        {"Bed#room", invalid}, {"   ", invalid}, {std::string(21, 'x'), invalid},
        {"Big \"TV\"", invalid}, // the phone's text is quoted
        {"  Cellar ", "Current device name was changed."},
    };
    for (const auto& [name, message] : cases) {
        SCOPED_TRACE(name);
        dialogs = FakeDialogs();
        const auto before = ctx.settings().bt;
        view.setText(BtConfig::kNameBox, name);
        bt.OnButtonChange(); // for device 2
        ASSERT_EQ(dialogs.messages.size(), 1u);
        EXPECT_EQ(dialogs.messages[0].text, message);
        const bool changed = message == "Current device name was changed.";
        EXPECT_EQ(dialogs.messages[0].icon, changed ? MsgIcon::Information : MsgIcon::Critical);
        EXPECT_EQ(ctx.settings().bt[2], changed ? "Cellar" : before[2]);
    }
    EXPECT_NE(OnDisk().find("BT2= Cellar\r\n"), std::string::npos);

    bt.OnBTCheckbox(true);
    // The receiver's port is not the phone's; a port held elsewhere says so.
    choosePort(0);
    EXPECT_EQ(lastMessage(), "COM1 is the infrared receiver's port.");
    EXPECT_TRUE(ctx.settings().btCom == 3 && view.currentIndex("BtComListbox") == 1);
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
    EXPECT_FALSE(driver.port(7).open || driver.port(3).open || ctx.btPortHandle != kNoPort);
    EXPECT_EQ(phoneChanges, 0); // monitoring is off

    // A change the file did not take is not shown as made.
    BlockSaves();
    view.setChecked("BTCheckbox", false);
    bt.OnBTCheckbox(false);
    EXPECT_TRUE(view.isChecked("BTCheckbox") && ctx.settings().btEna);
    EXPECT_EQ(lastMessage().rfind("The configuration file could not be written.", 0), 0u);
}

} // namespace
} // namespace quenix::testing
