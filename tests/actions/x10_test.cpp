#include "actions/x10.h"
#include "actions/x10_config.h"
#include "cm11_sim.h"
#include "io/serial_port.h"
#include "support/fakes.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace quenix::testing {
namespace {

using Ev = Cm11Sim::Event;

TEST(X10Bytes, HeadersAddressesAndChecksums) {
    struct Row {
        int house, unit, function, dim;
        std::uint8_t header, address, sum, fheader, function_, fsum;
    } rows[] = {
        {1, 1, kX10On, 0, 0x04, 0x66, 0x6A, 0x06, 0x62, 0x68},
        {1, 1, kX10Dim, 39, 0x44, 0x66, 0xAA, 0x46, 0x64, 0xAA},
        {1, 1, kX10Dim, 11, 0x14, 0x66, 0x7A, 0x16, 0x64, 0x7A},
        {1, 2, kX10Off, 80, 0x04, 0x6E, 0x72, 0x06, 0x63, 0x69}, // the level only counts for Dim/Bri
        {16, 13, kX10Bright, 39, 0x44, 0xC0, 0x04, 0x46, 0xC5, 0x0B}, // 0x104 wraps to 0x04
        {16, 16, kX10Bright, 100, 0xB4, 0xCC, 0x80, 0xB6, 0xC5, 0x7B},
    };
    for (const Row& r : rows) {
        X10Bytes b = MakeX10Bytes(r.house, r.unit, r.function, r.dim);
        SCOPED_TRACE(std::to_string(r.house) + "/" + std::to_string(r.unit) + " f" + std::to_string(r.function));
        EXPECT_EQ(b.header, r.header);
        EXPECT_EQ(b.address, r.address);
        EXPECT_EQ(b.addressSum, r.sum);
        EXPECT_EQ(b.functionHeader, r.fheader);
        EXPECT_EQ(b.function, r.function_);
        EXPECT_EQ(b.functionSum, r.fsum);
    }
    EXPECT_EQ(X10Nibble(0), "");
    EXPECT_EQ(X10Nibble(17), "");
    EXPECT_EQ(BinaryValue("01101110"), 0x6E);
}

TEST(X10Names, ParseFindAndWriteBack) {
    std::string cfg = "[General]\r\n[X10]\r\n/X10/*a1,Desk Lamp\r\n/X10/*p16,  porch \r\n/X10/*b10,Fan\r\n"
                      "/x10/*c3,attic\r\n[Application]\r\n/X10/*d1,not here\r\n[End]\r\n";
    X10Names names = X10Names::Parse(cfg);
    int h = 0, u = 0;
    ASSERT_TRUE(names.find(" desk LAMP ", h, u));
    EXPECT_EQ(std::make_pair(h, u), std::make_pair(1, 1));
    ASSERT_TRUE(names.find("porch", h, u));
    EXPECT_EQ(std::make_pair(h, u), std::make_pair(16, 16));
    EXPECT_FALSE(names.find("not here", h, u));
    EXPECT_FALSE(names.find("", h, u));
    EXPECT_EQ(names.SectionLines(), "/X10/*a1,Desk Lamp\r\n/X10/*b10,Fan\r\n/X10/*c3,attic\r\n/X10/*p16,porch\r\n");
}

// A program folder whose COM3 is the simulator's pty.
struct X10Rig {
    TempDir dir;
    Cm11Sim sim;
    Cm11Clock clock{sim};
    FakeDialogs dialogs;
    FakeBeeper beeper;
    ConfigStore store{dir.str()};
    Context ctx{store, clock, dialogs, beeper};
    std::unique_ptr<SerialDriver> driver;
    std::unique_ptr<SerialPort> serial;

