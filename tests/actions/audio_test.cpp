#include "actions/audio.h"
#include "peers.h"
#include "support/fakes.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <thread>
#include <vector>

namespace quenix::testing {
namespace {

constexpr int kRate = 44100;

// What SDL's disk driver wrote: 16-bit stereo at 44.1 kHz, silence included; left channel.
std::vector<int> Recorded(const std::filesystem::path& file) {
    std::ifstream f(file, std::ios::binary);
    std::vector<char> bytes((std::istreambuf_iterator<char>(f)), std::istreambuf_iterator<char>());
    std::vector<int> left;
    for (std::size_t i = 0; i + 3 < bytes.size(); i += 4)
        left.push_back(static_cast<std::int16_t>(static_cast<std::uint8_t>(bytes[i]) |
                                                 (static_cast<std::uint8_t>(bytes[i + 1]) << 8)));
    return left;
}

struct Span {
    std::size_t first = 0, last = 0; // frames of the first and last loud sample
    bool any = false;
    double ms() const { return any ? (last - first + 1) * 1000.0 / kRate : 0; }
};

Span LoudSpan(const std::vector<int>& s, std::size_t from = 0, std::size_t to = SIZE_MAX) {
    Span sp;
    for (std::size_t i = from; i < s.size() && i < to; ++i) {
        if (std::abs(s[i]) > 1500) {
            if (!sp.any) sp.first = i;
            sp.last = i;
            sp.any = true;
        }
    }
    return sp;
}

// Frequency from the sign changes between two frames.
double Frequency(const std::vector<int>& s, std::size_t first, std::size_t last) {
    int crossings = 0;
    for (std::size_t i = first + 1; i <= last && i < s.size(); ++i)
        crossings += (s[i - 1] < 0) != (s[i] < 0);
    return crossings / 2.0 / ((last - first) / static_cast<double>(kRate));
}

// One disk-driver session: audio is opened on construction and flushed to the file at close().
class DiskAudio {
public:
    DiskAudio() : file_(dir_.file("out.raw")) {
        setenv("SDL_AUDIODRIVER", "disk", 1);
        setenv("SDL_DISKAUDIOFILE", file_.c_str(), 1);
        audio_ = MakeSystemAudio();
    }
    AudioOutput& audio() { return *audio_; }
    std::vector<int> close() {
        audio_.reset();
        return Recorded(file_);
    }
    TempDir& dir() { return dir_; }

private:
    TempDir dir_;
    std::filesystem::path file_;
    std::unique_ptr<AudioOutput> audio_;
};

void Pause(int ms) { std::this_thread::sleep_for(std::chrono::milliseconds(ms)); }

TEST(Audio, BeepIsTheToneOfItsLengthAndBlocks) {
    DiskAudio disk;
    auto start = std::chrono::steady_clock::now();
    disk.audio().beep(5000, 50);
    auto took = std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - start);
    EXPECT_GE(took.count(), 50);
    Pause(100);
    std::vector<int> s = disk.close();
    Span sp = LoudSpan(s);
    ASSERT_TRUE(sp.any) << "no beep in " << s.size() << " frames";
    EXPECT_NEAR(sp.ms(), 50, 3);
    EXPECT_NEAR(Frequency(s, sp.first, sp.last), 5000, 100);
}

// A mono 16-bit wav of a sine tone.
std::string Wav(double hz, int ms) {
    int frames = kRate * ms / 1000;
    auto u32 = [](std::uint32_t v) { return std::string{char(v), char(v >> 8), char(v >> 16), char(v >> 24)}; };
    auto u16 = [](std::uint16_t v) { return std::string{char(v), char(v >> 8)}; };
    std::string data;
    for (int i = 0; i < frames; ++i) data += u16(static_cast<std::uint16_t>(static_cast<std::int16_t>(
                                            10000 * std::sin(2 * M_PI * hz * i / kRate))));
    return "RIFF" + u32(36 + static_cast<std::uint32_t>(data.size())) + "WAVEfmt " + u32(16) + u16(1) + u16(1) +
           u32(kRate) + u32(kRate * 2) + u16(2) + u16(16) + "data" + u32(static_cast<std::uint32_t>(data.size())) + data;
}

TEST(Audio, WavIsPlayed) {
    DiskAudio disk;
    disk.dir().write("tone.wav", Wav(1000, 200));
    EXPECT_TRUE(disk.audio().playWav(disk.dir().file("tone.wav").string()));
    EXPECT_FALSE(disk.audio().playWav(disk.dir().file("none.wav").string()));
    Pause(450);
    std::vector<int> s = disk.close();
    Span sp = LoudSpan(s);
    ASSERT_TRUE(sp.any);
    EXPECT_NEAR(sp.ms(), 200, 5);
    EXPECT_NEAR(Frequency(s, sp.first, sp.last), 1000, 30);
}

TEST(Audio, NewMp3CutsThePrevious) {
    ASSERT_TRUE(HaveProgram("sox"));
    DiskAudio disk;
    std::string a = disk.dir().file("long.mp3").string(), b = disk.dir().file("short.mp3").string();
    ASSERT_EQ(std::system(("sox -n -r 44100 -c 1 " + a + " synth 3 sine 700 vol 0.4").c_str()), 0);
    ASSERT_EQ(std::system(("sox -n -r 44100 -c 1 " + b + " synth 0.3 sine 3000 vol 0.4").c_str()), 0);
    EXPECT_TRUE(disk.audio().playMp3(a));
    Pause(400);
    EXPECT_TRUE(disk.audio().playMp3(b));
    Pause(700);
    std::vector<int> s = disk.close();

    // Classify 20 ms windows by pitch: the long tone must stop where the short one starts.
    const std::size_t w = kRate / 50;
    double lowMs = 0, highMs = 0;
    bool lowAfterHigh = false;
    for (std::size_t i = 0; i + w <= s.size(); i += w) {
        if (!LoudSpan(s, i, i + w).any) continue;
        double f = Frequency(s, i, i + w - 1);
        if (std::abs(f - 700) < 60) {
            lowMs += 20;
            lowAfterHigh = lowAfterHigh || highMs > 0;
        } else if (std::abs(f - 3000) < 150) {
            highMs += 20;
        }
    }
    // Wall-clock pauses only set the scene; the bounds are wide enough for a busy machine.
    EXPECT_GT(lowMs, 40);
    EXPECT_LT(lowMs, 2500); // three seconds long, cut short
    EXPECT_GT(highMs, 200);
    EXPECT_FALSE(lowAfterHigh);
}

} // namespace
} // namespace quenix::testing
