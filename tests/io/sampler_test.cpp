// The capture library's sampler and emitter on the simulated port, in virtual time.

#include "io/port_line.h"
#include "ir/analysis.h"
#include "ir/codec.h"
#include "ir/protocols.h"
#include "support/sim_serial.h"

#include <gtest/gtest.h>

namespace quenix::testing {
namespace {

using serpulse::Polarity;
using serpulse::Sampler;

// One receiver on COM1 of a simulated port, read by the sampler.
class Rig {
public:
    explicit Rig(DcdReceiver r, bool withPeer = true) : receiver(r) {
        if (withPeer) driver.port(1).peer = &receiver;
        port.ConfigureComPort(9600, 8, handle);
        port.SetRTS(handle, true);
        port.SetDTR(handle, true);
    }

    // Puts an encoded transmission on the air, starting `afterUs` from now.
    Waveform& transmit(const std::string& cells, double cellUs, double afterUs, double jitterUs = 0) {
        receiver.air.push_back({cells, cellUs, clock.nowNs() + static_cast<std::int64_t>(afterUs * 1000), jitterUs});
        return receiver.air.back();
    }

    int capture(std::vector<std::uint8_t>& buffer, Polarity polarity, bool monitor) {
        return sampler.capture({buffer.data(), static_cast<int>(buffer.size()), 20, polarity,
                                monitor ? serpulse::kMonitorEdgeWaitNs : serpulse::kRecordEdgeWaitNs, monitor});
    }

    SimClock clock;
    SimSerialDriver driver{clock};
    SerialPort port{driver};
    DcdReceiver receiver;
    PortHandle handle = [this] { driver.port(1); return port.OpenComPort(1); }();
    PortLine line{port, handle};
    Sampler sampler{line, clock};
};

std::string Encode(const std::string& bits, ProtocolHeader h) {
    std::string code = "G" + bits;
    bool toggle = false;
    return EncodeCommand(code, h, toggle);
}

TEST(Sampler, StopsSoonAfterTheLastCarrierAndLeavesTheRestZero) {
    ProtocolHeader nec = HeaderFromPreset(kProtoNec);
    nec.repeat = 0; // one sequence, no repeats
    const std::string necBits = "00100000110111110001000011101111";
    const std::string necFrame = Encode(necBits, nec);
    // RC5's encoder leaves 150 units between sequences; the first two of them.
    const std::string rc5Pair = Encode("11010110001101", HeaderFromPreset(kProtoRc5)).substr(0, 220);
    // Silence behind the last carrier: one frame may yet be followed by the second that RC5
    // needs, 140 ms; two frames are enough, 35 ms. Both far below the 264 ms of a full buffer.
    const std::tuple<const char*, std::string, double, std::string, double> cases[] = {
        {"one frame", necFrame, 550, necBits, 140.0},
        {"two frames", necFrame + std::string(60, '0') + necFrame, 550, necBits, 35.0},
        {"rc5 pair", rc5Pair, 850, "11110110001101", 35.0},
    };
    for (const auto& [name, cells, cellUs, bits, stopsAfterMs] : cases) {
        SCOPED_TRACE(name);
        Rig rig(StandardReceiver());
        Waveform& w = rig.transmit(cells, cellUs, 1000);
        std::vector<std::uint8_t> buffer(600, 0);
        ASSERT_EQ(rig.capture(buffer, Polarity::MarkWhenDcdOff, false), 1);
        const std::int64_t lastCarrier =
            w.startNs + static_cast<std::int64_t>((cells.find_last_of('1') + 1) * cellUs * 1000);
        EXPECT_NEAR(static_cast<double>(rig.clock.nowNs() - lastCarrier) / 1e6, stopsAfterMs, 0.2);
        EXPECT_EQ(ExtractFrame(buffer).frame, bits);
        // Nothing is written behind the stop.
        const auto stopByte = static_cast<long>((rig.clock.nowNs() - w.startNs) / 55'000 / 8) + 1;
        ASSERT_LT(stopByte, 600);
        EXPECT_TRUE(std::all_of(buffer.begin() + stopByte, buffer.end(), [](auto b) { return b == 0; }));
    }
}

// No edge to start on: a record call waits 5 s; a monitor call (the window's thread) waits its
// short edge time, or on a stuck line samples 44 ms once and then answers at once until it idles.
TEST(Sampler, CallsWithoutAnEdgeGiveUpInTheirTime) {
    const std::tuple<const char*, bool, bool, std::int64_t, std::int64_t> cases[] = { // peer, monitor, waits
        {"record idle", true, false, 5'000'000'000, 5'000'000'000},
        {"record stuck", false, false, 5'000'000'000, 5'000'000'000},
        {"monitor idle", true, true, serpulse::kMonitorEdgeWaitNs, serpulse::kMonitorEdgeWaitNs},
        {"monitor stuck", false, true, serpulse::kStuckMarkSamples * 55'000, 0},
    };
    for (const auto& [name, peer, monitor, firstNs, thenNs] : cases) {
        SCOPED_TRACE(name);
        Rig rig(StandardReceiver(), peer);
        const Polarity polarity = peer ? Polarity::MarkWhenDcdOff : Polarity::MarkWhenDcdOn;
        for (std::int64_t expected : {firstNs, thenNs}) {
            std::vector<std::uint8_t> buffer(600, 0);
            const std::int64_t start = rig.clock.nowNs();
            EXPECT_EQ(rig.capture(buffer, polarity, monitor), 0);
            EXPECT_NEAR(static_cast<double>(rig.clock.nowNs() - start), static_cast<double>(expected), 1e6);
            EXPECT_EQ(std::count(buffer.begin(), buffer.end(), 0), 600);
        }
    }
    Rig rig(StandardReceiver(), false); // once the stuck line idles, it is sampled again
    std::vector<std::uint8_t> buffer(600, 0);
    rig.capture(buffer, Polarity::MarkWhenDcdOn, true);
    rig.driver.port(1).inputs = kModemCtsOn | kModemDsrOn;
    EXPECT_TRUE(rig.sampler.stuck() && rig.capture(buffer, Polarity::MarkWhenDcdOn, true) == 0 && !rig.sampler.stuck());
}

// DTR follows the cells and is off when the send returns, the padded cells' time later.
TEST(Emitter, DtrFollowsTheCellsInTime) {
    Rig rig(StandardReceiver());
    const std::string cells = Encode("0110100111", HeaderFromPreset(kProtoNec));
    std::vector<std::uint8_t> packed = PackCells(cells);
    rig.port.SetDTR(rig.handle, false);
    rig.driver.port(1).changes.clear();
    const std::int64_t start = rig.clock.nowNs();
    serpulse::Emitter(rig.line, rig.clock).sendDtr(packed.data(), static_cast<int>(packed.size()), 550);

    std::string got(packed.size() * 8, '0');
    const auto& changes = rig.driver.port(1).changes;
    for (std::size_t i = 0; i < changes.size(); ++i) {
        ASSERT_EQ((changes[i].ns - start) % 550'000, 0) << i;
        const auto from = static_cast<std::size_t>((changes[i].ns - start) / 550'000);
        std::fill(got.begin() + static_cast<long>(from), got.end(), changes[i].on ? '1' : '0');
    }
    EXPECT_EQ(got, cells + std::string(got.size() - cells.size(), '0'));
    EXPECT_FALSE(rig.driver.port(1).dtr);
    EXPECT_EQ(rig.clock.nowNs() - start, static_cast<std::int64_t>(got.size()) * 550'000);
}

} // namespace
} // namespace quenix::testing
