// The real capture library, loaded from the program folder, driving a pseudo-terminal.

#include "io/capture_library.h"
#include "io/serial_port.h"
#include "pty_pair.h"
#include "serpulse/pulse_engine.h"
#include "support/fakes.h"
#include "support/txd_frame.h"

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
    }
    EXPECT_TRUE(MakeCaptureLibrary(QUENIX_PROGRAM_DIR)->Ready());
}

TEST(CaptureLibrary, TxdSendPutsTheCarrierStreamOnThePort) {
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

    const TxdFrame frame = SonyTxdFrame();
    auto received = std::async(std::launch::async, [&] { return pty.receive(frame.stream.size(), 5000); });
    EXPECT_TRUE(library->IRSend(frame.packed.data(), static_cast<int>(frame.packed.size()), 550, 1).has_value());
    EXPECT_EQ(received.get(), frame.stream);
    library->SetHandle(0);
    port.CloseHandle(h);
}

// 2000 alternating cells: every boundary within half a character of its time.
TEST(TxdStream, CellBoundariesNeverDrift) {
    std::vector<std::uint8_t> packed(250, 0xAA);
    std::vector<std::uint8_t> stream = serpulse::TxdStream(packed.data(), 250, 550);
    const double charUs = serpulse::kTxdCharUs;
    EXPECT_EQ(stream.size(), static_cast<std::size_t>(std::llround(2000 * 550 / charUs)));
    std::vector<std::size_t> changes; // index of the first byte of cells 1, 2, ...
    for (std::size_t i = 1; i < stream.size(); ++i)
        if (stream[i] != stream[i - 1]) changes.push_back(i);
    EXPECT_TRUE(stream[0] == serpulse::kTxdCarrierByte && stream.back() == serpulse::kTxdIdleByte);
    ASSERT_EQ(changes.size(), 1999u);
    for (std::size_t c = 0; c < changes.size(); ++c)
        EXPECT_LE(std::abs(static_cast<double>(changes[c]) * charUs - static_cast<double>(c + 1) * 550.0), charUs / 2)
            << c;
}

} // namespace
} // namespace quenix::testing
