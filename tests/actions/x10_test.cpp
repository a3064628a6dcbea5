#include "actions/desktop_actions.h"
#include "actions/executor.h"
#include "actions/send_controller.h"
#include "actions/x10_config.h"
#include "config/browser_controller.h"
#include "io/serial_port.h"
#include "support/cm11_sim.h"
#include "support/fakes.h"
#include "support/sim_serial.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <deque>
#include <filesystem>
#include <functional>

namespace quenix::testing {
namespace {

using Ev = Cm11Sim::Event;
using Beeps = std::vector<std::pair<int, int>>;

TEST(X10Bytes, HeadersAddressesAndChecksums) {
    struct Row {
        int house, unit, function, dim;
        std::vector<int> bytes; // header, address, sum, function header, function, sum
    } rows[] = {
        {1, 1, kX10Dim, 11, {0x14, 0x66, 0x7A, 0x16, 0x64, 0x7A}},
        {1, 2, kX10Off, 80, {0x04, 0x6E, 0x72, 0x06, 0x63, 0x69}},     // the level only counts for Dim/Bri
        {16, 13, kX10Bright, 39, {0x44, 0xC0, 0x04, 0x46, 0xC5, 0x0B}}, // 0x104 wraps to 0x04
        {16, 16, kX10Bright, 100, {0xB4, 0xCC, 0x80, 0xB6, 0xC5, 0x7B}},
        {17, 0, kX10On, 0, {0x04, 0x00, 0x04, 0x06, 0x02, 0x08}}, // outside A..P and 1..16 reads as 0
    };
    for (const Row& r : rows) {
        X10Bytes b = MakeX10Bytes(r.house, r.unit, r.function, r.dim);
        EXPECT_EQ((std::vector<int>{b.header, b.address, b.addressSum, b.functionHeader, b.function, b.functionSum}),
                  r.bytes)
            << r.house << "/" << r.unit << " f" << r.function;
    }
}

struct Silence final : SoundPlayer {
    bool playWav(const std::string&) override { return false; }
    bool playMp3(const std::string&) override { return false; }
};

// The main window on a program folder whose COM3 is the simulator's pty: the device list,
// Send and the X10 window, with the real executor and X10 exchange behind them. The shipped
// configuration names Desk Lamp (A1) and Fan (A2).
struct X10Rig {
    X10Rig() {
        std::filesystem::create_symlink(sim.slavePath(), dir.file("com3"));
        dir.write(ConfigStore::kFileName, DefaultConfiguration());
        EXPECT_TRUE(store.LoadConfiguration());
        Settings& s = store.settings();
        s.x10Com = 3;
        s.x10Ena = s.beepOn = true;
    }
    ~X10Rig() {
        if (ctx.x10PortHandle >= 1 && ctx.x10PortHandle != ctx.irPortHandle) serial.CloseHandle(ctx.x10PortHandle);
        if (ctx.irPortHandle != kNoPort) serial.CloseHandle(ctx.irPortHandle);
    }
    static int IndexOf(const std::vector<std::string>& list, const std::string& entry) {
        auto it = std::find(list.begin(), list.end(), entry);
        EXPECT_NE(it, list.end()) << entry;
        return static_cast<int>(it - list.begin());
    }
    // Clicks, as the window forwards them.
    void selectX10() {
        view.setItems("Protocol", browser.DeviceNames());
        browser.SelectDevice(IndexOf(view.items("Protocol"), "X10"));
    }
    void click(const std::string& entry) {
        int i = IndexOf(view.items("SendCmd"), entry);
        view.setCurrentIndex("SendCmd", i);
        browser.SelectCommand(i);
        send.onCommandSelected();
    }
    void select(int house, int unit) {
        form.setCurrentIndex("HCListbox", house - 1);
        form.setCurrentIndex("DCListbox", unit - 1);
        config.onHouseOrUnitSelected();
    }
    void add(const std::string& name) {
        form.setText("X10DescCombo", name);
        config.onAdd();
    }