    X10Rig() {
        std::filesystem::create_symlink(sim.slavePath(), dir.file("com3"));
        driver = MakeSystemSerialDriver(dir.str());
        serial = std::make_unique<SerialPort>(*driver);
        EXPECT_TRUE(store.LoadFromText(DefaultConfiguration()));
        store.settings().x10Com = 3;
        store.settings().beepOn = true;
    }
    ~X10Rig() {
        if (ctx.x10PortHandle >= 1) serial->CloseHandle(ctx.x10PortHandle);
    }
    PortHandle open() {
        PortHandle h = serial->OpenComPort(3);
        serial->ConfigureComPort(4800, 8, h);
        return h;
    }
};

TEST(X10Send, FullExchangeOnTheWire) {
    X10Rig rig;
    PortHandle h = rig.open();
    ASSERT_NE(h, kNoPort);
    EXPECT_TRUE(X10Send(*rig.serial, h, rig.clock, 1, 1, kX10On, 0));
    EXPECT_EQ(rig.sim.received, std::string("\x04\x66\x00\x06\x62\x00", 6));
    EXPECT_EQ(rig.sim.events, (std::vector<Ev>{{Ev::Address, 6, 6, 0}, {Ev::Function, 6, 2, 0}}));
    EXPECT_TRUE(rig.sim.complaints.empty());
    rig.serial->CloseHandle(h);
}

TEST(X10Send, FaultsOfTheInterface) {
    using F = Cm11Sim::Fault;
    struct Row {
        const char* name;
        F fault;
        int faulty;
        int delayMs;
        bool ok;
        int addressesSent; // attempts that reached the go-ahead stage or not: header bytes seen
        std::int64_t maxSleptMs;
    } rows[] = {
        {"silent", F::Silent, 1 << 30, 0, false, 2, 4000},
        {"silent once", F::Silent, 1, 0, true, 2, 4000},
        {"two bytes in one answer", F::TwoBytes, 1 << 30, 0, false, 2, 4000},
        {"wrong checksum echoed", F::WrongChecksum, 1 << 30, 0, false, 2, 4000},
        {"wrong checksum once", F::WrongChecksum, 1, 0, true, 2, 4000},
        {"ready after 1.4 s", F::LateReady, 1, 1400, true, 1, 4000},
        {"ready after 3 s", F::LateReady, 1 << 30, 3000, false, 2, 20000},
    };
    for (const Row& r : rows) {
        SCOPED_TRACE(r.name);
        X10Rig rig;
        rig.sim.fault = r.fault;
        rig.sim.faultyAnswers = r.faulty;
        rig.sim.readyDelayMs = r.delayMs;
        PortHandle h = rig.open();
        EXPECT_EQ(X10Send(*rig.serial, h, rig.clock, 1, 1, kX10On, 0), r.ok);
        int headers = 0;
        for (char c : rig.sim.received) headers += c == '\x04';
        EXPECT_EQ(headers, r.addressesSent);
        EXPECT_LE(rig.clock.slept, r.maxSleptMs);
        rig.serial->CloseHandle(h);
    }
}

TEST(X10Send, SlowPowerLineTransmissionIsAwaited) {
    // The function's ready may take up to 4 s; the address's only 2 s.
    X10Rig rig;
    rig.sim.fault = Cm11Sim::Fault::LateReady;
    rig.sim.readyDelayMs = 3400;
    rig.sim.faultyAnswers = 0;
    PortHandle h = rig.open();
    // Let the address's ready pass, then delay the function's.
    struct Gate : Clock {
        X10Rig& r;
        explicit Gate(X10Rig& rig) : r(rig) {}
        void sleep(int ms) override {
            if (r.sim.events.size() == 1) r.sim.faultyAnswers = 1;
            r.clock.sleep(ms);
        }
        std::int64_t nowMs() override { return r.clock.nowMs(); }
    } gate(rig);
    EXPECT_TRUE(X10Send(*rig.serial, h, gate, 1, 1, kX10On, 0));
    EXPECT_EQ(rig.sim.events.size(), 2u);
    rig.serial->CloseHandle(h);
}

TEST(X10Action, DimIsSentInStepsOf39AndFramedByBeeps) {
    X10Rig rig;
    std::string r = X10Action(rig.ctx, *rig.serial, "x10&desk lamp", "Dim", kX10Dim, 100);
    EXPECT_EQ(r, "X10-x10&desk lamp Dim.");
    std::vector<Ev> expected;
    for (int dims : {8, 8, 4}) { // 39 %, 39 %, 22 %
        expected.push_back({Ev::Address, 6, 6, dims});
        expected.push_back({Ev::Function, 6, kX10Dim, dims});
    }
    EXPECT_EQ(rig.sim.events, expected);
    EXPECT_EQ(rig.beeper.beeps, (std::vector<std::pair<int, int>>{{5000, 50}, {2000, 50}}));
    EXPECT_GE(rig.ctx.x10PortHandle, 1); // stays open for the next command

    // The second unit, plain function, through the already open port.
    EXPECT_EQ(X10Action(rig.ctx, *rig.serial, "X10-Fan", "Off", kX10Off, 100), "X10-X10-Fan Off.");
    EXPECT_EQ(rig.sim.events.back(), (Ev{Ev::Function, 6, kX10Off, 0}));
    EXPECT_EQ(rig.sim.events[rig.sim.events.size() - 2], (Ev{Ev::Address, 6, 14, 0}));
}

TEST(X10Action, Failures) {
    {
        X10Rig rig; // unknown unit: the exchange never starts, no second beep
        EXPECT_EQ(X10Action(rig.ctx, *rig.serial, "x10&cellar", "On", kX10On, 0), "Error sending X10 command!");
        EXPECT_TRUE(rig.sim.received.empty());
        EXPECT_EQ(rig.beeper.beeps, (std::vector<std::pair<int, int>>{{5000, 50}}));
    }
    {
        X10Rig rig; // a silent interface
        rig.sim.fault = Cm11Sim::Fault::Silent;
        EXPECT_EQ(X10Action(rig.ctx, *rig.serial, "x10&fan", "On", kX10On, 0), "Error sending X10 command!");
        EXPECT_EQ(rig.beeper.beeps.size(), 1u);
    }
    {
        X10Rig rig; // a port that is not there: no beep at all
        rig.store.settings().x10Com = 7;
        EXPECT_EQ(X10Action(rig.ctx, *rig.serial, "x10&fan", "On", kX10On, 0),
                  "Cannot open COM port for X10 interface (CM11/12)!");
        EXPECT_TRUE(rig.beeper.beeps.empty());
    }
}

TEST(X10Action, DefaultPortSharesTheInfraredHandle) {
    X10Rig rig;
    rig.store.settings().x10Com = 0;
    rig.ctx.irPortHandle = rig.serial->OpenComPort(3);
    ASSERT_NE(rig.ctx.irPortHandle, kNoPort);
    EXPECT_EQ(X10Action(rig.ctx, *rig.serial, "x10&fan", "On", kX10On, 0), "X10-x10&fan On.");
    EXPECT_EQ(rig.ctx.x10PortHandle, rig.ctx.irPortHandle);
    rig.ctx.x10PortHandle = kNoPort; // closed once, below
    rig.serial->CloseHandle(rig.ctx.irPortHandle);
}

// The window's logic against a recording view.
struct ConfigRig : X10Rig {
    FakeView form, main;
    X10ConfigController c{ctx, *serial, form, main};
    ConfigRig() {
        store.settings().x10Com = 0;
        c.onLoad();
    }
    void select(int house, int unit) {
        form.setCurrentIndex("HCListbox", house - 1);
        form.setCurrentIndex("DCListbox", unit - 1);
        c.onHouseOrUnitSelected();
    }
    void add(const std::string& name) {
        form.setText("X10DescCombo", name);
        c.onAdd();
    }
};

TEST(X10Config, LoadShowsNamesAndPorts) {
    ConfigRig rig;
    EXPECT_EQ(rig.form.items("HCListbox").size(), 16u);
    EXPECT_EQ(rig.form.items("DCListbox").back(), "16");
    EXPECT_EQ(rig.form.text("X10DescCombo"), "Desk Lamp");
    EXPECT_EQ(rig.form.items("X10COMList"), (std::vector<std::string>{"Default", "COM3"}));
    EXPECT_EQ(rig.form.currentText("X10COMList"), "Default");
    EXPECT_TRUE(rig.form.isChecked("DisableX10Checkbox")); // X10ENA= 0
    rig.select(1, 2);
    EXPECT_EQ(rig.form.text("X10DescCombo"), "Fan");
    rig.select(3, 2);
    EXPECT_EQ(rig.form.text("X10DescCombo"), "");
}

TEST(X10Config, AddRefusalsAndQuestions) {
    struct Row {
        const char* name;
        std::vector<MsgAnswer> answers;
        std::vector<std::string> asked;
        std::string stored; // at C2 after the attempt
    } rows[] = {
        {"Garden Light", {}, {}, "garden light"},
        {"", {}, {}, ""},
        {"abcdefghijklmnopqrst", {}, {}, "abcdefghijklmnopqrst"},
        {"abcdefghijklmnopqrstu", {}, {"The X10 device name must be less than 20 characters!"}, ""},
        {"a,b", {}, {"The X10 Device Name cannot contain the following characters: \",\", \"[\" and \"]\" !"}, ""},
        {"[x", {}, {"The X10 Device Name cannot contain the following characters: \",\", \"[\" and \"]\" !"}, ""},
        {"FAN", {}, {"There is another device with this name!"}, ""},
    };
    for (const Row& r : rows) {
        SCOPED_TRACE(r.name);
        ConfigRig rig;
        rig.select(3, 2);
        rig.add(r.name);
        EXPECT_EQ(rig.dialogs.texts(), r.asked);
        EXPECT_EQ(rig.c.names().name(3, 2), r.stored);
    }
    for (MsgAnswer a : {MsgAnswer::Yes, MsgAnswer::No}) {
        ConfigRig rig;
        rig.dialogs.answers = {a};
        rig.select(1, 2);
        rig.add("Ceiling");
        EXPECT_EQ(rig.dialogs.texts(),
                  std::vector<std::string>{"Do you want to modify the description for the current device?"});
        EXPECT_EQ(rig.dialogs.messages[0].caption, "ZVK");
        EXPECT_EQ(rig.c.names().name(1, 2), a == MsgAnswer::Yes ? "ceiling" : "Fan");
    }
}

TEST(X10Config, OkRewritesTheSectionAndKeys) {
    ConfigRig rig;
    rig.select(1, 1);
    rig.dialogs.answers = {MsgAnswer::Yes};
    rig.c.onDelete();
    EXPECT_EQ(rig.dialogs.texts(), std::vector<std::string>{"Do you want to delete the selected device?"});
    rig.select(2, 10);
    rig.add("Porch");
    rig.select(1, 16);
    rig.add("hall");
    rig.form.setCurrentIndex("X10COMList", 1);
    rig.form.setChecked("DisableX10Checkbox", false);
    rig.ctx.x10PortHandle = 42;
    rig.c.onOK();
    rig.c.onClose();
    EXPECT_EQ(rig.main.textsOf("StatusBar"), std::vector<std::string>{"X10 configuration saved OK."});
    std::string saved = rig.dir.read("telvorin.cfg");
    EXPECT_NE(saved.find("[X10]\r\n/X10/*a2,Fan\r\n/X10/*a16,hall\r\n/X10/*b10,porch\r\n[Application]"),
              std::string::npos);
    EXPECT_NE(saved.find("X10COM= 3\r\nX10ENA= 1\r\n"), std::string::npos);
    EXPECT_EQ(rig.ctx.x10PortHandle, 0); // the port changed: reopened by the next command
    EXPECT_TRUE(rig.store.settings().x10Ena);

    ConfigRig cancelled;
    cancelled.c.onClose();
    EXPECT_EQ(cancelled.main.textsOf("StatusBar"), std::vector<std::string>{"X10 configuration cancelled."});
}

TEST(X10Config, ResetWritesTheClockRecord) {
    {
        // A port of its own is prepared through the infrared handle, which is closed here.
        ConfigRig rig;
        rig.store.settings().x10Com = 3;
        rig.c.onReset();
        EXPECT_EQ(rig.dialogs.texts(), std::vector<std::string>{"Cannot open COM port for X10 interface (CM11/12)!"});
        EXPECT_TRUE(rig.main.textsOf("StatusBar").empty());
    }
    ConfigRig rig;
    rig.ctx.irPortHandle = rig.serial->OpenComPort(3);
    rig.c.onReset();
    rig.clock.sleep(0);
    EXPECT_EQ(rig.sim.received, std::string(kX10ClockSetRecord));
    EXPECT_EQ(rig.sim.events, (std::vector<Ev>{{Ev::ClockSet, 0, 7, 0}}));
    EXPECT_EQ(rig.main.textsOf("StatusBar"), (std::vector<std::string>{"CM11/12 interface reset OK."}));
    EXPECT_EQ(rig.ctx.x10PortHandle, rig.ctx.irPortHandle);
    rig.ctx.x10PortHandle = kNoPort;
    rig.serial->CloseHandle(rig.ctx.irPortHandle);
}

} // namespace
} // namespace quenix::testing
