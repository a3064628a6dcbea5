// The serial port layer on real pseudo-terminals, through the POSIX driver.

#include "io/serial_port.h"
#include "support/fakes.h"
#include "pty_pair.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <termios.h>
#include <unistd.h>

namespace quenix::testing {
namespace {

class SerialPtyTest : public ::testing::Test {
protected:
    SerialPtyTest() : driver(MakeSystemSerialDriver(folder.str())), port(*driver) { pty.linkAs(folder.path(), 3); }

    TempDir folder;
    PtyPair pty;
    std::unique_ptr<SerialDriver> driver;
    SerialPort port;
};

TEST_F(SerialPtyTest, ReadsTakeAtMost100BytesAndNeverWait) {
    PortHandle h = port.OpenComPort(3);
    ASSERT_NE(h, kNoPort);
    ASSERT_TRUE(port.ConfigureComPort(9600, 8, h));

    EXPECT_EQ(port.ReadComPort(h), ""); // nothing waiting: back at once, empty

    std::string sent;
    for (int i = 0; i < 150; ++i) sent += static_cast<char>('A' + i % 26);
    pty.send(sent);
    EXPECT_EQ(port.ReadComPort(h), sent.substr(0, 100));
    EXPECT_EQ(port.ReadComPort(h), sent.substr(100));
    EXPECT_EQ(port.ReadComPort(h), "");
    port.CloseHandle(h);
}

TEST_F(SerialPtyTest, AHundredByteWriteArrivesWholeAndBytesStayRaw) {
    PortHandle h = port.OpenComPort(3);
    ASSERT_TRUE(port.ConfigureComPort(9600, 8, h));
    std::string text;
    for (int i = 0; i < 100; ++i) text += static_cast<char>(i * 7 % 256); // CR, LF, NUL among them
    ASSERT_TRUE(port.WriteComPort(text, h));
    EXPECT_EQ(pty.receive(100), text);

    pty.send("\r\n\x03\x7f");
    EXPECT_EQ(port.ReadComPort(h), "\r\n\x03\x7f");
    port.CloseHandle(h);
}

TEST_F(SerialPtyTest, AWriteThatCannotFinishStillReportsSuccess) {
    PortHandle h = port.OpenComPort(3);
    ASSERT_TRUE(port.ConfigureComPort(9600, 8, h));
    // Nobody reads the far end: fill the line until it takes no more.
    const std::string block(4096, 'z');
    while (::write(static_cast<int>(h), block.data(), block.size()) > 0) {
    }
    ASSERT_EQ(errno, EAGAIN);
    // The write gives up after its time-out (1 ms a byte plus 10 ms) and says it went well.
    EXPECT_TRUE(port.WriteComPort(std::string(100, 'q'), h));
    port.CloseHandle(h);
}

TEST_F(SerialPtyTest, PortsOpenOnlyWhenTheyExistAndAreFree) {
    folder.write("notatty", "x");
    std::filesystem::create_symlink(folder.file("notatty"), folder.file("com5"));

    struct Case {
        int port;
        bool exists;
    };
    for (Case c : {Case{0, false}, Case{3, true}, Case{5, false}, Case{29, false}, Case{31, false}}) {
        SCOPED_TRACE(c.port);
        EXPECT_EQ(port.ComPortExists(c.port), c.exists);
        PortHandle h = port.OpenComPort(c.port);
        EXPECT_EQ(h != kNoPort, c.exists);
        port.CloseHandle(h);
    }

    PortHandle first = port.OpenComPort(3);
    ASSERT_NE(first, kNoPort);
    EXPECT_EQ(port.OpenComPort(3), kNoPort); // no sharing
    EXPECT_TRUE(port.ComPortExists(3));      // but it still exists
    port.CloseHandle(first);
    PortHandle again = port.OpenComPort(3);
    EXPECT_NE(again, kNoPort);
    port.CloseHandle(again);
}

TEST_F(SerialPtyTest, ConfiguringSetsSpeedRawBytesAndTheTimeouts) {
    PortHandle h = port.OpenComPort(3);
    ASSERT_NE(h, kNoPort);
    ASSERT_TRUE(port.ConfigureComPort(115200, 6, h));
    termios t{};
    ASSERT_EQ(::tcgetattr(static_cast<int>(h), &t), 0);
    EXPECT_EQ(::cfgetospeed(&t), static_cast<speed_t>(B115200));
    EXPECT_FALSE(t.c_lflag & (ICANON | ECHO | ISIG));
    EXPECT_FALSE(t.c_iflag & (ICRNL | IXON));
    EXPECT_FALSE(t.c_oflag & OPOST);
    EXPECT_FALSE(t.c_cflag & CRTSCTS);

    CommTimeouts timeouts;
    ASSERT_TRUE(driver->getTimeouts(h, timeouts));
    EXPECT_EQ(timeouts.readIntervalTimeout, 0xFFFFFFFFu);
    EXPECT_EQ(timeouts.readTotalTimeoutMultiplier, 0u);
    EXPECT_EQ(timeouts.readTotalTimeoutConstant, 0u);
    EXPECT_EQ(timeouts.writeTotalTimeoutMultiplier, 1u);
    EXPECT_EQ(timeouts.writeTotalTimeoutConstant, 10u);
    port.CloseHandle(h);
}

TEST_F(SerialPtyTest, APseudoTerminalReadsItsLinesOnAndIgnoresLineWrites) {
    PortHandle h = port.OpenComPort(3);
    ASSERT_TRUE(port.ConfigureComPort(9600, 8, h));
    port.SetDTR(h, true);
    port.SetRTS(h, false);
    port.SetTxDBreak(h, false);
    EXPECT_TRUE(port.IsCTSOn(h));
    EXPECT_TRUE(port.IsDSROn(h));
    EXPECT_TRUE(port.IsDCDOn(h));
    port.CloseHandle(h);
}

TEST_F(SerialPtyTest, TheNoPortHandleMakesEveryOperationANoOp) {
    EXPECT_FALSE(port.ConfigureComPort(9600, 8, kNoPort));
    EXPECT_FALSE(port.SetComTimeouts(kNoPort));
    EXPECT_FALSE(port.WriteComPort("x", kNoPort));
    EXPECT_EQ(port.ReadComPort(kNoPort), "");
    port.SetDTR(kNoPort, true);
    port.SetRTS(kNoPort, true);
    port.SetTxDBreak(kNoPort, true);
    EXPECT_FALSE(port.IsCTSOn(kNoPort));
    EXPECT_FALSE(port.IsDSROn(kNoPort));
    EXPECT_FALSE(port.IsDCDOn(kNoPort));
    port.CloseHandle(kNoPort);
}

TEST(ComNames, NumberAndNameRoundTrip) {
    EXPECT_EQ(ComDeviceName(7), "COM7");
    struct Case {
        const char* name;
        int n;
    };
    for (Case c : {Case{"COM1", 1}, Case{"COM30", 30}, Case{"com12", 12}, Case{"COM", 0}, Case{"COM0", 0},
                   Case{"COM3x", 0}, Case{"LPT1", 0}, Case{"COM-2", 0}})
        EXPECT_EQ(ComPortNumber(c.name), c.n) << c.name;
}

} // namespace
} // namespace quenix::testing
