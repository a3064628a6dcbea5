#include "actions/winamp.h"
#include "support/rig.h"

#include <gtest/gtest.h>

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
    bool startPlayer() override {
        ++starts;
        running = startable;
        return running;
    }

    bool running = true, startable = true;
    int lacking = 0; // a button this player does not have
    int starts = 0;
    std::vector<int> buttons;

private:
    int songs_, current_;
};

struct WinampRig : Rig {
    explicit WinampRig(int songs, int current = 0) : link(songs, current) {}
    std::string run(const std::string& word) { return WinampAction(ctx, winamp, word); }

    FakeLink link;
    clsWinamp winamp{link, "C:\\Winamp\\"};
};

TEST(Winamp, SongNameCutting) {
    struct Row {
        const char* line;
        const char* name;
    } rows[] = {
        {"C:\\Music\\Song.mp3", "Song"}, {"/home/u/Music/Take Five.flac", "Take Five."},
        {"Song.mp3", "Song"},            {"ab", ""},
        {"C:\\x.mp", ""},                {"", ""},
    };
    for (const Row& r : rows) EXPECT_EQ(CutSongName(r.line), r.name) << r.line;
    EXPECT_EQ(FolderOf("C:\\Program Files\\Winamp\\winamp.exe"), "C:\\Program Files\\Winamp\\");
    EXPECT_EQ(FolderOf("/usr/bin/mpv"), "/usr/bin/");
    EXPECT_EQ(FolderOf("mpv"), "");
}

TEST(Winamp, WordsButtonsAndTexts) {
    struct Row {
        const char* word;
        std::string result;
        std::vector<int> buttons;
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
        {"next in pl", "Song3", {}},
        {"prev in pl", "Song1", {}},
        {"power on", "Winamp STARTED.", {}},
        {"louder", "Invalid Winamp command!", {}},
    };
    for (const Row& r : rows) {
        SCOPED_TRACE(r.word);
        WinampRig rig(5, 1); // the second of five songs plays
        rig.store.settings().beepOn = true;
        EXPECT_EQ(rig.run(r.word), r.result);
        EXPECT_EQ(rig.link.buttons, r.buttons);
        std::vector<std::pair<int, int>> beeps{{5000, 50}};
        if (r.result != "Invalid Winamp command!") beeps.emplace_back(2000, 50);
        EXPECT_EQ(rig.beeper.beeps, beeps);
        EXPECT_EQ(rig.link.starts, std::string(r.word) == "power on" ? 1 : 0);
    }
}

TEST(Winamp, CursorStepsAndItsSingleStepClamp) {
    {
        WinampRig rig(5, 4); // at the last song
        EXPECT_EQ(rig.run("next in pl"), "Song5");
        EXPECT_EQ(rig.winamp.cursor, 0); // +1, then one step back
    }
    {
        WinampRig rig(5, 2); // the third song
        EXPECT_EQ(rig.run("prev 10 in pl"), "Song1");
        EXPECT_EQ(rig.winamp.cursor, -9); // only one step back towards the list
        EXPECT_EQ(rig.run("next in pl"), "Song1");
        EXPECT_EQ(rig.winamp.cursor, -7);
    }
    {
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
    {
        WinampRig rig(5, 1);
        rig.run("next in pl");
        rig.run("stop"); // transport words reset the cursor
        EXPECT_EQ(rig.winamp.cursor, 0);
    }
}

TEST(Winamp, PlayerNotRunningIsStartedFirst) {
    WinampRig rig(3);
    rig.link.running = false;
    EXPECT_EQ(rig.run("power on"), "Winamp STARTED.");
    EXPECT_EQ(rig.link.starts, 1); // not twice
    EXPECT_EQ(rig.run("getname"), "Song1");
    rig.link.running = false;
    EXPECT_EQ(rig.run("play"), "(>)  Song1");
    EXPECT_EQ(rig.link.starts, 2);

    WinampRig empty(0);
    EXPECT_EQ(empty.run("getname"), "");
    EXPECT_EQ(empty.run("next in pl"), "");
}

// A word that did nothing never reports success, and gets no second beep.
TEST(Winamp, NothingDoneIsNoSuccess) {
    for (const char* word : {"power on", "play", "power off", "getname"}) {
        WinampRig rig(3);
        rig.store.settings().beepOn = true;
        rig.link.running = rig.link.startable = false;
        EXPECT_EQ(rig.run(word), "The media player is not running!") << word;
        EXPECT_EQ(rig.beeper.beeps, (std::vector<std::pair<int, int>>{{5000, 50}}));
    }
    struct Row {
        const char* word;
        int button;
    } rows[] = {{"eqon", kWinampEqualizer}, {"volup", kWinampVolumeUp}, {"next", kWinampNext},
                {"play", kWinampPlay},     {"power off", kWinampClose}};
    for (const Row& r : rows) {
        WinampRig rig(3);
        rig.link.lacking = r.button;
        EXPECT_EQ(rig.run(r.word), "Invalid Winamp command!") << r.word;
    }
}

} // namespace
} // namespace quenix::testing
