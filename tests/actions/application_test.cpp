#include "actions/application.h"
#include "actions/launcher.h"
#include "actions/audio.h"
#include "support/rig.h"

#include <gtest/gtest.h>

#include <sys/wait.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <thread>

namespace quenix::testing {
namespace {

class RecordingSound final : public SoundPlayer {
public:
    bool playWav(const std::string& p) override { return play("wav " + p); }
    bool playMp3(const std::string& p) override { return play("mp3 " + p); }
    bool play(const std::string& what) { return played.push_back(what), true; }
    std::vector<std::string> played;
};

// The shipped configuration with other [Application] lines.
std::string Config(const std::string& applicationLines) {
    std::string cfg = DefaultConfiguration();
    std::size_t from = cfg.find("[Application]\r\n") + 15, to = cfg.find("[Monitoring]");
    return cfg.replace(from, to - from, applicationLines);
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
    dir.write("a,song.MP3", "ID3"); // the last comma parts the name
    std::string d = dir.str();
    // A program under a folder with blanks, and one beside the program: each writes a marker.
    std::filesystem::create_directories(dir.file("My Scripts"));
    for (const char* script : {"My Scripts/run.sh", "beside.sh"}) {
        dir.write(script, "#!/bin/sh\necho \"$1\" > \"" + d + "/$1\"\n");
        std::filesystem::permissions(dir.file(script), std::filesystem::perms::owner_exec,
                                     std::filesystem::perm_options::add);
    }
    // Each sh tells where its standard error went: a hidden one has no terminal.
    std::string lines = "sh -c \"readlink /proc/$$/fd/2 > " + d + "/hidden\",Hidden\r\n" +
                        "@sh -c \"readlink /proc/$$/fd/2 > " + d + "/shown\",Shown\r\n" +
                        "no-such-program-here,Broken\r\n" + d + "/tone.wav,Tone\r\n" + d + "/a,song.MP3,Song\r\n" +
                        d + "/missing.wav,Gone\r\n" + d + "/My Scripts/run.sh unquoted,Unquoted\r\n\"" + d +
                        "/My Scripts/run.sh\" quoted,Quoted\r\nbeside.sh relative,Beside\r\n";
    ASSERT_TRUE(store.LoadFromText(Config(lines)));
    store.settings().beepOn = true;
    auto launcher = MakeSystemLauncher(d);
    RecordingSound sound;

    struct Row {
        const char* command;
        std::string result;
    } rows[] = {
        {"Hidden", "Hidden executed."}, {"Shown", "Shown executed."},
        {"Tone", "Tone executed."},     {"song", "File song start playing."},
        {"Broken", kApplicationError},  {"Gone", kApplicationError},
        {"Nothing", kApplicationError}, {"Unquoted", "Unquoted executed."},
        {"Quoted", "Quoted executed."}, {"Beside", "Beside executed."},
    };
    for (const Row& r : rows) {
        SCOPED_TRACE(r.command);
        beeper.beeps.clear();
        EXPECT_EQ(ApplicationAction(ctx, *launcher, sound, r.command), r.result);
        std::vector<std::pair<int, int>> beeps{{5000, 50}};
        if (r.result != kApplicationError) beeps.emplace_back(2000, 50); // no second beep on failure
        EXPECT_EQ(beeper.beeps, beeps);
    }
    EXPECT_EQ(sound.played, (std::vector<std::string>{"wav " + d + "/tone.wav", "mp3 " + d + "/a,song.MP3"}));
    EXPECT_EQ(WaitForFile(dir.file("hidden")), "/dev/null");
    std::string shown = WaitForFile(dir.file("shown"));
    EXPECT_FALSE(shown.empty());
    EXPECT_NE(shown, "/dev/null");
    for (const char* marker : {"unquoted", "quoted", "relative"}) EXPECT_EQ(WaitForFile(dir.file(marker)), marker);
    // No child is left to reap, not even once the programs have ended.
    pid_t child = 0;
    for (int i = 0; i < 50 && child == 0; ++i, std::this_thread::sleep_for(std::chrono::milliseconds(20)))
        child = waitpid(-1, nullptr, WNOHANG);
    EXPECT_EQ(child, -1);
}

} // namespace
} // namespace quenix::testing
