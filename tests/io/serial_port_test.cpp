// The serial port layer's own rules, over the simulated driver.

#include "io/serial_port.h"
#include "support/sim_serial.h"

#include <gtest/gtest.h>

namespace quenix::testing {
namespace {

TEST(SerialPort, ConfiguringWritesSpeedBitsAndBinaryOnlyAndDropsTheLinesOnce) {
    SimClock clock;
    SimSerialDriver driver{clock};
    SerialPort port{driver};
    SimPort& com1 = driver.port(1);
    com1.state = CommState{4800, 7, 1, 2, kCommFlagBinary | kCommFlagOutxCtsFlow | 0x10 | 0x1000};
    const PortHandle h = port.OpenComPort(1);
    ASSERT_NE(h, kNoPort);
    port.SetDTR(h, true);
    port.SetRTS(h, true);
    ASSERT_TRUE(port.ConfigureComPort(115200, 6, h));
    EXPECT_EQ(com1.state.baudRate, 115200u);
    EXPECT_EQ(com1.state.byteSize, 6);
    EXPECT_EQ(com1.state.flags, 1u);
    EXPECT_EQ(com1.state.parity, 1);   // as the driver had it
    EXPECT_EQ(com1.state.stopBits, 2); // likewise
    EXPECT_FALSE(com1.dtr);
    EXPECT_FALSE(com1.rts);
    EXPECT_EQ(com1.timeouts.readIntervalTimeout, 0xFFFFFFFFu);
    EXPECT_EQ(com1.timeouts.writeTotalTimeoutMultiplier, 1u);
    EXPECT_EQ(com1.timeouts.writeTotalTimeoutConstant, 10u);

    // Configured again (TxD sending does it before every send), the lines stay as set: the
    // receiver they power keeps hearing.
    port.SetDTR(h, true);
    port.SetRTS(h, true);
    ASSERT_TRUE(port.ConfigureComPort(115200, 6, h));
    EXPECT_TRUE(com1.dtr);
    EXPECT_TRUE(com1.rts);

    port.CloseHandle(h);
    EXPECT_FALSE(port.ConfigureComPort(9600, 8, h)); // the driver refuses a closed handle
}

} // namespace
} // namespace quenix::testing
