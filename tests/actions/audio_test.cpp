#include "actions/audio.h"
#include "support/peers.h"
#include "support/fakes.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <thread>

namespace quenix::testing {
namespace {

constexpr int kRate = 44100;

// What SDL's disk driver wrote: 16-bit stereo at 44.1 kHz, silence included; left channel.
std::vector<int> Recorded(const std::filesystem::path& file) {
    std::ifstream f(file, std::ios::binary);
    std::vector<int> left;
    for (std::int16_t frame[2]; f.read(reinterpret_cast<char*>(frame), sizeof frame);) left.push_back(frame[0]);
    return left;
}

struct Span {
    std::size_t first = 0, last = 0; // frames of the first and last loud sample
    bool any = false;
    double ms() const { return any ? (last - first + 1) * 1000.0 / kRate : 0; }
};

Span LoudSpan(const std::vector<int>& s, std::size_t from = 0, std::size_t to = SIZE_MAX) {
    Span sp;
    for (std::size_t i = from; i < s.size() && i < to; ++i)
        if (std::abs(s[i]) > 1500) sp = {sp.any ? sp.first : i, i, true};
    return sp;
}

double Frequency(const std::vector<int>& s, std::size_t first, std::size_t last) {
    int crossings = 0;
    for (std::size_t i = first + 1; i <= last && i < s.size(); ++i)
        crossings += (s[i - 1] < 0) != (s[i] < 0);
    return crossings / 2.0 / ((last - first) / static_cast<double>(kRate));
}

void Pause(int ms) { std::this_thread::sleep_for(std::chrono::milliseconds(ms)); }

std::string Tone(TempDir& dir, const std::string& name, double hz, double seconds) {
    std::string file = dir.file(name).string();
    std::string cmd = "sox -n -r 44100 -c 1 " + file + " synth " + std::to_string(seconds) + " sine " +
                      std::to_string(hz) + " vol 0.4";
    EXPECT_EQ(std::system(cmd.c_str()), 0) << cmd;
    return file;
}

// The beep blocks for its length; a wav starts and returns at once, a missing one fails; a new
// mp3 cuts the one playing.
TEST(Audio, BeepWavAndMp3) {
    ASSERT_TRUE(HaveProgram("sox"));
    TempDir dir;
    setenv("SDL_AUDIODRIVER", "disk", 1);
    setenv("SDL_DISKAUDIOFILE", dir.file("out.raw").c_str(), 1);
    std::unique_ptr<AudioOutput> audio = MakeSystemAudio(QUENIX_PROGRAM_DIR);
    EXPECT_FALSE(std::filesystem::exists(dir.file("out.raw"))) << "the device opens at the first sound, not at start";
    std::string wav = Tone(dir, "tone.wav", 1000, 0.2);
    std::string a = Tone(dir, "long.mp3", 700, 3), b = Tone(dir, "short.mp3", 3000, 0.3);
    auto start = std::chrono::steady_clock::now();
    audio->beep(5000, 50);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(50));
    Pause(100);
    EXPECT_TRUE(audio->playWav(wav));
    EXPECT_FALSE(audio->playWav(dir.file("none.wav").string()));
    Pause(450);
    EXPECT_TRUE(audio->playMp3(a));
    Pause(400);
    EXPECT_TRUE(audio->playMp3(b));
    Pause(700);
    audio.reset(); // flushes the file
    std::vector<int> s = Recorded(dir.file("out.raw"));
    const Span all = LoudSpan(s);
    ASSERT_TRUE(all.any) << "no beep in " << s.size() << " frames";
    // The wav starts 150 ms after the beep, the first mp3 450 ms after the wav.
    const std::size_t wavFrom = all.first + kRate * 8 / 100, mp3From = all.first + kRate * 45 / 100;
    const Span beep = LoudSpan(s, 0, wavFrom), tone = LoudSpan(s, wavFrom, mp3From), mp3 = LoudSpan(s, mp3From);
    EXPECT_NEAR(beep.ms(), 50, 3);
    EXPECT_NEAR(Frequency(s, beep.first, beep.last), 5000, 100);
    ASSERT_TRUE(tone.any && mp3.any);
    EXPECT_NEAR(tone.ms(), 200, 5);
    EXPECT_NEAR(Frequency(s, tone.first, tone.last), 1000, 30);
    // The long mp3 stops where the short one starts, and the short one plays out.
    EXPECT_LT(mp3.ms(), 2500); // three seconds long, cut short; the bound allows a busy machine
    EXPECT_NEAR(Frequency(s, mp3.last - kRate / 10, mp3.last), 3000, 150);
    EXPECT_NEAR(Frequency(s, mp3.first, mp3.first + kRate / 10), 700, 60);
}

} // namespace
} // namespace quenix::testing
