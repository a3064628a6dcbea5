#include "ir/device_editor.h"
#include "ir/protocols.h"
#include "support/rig.h"

#include <gtest/gtest.h>

namespace quenix {
namespace {

class DeviceEditorTest : public ::testing::Test, protected Rig {
protected:
    void SetUp() override { mainView.setItems("Protocol", {"Set-top Box", "Sony TV", "Recorded"}); }

    // The editor opened for a new device, with a valid NEC device typed in.
    DeviceEditor& NewValidDevice() {
        editor = std::make_unique<DeviceEditor>(ctx, form, mainView);
        EXPECT_TRUE(editor->Open());
        form.setText("CProtIn", "Hifi Set");
        form.setText("ProtDesc", "the hifi");
        form.setCurrentIndex("GProtoIn", kProtoNec);
        editor->OnProtocolChanged();
        return *editor;
    }

    // The editor opened on an existing device.
    DeviceEditor& Edit(const std::string& device) {
        store.currentDevice = device;
        ctx.editFlag = true;
        editor = std::make_unique<DeviceEditor>(ctx, form, mainView);
        return *editor;
    }

    FakeView form, mainView;
    std::unique_ptr<DeviceEditor> editor;
};

TEST_F(DeviceEditorTest, ValidationOrderAndMessages) {
    struct Case {
        std::string box, value;
        std::string message; // empty: passes, and the confirmation is asked
        std::string box2 = {}, value2 = {};
    };
    const std::string kRepeat = "REPEAT must have an integer value greater than 16 (or 0)";
    const std::string kGrepeat = "GREPEAT must have an integer value greater than 16 (or 0 or 1)";
    const std::string kChars = "Device name cannot contain the following chars: [ ] , # ";
    const std::string kLength = "Device name must have 3 to 12 characters";
    const std::string kSendpls = "SENDPLS must have an integer value greater than 0";
    const std::string kBits = "BITx must not be empty, if no BITG, then BITG=0";
    const std::string kDesc = "Description cannot contain the following chars: [ ] , # ";
    // Second box given: the first box's test comes before the second's.
    const Case cases[] = {
        {"CProtIn", " End ", "This is a reserved name!", "SendPlsIn", "0"},
        {"CProtIn", "  GENERAL", "This is a reserved name!"},
        {"CProtIn", "web", "This is a reserved name!"}, // the web keypad's events would be its own
        {"CProtIn", "ab", kLength},       {"CProtIn", "abc", ""},          {"CProtIn", "abcdefghijkl", ""},
        {"CProtIn", "abcdefghijklm", kLength},
        {"CProtIn", "ab%cd", kChars}, // refused, though the message does not name it
        {"CProtIn", "hifi,x", kChars, "SendPlsIn", "0"},
        {"CProtIn", " SONY tv ", "The new device name is in use"},
        {"CProtIn", "a#", kChars}, // the characters before the length
        {"SendPlsIn", "0", kSendpls},
        {"RepeatIn", "15", kRepeat},      {"RepeatIn", "16", ""},          {"RepeatIn", "-1", kRepeat},
        {"GRepeatIn", "2", kGrepeat},     {"GRepeatIn", "15", kGrepeat},   {"GRepeatIn", "16", ""},
        {"GRepeatIn", "-5", ""},          {"SendPlsIn", "0", kSendpls, "GRepeatIn", "2"},
        {"BitGIn", "", kBits},            {"ProtDesc", "a, b", kDesc},     {"Bit0In", "", kBits, "ProtDesc", "a, b"},
        {"Bit0In", "10 1", "BIT0 must have a binary value"},
        {"Bit0In", "1x", "BIT0 must have a binary value", "BitGIn", "2"},
        {"BitGIn", "2", "BITG must have a binary value", "Bit1In", "2"},
        {"Bit1In", "1000a", "BIT1 must have a binary value"}, {"ProtDesc", "#1", kDesc, "Bit1In", "1000a"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.box + "=" + c.value);
        NewValidDevice();
        form.setText(c.box, c.value);
        if (!c.box2.empty()) form.setText(c.box2, c.value2);
        dialogs.messages.clear();
        EXPECT_FALSE(editor->OnCreate()); // refused, or No to the question
        ASSERT_EQ(dialogs.messages.size(), 1u);
        const auto& m = dialogs.messages[0];
        if (c.message.empty()) {
            EXPECT_EQ(m.text.rfind("A new device with the following parameters will be created:\r\n", 0), 0u) << m.text;
            EXPECT_EQ(m.buttons, MsgButtons::YesNo);
        } else {
            EXPECT_EQ(m.text, c.message);
            EXPECT_TRUE(m.caption == "ZVK" && m.icon == MsgIcon::Exclamation);
        }
        EXPECT_EQ(store.text(), DefaultConfiguration()) << "nothing changes before a Yes";
    }
}

TEST_F(DeviceEditorTest, NewDeviceGoesBeforeX10AndIsSaved) {
    NewValidDevice();
    form.setText("CProtIn", "  Hifi Set  "); // the boxes are trimmed and written back
    form.setText("Bit0In", " 10 ");
    form.setText("RepeatIn", "200");
    form.setText("GRepeatIn", "100");
    dialogs.answers.push_back(MsgAnswer::Yes);
    ASSERT_TRUE(editor->OnCreate());
    EXPECT_EQ(form.text("CProtIn"), "Hifi Set");
    EXPECT_EQ(store.currentDevice, "Hifi Set"); // the browser selects the new device by it
    const std::string header = "\r\n[Hifi Set]\r\n# the hifi\r\nGPROTO=0\r\nSENDPLS=550\r\nREPEAT=200\r\n"
                               "BITG= 111111111111111100000000\r\nBIT0= 10\r\nBIT1= 1000\r\nGREPEAT=200\r\n\r\n";
    EXPECT_EQ(dialogs.messages.back().text,
              "A new device with the following parameters will be created:\r\n" + header + "\r\nDo you want to save it?");
    std::string expected = DefaultConfiguration();
    expected.insert(expected.find("[X10]"), header);
    EXPECT_EQ(store.text(), expected);
    EXPECT_EQ(OnDisk(), expected);
}

TEST_F(DeviceEditorTest, EditReplacesTheHeaderAndKeepsTheCommands) {
    ASSERT_TRUE(Edit("Sony TV").Open());
    form.setText("SendPlsIn", "600");
    form.setText("ProtDesc", "bedroom TV");
    dialogs.answers.push_back(MsgAnswer::Yes);
    ASSERT_TRUE(editor->OnCreate());
    const std::string header = "[Sony TV]\r\n# bedroom TV\r\nGPROTO=1\r\nSENDPLS=600\r\nREPEAT=40\r\n"
                               "BITG= 1111\r\nBIT0= 01\r\nBIT1= 011\r\nGREPEAT=40";
    EXPECT_EQ(dialogs.messages.back().text, "The edited device is:\r\n" + header + "\r\nDo you want to save it?");
    std::string expected = DefaultConfiguration(); // the commands after the header stay
    const std::size_t from = expected.find("[Sony TV]");
    expected.replace(from, expected.find("\r", expected.find("GREPEAT", from)) - from, header);
    EXPECT_EQ(store.text(), expected);
    EXPECT_EQ(OnDisk(), expected);
}

TEST_F(DeviceEditorTest, EditKeepsAGprotoTheListDoesNotShow) {
    std::string text = DefaultConfiguration();
    ASSERT_TRUE(Load(text.replace(text.find("GPROTO=1"), 8, "GPROTO=7")));
    ASSERT_TRUE(Edit("Sony TV").Open());
    form.setCurrentIndex("GProtoIn", -1); // the list shows no entry for 7
    dialogs.answers.push_back(MsgAnswer::Yes);
    ASSERT_TRUE(editor->OnCreate());
    EXPECT_NE(OnDisk().find("living-room TV\r\nGPROTO=7\r\n"), std::string::npos);
}

TEST_F(DeviceEditorTest, EditOfABrokenHeaderRefusesToOpen) {
    // Sony TV lacks BIT1=: it must not borrow the one of the device behind it.
    std::string text = DefaultConfiguration();
    ASSERT_TRUE(store.LoadFromText(text.replace(text.find("BIT1=", text.find("[Sony TV]")), 5, "BITX=")));
    EXPECT_FALSE(Edit("Sony TV").Open());
    ASSERT_EQ(dialogs.messages.size(), 1u);
    const auto& m = dialogs.messages[0];
    EXPECT_EQ(m.text, "Error in the configuration file\r\nThe Device Form can not be opened");
    EXPECT_TRUE(m.caption == "Critical Error" && m.icon == MsgIcon::Critical);
}

TEST_F(DeviceEditorTest, FillFromRecording) {
    struct Case {
        std::string protocol, unit, multi, gtype;
        int index;
        std::string repeat, grepeat, bitg, bit0, bit1;
    };
    const Case cases[] = {
        {"NEC", "550", "n", "2", kProtoNec, "50", "50", "111111111111111100000000", "10", "1000"},
        {"SONY", "495", " Y ", "1", kProtoSony, "40", "1", "1111", "01", "011"},
        {"RC5", "880", "y", "0", kProtoRc5, "90", "0", "", "10", "01"},
        // Anything else is Custom: the patterns stay, REPEAT follows the multisequence field.
        {"UNK", "605", "y", "7", kProtoCustom, "50", "50", "1", "0", "11"},
        {"UNK", "605", "n", "1", kProtoCustom, "0", "1", "1", "0", "11"},
        {"", "", "y", "1", -1, "", "", "1", "0", "11"}, // nothing recognised: nothing filled
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.protocol + " " + c.multi);
        FakeView f;
        for (auto [box, value] : {std::pair{"BitGIn", "1"}, {"Bit0In", "0"}, {"Bit1In", "11"}}) f.setText(box, value);
        store.currentDevice = "Recorded";
        for (auto [box, value] : {std::pair{"ProtocolName", c.protocol}, {"SendPulse", c.unit}, {"MultiSeq", c.multi},
                                  {"GType", c.gtype}})
            mainView.setText(box, value);
        DeviceEditor editor(ctx, f, mainView);
        ASSERT_TRUE(editor.Open());
        EXPECT_EQ(f.currentIndex("GProtoIn"), c.index);
        for (auto [box, value] : {std::pair{"SendPlsIn", c.unit}, {"RepeatIn", c.repeat}, {"GRepeatIn", c.grepeat},
                                  {"BitGIn", c.bitg}, {"Bit0In", c.bit0}, {"Bit1In", c.bit1}})
            EXPECT_EQ(f.text(box), value) << box;
    }
}

} // namespace
} // namespace quenix
