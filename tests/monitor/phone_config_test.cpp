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
        for (int n : {1, 3, 7}) driver.port(n);
        ctx.settings().bt = {"Living", "Kitchen", "Bedroom", "Garage", "Attic", "Porch", "", "", "", ""};
        ctx.settings().btCom = 3;
        ctx.settings().btCurrent = 2;
        bt.Open();
    }

    std::string Saved() const { return OnDisk(); }

    FakeView view;
    SimSerialDriver driver{clock};
    SerialPort port;
    BtConfig bt{ctx, view, port};
};

TEST_F(BtConfigTest, Rename) {
    struct Case {
        int index;
        std::string name;
        std::string message;
        MsgIcon icon;
    };
    const Case cases[] = {
        {2, "PORCH", "This name is in use for device 5 !", MsgIcon::Critical},
        {2, "Bedroom", "This name is in use for device 2 !", MsgIcon::Critical},
        {2, "bedroom", "This name is in use for device 2 !", MsgIcon::Critical}, // capitals only: refused
        {2, "Bed#room", "Invalid device name!", MsgIcon::Critical},
        {2, "  Cellar ", "Current device name was changed.", MsgIcon::Information},
        {9, "Garden", "Current device name was changed.", MsgIcon::Information},
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
        EXPECT_EQ(dialogs.messages[0].icon, c.icon);
        if (c.icon == MsgIcon::Critical) {
            EXPECT_EQ(ctx.settings().bt, before);
        } else {
            const std::string stored = ctx.settings().bt[static_cast<std::size_t>(c.index)];
            EXPECT_EQ(stored, c.name == "  Cellar " ? "Cellar" : c.name);
            EXPECT_NE(Saved().find("BT" + std::to_string(c.index) + "= " + stored + "\r\n"), std::string::npos);
        }
    }
}

TEST_F(BtConfigTest, EnableModeAndPort) {
    bt.OnBTCheckbox(true);
    EXPECT_TRUE(ctx.settings().btEna);
    EXPECT_NE(Saved().find("BTENA= 1\r\n"), std::string::npos);
    for (const char* c : {"Frame1", "BTModeOption0", "BTModeOption1", "BtComListbox"}) EXPECT_TRUE(view.isEnabled(c));

    // Mode 0 opens the chosen port at once and lets go of the old one.
    ctx.btPortHandle = port.OpenComPort(3);
    view.setCurrentIndex("BtComListbox", 2);
    bt.OnBtComListbox();
    EXPECT_EQ(ctx.settings().btCom, 7);
    EXPECT_NE(Saved().find("BTCOM= 7\r\n"), std::string::npos);
    EXPECT_FALSE(driver.port(3).open);
    EXPECT_TRUE(driver.port(7).open);

    // Mode 1 only remembers the port.
    bt.OnBTModeOption(1);
    EXPECT_NE(Saved().find("BTMODE= 1\r\n"), std::string::npos);
    view.setCurrentIndex("BtComListbox", 0);
    bt.OnBtComListbox();
    EXPECT_FALSE(driver.port(7).open);
    EXPECT_FALSE(driver.port(1).open);
    EXPECT_EQ(ctx.btPortHandle, kNoPort);

    bt.OnBTCheckbox(false);
    EXPECT_NE(Saved().find("BTENA= 0\r\n"), std::string::npos);
    EXPECT_FALSE(view.isEnabled("BtComListbox"));
}

} // namespace
} // namespace quenix
