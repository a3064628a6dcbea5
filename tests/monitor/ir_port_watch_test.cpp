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
    IrPortWatch watch{ctx, view, port, library, nullptr};

    // Ticks once a millisecond, as the IR timer does; true when the last tick read the line.
    bool Tick(int ms) {
        bool dcd = false, read = false;
        for (int i = 0; i < ms; ++i, clock.advanceMs(1)) read = watch.ReadDcd(dcd);
        return read;
    }
};

// A receiver that is not there when monitoring starts (plugged in later, held by another program)
// is waited for: told once, and again after a restart, then listed, chosen and read once it opens.
TEST(IrPortWatch, APortThatNeverOpenedIsWaitedForAndListedOnceItOpens) {
    const std::tuple<int, std::string, std::vector<std::string>, std::string> cases[] = {
        {102, "no such device. Monitoring starts once LIRC2 opens.", {"COM1", "LIRC0", "LIRC2"},
         "LIRC2 (receiver and transmitter)"},
        {3, "COM3 is in use by another program. Monitoring starts once COM3 opens.", {"COM1", "COM3", "LIRC0"}, ""},
    };
    for (const auto& [number, waiting, listed, caption] : cases) {
        WatchRig rig;
        rig.store.settings().comPort = number;
        rig.view.setItems("ComList", {"COM1", "LIRC0"});
        rig.driver.port(number).present = rig.driver.port(number).busy = number == 3;
        EXPECT_FALSE(rig.Tick(2500));
        rig.watch.Started();
        EXPECT_FALSE(rig.Tick(1000));
        EXPECT_EQ(rig.view.textsOf("StatusBar"), std::vector<std::string>(2, waiting));

        rig.driver.port(number).present = true;
        rig.driver.port(number).busy = false;
        EXPECT_TRUE(rig.Tick(1000));
        EXPECT_EQ(rig.view.text("StatusBar"), ComDeviceName(number) + " is open; monitoring goes on.");
        EXPECT_EQ(rig.view.items("ComList"), listed);
        EXPECT_EQ(rig.view.currentText("ComList") + rig.view.text("ReceiverType"), ComDeviceName(number) + caption);
    }
    // A port the user picks meanwhile ends the wait: the one waited for is not opened as well.
    WatchRig rig;
    rig.store.settings().comPort = 4;
    rig.Tick(10);
    rig.store.settings().comPort = 5;
    rig.driver.port(5);
    rig.ctx.irPortHandle = rig.port.OpenComPort(5);
    rig.driver.port(4);
    EXPECT_TRUE(rig.Tick(2000) && !rig.driver.port(4).open);
}

} // namespace
} // namespace quenix::testing
