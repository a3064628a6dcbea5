#include "monitor/capture_source.h"
#include "support/rig.h"
#include "support/sim_serial.h"

#include <gtest/gtest.h>

namespace quenix::testing {
namespace {

class CaptureSourceTest : public ::testing::Test, protected BasicRig<SimClock> {
protected:
    CaptureSourceTest() {
        line(); // present
        ctx.irPortHandle = port.OpenComPort(1);
    }
    SimPort& line() { return driver.port(1); }

    SimSerialDriver driver{clock};
    SerialPort port{driver};
    FakeCaptureLibrary library;
    PortCaptureSource source{ctx, port, library};
};

TEST_F(CaptureSourceTest, LinesAndEntryByInterfaceAndTheIRManCode) {
    struct Case {
        int type;
        std::string entry; // empty: no capture call
        bool dtr, rts, brk;
    };
    const Case cases[] = {{0, "IRRecord", false, true, true},
                          {1, "IRRecordN", true, true, false},
                          {4, "IRRecord", false, false, true},
                          {2, "", false, false, true}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.type);
        line().dtr = line().rts = false;
        line().brk = true;
        library.captureCalls.clear();
        library.captures = {std::vector<std::uint8_t>(100, 0xAA)};
        std::vector<std::uint8_t> buffer(100, 0);
        EXPECT_EQ(source.record(c.type, buffer, 37, 100), !c.entry.empty());
        EXPECT_EQ((std::vector<bool>{line().dtr, line().rts, line().brk}), (std::vector<bool>{c.dtr, c.rts, c.brk}));
        ASSERT_EQ(library.captureCalls.size(), c.entry.empty() ? 0u : 1u);
        if (c.entry.empty()) continue;
        EXPECT_TRUE(library.captureCalls[0].entry == c.entry && library.captureCalls[0].procDelay == 37);
        EXPECT_EQ(buffer[99], 0xAA);
    }
    std::vector<std::uint8_t> buffer(600, 0);
    library.captures.clear(); // the library's time-out
    EXPECT_FALSE(source.record(0, buffer, 20, 600));

    // An IRMan sends its six-byte code at 9600 baud, or nothing within 5 s.
    line().state.baudRate = 4800;
    line().state.byteSize = 7;
    line().rx = std::string("\x11\x22\x33\x44\x55\x66\x77", 7);
    EXPECT_EQ(source.readIRMan(), std::string("\x11\x22\x33\x44\x55\x66", 6));
    EXPECT_TRUE(line().state.baudRate == 9600 && line().state.byteSize == 8);
    line().rx.clear();
    const std::int64_t before = clock.nowMs();
    EXPECT_EQ(source.readIRMan(), "");
    EXPECT_EQ(clock.nowMs() - before, 5000);
}

} // namespace
} // namespace quenix::testing
