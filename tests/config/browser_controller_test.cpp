#include "config/browser_controller.h"

#include "support/rig.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace quenix {
namespace {

class BrowserTest : public ::testing::Test, protected Rig {
protected:
    void SetUp() override { browser.Refresh(); }
    void Load(const std::string& text) {
        ASSERT_TRUE(Rig::Load(text));
        browser.Refresh();
    }
    int IndexOf(const std::string& name) const {
        auto names = view.items("Protocol");
        auto it = std::find(names.begin(), names.end(), name);
        return it == names.end() ? -1 : static_cast<int>(it - names.begin());
    }
    void Select(const std::string& name) {
        int i = IndexOf(name);
        ASSERT_GE(i, 0) << name;
        view.setCurrentIndex("Protocol", i);
        browser.SelectDevice(i);
    }

    FakeView view;
    bool formResult = false;
    std::vector<bool> formCalls; // editFlag at each call
    std::function<void()> onForm;
    BrowserController browser{ctx, view, {nullptr, [this] {
                                              formCalls.push_back(ctx.editFlag);
                                              if (onForm) onForm();
                                              return formResult;
                                          }}};
};

TEST_F(BrowserTest, EachKindShowsItsTitleAndCommands) {
    EXPECT_EQ(view.items("Protocol"),
              (std::vector<std::string>{"Set-top Box", "Sony TV", "Philips Amp", "X10", "Application", "Recorded",
                                        "Winamp", "IR Dimmer", "Mouse", "Keyboard", "Bluetooth"}));
    EXPECT_EQ(store.currentDevice, "Set-top Box");
    const std::string v = store.version();
    struct Row {
        const char* device;
        std::string title;
        std::vector<std::string> firstCommands;
        std::size_t count;
    };
    const Row rows[] = {
        {"Sony TV", "Orvel's Quenix Remote Manager v" + v, {"Power", "Vol+"}, 6},
        {"X10", "X10 Remote v" + v, {"All-U-Off", "All-L-On", "On", "Off", "Dim", "Bri", "All-L-Off", "Desk Lamp", "Fan"}, 9},
        {"Winamp", "Special Remote v" + v, {"POWER ON", "POWER OFF", "PLAY"}, 24},
        {"IR Dimmer", "Special Remote v" + v, {"ON/OFF", "DIM/BRI"}, 2},
        {"Recorded", "Orvel's Quenix Remote Manager v" + v, {"Recorded"}, 1},
        {"Keyboard", "Special Remote v" + v, {"EMPTY"}, 1},
    };
    for (const auto& row : rows) {
        Select(row.device);
        EXPECT_EQ(view.text("frmMain"), row.title) << row.device;
        auto cmds = view.items("SendCmd");
        ASSERT_EQ(cmds.size(), row.count) << row.device;
        EXPECT_TRUE(std::equal(row.firstCommands.begin(), row.firstCommands.end(), cmds.begin())) << row.device;
        EXPECT_EQ(view.isVisible("DIMScroll"), std::string(row.device) == "IR Dimmer" || std::string(row.device) == "X10");
    }
    Select("X10");
    EXPECT_EQ(view.text("SendLabel"), "X10 command to be send");
    Select("Philips Amp");
    EXPECT_EQ(view.text("SendLabel"), "The IR command to be send");
    EXPECT_EQ(view.text("StatusBar"), "Philips Amp: RC5 remote of the stereo amplifier");
}

TEST_F(BrowserTest, ProtocolParametersComeFromTheSectionOrStayAsTheyWere) {
    std::string cfg = DefaultConfiguration();
    // The second section lacks GREPEAT= and must not borrow [X10]'s lines.
    cfg.insert(cfg.find("[X10]"), "[Blank]\r\n# nothing learned\r\nGPROTO=3\r\nSENDPLS=400\r\nREPEAT=20\r\nBITG= 1\r\n"
                                  "BIT0= 10\r\nBIT1= 1100\r\nGREPEAT=0\r\n[Broken]\r\n# no grepeat\r\nGPROTO=3\r\n");
    Load(cfg);
    Select("Sony TV");
    const ProtocolHeader sony{1, 550, 40, 40, "1111", "01", "011"};
    auto same = [](const ProtocolHeader& a, const ProtocolHeader& b) {
        return std::tie(a.gproto, a.sendpls, a.repeat, a.grepeat, a.bitg, a.bit0, a.bit1) ==
               std::tie(b.gproto, b.sendpls, b.repeat, b.grepeat, b.bitg, b.bit0, b.bit1);
    };
    EXPECT_TRUE(same(ctx.header, sony));
    EXPECT_EQ(view.text("SendPulse"), "550");
    for (const char* keeps : {"Recorded", "Mouse", "Broken"}) {
        Select(keeps);
        EXPECT_TRUE(same(ctx.header, sony)) << keeps;
    }
    Select("Blank");
    EXPECT_TRUE(same(ctx.header, {3, 400, 20, 0, "1", "10", "1100"}));
    EXPECT_EQ(view.items("SendCmd"), std::vector<std::string>{"EMPTY"});
}

TEST_F(BrowserTest, SelectionIsStoredAndRestoredAtNextStart) {
    Select("Philips Amp");
    EXPECT_NE(dir.read("telvorin.cfg").find("PROTOCOL= 2\r\n"), std::string::npos);
    ConfigStore again(dir.str());
    ASSERT_TRUE(again.LoadConfiguration());
    Context ctx2{again, clock, dialogs, beeper};
    FakeView view2;
    BrowserController browser2(ctx2, view2);
    browser2.Refresh();
    EXPECT_EQ(view2.currentIndex("Protocol"), 2);
    EXPECT_EQ(again.currentDevice, "Philips Amp");
    EXPECT_EQ(view2.items("SendCmd").front(), "Standby");

    std::string cfg = DefaultConfiguration();
    Load(cfg.replace(cfg.find("PROTOCOL= 0"), 11, "PROTOCOL= 99"));
    EXPECT_EQ(view.currentIndex("Protocol"), 0);
}

TEST_F(BrowserTest, MenuRefusals) {
    struct Row {
        const char* device;
        void (BrowserController::*action)();
        const char* message;
    };
    const Row rows[] = {
        {"Sony TV", &BrowserController::FileNew, "Use 'Recorded' virtual device to create a new device"},
        {"Recorded", &BrowserController::Edit, "Recorded is a virtual device and cannot be edited!"},
        {"IR Dimmer", &BrowserController::Edit, "This is a read-only device!"},
        {"Winamp", &BrowserController::Edit, "This is a read-only device!"},
        {"Recorded", &BrowserController::ProtoDelete, "Recorded is a virtual device and cannot be deleted!"},
        {"X10", &BrowserController::ProtoDelete, "The X10 device cannot be deleted!"},
        {"Winamp", &BrowserController::ProtoDelete, "This is a read-only device!"},
    };
    const std::string before = dir.read("telvorin.cfg");
    for (const auto& row : rows) {
        Select(row.device);
        dialogs.messages.clear();
        (browser.*row.action)();
        ASSERT_EQ(dialogs.messages.size(), 1u) << row.device;
        EXPECT_EQ(dialogs.messages[0].text, row.message) << row.device;
        EXPECT_EQ(dialogs.messages[0].caption, "ZVK");
    }
    EXPECT_TRUE(formCalls.empty());
    // Only the PROTOCOL= index changed on the way.
    const std::string after = dir.read("telvorin.cfg");
    EXPECT_EQ(after.substr(after.find("[Set-top Box]")), before.substr(before.find("[Set-top Box]")));
}

TEST_F(BrowserTest, NewAndEditOpenTheFormAndSelectTheSavedDevice) {
    Select("Recorded");
    browser.FileNew(); // cancelled
    Select("Sony TV");
    formResult = true;
    browser.Edit();
    EXPECT_EQ(store.currentDevice, "Sony TV");

    // A form that inserts a device ahead of [X10] and leaves it current.
    Select("Recorded");
    onForm = [this] {
        store.Insert("[Tuner]\r\n# FM tuner\r\nGPROTO=0\r\nSENDPLS=550\r\nREPEAT=50\r\nBITG= 1\r\nBIT0= 10\r\n"
                     "BIT1= 1000\r\nGREPEAT=1\r\n",
                     store.Find("[X10]") - 5);
        store.SaveConfiguration();
        store.currentDevice = "Tuner";
    };
    browser.FileNew();
    EXPECT_EQ(formCalls, (std::vector<bool>{false, true, false}));
    EXPECT_EQ(view.currentText("Protocol"), "Tuner");
    EXPECT_EQ(view.items("SendCmd"), std::vector<std::string>{"EMPTY"});
    EXPECT_NE(dir.read("telvorin.cfg").find("PROTOCOL= 3\r\n"), std::string::npos);
}

TEST_F(BrowserTest, DeleteAsksAndRemovesOnYesOnly) {
    Select("Sony TV");
    dialogs.answers = {MsgAnswer::No};
    browser.ProtoDelete();
    ASSERT_EQ(dialogs.messages.size(), 1u);
    EXPECT_EQ(dialogs.messages[0].text, "Do you want to delete the device Sony TV from the current configuration file?");
    EXPECT_EQ(dialogs.messages[0].buttons, MsgButtons::YesNo);
    EXPECT_NE(dir.read("telvorin.cfg").find("[Sony TV]"), std::string::npos);

    dialogs.answers = {MsgAnswer::Yes};
    browser.ProtoDelete();
    EXPECT_EQ(dir.read("telvorin.cfg").find("[Sony TV]"), std::string::npos);
    EXPECT_EQ(IndexOf("Sony TV"), -1);
    EXPECT_EQ(view.items("Protocol").front(), "Set-top Box");
    EXPECT_NE(dir.read("telvorin.cfg").find("G11010000001100,Standby"), std::string::npos);
}

TEST_F(BrowserTest, AddApplicationEntry) {
    struct Row {
        std::optional<std::string> file;
        std::optional<std::string> name;
        std::optional<MsgAnswer> display;
        std::vector<std::string> messages; // besides the Display ON? question
        std::string storedLine;            // empty: nothing stored
    };
    const Row rows[] = {
        {std::nullopt, std::nullopt, std::nullopt, {}, ""},
        {"/opt/my,tool", std::nullopt, std::nullopt, {"The name of the file contains invalid characters!"}, ""},
        {"/usr/bin/x-terminal-emulator", std::nullopt, std::nullopt, {"This command line exist in the configuration file."}, ""},
        {"/usr/bin/xeyes", std::nullopt, std::nullopt, {"No new command defined"}, ""},
        {"/usr/bin/xeyes", "chime", std::nullopt, {"This command name exist in the configuration file."}, ""},
        {"/usr/bin/xeyes", "Eyes", MsgAnswer::Yes, {"Display ON?"}, "@/usr/bin/xeyes,Eyes\r\n"},
        {"/usr/bin/xclock", "Clock", MsgAnswer::No, {"Display ON?"}, "/usr/bin/xclock,Clock\r\n"},
        {"/home/me/ding.MP3", "Ding", std::nullopt, {}, "/home/me/ding.MP3,Ding\r\n"},
        // A file name may hold a line break; a name may be binary, or as long as a megabyte.
        {"/tmp/a\r\nCOMPORT= 9\r\nb", std::nullopt, std::nullopt,
         {"The name of the file contains invalid characters!"}, ""},
        {"/usr/bin/xlogo", std::string("Lo\0go", 5), std::nullopt, {"Do not use '[' ']' ',' '%' '&' characters"}, ""},
        {"/usr/bin/xlogo", std::string(1 << 20, 'x'), MsgAnswer::No,
         {"Display ON?", "The configuration file cannot grow beyond 32767 characters; the change was not made."}, ""},
        // A Latin-1 file name and a UTF-8 entry are stored as they are.
        {"/home/me/caf\xe9.wav", "Caf\xc3\xa9", std::nullopt, {}, "/home/me/caf\xe9.wav,Caf\xc3\xa9\r\n"},
    };
    Select("Application");
    store.setMaxLength(32767);
    for (const auto& row : rows) {
        dialogs.messages.clear();
        dialogs.fileDialogs.clear();
        dialogs.files = {row.file};
        dialogs.inputs = {row.name};
        dialogs.answers.clear();
        if (row.display) dialogs.answers.push_back(*row.display);
        const std::string before = dir.read("telvorin.cfg");
        browser.AddApplication();
        EXPECT_EQ(dialogs.texts(), row.messages) << row.file.value_or("cancel");
        const std::string after = dir.read("telvorin.cfg");
        if (row.storedLine.empty()) {
            EXPECT_EQ(after, before);
        } else {
            auto section = after.find("[Application]");
            auto entry = after.find(row.storedLine);
            ASSERT_NE(entry, std::string::npos) << row.storedLine;
            EXPECT_GT(entry, section);
            EXPECT_LT(entry, after.find("[Monitoring]"));
        }
    }
    EXPECT_EQ(view.items("SendCmd"),
              (std::vector<std::string>{"Terminal", "Chime", "Eyes", "Clock", "Ding", "Caf\xc3\xa9"}));
    EXPECT_EQ(dialogs.fileDialogs.back(),
              (std::pair<std::string, std::vector<std::string>>{
                  "Select file to run",
                  {"Executable Files (*.exe;*.com)", "Batch Files (*.bat;*.cmd)", "Sound Files (*.wav;*.mp3)"}}));
}

} // namespace
} // namespace quenix