    TempDir dir;
    Cm11Sim sim;
    Cm11Clock clock{sim};
    FakeDialogs dialogs;
    FakeBeeper beeper;
    ConfigStore store{dir.str()};
    Context ctx{store, clock, dialogs, beeper};
    std::unique_ptr<SerialDriver> driver = MakeSystemSerialDriver(dir.str());
    SerialPort serial{*driver};
    FakeView view, form;
    FakeCaptureLibrary library;
    Silence sound;
    DesktopActions actions{ctx, serial, sound};
    CommandExecutor exec{ctx, serial, library, view, BackendsOf(actions)};
    SendController send{ctx, view, serial, exec};
    BrowserController browser{ctx, view};
    X10ConfigController config{ctx, serial, form, view};
};

std::vector<Ev> Exchange(int unitNibble, int function, std::vector<int> dims) {
    std::vector<Ev> out;
    for (int d : dims) {
        out.push_back({Ev::Address, 6, unitNibble, d});
        out.push_back({Ev::Function, 6, function, d});
    }
    return out;
}

TEST(X10MainWindow, SendsTheUnitAndFunctionPickedInTheList) {
    const std::function<void(X10Rig&)> none = [](X10Rig&) {};
    struct Row {
        const char* name;
        std::vector<std::string> clicks;
        int dim;
        std::string status;
        std::vector<Ev> events;
        std::function<void(X10Rig&)> setUp;
    } rows[] = {
        {"function, then unit", {"Off", "Desk Lamp"}, 0, "X10-Desk Lamp Off.", Exchange(6, kX10Off, {0}), none},
        {"unit, then function", {"Desk Lamp", "Fan", "On"}, 60, "X10-Fan On.", Exchange(14, kX10On, {0}), none},
        {"dim in 39 % steps", {"Fan", "Dim"}, 100, "X10-Fan Dim.", Exchange(14, kX10Dim, {8, 8, 4}), none},
        {"the shown function and no unit", {}, 0, "Select the X10 unit in the list first.", {}, none},
        {"a port that is not there", {"Fan"}, 0, kX10PortError, {}, [](X10Rig& r) { r.store.settings().x10Com = 7; }},
        {"a silent interface", {"Fan"}, 0, kX10SendError, {}, [](X10Rig& r) { r.sim.fault = Cm11Sim::Fault::Silent; }},
        {"Default shares the infrared port", {"Fan"}, 0, "X10-Fan On.", Exchange(14, kX10On, {0}),
         [](X10Rig& r) {
             r.store.settings().x10Com = 0;
             r.ctx.irPortHandle = r.serial.OpenComPort(3);
         }},
    };
    for (const Row& r : rows) {
        SCOPED_TRACE(r.name);
        X10Rig rig;
        r.setUp(rig);
        rig.selectX10();
        EXPECT_TRUE(rig.view.isVisible("DIMScroll") && rig.view.isVisible("DIMLabel"));
        rig.view.setCurrentIndex("DIMScroll", r.dim);
        rig.send.showDimLevel();
        EXPECT_EQ(rig.view.text("DIMLabel"), std::to_string(r.dim) + "%");
        for (const std::string& c : r.clicks) rig.click(c);
        rig.send.onSendButton();
        EXPECT_EQ(rig.view.text("StatusBar"), r.status);
        EXPECT_EQ(rig.sim.events, r.events);
        EXPECT_TRUE(rig.sim.complaints.empty());
        // Framed by beeps when sent; a failed exchange gets no second beep, a refusal none.
        Beeps beeps = r.events.empty() ? Beeps{} : Beeps{{5000, 50}, {2000, 50}};
        if (r.status == kX10SendError) beeps = {{5000, 50}};
        EXPECT_EQ(rig.beeper.beeps, beeps);
        EXPECT_TRUE(rig.store.settings().x10Com != 0 || rig.ctx.x10PortHandle == rig.ctx.irPortHandle);
    }
}

TEST(X10Send, FaultsOfTheInterface) {
    using F = Cm11Sim::Fault;
    struct Row {
        const char* name;
        F fault;
        int faulty, delayMs;
        bool ok;
        int headers; // address headers sent: one per attempt
        std::int64_t maxSleptMs;
        int good = 0; // answers before the fault starts
    } rows[] = {
        {"silent", F::Silent, 1 << 30, 0, false, 2, 4000},
        {"silent once", F::Silent, 1, 0, true, 2, 4000},
        {"two bytes in one answer", F::TwoBytes, 1 << 30, 0, false, 2, 4000},
        {"wrong checksum echoed", F::WrongChecksum, 1 << 30, 0, false, 2, 4000},
        {"ready after 1.4 s", F::LateReady, 1, 1400, true, 1, 4000},
        {"ready after 3 s", F::LateReady, 1 << 30, 3000, false, 2, 20000},
        // The power line may take 4 s; only the address's ready must come within 2 s.
        {"function's ready after 3.4 s", F::LateFunctionReady, 1, 3400, true, 1, 8000},
        {"silent after the address", F::Silent, 1 << 30, 0, false, 2, 12000, 2},
        {"garbage after the address", F::WrongChecksum, 1 << 30, 0, false, 2, 8000, 1},
    };
    for (const Row& r : rows) {
        SCOPED_TRACE(r.name);
        X10Rig rig;
        rig.sim.fault = r.fault;
        rig.sim.faultyAnswers = r.faulty;
        rig.sim.readyDelayMs = r.delayMs;
        rig.sim.goodAnswers = r.good;
        PortHandle h = rig.serial.OpenComPort(3);
        rig.serial.ConfigureComPort(4800, 8, h);
        EXPECT_EQ(X10Send(rig.serial, h, rig.clock, 1, 1, kX10On, 0), r.ok);
        EXPECT_EQ(std::count(rig.sim.received.begin(), rig.sim.received.end(), '\x04'), r.headers);
        EXPECT_LE(rig.clock.slept, r.maxSleptMs);
        rig.serial.CloseHandle(h);
    }
}

TEST(X10Config, AddRefusalsAndQuestions) {
    const std::string badChars = "The X10 Device Name cannot contain the following characters: \",\", \"[\" and \"]\" !";
    const std::string modify = "Do you want to modify the description for the current device?";
    struct Row {
        const char* name;
        std::vector<std::string> asked;
        std::string stored;
        int unit = 2;       // at C2, or at A2 (Fan)
        int house = 3;
        std::deque<MsgAnswer> answers = {};
    } rows[] = {
        {"Garden Light", {}, "garden light"}, {"", {}, ""}, {"abcdefghijklmnopqrst", {}, "abcdefghijklmnopqrst"},
        {"abcdefghijklmnopqrstu", {"The X10 device name must be less than 20 characters!"}, ""},
        {"a,b", {badChars}, ""}, {"[x", {badChars}, ""}, {"lamp\r\nfan", {badChars}, ""},
        {"FAN", {"There is another device with this name!"}, ""},
        {"Ceiling", {modify}, "ceiling", 2, 1, {MsgAnswer::Yes}},
        {"Ceiling", {modify}, "Fan", 2, 1, {MsgAnswer::No}},
    };
    for (const Row& r : rows) {
        SCOPED_TRACE(r.name);
        X10Rig rig;
        rig.config.onLoad();
        rig.dialogs.answers = r.answers;
        rig.select(r.house, r.unit);
        rig.add(r.name);
        EXPECT_EQ(rig.dialogs.texts(), r.asked);
        EXPECT_TRUE(rig.dialogs.messages.empty() || rig.dialogs.messages[0].caption == "ZVK");
        EXPECT_EQ(rig.config.names().name(r.house, r.unit), r.stored);
    }
}

TEST(X10Config, OkSavesGivesTheOldPortBackAndRefreshesTheMainList) {
    X10Rig rig;
    rig.selectX10();
    rig.click("Fan");
    rig.click("On");
    rig.send.onSendButton(); // COM3 is open now
    ASSERT_GE(rig.ctx.x10PortHandle, 1);

    rig.store.settings().x10Com = 7; // an adapter since unplugged stays listed
    rig.config.onLoad();
    EXPECT_EQ(rig.form.items("HCListbox").back() + rig.form.items("DCListbox").back(), "P16");
    EXPECT_EQ(rig.form.text("X10DescCombo"), "Desk Lamp");
    EXPECT_EQ(rig.form.items("X10COMList"), (std::vector<std::string>{"Default", "COM3", "COM7"}));
    EXPECT_EQ(rig.form.currentText("X10COMList"), "COM7");
    rig.select(1, 1);
    rig.dialogs.answers = {MsgAnswer::Yes};
    rig.config.onDelete();
    EXPECT_EQ(rig.dialogs.texts(), std::vector<std::string>{"Do you want to delete the selected device?"});
    rig.select(2, 10);
    rig.add("Porch");
    rig.select(1, 16);
    rig.add("hall");
    EXPECT_EQ(rig.form.items("X10DescCombo"), (std::vector<std::string>{"Fan", "hall", "porch"}));
    rig.form.setCurrentIndex("X10COMList", 0); // Default
    EXPECT_TRUE(rig.config.onOK());
    rig.config.onClose();
    EXPECT_EQ(rig.view.text("StatusBar"), "X10 configuration saved OK.");
    std::string saved = rig.dir.read(ConfigStore::kFileName);
    EXPECT_NE(saved.find("[X10]\r\n/X10/*a2,Fan\r\n/X10/*a16,hall\r\n/X10/*b10,porch\r\n[Application]"),
              std::string::npos);
    EXPECT_NE(saved.find("X10COM= 0\r\nX10ENA= 1\r\n"), std::string::npos);

    // The old port was closed, not dropped: it opens again.
    EXPECT_EQ(rig.ctx.x10PortHandle, kNoPort);
    PortHandle again = rig.serial.OpenComPort(3);
    EXPECT_NE(again, kNoPort);
    rig.serial.CloseHandle(again);

    std::vector<std::string> list = SplitCommaList(kX10FunctionList);
    list.insert(list.end(), {"Fan", "hall", "porch"});
    EXPECT_EQ(rig.view.items("SendCmd"), list);
    EXPECT_EQ(rig.view.currentIndex("SendCmd"), 2);
    EXPECT_EQ(rig.store.currentCommand, "On");
}

TEST(X10Config, ARefusedSaveKeepsTheFileTheNamesAndTheWindow) {
    X10Rig rig;
    std::filesystem::create_directories(rig.dir.file(std::string(ConfigStore::kFileName) + ".tmp"));
    const std::string before = rig.store.text(), onDisk = rig.dir.read(ConfigStore::kFileName);
    rig.config.onLoad();
    rig.select(3, 2);
    rig.add("garden");
    rig.form.setCurrentIndex("X10COMList", 0);
    EXPECT_FALSE(rig.config.onOK());
    ASSERT_EQ(rig.dialogs.texts().size(), 1u);
    EXPECT_EQ(rig.dialogs.texts()[0].rfind("The configuration file could not be written.", 0), 0u);
    rig.config.onClose();
    EXPECT_EQ(rig.view.textsOf("StatusBar"), std::vector<std::string>{"X10 configuration cancelled."});
    EXPECT_EQ(rig.store.text(), before);
    EXPECT_EQ(rig.dir.read(ConfigStore::kFileName), onDisk);
    EXPECT_EQ(rig.store.settings().x10Com, 3);
    EXPECT_EQ(rig.config.names().name(3, 2), "garden"); // still in the open window
}

TEST(X10Config, ResetWritesTheClockRecord) {
    X10Rig fails; // a port of its own is prepared through the infrared handle, which is closed here
    fails.config.onReset();
    EXPECT_EQ(fails.dialogs.texts(), std::vector<std::string>{kX10PortError});
    EXPECT_TRUE(fails.view.textsOf("StatusBar").empty());
    X10Rig rig;
    rig.store.settings().x10Com = 0;
    rig.ctx.irPortHandle = rig.serial.OpenComPort(3);
    rig.config.onReset();
    rig.clock.sleep(0);
    EXPECT_EQ(rig.sim.received, std::string(kX10ClockSetRecord));
    EXPECT_EQ(rig.sim.events, (std::vector<Ev>{{Ev::ClockSet, 0, 7, 0}}));
    EXPECT_EQ(rig.view.textsOf("StatusBar"), (std::vector<std::string>{kX10ResetDone}));
    EXPECT_EQ(rig.ctx.x10PortHandle, rig.ctx.irPortHandle);
}

} // namespace
} // namespace quenix::testing
