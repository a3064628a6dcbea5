#include "actions/winamp.h"
#include "support/peers.h"
#include "support/rig.h"

#include <gtest/gtest.h>

#include <signal.h>
#include <systemd/sd-bus.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <thread>

namespace quenix::testing {
namespace {

// A player with a playlist of songs on a Windows disk; it records every button and moves
// its current song on Next/Prev as the real one does.
class FakeLink final : public WinampLink {
public:
    explicit FakeLink(int songs, int current = 0) : songs_(songs), current_(current) {}
    int version() override { return running ? 5000 : 0; }
    void addPlaylist(const std::string&) override {}
    void deletePlaylist() override {}
    void startPlay() override {}
    void chDir(const std::string&) override {}
    int isPlaying() override { return 1; }
    int songPos() override { return 0; }
    int songLen() override { return 0; }
    void jumpToTime(int) override {}
    std::optional<int> refreshPlaylist(const std::string& dir, std::vector<std::string>& lines) override {
        if (!running) return std::nullopt;
        lines.push_back("#EXTM3U");
        for (int i = 1; i <= songs_; ++i) {
            lines.push_back("#EXTINF:180,Artist - Song " + std::to_string(i));
            lines.push_back(dir + "Music\\Song" + std::to_string(i) + ".mp3");
        }
        return current_;
    }
    bool command(int id) override {
        if (id == lacking) return false;
        buttons.push_back(id);
        if (id == kWinampNext && current_ + 1 < songs_) ++current_;
        if (id == kWinampPrev && current_ > 0) --current_;
        return true;
    }
    bool startPlayer() override { return ++starts, running = startable; }

    bool running = true, startable = true;
    int lacking = 0; // a button this player does not have
    int starts = 0;
    std::vector<int> buttons;
    int songs_, current_;
};

struct WinampRig : Rig {
    explicit WinampRig(int songs, int current = 0) : link(songs, current) {}
    std::string run(const std::string& word) { return WinampAction(ctx, winamp, word); }

