#include "config/main_controller.h"

#include "config/import_export.h"

#include "support/rig.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <optional>

namespace quenix {
namespace {

// Records texts of both windows and the hook calls in one sequence, so order can be checked.
class LoggingView : public FakeView {
public:
    LoggingView(std::vector<std::string>& log, std::string prefix) : log_(log), prefix_(std::move(prefix)) {}
    void setText(const std::string& c, const std::string& t) override {
        FakeView::setText(c, t);
        if (c == "StatusBar" || c == "WaitText") log_.push_back(prefix_ + t);
    }
    void setVisible(const std::string& c, bool v) override {
        FakeView::setVisible(c, v);
        if (c == "frmWaitToStart") log_.push_back(prefix_ + (v ? "shown" : "closed"));
    }

private:
    std::vector<std::string>& log_;
    std::string prefix_;
};

std::string WithKey(std::string text, const std::string& key, const std::string& value) {
    auto p = text.find("\n" + key + "= ");
    auto eol = text.find('\r', p);
    return text.replace(p + key.size() + 3, eol - (p + key.size() + 3), value);
}

class MainTest : public ::testing::Test, protected Rig {
protected:
    MainTest() {
        hooks.applyInterface = [this] { log.push_back("hook:applyInterface"); };
        hooks.initInfraredIn = [this] { log.push_back("hook:initInfraredIn"); };
        hooks.initInfraredOut = [this] { log.push_back("hook:initInfraredOut"); };
        hooks.initX10 = [this] { log.push_back("hook:initX10"); };
        hooks.startMonitoring = [this] {
            log.push_back("hook:startMonitoring");
            ctx.monitoring = true;
        };
        hooks.stopMonitoring = [this] { log.push_back("hook:stopMonitoring"); };
        hooks.closePort = [this](PortHandle h) { log.push_back("hook:closePort " + std::to_string(h)); };
        hooks.setCaptureHandle = [this](PortHandle h) { log.push_back("hook:setCaptureHandle " + std::to_string(h)); };
        hooks.iconChanged = [this](const std::string& f) { log.push_back("icon:" + f); };
    }

    void Write(const std::string& text) { dir.write(ConfigStore::kFileName, text); }
    bool Start() {
        main = std::make_unique<MainController>(ctx, view, wait, browser, hooks);
        return main->StartUp();
    }

