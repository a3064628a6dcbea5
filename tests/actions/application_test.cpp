#include "actions/application.h"
#include "actions/launcher.h"
#include "actions/audio.h"
#include "support/rig.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <thread>

namespace quenix::testing {
namespace {

class RecordingSound final : public SoundPlayer {
public:
    bool playWav(const std::string& p) override {
        played.push_back("wav " + p);
        return true;
    }
    bool playMp3(const std::string& p) override {
        played.push_back("mp3 " + p);
        return true;
    }
    std::vector<std::string> played;
};

// The shipped configuration with other [Application] lines.
std::string Config(const std::string& applicationLines) {
    std::string cfg = DefaultConfiguration();
    std::size_t from = cfg.find("[Application]\r\n") + 15, to = cfg.find("[Monitoring]");
    cfg.replace(from, to - from, applicationLines);
    return cfg.insert(cfg.find("[Monitoring]\r\n") + 14, "TV&Play,application&Chime\r\n");
}

TEST(Application, FindsTheLineByItsName) {
    std::string cfg = Config("@/usr/bin/xterm -e top,Top\r\n/music/a,b.mp3,Song\r\nplain,Chime\r\n");
    struct Row {
        const char* name;
        std::optional<std::string> line;
    } rows[] = {
        {"Top", "@/usr/bin/xterm -e top"},
        {"TOP", "@/usr/bin/xterm -e top"},
        {"song", "/music/a,b.mp3"},
        {"Chime", "plain"},
        {"Play", std::nullopt}, // in [Monitoring], not here
        {"xterm", std::nullopt},
    };
    for (const Row& r : rows) EXPECT_EQ(FindApplicationLine(cfg, r.name), r.line) << r.name;
    EXPECT_EQ(FindApplicationLine("[General]\r\n[End]\r\n", "Top"), std::nullopt);
}

TEST(SplitCommandLine, BlanksAndQuotes) {
    EXPECT_EQ(SplitCommandLine("  sh -c \"echo a  b\" x"), (std::vector<std::string>{"sh", "-c", "echo a  b", "x"}));
    EXPECT_EQ(SplitCommandLine("\"\" a"), (std::vector<std::string>{"", "a"}));
    EXPECT_TRUE(SplitCommandLine("   ").empty());
}

std::string WaitForFile(const std::filesystem::path& p) {
    for (int i = 0; i < 300 && !std::filesystem::exists(p); ++i) std::this_thread::sleep_for(std::chrono::milliseconds(10));
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    std::ifstream f(p);
    std::string s;
    std::getline(f, s);
    return s;
}

TEST(Application, ResultsBeepsAndWhatRuns) {
    Rig rig;
    auto& [dir, store, clock, dialogs, beeper, ctx] = rig;
    dir.write("tone.wav", "RIFF");
    dir.write("song.MP3", "ID3");
    std::string d = dir.str();
    // Each program tells where its standard error went: a hidden one has no terminal.
    std::string lines = "sh -c \"readlink /proc/$$/fd/2 > " + d + "/hidden\",Hidden\r\n" +
                        "@sh -c \"readlink /proc/$$/fd/2 > " + d + "/shown\",Shown\r\n" +
                        "no-such-program-here,Broken\r\n" + d + "/tone.wav,Tone\r\n" + d + "/song.MP3,Song\r\n" +
                        d + "/missing.wav,Gone\r\n";
    ASSERT_TRUE(store.LoadFromText(Config(lines)));
    store.settings().beepOn = true;
    auto launcher = MakeSystemLauncher();
    RecordingSound sound;

    struct Row {
        const char* command;
        std::string result;
        bool secondBeep;
    } rows[] = {
        {"Hidden", "Hidden executed.", true},
        {"Shown", "Shown executed.", true},
        {"Tone", "Tone executed.", true},
        {"song", "File song start playing.", true},
        {"Broken", "Error handling application!", false},
        {"Gone", "Error handling application!", false},
        {"Nothing", "Error handling application!", false},
    };
    for (const Row& r : rows) {
        SCOPED_TRACE(r.command);
        beeper.beeps.clear();
        EXPECT_EQ(ApplicationAction(ctx, *launcher, sound, r.command), r.result);
        std::vector<std::pair<int, int>> beeps{{5000, 50}};
        if (r.secondBeep) beeps.emplace_back(2000, 50);
        EXPECT_EQ(beeper.beeps, beeps);
    }
    EXPECT_EQ(sound.played, (std::vector<std::string>{"wav " + d + "/tone.wav", "mp3 " + d + "/song.MP3"}));
    EXPECT_EQ(WaitForFile(dir.file("hidden")), "/dev/null");
    std::string shown = WaitForFile(dir.file("shown"));
    EXPECT_FALSE(shown.empty());
    EXPECT_NE(shown, "/dev/null");
}

} // namespace
} // namespace quenix::testing