    FakeLink link;
    clsWinamp winamp{link, "C:\\Winamp\\"};
};

TEST(Winamp, WordsButtonsAndTexts) {
    const std::string invalid = "Invalid Winamp command!";
    struct Row {
        const char* word;
        std::string result;
        std::vector<int> buttons;
        int lacking = 0; // a button the player does not have: the word did nothing
    } rows[] = {
        {"STOP", "Stop playing.", {kWinampStop}},
        {"next", "(>>)  Song3", {kWinampNext}},
        {"prev", "(<<)  Song1", {kWinampPrev}},
        {"pause", "(||)  Song2", {kWinampPause}},
        {"play", "(>)  Song2", {kWinampPlay}},
        {"ffw", "(>>)  Song2", {kWinampForward}},
        {"rew", "(<<)  Song2", {kWinampRewind}},
        {"power off", "Winamp CLOSED.", {kWinampClose}},
        {"volup", "VOLUME UP 10% OK.", std::vector<int>(5, kWinampVolumeUp)},
        {"voldown", "VOLUME DOWN 10% OK.", std::vector<int>(5, kWinampVolumeDown)},
        {"eqon", "Winamp toggle EQ OK.", {kWinampEqualizer}},
        {"repeat", "Winamp toggle REPEAT OK.", {kWinampRepeat}},
        {"shuffle", "Winamp toggle SUFFLE OK.", {kWinampShuffle}},
        {"playlist", "Winamp Playlist Editor OK.", {kWinampPlaylistEditor}},
        {"double", "Winamp toggle DOUBLE SIZE OK.", {kWinampDoubleSize}},
        {"visual", "Winamp VISUALISATION OK.", {kWinampVisualisation}},
        {"time elapsed", "Winamp TIME ELAPSED OK.", {kWinampTimeElapsed}},
        {"time remaining", "Winamp TIME REMAINING OK.", {kWinampTimeRemaining}},
        {"getname", "Song2", {}},
        {"power on", "Winamp STARTED.", {}},
        {"louder", invalid, {}},
        {"eqon", invalid, {}, kWinampEqualizer},
    };
    for (const Row& r : rows) {
        SCOPED_TRACE(r.word);
        WinampRig rig(5, 1); // the second of five songs plays
        rig.store.settings().beepOn = true;
        rig.link.lacking = r.lacking;
        EXPECT_EQ(rig.run(r.word), r.result);
        EXPECT_EQ(rig.link.buttons, r.buttons);
        std::vector<std::pair<int, int>> beeps{{5000, 50}};
        if (r.result != invalid) beeps.emplace_back(2000, 50);
        EXPECT_EQ(rig.beeper.beeps, beeps);
        EXPECT_EQ(rig.link.starts, std::string(r.word) == "power on" ? 1 : 0);
    }
}

TEST(Winamp, CursorStepsAndItsSingleStepClamp) {
    WinampRig last(5, 4); // at the last song
    EXPECT_EQ(last.run("next in pl"), "Song5");
    EXPECT_EQ(last.winamp.cursor, 0); // +1, then one step back
    WinampRig third(5, 2);
    EXPECT_EQ(third.run("prev 10 in pl"), "Song1");
    EXPECT_EQ(third.winamp.cursor, -9); // only one step back towards the list
    EXPECT_EQ(third.run("next in pl"), "Song1");
    EXPECT_EQ(third.winamp.cursor, -7);
    third.run("stop"); // transport words reset the cursor
    EXPECT_EQ(third.winamp.cursor, 0);
    WinampRig rig(20, 3);
    rig.run("next 10 in pl");
    EXPECT_EQ(rig.run("prev in pl"), "Song13");
    // "play" walks the player to the cursor's song and forgets the cursor.
    EXPECT_EQ(rig.run("play"), "(>)  Song13");
    EXPECT_EQ(rig.link.buttons, std::vector<int>(9, kWinampNext));
    EXPECT_EQ(rig.winamp.cursor, 0);
    rig.run("prev in pl");
    rig.run("prev in pl");
    rig.link.buttons.clear();
    EXPECT_EQ(rig.run("play"), "(>)  Song11");
    EXPECT_EQ(rig.link.buttons, std::vector<int>(2, kWinampPrev));
}

TEST(Winamp, APlayerNotRunningIsStartedFirst) {
    WinampRig rig(3);
    rig.link.running = false;
    EXPECT_EQ(rig.run("power on"), "Winamp STARTED.");
    EXPECT_EQ(rig.link.starts, 1); // not twice
    rig.link.running = false;
    EXPECT_EQ(rig.run("play"), "(>)  Song1");
    EXPECT_EQ(rig.link.starts, 2);
    WinampRig empty(0);
    EXPECT_EQ(empty.run("next in pl"), "");
    // One that does not start: no word reports success, and none gets a second beep.
    for (const char* word : {"power on", "play", "power off", "getname"}) {
        WinampRig none(3);
        none.store.settings().beepOn = true;
        none.link.running = none.link.startable = false;
        EXPECT_EQ(none.run(word), "The media player is not running!") << word;
        EXPECT_EQ(none.beeper.beeps, (std::vector<std::pair<int, int>>{{5000, 50}}));
    }
}

// The player's own answer, read with dbus-send: independent of the code under test.
std::string Property(const std::string& name) {
    std::string out = Shell("dbus-send --print-reply --dest=org.mpris.MediaPlayer2.mpv /org/mpris/MediaPlayer2 "
                          "org.freedesktop.DBus.Properties.Get string:org.mpris.MediaPlayer2.Player string:" +
                          name + " 2>/dev/null")
                          .out;
    std::size_t v = out.find("variant");
    return v == std::string::npos ? std::string() : out.substr(v);
}

// A loaded machine may take seconds to start the player or pass a change along.
bool Eventually(const std::function<bool()>& condition) {
    for (int i = 0; i < 1500; ++i, std::this_thread::sleep_for(std::chrono::milliseconds(10)))
        if (condition()) return true;
    return condition();
}

// The player started from the shipped WINAMPPATH= through the link, on a session bus of the
// test's own; it loads a playlist of three generated songs. A config folder of the test's own
// keeps it silent.
TEST(MprisPlayer, TheShippedPlayerStartsStaysUpAndAnswers) {
    for (const char* tool : {"dbus-daemon", "dbus-send", "mpv", "sox"}) ASSERT_TRUE(HaveProgram(tool)) << tool;
    Rig rig;
    TempDir dir;
    std::string list;
    for (const char* song : {"one", "two", "three"}) {
        std::string file = dir.file(std::string(song) + ".wav").string();
        ASSERT_EQ(std::system(("sox -n -r 22050 -c 1 " + file + " synth 30 sine 440 vol 0.1").c_str()), 0);
        list += file + "\n";
    }
    dir.write("list.m3u", list);
    std::filesystem::create_directories(dir.file("mpv"));
    dir.write("mpv/mpv.conf", "ao=null\nvo=null\n");
    setenv("XDG_CONFIG_HOME", dir.str().c_str(), 1);
    ChildProcess bus({"dbus-daemon", "--session", "--nofork", "--print-address=1"});
    std::string address = bus.readLine(10000);
    ASSERT_FALSE(address.empty());
    setenv("DBUS_SESSION_BUS_ADDRESS", address.c_str(), 1);
    sd_bus* decoy = nullptr; // another player, on the bus first: words must reach ours by its name
    ASSERT_GE(sd_bus_open_user(&decoy), 0);
    std::unique_ptr<sd_bus, sd_bus* (*)(sd_bus*)> closeDecoy(decoy, sd_bus_flush_close_unref);
    ASSERT_GE(sd_bus_request_name(decoy, "org.mpris.MediaPlayer2.decoy", 0), 0);
    struct EndPlayer { // not our child: started in a session of its own
        ~EndPlayer() {
            std::string pid = Shell("dbus-send --print-reply --dest=org.freedesktop.DBus /org/freedesktop/DBus "
                                    "org.freedesktop.DBus.GetConnectionUnixProcessID string:org.mpris.MediaPlayer2.mpv"
                                    " 2>/dev/null | sed -n 's/.*uint32 //p'")
                                  .out;
            if (std::atoi(pid.c_str()) > 0) kill(std::atoi(pid.c_str()), SIGTERM);
            unsetenv("DBUS_SESSION_BUS_ADDRESS");
            unsetenv("XDG_CONFIG_HOME");
        }
    } endPlayer;

    const std::string path = rig.store.settings().winampPath;
    auto link = MakeSystemWinampLink(path);
    clsWinamp winamp(*link, FolderOf(path));
    auto run = [&](const char* word) { return WinampAction(rig.ctx, winamp, word); };
    auto has = [](const char* property, const std::string& part) {
        return Eventually([&] { return Property(property).find(part) != std::string::npos; });
    };
    auto status = [&](const char* s) { return has("PlaybackStatus", s); };
    auto playing = [&](const char* file) { return has("Metadata", file); };

    ASSERT_EQ(winamp.Version(), 0);
    ASSERT_EQ(run("POWER ON"), "Winamp STARTED.") << path;
    std::this_thread::sleep_for(std::chrono::seconds(1));
    ASSERT_NE(winamp.Version(), 0) << "the player did not stay up";
    winamp.AddPlaylist(dir.file("list.m3u").string());
    ASSERT_TRUE(playing("one.wav"));
    EXPECT_EQ(run("GETNAME"), "one");

    EXPECT_EQ(run("PAUSE"), "(||)  one");
    EXPECT_TRUE(status("Paused"));
    EXPECT_EQ(winamp.IsPlaying(), 3);
    EXPECT_EQ(run("PLAY"), "(>)  one");
    EXPECT_TRUE(status("Playing"));

    EXPECT_EQ(run("NEXT").substr(0, 6), "(>>)  ");
    EXPECT_TRUE(playing("two.wav"));
    EXPECT_EQ(run("GETNAME"), "two");

    Shell("dbus-send --print-reply --dest=org.mpris.MediaPlayer2.mpv /org/mpris/MediaPlayer2 "
          "org.freedesktop.DBus.Properties.Set string:org.mpris.MediaPlayer2.Player string:Volume variant:double:0.5");
    EXPECT_EQ(run("VOLUP"), "VOLUME UP 10% OK.");
    EXPECT_TRUE(has("Volume", "double 0.6")) << Property("Volume");
    EXPECT_EQ(run("SHUFFLE"), "Winamp toggle SUFFLE OK.");
    EXPECT_TRUE(has("Shuffle", "boolean true")) << Property("Shuffle");
    EXPECT_EQ(run("EQON"), "Invalid Winamp command!"); // MPRIS has no equalizer
    EXPECT_TRUE(status("Playing"));

    EXPECT_EQ(run("STOP"), "Stop playing.");
    EXPECT_TRUE(status("Stopped"));
    EXPECT_EQ(run("POWER OFF"), "Winamp CLOSED.");
    EXPECT_TRUE(Eventually([&] { return winamp.Version() == 0; }));
}

// A player that never reaches the bus (one without MPRIS, or one that ends at once) leaves the
// word unanswered. One that keeps running is started only once; one that has ended does not
// keep the window waiting and is started again at the next word.
TEST(MprisPlayer, APlayerThatNeverReachesTheBusIsStartedOnceWhileItRuns) {
    ASSERT_TRUE(HaveProgram("dbus-daemon"));
    ChildProcess bus({"dbus-daemon", "--session", "--nofork", "--print-address=1"});
    const std::string address = bus.readLine(10000);
    ASSERT_FALSE(address.empty());
    setenv("DBUS_SESSION_BUS_ADDRESS", address.c_str(), 1);
    Rig rig;
    TempDir dir;
    for (bool stays : {false, true}) {
        SCOPED_TRACE(stays ? "keeps running" : "ends at once");
        const std::string starts = dir.file(stays ? "stays.txt" : "ends.txt").string();
        const std::string player = dir.file(stays ? "stays.sh" : "ends.sh").string();
        dir.write(stays ? "stays.sh" : "ends.sh",
                  "#!/bin/sh\necho $$ >> '" + starts + "'\n" + (stays ? "exec sleep 60\n" : "exit 0\n"));
        std::filesystem::permissions(player, std::filesystem::perms::owner_all);
        auto link = MakeSystemWinampLink(player);
        clsWinamp winamp(*link, dir.str());
        for (int press = 0; press < 3; ++press)
            EXPECT_EQ(WinampAction(rig.ctx, winamp, "play"), "The media player is not running!");
        std::ifstream in(starts);
        std::vector<int> pids;
        for (int pid; in >> pid;) pids.push_back(pid);
        EXPECT_EQ(pids.size(), stays ? 1u : 3u);
        for (int pid : pids) kill(pid, SIGTERM);
    }
    unsetenv("DBUS_SESSION_BUS_ADDRESS");
}

} // namespace
} // namespace quenix::testing
