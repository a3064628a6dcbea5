// Kernel infrared devices: requests, sending into a pipe, receiving mode2 words from a FIFO.

#include "core/text.h"
#include "io/kernel_ir_device.h"
#include "io/serial_port.h"
#include "ir/codec.h"
#include "ir/decoder.h"
#include "support/fakes.h"
#include "support/learned_keys.h"

#include <gtest/gtest.h>

#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace quenix {
namespace {

// The real system, with the device's answers scripted and every request and transmission noted.
class RecordingSystem final : public KernelIrSystem {
public:
    std::uint32_t features = 0;
    bool answers = true;
    std::vector<std::string> requests;
    std::vector<std::uint32_t> sent; // pieces joined by the spaces waited between them

    int request(int, LircRequest r, std::uint32_t& value) override {
        static const char* const names[] = {"GetFeatures", "SetRecMode", "SetSendMode", "SetSendCarrier",
                                            "SetSendDutyCycle"};
        if (r == LircRequest::GetFeatures) value = features;
        requests.push_back(std::string(names[static_cast<int>(r)]) + " " + std::to_string(value));
        return answers ? 0 : ENOTTY;
    }
    long read(int fd, std::uint8_t* b, std::size_t n) override { return real->read(fd, b, n); }
    int write(int, const std::uint8_t* data, std::size_t size) override {
        for (std::size_t i = 0; i + 4 <= size; i += 4) {
            std::uint32_t v = 0;
            std::memcpy(&v, data + i, 4);
            sent.push_back(v);
        }
        return 0;
    }
    bool waitReadable(int fd, int ms) override { return real->waitReadable(fd, ms); }
    void sleepUs(std::int64_t us) override { sent.push_back(static_cast<std::uint32_t>(us)); }
    std::int64_t nowUs() override { return real->nowUs(); }
    std::string name(int) override { return "/dev/lirc0"; }
    std::string errorText(int e) override { return real->errorText(e); }

private:
    std::unique_ptr<KernelIrSystem> real = MakeSystemKernelIr();
};

struct Fifo {
    explicit Fifo(const testing::TempDir& dir) : path(dir.file("fifo").string()) {
        ::mkfifo(path.c_str(), 0600);
        fd = ::open(path.c_str(), O_RDWR | O_NONBLOCK);
    }
    ~Fifo() { ::close(fd); }
    void put(const std::vector<std::uint32_t>& words) const {
        // In two writes that cut a word in half, as a reader of a stream may see it.
        const auto* bytes = reinterpret_cast<const char*>(words.data());
        const std::size_t size = words.size() * 4, cut = size / 2 + 1;
        ASSERT_EQ(::write(fd, bytes, cut), static_cast<ssize_t>(cut));
        ASSERT_EQ(::write(fd, bytes + cut, size - cut), static_cast<ssize_t>(size - cut));
    }
    void drain() const {
        char sink[4096];
        while (::read(fd, sink, sizeof sink) > 0) {
        }
    }
    std::string path;
    int fd = -1;
};

TEST(KernelIr, TheRequestsFollowWhatTheDeviceOffers) {
    // Features, whether the device answers, the requests made at opening and at a send,
    // receives, sends. Nothing that other readers of the device share is set for receiving.
    const std::tuple<std::uint32_t, bool, std::vector<std::string>, bool, bool> cases[] = {
        {kLircCanRecMode2 | kLircCanSetRecTimeout | kLircCanSendPulse | kLircCanSetSendCarrier | kLircCanSetSendDutyCycle,
         true,
         {"GetFeatures 268698370", "SetRecMode 4", "SetSendMode 2", "SetSendCarrier 36000", "SetSendDutyCycle 33"},
         true, true},
        {kLircCanRecMode2, true, {"GetFeatures 262144", "SetRecMode 4"}, true, false},
        {kLircCanSendPulse, true, {"GetFeatures 2", "SetSendMode 2"}, false, true},
        // A FIFO answers nothing: mode2 words in, nothing out.
        {kLircCanSendPulse, false, {"GetFeatures 2"}, true, false},
    };
    const std::uint8_t cell = 0x80;
    for (const auto& [features, answers, requests, receives, sends] : cases) {
        SCOPED_TRACE(requests.front());
        RecordingSystem system;
        system.features = features;
        system.answers = answers;
        KernelIrDevice device(system, 3);
        EXPECT_EQ(device.send(&cell, 1, 600, 36000), sends);
        EXPECT_EQ(system.requests, requests);
        EXPECT_EQ(device.canReceive(), receives);
        EXPECT_EQ(device.canSend(), sends);
    }
}

// The kernel's loopback test: encoder, transmit path into a pipe, monitor capture from a FIFO.
TEST(KernelIr, EveryShippedKeySentThroughThePipeIsRecognisedFromTheFifo) {
    const std::string text = testing::DefaultConfiguration();
    testing::TempDir dir;
    Fifo fifo(dir);
    auto receiving = MakeSystemKernelIr();
    KernelIrLibrary receiver(*receiving);
    receiver.SetHandle(fifo.fd);
    ASSERT_TRUE(receiver.Ready());
    EXPECT_FALSE(receiver.CanSend());
    EXPECT_FALSE(receiver.IRSend(reinterpret_cast<const std::uint8_t*>("\xff"), 1, 550, 0));
    EXPECT_EQ(receiver.error(), dir.file("fifo").string() + " is a receiver only: it cannot send.");

    const std::vector<testing::LearnedKey> keys = testing::LearnedKeys(text);
    bool toggle = false;
    for (const testing::LearnedKey& k : keys) {
        SCOPED_TRACE(k.device + "&" + k.name);
        std::string code = k.code;
        const std::vector<std::uint8_t> packed = PackCells(EncodeCommand(code, k.header, toggle));

        RecordingSystem transmitting;
        transmitting.features = kLircCanSendPulse;
        KernelIrLibrary sender(transmitting);
        sender.SetHandle(3);
        ASSERT_TRUE(sender.IRSend(packed.data(), static_cast<int>(packed.size()), k.header.sendpls, 0));
        ASSERT_EQ(transmitting.sent.size() % 2, 1u);

        // As a receiver reports it: the silence before, a carrier report, the signal, a time-out.
        std::vector<std::uint32_t> words{Mode2Word(false, 300000), kMode2Frequency | 38000};
        for (std::size_t i = 0; i < transmitting.sent.size(); ++i)
            words.push_back(Mode2Word(i % 2 == 0, transmitting.sent[i]));
        words.push_back(kMode2Timeout | 20000);
        fifo.put(words);

        std::vector<std::uint8_t> buffer(600, 0);
        ASSERT_EQ(receiver.IRMonitor(buffer.data(), 20), 1);
        EXPECT_EQ(LookupKey(text, DecodeMonitorFrame(buffer)), k.device + "&" + k.name);
        fifo.drain();
    }
    EXPECT_EQ(keys.size(), 16u);
    // Nothing on the air: the call answers "nothing" after its short wait.
    std::vector<std::uint8_t> buffer(600, 0);
    EXPECT_EQ(receiver.IRMonitor(buffer.data(), 20), 0);
}

// Longer than the kernel takes at once: split in odd-length pieces, the gaps between waited.
TEST(KernelIr, LongSignalsGoInPiecesTheKernelTakes) {
    std::vector<std::uint32_t> long_(1001, 1000);
    auto pieces = SendPieces(long_, 511, 450000);
    ASSERT_EQ(pieces.size(), 3u); // 511 + 1 + 489 values
    std::size_t values = 0;
    for (const auto& [piece, gap] : pieces) {
        EXPECT_EQ(piece.size() % 2, 1u);
        values += piece.size() + (gap > 0 ? 1 : 0);
    }
    EXPECT_EQ(values, long_.size());
    EXPECT_EQ(SendPieces({200000, 10, 300000}, 511, 450000).size(), 2u);
}

// Opening and reading a lirc0 link is the end-to-end run of tests/ui/kernel_ir_test.py.
TEST(KernelIr, SerialLayerNamesLircLinksAndTellsAGoneOne) {
    for (auto [name, number] : {std::pair{"LIRC0", 100}, {"lirc9", 109}, {"LIRC10", 0}, {"COM3", 3}}) {
        EXPECT_EQ(ComPortNumber(name), number) << name;
        if (number) {
            EXPECT_EQ(ToLower(ComDeviceName(number)), ToLower(name));
        }
    }
    testing::TempDir dir;
    auto driver = MakeSystemSerialDriver(dir.str());
    SerialPort port(*driver);
    std::filesystem::create_symlink(dir.file("none"), dir.file("lirc1"));
    EXPECT_FALSE(port.ComPortExists(101));
    EXPECT_EQ(port.OpenComPort(101), kNoPort);
    EXPECT_EQ(port.OpenError(), "LIRC1: " + dir.file("lirc1").string() + " is gone; is the receiver plugged in?");
}

} // namespace
} // namespace quenix
