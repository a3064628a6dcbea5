// The serial port layer on real pseudo-terminals, and its own rules over the simulated driver.

#include "io/line_watch.h"
#include "io/serial_port.h"
#include "support/fakes.h"
#include "support/sim_serial.h"
#include "pty_pair.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <poll.h>
#include <termios.h>
#include <unistd.h>

namespace quenix::testing {
namespace {

class SerialPtyTest : public ::testing::Test {
protected:
    SerialPtyTest() : driver(MakeSystemSerialDriver(folder.str())), port(*driver) {
        pty.linkAs(folder.path(), 3);
        h = port.OpenComPort(3);
    }
    ~SerialPtyTest() override { port.CloseHandle(h); }

    TempDir folder;
    PtyPair pty;
    std::unique_ptr<SerialDriver> driver;
    SerialPort port;
    PortHandle h = kNoPort;
};

TEST_F(SerialPtyTest, TransfersMoveAtMost100RawBytesAndReadsNeverWait) {
    ASSERT_TRUE(port.ConfigureComPort(9600, 8, h));
    EXPECT_EQ(port.ReadComPort(h), ""); // nothing waiting: back at once, empty
    std::string sent;
    for (int i = 0; i < 150; ++i) sent += static_cast<char>(i * 7 % 256); // CR, LF, NUL, ^C, ^S among them
    pty.send(sent);
    EXPECT_EQ(port.ReadComPort(h), sent.substr(0, 100));
    EXPECT_EQ(port.ReadComPort(h), sent.substr(100));
    EXPECT_EQ(port.ReadComPort(h), "");
    ASSERT_TRUE(port.WriteComPort(sent.substr(0, 100), h));
    EXPECT_EQ(pty.receive(100), sent.substr(0, 100));

    // Nobody reads the far end: fill the line until it takes no more. The write gives up after
    // its time-out (1 ms a byte plus 10 ms) and says it went well.
    const std::string block(4096, 'z');
    while (::write(static_cast<int>(h), block.data(), block.size()) > 0) {
    }
    ASSERT_EQ(errno, EAGAIN);
    EXPECT_TRUE(port.WriteComPort(std::string(100, 'q'), h));
}

TEST_F(SerialPtyTest, PortsOpenOnlyWhenTheyExistAndAreFree) {
    ASSERT_NE(h, kNoPort);
    EXPECT_EQ(port.OpenComPort(3), kNoPort); // no sharing
    EXPECT_NE(port.OpenError().find("in use"), std::string::npos) << port.OpenError();
    EXPECT_TRUE(port.ComPortExists(3)); // but it still exists
    port.CloseHandle(h);
    h = kNoPort;

    folder.write("notatty", "x");
    std::filesystem::create_symlink(folder.file("notatty"), folder.file("com5"));
    for (int n : {0, 3, 5, 29, 31}) {
        SCOPED_TRACE(n);
        EXPECT_EQ(port.ComPortExists(n), n == 3);
        const PortHandle o = port.OpenComPort(n);
        EXPECT_EQ(o != kNoPort, n == 3);
        port.CloseHandle(o);
    }
    // Started without stdin, the port must not become descriptor 0: the capture library
    // takes a handle of 0 for "closed".
    const int in = ::dup(0);
    ::close(0);
    h = port.OpenComPort(3);
    ::dup2(in, 0);
    ::close(in);
    EXPECT_GE(h, 3);
}

// Raw bytes are the transfers' check: CR, LF, NUL, ^C and ^S pass unchanged.
TEST_F(SerialPtyTest, ConfiguringSetsSpeedWithoutFlowControlAndLinesReadOn) {
    ASSERT_TRUE(port.ConfigureComPort(115200, 6, h));
    termios t{};
    ASSERT_EQ(::tcgetattr(static_cast<int>(h), &t), 0);
    EXPECT_TRUE(::cfgetospeed(&t) == static_cast<speed_t>(B115200) && !(t.c_cflag & CRTSCTS));
    // A pseudo-terminal has no modem control: line writes do nothing, its lines read on.
    port.SetRTS(h, false);
    port.SetTxDBreak(h, false);
    EXPECT_TRUE(port.IsCTSOn(h) && port.IsDSROn(h) && port.IsDCDOn(h));
    // Nor can it wait for a line: monitoring keeps polling it.
    LineWatch watch(*driver);
    EXPECT_FALSE(watch.Start(h, kModemDcdOn));
}

// Parity and stop bits stay as the driver had them. DTR and RTS drop once; configured again
// (TxD sending does it before every send) they stay, so the receiver they power keeps hearing.
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

namespace quenix::testing {
namespace {

// The wait runs on a thread of its own and says through its descriptor that the line moved; a
// wait that nothing ends is ended by Stop.
TEST(LineWatch, TellsWhenTheLineMovesAndStopsWhenNothingDoes) {
    for (bool keyComes : {true, false}) {
        SimClock clock;
        SimSerialDriver driver(clock);
        SerialPort port(driver);
        DcdReceiver receiver = StandardReceiver();
        driver.port(1).peer = &receiver;
        const PortHandle h = port.OpenComPort(1);
        port.SetRTS(h, true);
        if (keyComes) receiver.air.push_back({"1111000011", 550.0, clock.nowNs() + 50'000'000});
        LineWatch watch(driver);
        ASSERT_TRUE(watch.Start(h, kModemDcdOn));
        pollfd p{watch.fd(), POLLIN, 0};
        EXPECT_EQ(::poll(&p, 1, keyComes ? 5000 : 100), keyComes ? 1 : 0);
        watch.Stop();
        EXPECT_FALSE(watch.waiting());
    }
}

} // namespace
} // namespace quenix::testing
