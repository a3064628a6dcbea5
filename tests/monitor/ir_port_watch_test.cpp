// The infrared port as the monitoring tick sees it, on simulated ports in virtual time.

#include "monitor/ir_port_watch.h"
#include "support/rig.h"
#include "support/sim_serial.h"

#include <gtest/gtest.h>

namespace quenix::testing {
namespace {

struct WatchRig : BasicRig<SimClock> {
    FakeView view;
    SimSerialDriver driver{clock};
    SerialPort port{driver};
    FakeCaptureLibrary library;
    int powerUps = 0;
    IrPortWatch watch{ctx, view, port, library, [this] { ++powerUps; }};

    // Ticks once a millisecond for ms, as the IR timer does; true when the last tick read the line.
    bool Tick(int ms) {
        bool dcd = false, read = false;
        for (int i = 0; i < ms; ++i, clock.advanceMs(1)) read = watch.ReadDcd(dcd);
        return read;
    }
};

// A receiver that is not there when monitoring starts (plugged in later, held by another program)
// is waited for as a lost one: told once (again after a restart), tried each second, and listed,
// chosen and read once it opens; a port the user picks meanwhile ends the wait.
TEST(IrPortWatch, APortThatNeverOpenedIsWaitedForAndListedOnceItOpens) {
    struct Case {
        int number;
        bool busy;
        std::string waiting;
        std::vector<std::string> listed;
        std::string caption;
    };
    const Case cases[] = {
        {102, false, "no such device. Monitoring starts once LIRC2 opens.", {"COM1", "COM5", "LIRC0", "LIRC2"},
         "LIRC2 (receiver and transmitter)"},
        {3, true, "COM3 is in use by another program. Monitoring starts once COM3 opens.",
         {"COM1", "COM3", "COM5", "LIRC0"}, ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.number);
        WatchRig rig;
        rig.store.settings().comPort = c.number;
        rig.view.setItems("ComList", {"COM1", "COM5", "LIRC0"});
        rig.driver.port(c.number).present = rig.driver.port(c.number).busy = c.busy;
        EXPECT_FALSE(rig.Tick(2500));
        rig.watch.Started();
        EXPECT_FALSE(rig.Tick(1000));
        EXPECT_EQ(rig.view.textsOf("StatusBar"), std::vector<std::string>(2, c.waiting));

        rig.driver.port(c.number).present = true;
        rig.driver.port(c.number).busy = false;
        EXPECT_TRUE(rig.Tick(1000));
        EXPECT_EQ(rig.view.text("StatusBar"), ComDeviceName(c.number) + " is open; monitoring goes on.");
        EXPECT_EQ(rig.view.items("ComList"), c.listed);
        EXPECT_EQ(rig.view.currentText("ComList") + rig.view.text("ReceiverType"), ComDeviceName(c.number) + c.caption);
        EXPECT_EQ(rig.view.color("ComList", View::ColorRole::Foreground), kGreen);
        EXPECT_TRUE(rig.powerUps == 1 && rig.library.handles.back() == rig.ctx.irPortHandle);
    }
    WatchRig rig;
    rig.store.settings().comPort = 4;
    rig.Tick(10);
    rig.store.settings().comPort = 5;
    rig.driver.port(5);
    rig.ctx.irPortHandle = rig.port.OpenComPort(5);
    rig.driver.port(4); // there now, but no longer wanted
    EXPECT_TRUE(rig.Tick(2000));
    EXPECT_FALSE(rig.driver.port(4).open);
}

} // namespace
} // namespace quenix::testing