    std::vector<std::string> log;
    LoggingView view{log, "status:"};
    LoggingView wait{log, "wait:"};
    BrowserController browser{ctx, view};
    MainController::Hooks hooks;
    std::unique_ptr<MainController> main;
};

TEST_F(MainTest, StartUpRunsItsStepsInOrder) {
    std::string cfg = WithKey(WithKey(DefaultConfiguration(), "X10ENA", "1"), "MONITOR", "1");
    Write(WithKey(cfg, "ITYPE", "4"));
    ASSERT_TRUE(Start());
    const std::vector<std::string> expected = {
        "status:Loading configuration file...",
        "wait:shown",
        "wait:Starting...",
        "status:Select IR Interface...",
        "hook:applyInterface",
        "wait:Initialize Infrared IN...",
        "hook:initInfraredIn",
        "wait:Initialize Infrared OUT...",
        "hook:initInfraredOut",
        "wait:Initialize X10...",
        "hook:initX10",
        "status:Set-top Box: NEC remote of the satellite receiver", // the lists are filled
        "hook:startMonitoring",
        "status:Application started successfully.",
        "icon:zvkmon.ico",
        "wait:closed",
    };
    EXPECT_EQ(log, expected);
    EXPECT_EQ(view.text("frmMain"), "Orvel's Quenix Remote Manager v" + store.version());
    EXPECT_EQ(view.text("ReceiverType"), "FirM");
    EXPECT_EQ(view.items("Zone").size(), 8u);
    EXPECT_EQ(view.text("ProcDelayparameter"), "20");
    EXPECT_EQ(view.currentIndex("HScroll1"), 20);
    EXPECT_TRUE(ctx.monitoring);
    EXPECT_TRUE(view.isChecked("X10ConfMenu") && view.isChecked("MouseMenu") && !view.isChecked("KeyboardMenu"));
    EXPECT_FALSE(view.isTimerEnabled("BTAutoTimer"));
}

TEST_F(MainTest, WithoutInfraredNoProgressWindowAndMonitoringStopped) {
    std::string cfg = WithKey(WithKey(DefaultConfiguration(), "IRINENA", "0"), "IROUTENA", "0");
    // 22: TxD output and a receiver type out of the table, which start-up names "Unknown".
    Write(WithKey(WithKey(cfg, "BTMODE", "2"), "ITYPE", "22"));
    ASSERT_TRUE(Start());
    EXPECT_EQ(view.text("ReceiverType"), "Unknown");
    EXPECT_EQ(ctx.txdOutput, 1);
    EXPECT_EQ(std::count(log.begin(), log.end(), "wait:shown"), 0);
    EXPECT_NE(std::find(log.begin(), log.end(), "hook:stopMonitoring"), log.end());
    EXPECT_TRUE(view.items("Zone").empty());
    EXPECT_EQ(log.back(), "icon:zvknomon.ico");
    EXPECT_FALSE(view.isEnabled("InterfaceMenu"));
    EXPECT_TRUE(view.isTimerEnabled("BTAutoTimer"));
}

TEST_F(MainTest, FailedLoadEndsWithTheThreeLineMessageAndStartsNothing) {
    Write("[General]\r\nCOMPORT= 1\r\n[End]\r\n");
    EXPECT_FALSE(Start());
    ASSERT_EQ(dialogs.messages.size(), 1u);
    // The three lines, then what is wrong, so a hand edit can be mended.
    EXPECT_EQ(dialogs.messages[0].text,
              "There is an error in the configuration file.\nThe application will be closed.\n"
              "If the problem persists, please write to support@quenix-remote.org.\n\n"
              "The key PROTOCOL= is missing or out of order in [General].");
    EXPECT_EQ(dialogs.messages[0].caption, "ZVK");
    EXPECT_EQ(dialogs.messages[0].icon, MsgIcon::Critical);
    EXPECT_EQ(log, std::vector<std::string>{"status:Loading configuration file..."});
}

TEST_F(MainTest, TogglesWriteTheirKeyAtOnce) {
    const std::pair<const char*, const char*> rows[] = {
        {"InfraredInMenu", "IRINENA"},         {"InfraredOutMenu", "IROUTENA"},
        {"IRDimmerMenu", "IRDIMENA"},          {"WinampMenu", "WINAMPENA"},
        {"ApplicationMenu", "APPLICATIONENA"}, {"MouseMenu", "MOUSEENA"},
        {"KeyboardMenu", "KEYBOARDENA"},       {"BeepCheckbox", "BEEPON"}};
    ASSERT_TRUE(Start());
    for (auto [control, key] : rows) {
        const bool before = view.isChecked(control);
        ASSERT_TRUE(main->Toggle(control));
        EXPECT_EQ(view.isChecked(control), !before) << control;
        std::string file = dir.read("telvorin.cfg");
        EXPECT_NE(file.find("\r\n" + std::string(key) + "= " + (before ? "0" : "1") + "\r\n"), std::string::npos)
            << key;
        if (std::string(control) == "InfraredInMenu") {
            EXPECT_FALSE(view.isEnabled("InterfaceMenu"));
        }
        main->Toggle(control);
        file = dir.read("telvorin.cfg");
        EXPECT_NE(file.find("\r\n" + std::string(key) + "= " + (before ? "1" : "0") + "\r\n"), std::string::npos)
            << key;
    }
    EXPECT_FALSE(main->Toggle("X10ConfMenu"));
}

TEST_F(MainTest, CompactWindowSwitchesTitles) {
    ASSERT_TRUE(Start());
    main->MinButton();
    EXPECT_TRUE(main->compact());
    EXPECT_EQ(view.text("frmMain"), "KPL Send Mgr v" + store.version());
    // Another infrared device keeps the compact title.
    browser.SelectDevice(1);
    EXPECT_EQ(view.text("frmMain"), "KPL Send Mgr v" + store.version());
    // Restoring from the tray leaves the compact window only while monitoring.
    main->Restored();
    EXPECT_TRUE(main->compact());
    ctx.monitoring = true;
    main->Minimised();
    EXPECT_EQ(log.back(), "icon:zvkmon.ico");
    main->Restored();
    EXPECT_FALSE(main->compact());
    EXPECT_EQ(view.text("frmMain"), "Orvel's Quenix Remote Manager v" + store.version());
}

TEST_F(MainTest, AboutEndsWithTheSettingsFile) {
    main = std::make_unique<MainController>(ctx, view, wait, browser, hooks);
    main->About();
    ASSERT_EQ(dialogs.messages.size(), 1u);
    EXPECT_TRUE(dialogs.messages[0].text.ends_with("\n\nSettings: " + dir.str() + "/telvorin.cfg"));
}

TEST_F(MainTest, ExitClosesPortsHandsNullHandleAndSaves) {
    ASSERT_TRUE(Start());
    log.clear();
    // Text behind [End] is dropped by a save: proof that the exit saved.
    ASSERT_TRUE(store.SetText(store.text() + "junk"));
    ctx.irPortHandle = 5;
    ctx.x10PortHandle = 6;
    store.settings().x10Com = 2;
    main->Exit();
    EXPECT_EQ(log, (std::vector<std::string>{"hook:closePort 5", "hook:setCaptureHandle 0", "hook:closePort 6"}));
    EXPECT_EQ(ctx.x10PortHandle, kNoPort);
    EXPECT_EQ(dir.read("telvorin.cfg").find("junk"), std::string::npos);
    // A shared default port is closed once; a given-up X10 port (handle 0) never.
    for (PortHandle x10 : {PortHandle{5}, PortHandle{0}}) {
        log.clear();
        ctx.irPortHandle = 5;
        ctx.x10PortHandle = x10;
        main->Exit();
        EXPECT_EQ(log, (std::vector<std::string>{"hook:closePort 5", "hook:setCaptureHandle 0"}));
    }
}

// Every change of telvorin.cfg made from the main window tells the user when it did not reach the
// disk, and the window goes on showing what the disk holds.
TEST_F(MainTest, WriteFailuresAreReportedAndNothingClaimsSuccess) {
    ASSERT_TRUE(Start());
    const std::string onDisk = OnDisk();
    BlockSaves();
    dialogs.files = {std::string("/usr/bin/xeyes")};
    dialogs.inputs = {std::string("Eyes")};
    // The device-index write fails once however often the list moves.
    const std::pair<const char*, std::function<void()>> rows[] = {
        {"toggle", [&] { main->Toggle("BeepCheckbox"); }},
        {"device index", [&] { browser.SelectDevice(2); }},
        {"application entry", [&] { browser.SelectDevice(4), browser.AddApplication(); }},
        {"device delete", [&] { browser.SelectDevice(1), browser.ProtoDelete(); }},
        {"exit", [&] { main->Exit(); }},
    };
    // A check box has flipped itself when the click arrives: it is back before a box tells why.
    view.setChecked("BeepCheckbox", true);
    dialogs.onMessage = [&] { EXPECT_FALSE(view.isChecked("BeepCheckbox")); };
    for (const auto& [what, act] : rows) {
        dialogs.messages.clear();
        dialogs.answers = {MsgAnswer::Yes, MsgAnswer::No};
        act();
        const auto texts = dialogs.texts();
        EXPECT_EQ(std::count_if(texts.begin(), texts.end(),
                                [](const std::string& t) {
                                    return t.rfind("The configuration file could not be written.\r\nCannot write", 0) ==
                                           0;
                                }),
                  1)
            << what;
        EXPECT_EQ(OnDisk(), onDisk) << what;
    }
    EXPECT_FALSE(view.isChecked("BeepCheckbox"));
    EXPECT_EQ(store.Find("xeyes"), 0);
    EXPECT_NE(view.text("StatusBar"), "Command Eyes added.");
    EXPECT_EQ(view.items("Protocol")[1], "Sony TV");
}

TEST_F(MainTest, AFileAnotherProgramChangedIsNeitherOverwrittenNorLostSilently) {
    const std::string mine = WithKey(WithKey(DefaultConfiguration(), "BEEPON", "0"), "MOUSEENA", "0");
    const std::string theirs = WithKey(mine, "MOUSEENA", "1");
    struct Row {
        const char* what;
        std::string onDisk;
        std::optional<MsgAnswer> answer;
        std::string expectDisk;
        bool beep, mouse; // the marks afterwards
    };
    const Row rows[] = {
        {"unchanged", mine, {}, WithKey(mine, "BEEPON", "1"), true, false},
        {"overwrite", theirs, MsgAnswer::Yes, WithKey(mine, "BEEPON", "1"), true, false},
        {"reload", theirs, MsgAnswer::No, theirs, false, true},
        {"reload of a broken file", "half written", MsgAnswer::No, "half written", false, false},
    };
    ASSERT_TRUE(Start());
    ctx.monitoring = true; // which keeps Send off through a reload
    view.setEnabled("SendButton", false);
    for (const Row& r : rows) {
        ASSERT_TRUE(Load(mine));
        main->ShowSettings();
        Write(r.onDisk);
        view.setStatus("");
        dialogs.messages.clear();
        if (r.answer) dialogs.answers = {*r.answer};
        main->Toggle("BeepCheckbox");
        EXPECT_EQ(dialogs.messages.size(), r.answer ? 1u + (r.onDisk == "half written") : 0u) << r.what;
        EXPECT_EQ(OnDisk(), r.expectDisk) << r.what;
        EXPECT_EQ(store.text(), r.onDisk == "half written" ? mine : r.expectDisk) << r.what;
        EXPECT_EQ(view.isChecked("BeepCheckbox"), r.beep) << r.what;
        EXPECT_EQ(view.isChecked("MouseMenu"), r.mouse) << r.what;
        EXPECT_EQ(view.text("StatusBar") == "telvorin.cfg was changed by another program; it has been reloaded.",
                  r.mouse) // the other program's file was taken
            << r.what;
        EXPECT_FALSE(view.isEnabled("SendButton")) << r.what;
    }
    EXPECT_NE(dialogs.texts().back().find("changed by another program and cannot be loaded"), std::string::npos);
}

TEST_F(MainTest, AfterAnImportTheWindowShowsTheFile) {
    ASSERT_TRUE(Start());
    browser.SelectDevice(6); // Winamp
    const Settings before = store.settings();
    ImportExport io(ctx);
    store.importText() = "Remote Manager\r\n[General]\r\nCOMPORT= 2\r\nITYPE= 1\r\nBEEPON= 1\r\nMOUSEENA= 0\r\n"
                         "PROCDELAY= 33\r\n[Radio]\r\n# kitchen\r\nG0101,On\r\n[End]\r\n";
    io.Import({"[General]", "[Radio]"});
    log.clear();
    main->Imported("Winamp", before);
    // The imported port and receiver are in use at once.
    EXPECT_EQ(log.front(), "hook:applyInterface");
    EXPECT_EQ(view.text("ReceiverType"), "IR Mouse");
    // The new section moved Winamp one row down; it is still the device shown and stored.
    EXPECT_EQ(view.currentText("Protocol"), "Winamp");
    EXPECT_NE(OnDisk().find("PROTOCOL= 7\r\n"), std::string::npos);
    EXPECT_FALSE(view.isChecked("MouseMenu"));
    EXPECT_TRUE(view.isChecked("BeepCheckbox"));
    EXPECT_EQ(view.text("ProcDelayparameter"), "33");
    // The next click goes the way the mark shows.
    main->Toggle("MouseMenu");
    EXPECT_TRUE(view.isChecked("MouseMenu"));
    EXPECT_NE(OnDisk().find("MOUSEENA= 1\r\n"), std::string::npos);
}

} // namespace
} // namespace quenix
