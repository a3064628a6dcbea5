// The serial port layer's own rules, over the simulated driver.

#include "io/serial_port.h"
#include "support/sim_serial.h"

#include <gtest/gtest.h>

namespace quenix::testing {
namespace {

class SerialPortTest : public ::testing::Test {
protected:
    SerialPortTest() {
        com1().state = CommState{4800, 7, 1, 2, kCommFlagBinary | kCommFlagOutxCtsFlow | 0x10 | 0x1000};
        h = port.OpenComPort(1);
    }
    SimPort& com1() { return driver.port(1); }

    SimClock clock;
    SimSerialDriver driver{clock};
    SerialPort port{driver};
    PortHandle h = kNoPort;
};

TEST_F(SerialPortTest, ConfiguringWritesSpeedBitsAndBinaryOnlyAndDropsTheLines) {
    ASSERT_NE(h, kNoPort);
    port.SetDTR(h, true);
    port.SetRTS(h, true);
    ASSERT_TRUE(port.ConfigureComPort(115200, 6, h));
    EXPECT_EQ(com1().state.baudRate, 115200u);
    EXPECT_EQ(com1().state.byteSize, 6);
    EXPECT_EQ(com1().state.flags, 1u);
    EXPECT_EQ(com1().state.parity, 1);   // as the driver had it
    EXPECT_EQ(com1().state.stopBits, 2); // likewise
    EXPECT_FALSE(com1().dtr);
    EXPECT_FALSE(com1().rts);
    EXPECT_EQ(com1().timeouts.readIntervalTimeout, 0xFFFFFFFFu);
    EXPECT_EQ(com1().timeouts.writeTotalTimeoutMultiplier, 1u);
    EXPECT_EQ(com1().timeouts.writeTotalTimeoutConstant, 10u);

    port.CloseHandle(h);
    EXPECT_FALSE(port.ConfigureComPort(9600, 8, h)); // the driver refuses a closed handle
}

TEST_F(SerialPortTest, LineControlUsesTheEscapeFunctions) {
    struct Case {
        void (SerialPort::*op)(PortHandle, bool);
        bool on;
        const char* line;
    };
    const Case cases[] = {{&SerialPort::SetDTR, true, "DTR"},      {&SerialPort::SetDTR, false, "DTR"},
                          {&SerialPort::SetRTS, true, "RTS"},      {&SerialPort::SetRTS, false, "RTS"},
                          {&SerialPort::SetTxDBreak, true, "BRK"}, {&SerialPort::SetTxDBreak, false, "BRK"}};
    for (const Case& c : cases) {
        (port.*c.op)(h, c.on);
        ASSERT_FALSE(com1().changes.empty());
        EXPECT_EQ(com1().changes.back().line, c.line);
        EXPECT_EQ(com1().changes.back().on, c.on);
    }
    std::size_t before = com1().changes.size();
    port.SetDTR(kNoPort, true);
    EXPECT_EQ(com1().changes.size(), before);
}

TEST_F(SerialPortTest, ModemBitsAreReadOnePerLine) {
    struct Case {
        std::uint32_t inputs;
        bool cts, dsr, dcd;
    };
    for (Case c : {Case{0, false, false, false}, Case{kModemCtsOn, true, false, false},
                   Case{kModemDsrOn, false, true, false}, Case{kModemDcdOn, false, false, true},
                   Case{kModemRingOn, false, false, false}}) {
        com1().inputs = c.inputs;
        EXPECT_EQ(port.IsCTSOn(h), c.cts) << c.inputs;
        EXPECT_EQ(port.IsDSROn(h), c.dsr) << c.inputs;
        EXPECT_EQ(port.IsDCDOn(h), c.dcd) << c.inputs;
    }
}

TEST_F(SerialPortTest, TransfersStopAtAHundredBytes) {
    EXPECT_TRUE(port.WriteComPort(std::string(150, 'x'), h));
    EXPECT_EQ(com1().tx.size(), 100u);
    com1().rx = std::string(250, 'y');
    EXPECT_EQ(port.ReadComPort(h).size(), 100u);
    EXPECT_EQ(port.ReadComPort(h).size(), 100u);
    EXPECT_EQ(port.ReadComPort(h).size(), 50u);
    EXPECT_EQ(port.ReadComPort(h), "");
}

} // namespace
} // namespace quenix::testing
