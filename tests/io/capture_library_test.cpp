// The real capture library, loaded from the program folder, driving a pseudo-terminal.

#include "io/capture_library.h"
#include "io/serial_port.h"
#include "ir/codec.h"
#include "ir/protocols.h"
#include "serpulse/pulse_engine.h"
#include "support/fakes.h"
#include "pty_pair.h"

#include <gtest/gtest.h>

#include <cmath>
#include <future>

namespace quenix::testing {
namespace {

TEST(CaptureLibrary, AMissingOrBrokenLibraryFailsWithTheSystemsTextAndNoCrash) {
    for (const char* content : {"", "not a library"}) {
        SCOPED_TRACE(content);
        TempDir folder;
        if (*content) folder.write(CaptureLibraryFileName(), content);
        auto library = MakeCaptureLibrary(folder.str());
        std::vector<std::uint8_t> buffer(600, 0);
        EXPECT_FALSE(library->Ready());
        EXPECT_NE(library->error().find(CaptureLibraryFileName()), std::string::npos) << library->error();
        EXPECT_FALSE(library->SetHandle(5).has_value());
        EXPECT_FALSE(library->IRMonitor(buffer.data(), 20).has_value());
        EXPECT_FALSE(library->IRSend(buffer.data(), 1, 550, 0).has_value());
        EXPECT_FALSE(library->error().empty());
    }
    EXPECT_TRUE(MakeCaptureLibrary(QUENIX_PROGRAM_DIR)->Ready());
}

// The software carrier: the bytes that reach the far end, read back into cells.
TEST(CaptureLibrary, TxdSendMakesTheCarrierForEachCellForItsLength) {
    TempDir folder;
    PtyPair pty;
    pty.linkAs(folder.path(), 4);
    auto driver = MakeSystemSerialDriver(folder.str());
    SerialPort port(*driver);
    PortHandle h = port.OpenComPort(4);
    ASSERT_NE(h, kNoPort);
    ASSERT_TRUE(port.ConfigureComPort(115200, 6, h));

    auto library = MakeCaptureLibrary(QUENIX_PROGRAM_DIR);
    ASSERT_EQ(library->SetHandle(h), 1) << library->error();

    ProtocolHeader header = HeaderFromPreset(kProtoSony);
    std::string code = "G101010010000";
    bool toggle = false;
    std::string cells = EncodeCommand(code, header, toggle);
    std::vector<std::uint8_t> packed = PackCells(cells);
    cells.resize(packed.size() * 8, '0');
    const double charUs = serpulse::kTxdCharUs;
    const auto expectedBytes = static_cast<std::size_t>(std::llround(cells.size() * 550 / charUs));

    auto received = std::async(std::launch::async, [&] { return pty.receive(expectedBytes, 5000); });
    EXPECT_TRUE(library->IRSend(packed.data(), static_cast<int>(packed.size()), 550, 1).has_value());
    std::string bytes = received.get();
    ASSERT_EQ(bytes.size(), expectedBytes);

    // Runs of equal cells against runs of equal bytes: carrier bytes for "1", idle bytes
    // for "0", each run as long as its cells to within one character.
    std::size_t at = 0;
    for (std::size_t k = 0; k < cells.size();) {
        std::size_t m = 1;
        while (k + m < cells.size() && cells[k + m] == cells[k]) ++m;
        const std::uint8_t want = cells[k] == '1' ? serpulse::kTxdCarrierByte : serpulse::kTxdIdleByte;
        std::size_t n = 0;
        while (at + n < bytes.size() && static_cast<std::uint8_t>(bytes[at + n]) == want) ++n;
        SCOPED_TRACE("cells " + std::to_string(k) + ".." + std::to_string(k + m));
        EXPECT_NEAR(static_cast<double>(n) * charUs, static_cast<double>(m) * 550, charUs);
        at += n;
        k += m;
    }
    EXPECT_EQ(at, bytes.size());
    library->SetHandle(0);
    port.CloseHandle(h);
}

TEST(TxdStream, CellBoundariesNeverDrift) {
    // 2000 cells of 550 us alternate; every boundary sits within half a character of its time.
    std::vector<std::uint8_t> packed(250, 0xAA);
    std::vector<std::uint8_t> stream = serpulse::TxdStream(packed.data(), 250, 550);
    const double charUs = serpulse::kTxdCharUs;
    EXPECT_EQ(stream.size(), static_cast<std::size_t>(std::llround(2000 * 550 / charUs)));
    std::vector<std::size_t> changes; // index of the first byte of cells 1, 2, ...
    for (std::size_t i = 1; i < stream.size(); ++i)
        if (stream[i] != stream[i - 1]) changes.push_back(i);
    ASSERT_EQ(changes.size(), 1999u);
    for (std::size_t c = 0; c < changes.size(); ++c)
        EXPECT_LE(std::abs(static_cast<double>(changes[c]) * charUs - static_cast<double>(c + 1) * 550.0), charUs / 2)
            << c;
}

} // namespace
} // namespace quenix::testing
