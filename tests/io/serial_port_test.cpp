// The serial port layer's own rules, over the simulated driver.

#include "io/serial_port.h"
#include "support/sim_serial.h"

#include <gtest/gtest.h>

namespace quenix::testing {
namespace {

// Speed, bits and binary-only go to the driver, parity and stop bits stay as it had them, the
// time-outs are the layer's own. DTR and RTS drop when their control is first switched to
// "disable"; configured again (TxD sending does it before every send), the lines stay as set,
// so the receiver they power keeps hearing.
TEST(SerialPort, ConfiguringWritesSpeedBitsAndBinaryOnlyAndDropsTheLinesOnce) {
    SimClock clock;
    SimSerialDriver driver{clock};
    SerialPort port{driver};
    SimPort& com1 = driver.port(1);
    com1.state = CommState{4800, 7, 1, 2, kCommFlagBinary | kCommFlagOutxCtsFlow | 0x10 | 0x1000};
    const PortHandle h = port.OpenComPort(1);
    for (bool linesStay : {false, true}) {
        port.SetDTR(h, true);
        port.SetRTS(h, true);
        ASSERT_TRUE(port.ConfigureComPort(115200, 6, h));
        EXPECT_TRUE(com1.state.baudRate == 115200 && com1.state.byteSize == 6 && com1.state.flags == 1);
        EXPECT_TRUE(com1.state.parity == 1 && com1.state.stopBits == 2);
        EXPECT_TRUE(com1.dtr == linesStay && com1.rts == linesStay);
        const CommTimeouts& t = com1.timeouts;
        EXPECT_TRUE(t.readIntervalTimeout == 0xFFFFFFFFu && t.writeTotalTimeoutMultiplier == 1 &&
                    t.writeTotalTimeoutConstant == 10);
    }
    port.CloseHandle(h);
    EXPECT_FALSE(port.ConfigureComPort(9600, 8, h)); // the driver refuses a closed handle
}

} // namespace
} // namespace quenix::testing
