#include "actions/application.h"
#include "actions/launcher.h"
#include "actions/audio.h"
#include "support/rig.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
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

TEST(Launcher, ProgramAndArguments) {
    const std::map<std::string, std::string> programs = {
        {"/opt/My Player/player", "/opt/My Player/player"}, {"mpv", "/usr/bin/mpv"}, {"sh", "/bin/sh"}};
    auto locate = [&](const std::string& name) {
        auto it = programs.find(name);
        return it == programs.end() ? std::string() : it->second;
    };
    using W = std::vector<std::string>;
    struct Row {
        const char* line;
        W words;
    } rows[] = {
        {"/opt/My Player/player --x  y", {"/opt/My Player/player", "--x", "y"}}, // as written for Windows
        {"\"/opt/My Player/player\" --x", {"/opt/My Player/player", "--x"}},
        {"mpv --idle", {"/usr/bin/mpv", "--idle"}},
        {"  sh -c \"echo a  b\" x", {"/bin/sh", "-c", "echo a  b", "x"}},
        {"\"\" a", {"", "a"}},
        {"no such", {"", "such"}},
        {"   ", {}},
    };
    for (const Row& r : rows) EXPECT_EQ(ProgramWords(r.line, locate), r.words) << r.line;
}

// Zombie children of this process.
int Zombies() {
    int n = 0;
    for (const auto& e : std::filesystem::directory_iterator("/proc")) {
        std::ifstream f(e.path() / "stat");
        std::string stat;
        std::getline(f, stat);
        std::size_t close = stat.rfind(')');
        if (close == std::string::npos) continue;
        std::istringstream rest(stat.substr(close + 2));
        char state = 0;
        int parent = 0;
        rest >> state >> parent;
        n += state == 'Z' && parent == getpid();
    }
    return n;
}

std::string WaitForFile(const std::filesystem::path& p) {
    for (int i = 0; i < 300 && !std::filesystem::exists(p); ++i) std::this_thread::sleep_for(std::chrono::milliseconds(10));
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    std::ifstream f(p);
    std::string s;
    std::getline(f, s);
    return s;
}

// A program under a folder with blanks, its line quoted or not, and a name beside the program.
TEST(Launcher, StartsWhatWindowsLinesNameAndLeavesNoZombies) {
    TempDir dir;
    std::filesystem::create_directories(dir.file("My Scripts"));
    for (const char* script : {"My Scripts/run.sh", "beside.sh"}) {
        dir.write(script, "#!/bin/sh\necho \"$1\" > \"" + dir.str() + "/$1\"\n");
        std::filesystem::permissions(dir.file(script), std::filesystem::perms::owner_exec,
                                     std::filesystem::perm_options::add);
    }
    auto launcher = MakeSystemLauncher(dir.str());
    const std::string run = dir.str() + "/My Scripts/run.sh";
    for (const std::string& line : {run + " unquoted", "\"" + run + "\" quoted", std::string("beside.sh relative")}) {
        const std::string marker = line.substr(line.rfind(' ') + 1);
        EXPECT_TRUE(launcher->start(line, false)) << line;
        EXPECT_EQ(WaitForFile(dir.file(marker)), marker);
    }
    for (int i = 0; i < 100 && Zombies() > 0; ++i) std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_EQ(Zombies(), 0);
    EXPECT_FALSE(launcher->start("no-such-program-here", false));
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
    auto launcher = MakeSystemLauncher(d);
    RecordingSound sound;

    struct Row {
        const char* command;
        std::string result;
    } rows[] = {
        {"Hidden", "Hidden executed."}, {"Shown", "Shown executed."},
        {"Tone", "Tone executed."},     {"song", "File song start playing."},
        {"Broken", kApplicationError},  {"Gone", kApplicationError},
        {"Nothing", kApplicationError},
    };
    for (const Row& r : rows) {
        SCOPED_TRACE(r.command);
        beeper.beeps.clear();
        EXPECT_EQ(ApplicationAction(ctx, *launcher, sound, r.command), r.result);
        std::vector<std::pair<int, int>> beeps{{5000, 50}};
        if (r.result != kApplicationError) beeps.emplace_back(2000, 50); // no second beep on failure
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
