#include "actions/winamp.h"
#include "peers.h"
#include "support/rig.h"

#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <signal.h>
#include <thread>

namespace quenix::testing {
namespace {

std::string Shell(const std::string& command) {
    std::string out;
    FILE* f = popen(command.c_str(), "r");
    if (!f) return out;
    std::array<char, 512> buf{};
    while (fgets(buf.data(), buf.size(), f)) out += buf.data();
    pclose(f);
    return out;
}

// The player's own answer, read with dbus-send: independent of the code under test.
std::string Property(const std::string& name) {
    std::string out = Shell("dbus-send --print-reply --dest=org.mpris.MediaPlayer2.mpv /org/mpris/MediaPlayer2 "
                          "org.freedesktop.DBus.Properties.Get string:org.mpris.MediaPlayer2.Player string:" +
                          name + " 2>/dev/null");
    std::size_t v = out.find("variant");
    return v == std::string::npos ? std::string() : out.substr(v);
}

// A loaded machine may take seconds to start the player or pass a change along.
bool Eventually(const std::function<bool()>& condition) {
    auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(15);
    while (std::chrono::steady_clock::now() < deadline) {
        if (condition()) return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return condition();
}

bool Contains(const std::string& s, const std::string& part) { return s.find(part) != std::string::npos; }

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
    struct EndPlayer { // not our child: started in a session of its own
        ~EndPlayer() {
            std::string pid = Shell("dbus-send --print-reply --dest=org.freedesktop.DBus /org/freedesktop/DBus "
                                    "org.freedesktop.DBus.GetConnectionUnixProcessID string:org.mpris.MediaPlayer2.mpv"
                                    " 2>/dev/null | sed -n 's/.*uint32 //p'");
            if (std::atoi(pid.c_str()) > 0) kill(std::atoi(pid.c_str()), SIGTERM);
            unsetenv("DBUS_SESSION_BUS_ADDRESS");
            unsetenv("XDG_CONFIG_HOME");
        }
    } endPlayer;

    const std::string path = rig.store.settings().winampPath;
    auto link = MakeSystemWinampLink(path);
    clsWinamp winamp(*link, FolderOf(path));
    auto run = [&](const char* word) { return WinampAction(rig.ctx, winamp, word); };
    auto status = [](const char* s) { return Eventually([&] { return Contains(Property("PlaybackStatus"), s); }); };
    auto playing = [](const char* file) { return Eventually([&] { return Contains(Property("Metadata"), file); }); };

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
    EXPECT_EQ(winamp.IsPlaying(), 1);

    EXPECT_EQ(run("NEXT").substr(0, 6), "(>>)  ");
    EXPECT_TRUE(playing("two.wav"));
    EXPECT_EQ(run("GETNAME"), "two");
    EXPECT_EQ(run("PREV").substr(0, 6), "(<<)  ");
    EXPECT_TRUE(playing("one.wav"));
    EXPECT_TRUE(Eventually([&] { return winamp.SongLen() == 30; })); // known once the file is open

    Shell("dbus-send --print-reply --dest=org.mpris.MediaPlayer2.mpv /org/mpris/MediaPlayer2 "
          "org.freedesktop.DBus.Properties.Set string:org.mpris.MediaPlayer2.Player string:Volume variant:double:0.5");
    EXPECT_EQ(run("VOLUP"), "VOLUME UP 10% OK.");
    EXPECT_TRUE(Eventually([] { return Contains(Property("Volume"), "double 0.6"); })) << Property("Volume");
    EXPECT_EQ(run("SHUFFLE"), "Winamp toggle SUFFLE OK.");
    EXPECT_TRUE(Eventually([] { return Contains(Property("Shuffle"), "boolean true"); })) << Property("Shuffle");
    EXPECT_EQ(run("EQON"), "Invalid Winamp command!"); // MPRIS has no equalizer
    EXPECT_TRUE(status("Playing"));

    EXPECT_EQ(run("STOP"), "Stop playing.");
    EXPECT_TRUE(status("Stopped"));
    EXPECT_EQ(run("POWER OFF"), "Winamp CLOSED.");
    EXPECT_TRUE(Eventually([&] { return winamp.Version() == 0; }));
}

} // namespace
} // namespace quenix::testing
