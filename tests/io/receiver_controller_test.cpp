// The receiver interfaces against simulated receivers on simulated ports, in virtual time.

#include "io/receiver_controller.h"
#include "support/rig.h"
#include "support/sim_serial.h"

#include <gtest/gtest.h>

namespace quenix::testing {
namespace {

class ReceiverTest : public ::testing::Test, protected BasicRig<SimClock> {
protected:
    ReceiverTest() {
        store.settings().comPort = 2;
        driver.port(2);
    }
    // Opens COM2 the way the start-up does.
    void start() {
        controller.listPorts();
        ASSERT_NE(ctx.irPortHandle, kNoPort);
    }
    SimPort& com2() { return driver.port(2); }
    // What the file on disk says now.
    Settings saved() const {
        ConfigStore fresh(dir.str());
        EXPECT_TRUE(fresh.LoadConfiguration());
        return fresh.settings();
    }

    FakeView view;
    SimSerialDriver driver{clock};
    SerialPort port{driver};
    FakeCaptureLibrary library;
    ReceiverController controller{ctx, view, port, library};
};

TEST_F(ReceiverTest, DetectionTellsTheReceiversApartByTheirLines) {
    struct Case {
        const char* name;
        SimPeer* peer; // nullptr: no device, lines as `inputs`
        std::uint32_t inputs;
        int type;
        std::string status;
    };
    DcdReceiver standard = StandardReceiver(), mouse = IRMouseReceiver();
    IRManPeer irman, silentIrman;
    silentIrman.answer = "";
    const Case cases[] = {
        {"standard", &standard, 0, 0, "DCD Standard interface autodetected."},
        {"irmouse", &mouse, 0, 1, "IRMouse interface autodetected."},
        // An IRMan's DCD is not wired; floating, it reads on and off alike, so neither line
        // probe takes it and the handshake decides.
        {"irman", &irman, 0, 2, "IRMan interface autodetected and initialized OK."},
        {"silent irman", &silentIrman, 0, 9, "Cannot detect interface or no interface connected to COM2."},
        // Nothing on the lines at all reads as an IRMouse idling: kept as the probe has it.
        {"dead port", nullptr, 0, 1, "IRMouse interface autodetected."},
        // A three-wire link with the handshake looped back (all lines on).
        {"looped back", nullptr, kModemCtsOn | kModemDsrOn | kModemDcdOn, 0, "DCD Standard interface autodetected."},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        com2().peer = c.peer;
        com2().inputs = c.inputs;
        ctx.irmanInitialised = false;
        dialogs.messages.clear();
        store.settings().itypeLow = 0;
        start();

        controller.onAutoDetectMenu();
        EXPECT_EQ(view.text("StatusBar"), c.status);
        EXPECT_TRUE(ctx.interfaceType == c.type && saved().itypeLow == c.type && view.isChecked(InterfaceMenu(c.type)));
        EXPECT_EQ(view.text("ReceiverType"), InterfaceName(c.type));
        EXPECT_EQ(ctx.irmanInitialised, c.type == 2);
        EXPECT_TRUE(dialogs.messages.empty()) << dialogs.messages.front().text; // detection reports in the status bar
    }
    // A port that is not open has every line off, which no probe may take for a receiver.
    port.CloseHandle(ctx.irPortHandle);
    ctx.irPortHandle = kNoPort;
    controller.onAutoDetectMenu();
    EXPECT_TRUE(view.text("StatusBar") == "COM2 is not open: there is nothing to detect." && ctx.interfaceType == 0);
}

TEST_F(ReceiverTest, IRManHandshakeAcceptsOkWithinTwoSecondsOnce) {
    const std::tuple<std::string, int, bool> cases[] = { // answer ("": none), its delay, accepted
        {"OK", 100, true}, {"  ok", 300, true}, {"Ok\r\n", 1900, true}, {" ok", 2100, false}, {"", 0, false}};
    IRManPeer irman;
    com2().peer = &irman;
    start();
    for (const auto& [answer, delayMs, accepted] : cases) {
        SCOPED_TRACE(answer);
        irman.answer = answer;
        irman.delayMs = delayMs;
        ctx.irmanInitialised = false;
        dialogs.messages.clear();
        clock.sleeps.clear();
        controller.onIRManMenu();
        // Power off 200 ms, on 500 ms, "I", 500 ms, "R", then polls of 100 ms: twenty at most.
        std::vector<int> want{200, 500, 500};
        want.resize(3 + static_cast<std::size_t>(accepted ? (delayMs + 99) / 100 : 20), 100);
        EXPECT_EQ(clock.sleeps, want);
        ASSERT_EQ(dialogs.messages.size(), 1u);
        EXPECT_EQ(dialogs.messages[0].text,
                  accepted ? "IRMan interface initialized OK" : "IRMan interface cannot be initialized!");
        EXPECT_EQ(dialogs.messages[0].icon, accepted ? MsgIcon::Information : MsgIcon::Exclamation);
        EXPECT_EQ(ctx.irmanInitialised, accepted);
        // Chosen again on a port that answered, IRMan does not repeat the handshake.
        clock.sleeps.clear();
        controller.onIRManMenu();
        EXPECT_EQ(clock.sleeps.empty(), accepted);
    }
}

TEST_F(ReceiverTest, EachInterfaceSetsItsLinesAndControls) {
    // Type, then RTS, DTR, break (all on before; a line the interface leaves alone stays so),
    // FirM's fields shown, TxD box enabled.
    const std::tuple<int, bool, bool, bool, bool, bool> cases[] = {
        {0, true, false, true, false, true},  {1, true, true, false, false, true}, {3, true, true, true, false, true},
        {4, false, false, true, true, false}, {9, true, true, true, false, true},
    };
    start();
    for (const auto& [type, rts, dtr, brk, firmShown, txdEnabled] : cases) {
        SCOPED_TRACE(type);
        ctx.txdOutput = 1;
        com2().rts = com2().dtr = com2().brk = true;
        controller.selectInterface(type);

        EXPECT_EQ((std::vector<bool>{com2().rts, com2().dtr, com2().brk}), (std::vector<bool>{rts, dtr, brk}));
        EXPECT_EQ(view.text("ReceiverType"), InterfaceName(type));
        for (int other : {0, 1, 2, 3, 4, 9}) EXPECT_EQ(view.isChecked(InterfaceMenu(other)), other == type);
        for (const char* firm : {"FirmAnswer", "ZoneNr", "Zone"}) EXPECT_EQ(view.isVisible(firm), firmShown);
        EXPECT_EQ(view.isEnabled("TxDCheckBox"), txdEnabled);
        // FirM talks at 9600 baud and drops the TxD transmitter.
        const int mode = type == 4 ? 0 : 1;
        EXPECT_EQ(ctx.txdOutput, mode);
        EXPECT_EQ(saved().itypeHigh * 16 + saved().itypeLow, mode * 16 + type);
    }
    EXPECT_EQ(com2().state.baudRate, 9600u);
}

TEST_F(ReceiverTest, ThePortListShowsExistingPortsAndOnlyAnOpenOneAsChosen) {
    // Stored port, COM2 present, the list, the chosen item; a port that is gone is opened by nobody.
    const std::tuple<int, bool, std::vector<std::string>, int, std::string> cases[] = {
        {12, true, {"COM2", "COM5", "COM12", "COM30"}, 2, ""},
        {7, true, {"COM2", "COM5", "COM12", "COM30"}, -1, "COM7 is missing; choose another port."},
        {2, false, {"COM5", "COM12", "COM30"}, -1, "COM2 is missing; choose another port."},
    };
    for (int n : {5, 12, 30, 31}) driver.port(n);
    driver.port(7).present = false;
    for (const auto& [comPort, com2Present, items, current, status] : cases) {
        SCOPED_TRACE(comPort);
        view.setStatus("");
        library.handles.clear();
        store.settings().comPort = comPort;
        com2().present = com2Present;
        controller.listPorts();
        EXPECT_EQ(view.items("ComList"), items);
        EXPECT_EQ(view.currentIndex("ComList"), current);
        EXPECT_EQ(view.text("StatusBar"), status);
        EXPECT_EQ(view.color("ComList", View::ColorRole::Foreground), current >= 0 ? kGreen : kRed);
        EXPECT_EQ(ctx.irPortHandle != kNoPort, current >= 0);
        EXPECT_EQ(library.handles, std::vector<PortHandle>(current >= 0 ? 1 : 0, ctx.irPortHandle));
    }
    EXPECT_FALSE(driver.port(12).open);
    for (int n : {2, 5, 12, 30}) driver.port(n).present = false;
    controller.listPorts();
    EXPECT_EQ(view.text("StatusBar"), "There is no COM port available!");
    // The menus still work on the closed port.
    controller.onIRMouseMenu();
    EXPECT_EQ(view.text("ReceiverType"), "IRMouse");
}

TEST_F(ReceiverTest, ChoosingAPortTakesItFromX10OrTurnsTheListRedAndSaysWhy) {
    driver.port(5);
    driver.port(6).busy = true;
    driver.port(7).denied = true;
    store.settings().x10Com = 5;
    store.settings().itypeLow = 1; // IRMouse: RTS and DTR power it
    start();
    PortHandle old = ctx.irPortHandle;
    ctx.x10PortHandle = port.OpenComPort(5); // X10 holds its port
    ctx.irmanInitialised = true;

    view.setCurrentIndex("ComList", 1); // COM5
    controller.onComListClick();
    ASSERT_NE(ctx.irPortHandle, kNoPort);
    EXPECT_FALSE(com2().open || ctx.irmanInitialised);
    EXPECT_EQ(library.handles, (std::vector<PortHandle>{old, kNoPort, ctx.irPortHandle}));
    EXPECT_EQ(ctx.x10PortHandle, kNoPort); // the next X10 command shares the infrared port
    EXPECT_TRUE(saved().comPort == 5 && saved().x10Com == 0);
    EXPECT_EQ(view.color("ComList", View::ColorRole::Foreground), kGreen);
    EXPECT_TRUE(driver.port(5).rts && driver.port(5).dtr); // the IRMouse is powered again
    // The port already in use: nothing changes.
    controller.onComListClick();
    EXPECT_EQ(library.handles.size(), 3u);

    for (int index : {2, 3}) {
        ctx.irmanInitialised = true;
        view.setCurrentIndex("ComList", index);
        controller.onComListClick();
        EXPECT_EQ(ctx.irPortHandle, kNoPort);
        EXPECT_EQ(view.color("ComList", View::ColorRole::Foreground), kRed);
        EXPECT_FALSE(ctx.irmanInitialised);
        EXPECT_EQ(saved().comPort, index + 4);
    }
    EXPECT_EQ(view.text("StatusBar"), "COM7: Permission denied");
    EXPECT_TRUE(dialogs.messages.empty());
}

// Another program set COMPORT= 5; the user picks COM6 and answers No to the overwrite question:
// the reload opens COM5 (as the window wires it), and nothing opens it a second time.
TEST_F(ReceiverTest, APortChosenAfterAnOutsideChangeOpensTheReloadedPortOnce) {
    for (int n : {5, 6}) driver.port(n);
    ctx.onReloaded = [this](const Settings&) { controller.listPorts(), controller.applyStoredInterface(); };
    start();
    std::string text = OnDisk();
    const std::size_t at = text.find("COMPORT=");
    dir.write(ConfigStore::kFileName, text.replace(at, text.find('\r', at) - at, "COMPORT= 5"));

    view.setCurrentIndex("ComList", 2); // COM6
    controller.onComListClick();
    EXPECT_TRUE(driver.port(5).open && !driver.port(6).open && library.handles.back() == ctx.irPortHandle);
    EXPECT_EQ(view.currentText("ComList") + "|" + view.text("StatusBar"), "COM5|");
}

TEST_F(ReceiverTest, TheTxDBoxSwitchesTheTransmitterAndTheIrDABox) {
    start();
    controller.onFirmMenu();
    controller.onStdDcdMenu();

    view.setChecked("TxDCheckBox", true);
    controller.onTxDCheckBox();
    EXPECT_TRUE(ctx.txdOutput == 1 && saved().itypeHigh == 1 && !view.isEnabled("IrDACheckBox"));
    EXPECT_TRUE(com2().state.baudRate == 115200 && com2().state.byteSize == 6 && com2().state.parity == 2);

    view.setChecked("TxDCheckBox", false);
    controller.onTxDCheckBox();
    EXPECT_TRUE(ctx.txdOutput == 0 && saved().itypeHigh == 0 && view.isEnabled("IrDACheckBox"));
    EXPECT_EQ(com2().state.baudRate, 115200u); // not reconfigured until the next open

    // A choice the file could not take is told.
    BlockSaves();
    controller.onIRMouseMenu();
    EXPECT_EQ(dialogs.messages.back().text.rfind("The configuration file could not be written.", 0), 0u);
}

TEST_F(ReceiverTest, StoredItypeRestoresModeAndInterface) {
    IRManPeer irman;
    com2().peer = &irman;
    start();
    port.ConfigureComPort(9600, 8, ctx.irPortHandle);
    store.settings().itypeHigh = 1; // TxD with a standard receiver
    controller.applyStoredInterface();
    EXPECT_TRUE(view.isChecked("TxDCheckBox") && !view.isChecked("IrDACheckBox"));
    EXPECT_TRUE(com2().state.baudRate == 115200 && view.text("ReceiverType") == "DCDStd");

    // IrDA with an IRMan: the box shows checked without its message, the handshake talks at 9600 baud.
    store.settings().itypeHigh = 2;
    store.settings().itypeLow = 2;
    controller.applyStoredInterface();
    EXPECT_TRUE(!view.isChecked("TxDCheckBox") && view.isChecked("IrDACheckBox"));
    EXPECT_TRUE(com2().state.baudRate == 9600 && ctx.interfaceType == 2 && view.text("ReceiverType") == "IRMan");
    EXPECT_EQ(dialogs.texts(), std::vector<std::string>{"IRMan interface initialized OK"});
}

TEST_F(ReceiverTest, AKernelDeviceIsChosenWithItsPortAndGivesWayToACom) {
    driver.port(100); // LIRC0
    start();
    EXPECT_EQ(view.items("ComList"), (std::vector<std::string>{"COM2", "LIRC0"}));
    view.setCurrentIndex("ComList", 1);
    controller.onComListClick();
    EXPECT_EQ(view.text("ReceiverType"), "LIRC0 (receiver and transmitter)");
    EXPECT_FALSE(view.isEnabled("TxDCheckBox") || view.isEnabled("IrDACheckBox"));
    EXPECT_TRUE(saved().comPort == 100 && saved().itypeLow == kKernelIr);
    // The serial receivers need a serial port.
    controller.onIRMouseMenu();
    EXPECT_EQ(view.text("StatusBar"), "LIRC0 is a kernel infrared device: choose a COM port for this interface.");
    EXPECT_TRUE(ctx.interfaceType == kKernelIr && !view.isChecked("IRMouseMenu"));

    view.setCurrentIndex("ComList", 0);
    controller.onComListClick();
    EXPECT_EQ(view.text("ReceiverType"), "DCDStd");
    EXPECT_TRUE(saved().comPort == 2 && saved().itypeLow == kDcdStd);
}

} // namespace
} // namespace quenix::testing
