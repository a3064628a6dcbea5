#include "actions/winamp.h"

#include "actions/launcher.h"
#include "core/text.h"

#include <systemd/sd-bus.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <map>
#include <thread>

namespace quenix {
namespace {

constexpr const char* kPrefix = "org.mpris.MediaPlayer2.";
constexpr const char* kObject = "/org/mpris/MediaPlayer2";
constexpr const char* kRoot = "org.mpris.MediaPlayer2";
constexpr const char* kPlayer = "org.mpris.MediaPlayer2.Player";
constexpr const char* kTrackList = "org.mpris.MediaPlayer2.TrackList";
constexpr double kVolumeStep = 0.02; // five presses make the 10 % of the result text
constexpr std::int64_t kSeekUs = 5'000'000;
constexpr int kStartPolls = 200; // 10 s for a player to appear on the bus
constexpr int kStartPollMs = 50;

// "file:///a%20b.mp3" -> "/a b.mp3"; other text as it is.
std::string PathOfUrl(const std::string& url) {
    if (url.rfind("file://", 0) != 0) return url;
    std::string out;
    for (std::size_t i = 7; i < url.size(); ++i) {
        if (url[i] == '%' && i + 2 < url.size()) {
            out += static_cast<char>(std::strtol(url.substr(i + 1, 2).c_str(), nullptr, 16));
            i += 2;
        } else {
            out += url[i];
        }
    }
    return out;
}

struct Track {
    std::string id, url, title;
    std::int64_t lengthUs = 0;
};

// Reads one a{sv} metadata dictionary at the message's position.
Track ReadMetadata(sd_bus_message* m) {
    Track t;
    if (sd_bus_message_enter_container(m, 'a', "{sv}") <= 0) return t;
    while (sd_bus_message_enter_container(m, 'e', "sv") > 0) {
        const char* key = nullptr;
        char type = 0;
        const char* contents = nullptr;
        if (sd_bus_message_read(m, "s", &key) < 0 || sd_bus_message_peek_type(m, &type, &contents) < 0 || !contents) {
            sd_bus_message_exit_container(m);
            break;
        }
        std::string k = key ? key : "";
        if (std::strcmp(contents, "s") == 0 || std::strcmp(contents, "o") == 0) {
            const char* v = nullptr;
            sd_bus_message_read(m, "v", contents, &v);
            std::string s = v ? v : "";
            if (k == "mpris:trackid") t.id = s;
            else if (k == "xesam:url") t.url = s;
            else if (k == "xesam:title") t.title = s;
        } else if (std::strcmp(contents, "x") == 0 && k == "mpris:length") {
            sd_bus_message_read(m, "v", "x", &t.lengthUs);
        } else {
            sd_bus_message_skip(m, "v");
        }
        sd_bus_message_exit_container(m);
    }
    sd_bus_message_exit_container(m);
    return t;
}

// The player on the D-Bus session bus, through MPRIS 2. Each word maps to the nearest MPRIS
// call; buttons without a counterpart do nothing.
class MprisLink final : public WinampLink {
public:
    // The player's bus name follows its program's name: "/usr/bin/mpv --idle" is "mpv".
    explicit MprisLink(std::string winampPath) : path_(std::move(winampPath)) {
        std::string program = launcher_->program(path_);
        if (program.empty()) {
            std::vector<std::string> words = SplitCommandLine(path_);
            if (!words.empty()) program = words[0];
        }
        std::size_t sep = program.find_last_of('/');
        program_ = sep == std::string::npos ? program : program.substr(sep + 1);
    }
    ~MprisLink() override { sd_bus_flush_close_unref(bus_); }
    MprisLink(const MprisLink&) = delete;
    MprisLink& operator=(const MprisLink&) = delete;

    int version() override { return player().empty() ? 0 : 1; }

    void addPlaylist(const std::string& file) override {
        std::string p = player();
        if (p.empty()) return;
        std::string uri = file.rfind('/', 0) == 0 ? "file://" + file : file;
        if (flag(p, kRoot, "HasTrackList")) {
            call(p, kTrackList, "AddTrack", "sob", uri.c_str(), "/org/mpris/MediaPlayer2/TrackList/NoTrack", 0);
        } else {
            call(p, kPlayer, "OpenUri", "s", uri.c_str());
        }
    }
    void deletePlaylist() override {} // MPRIS has no way to empty the list
    void startPlay() override { playerCall("Play"); }
    void chDir(const std::string&) override {}

    int isPlaying() override {
        std::string p = player();
        if (p.empty()) return 0;
        char* status = nullptr;
        sd_bus_get_property_string(bus_, p.c_str(), kObject, kPlayer, "PlaybackStatus", nullptr, &status);
        std::string s = status ? status : "";
        std::free(status);
        return s == "Playing" ? 1 : s == "Paused" ? 3 : 0; // the player's own codes
    }

    int songPos() override {
        std::string p = player();
        std::int64_t us = 0;
        if (!p.empty()) sd_bus_get_property_trivial(bus_, p.c_str(), kObject, kPlayer, "Position", nullptr, 'x', &us);
        return static_cast<int>(us / 1000);
    }

    int songLen() override {
        std::string p = player();
        return p.empty() ? 0 : static_cast<int>(current(p).lengthUs / 1'000'000);
    }

    void jumpToTime(int ms) override {
        std::string p = player();
        if (p.empty()) return;
        Track t = current(p);
        if (!t.id.empty()) call(p, kPlayer, "SetPosition", "ox", t.id.c_str(), static_cast<std::int64_t>(ms) * 1000);
    }

    std::optional<int> refreshPlaylist(const std::string&, std::vector<std::string>& lines) override {
        std::string p = player();
        if (p.empty()) return std::nullopt;
        Track now = current(p);
        std::vector<Track> tracks;
        if (flag(p, kRoot, "HasTrackList")) tracks = trackList(p);
        int index = 0;
        if (tracks.empty()) {
            if (now.id.empty() && now.url.empty() && now.title.empty()) return std::nullopt;
            tracks.push_back(now);
        } else {
            for (std::size_t i = 0; i < tracks.size(); ++i)
                if (tracks[i].id == now.id) index = static_cast<int>(i);
        }
        lines.push_back("#EXTM3U");
        for (const Track& t : tracks) {
            lines.push_back("#EXTINF:" + std::to_string(t.lengthUs / 1'000'000) + "," + t.title);
            // A title without a file is cut like a file name: four blanks stand for the extension.
            lines.push_back(t.url.empty() ? t.title + "    " : PathOfUrl(t.url));
        }
        return index;
    }

    // True when the player took the call: a player that refuses or lacks it did nothing.
    bool command(int id) override {
        switch (id) {
        case kWinampClose: return rootCall("Quit");
        case kWinampPrev: return playerCall("Previous");
        case kWinampPlay: return playerCall("Play");
        case kWinampPause: return playerCall("Pause");
        case kWinampStop: return playerCall("Stop");
        case kWinampNext: return playerCall("Next");
        case kWinampForward: return seek(kSeekUs);
        case kWinampRewind: return seek(-kSeekUs);
        case kWinampVolumeUp: return volume(kVolumeStep);
        case kWinampVolumeDown: return volume(-kVolumeStep);
        case kWinampShuffle: return toggleShuffle();
        case kWinampRepeat: return toggleLoop();
        default: return false; // equalizer, editor, size, visualisation, time display: MPRIS has none
        }
    }

    bool startPlayer() override {
        // A player started before that still runs without reaching the bus speaks no MPRIS:
        // another copy would do no better, and each would keep the window waiting.
        if (started_ > 0 && launcher_->stillRunning(started_)) return !player().empty();
        if (path_.empty() || !launcher_->start(path_, true)) return false;
        started_ = launcher_->startedProcess();
        // A player takes a moment to reach the bus; one that ends never does.
        for (int i = 0; i < kStartPolls && player().empty() && launcher_->stillRunning(started_); ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(kStartPollMs));
        if (player().empty()) return false;
        started_ = 0;
        return true;
    }

private:
    bool connect() {
        if (bus_ && sd_bus_is_open(bus_) > 0) return true;
        bus_ = sd_bus_flush_close_unref(bus_);
        if (sd_bus_open_user(&bus_) < 0) {
            bus_ = nullptr;
            return false;
        }
        return true;
    }

    // The player to talk to: the one named after the configured program, so that another
    // player on the bus (a browser) is neither driven nor taken for ours. Without a configured
    // program, the first player.
    std::string player() {
        if (!connect()) return {};
        sd_bus_message* reply = nullptr;
        if (sd_bus_call_method(bus_, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                               "ListNames", nullptr, &reply, "") < 0)
            return {};
        char** names = nullptr;
        sd_bus_message_read_strv(reply, &names);
        sd_bus_message_unref(reply);
        std::string found;
        const std::string mine = ToLower(kPrefix + program_);
        for (char** n = names; n && *n; ++n) {
            const std::string s = *n, lower = ToLower(s);
            const bool player = s.rfind(kPrefix, 0) == 0;
            if (found.empty() && player && (program_.empty() || lower == mine || lower.rfind(mine + ".", 0) == 0))
                found = s;
            std::free(*n);
        }
        std::free(names);
        return found;
    }

    template <class... Args>
    bool call(const std::string& p, const char* iface, const char* method, const char* types, Args... args) {
        return sd_bus_call_method(bus_, p.c_str(), kObject, iface, method, nullptr, nullptr, types, args...) >= 0;
    }

    bool playerCall(const char* method) {
        std::string p = player();
        return !p.empty() && call(p, kPlayer, method, "");
    }
    bool rootCall(const char* method) {
        std::string p = player();
        return !p.empty() && call(p, kRoot, method, "");
    }

    bool flag(const std::string& p, const char* iface, const char* name) {
        int v = 0;
        return sd_bus_get_property_trivial(bus_, p.c_str(), kObject, iface, name, nullptr, 'b', &v) >= 0 && v;
    }

    Track current(const std::string& p) {
        sd_bus_message* reply = nullptr;
        if (sd_bus_get_property(bus_, p.c_str(), kObject, kPlayer, "Metadata", nullptr, &reply, "a{sv}") < 0) return {};
        Track t = ReadMetadata(reply);
        sd_bus_message_unref(reply);
        return t;
    }

    std::vector<Track> trackList(const std::string& p) {
        std::vector<Track> out;
        sd_bus_message* reply = nullptr;
        if (sd_bus_get_property(bus_, p.c_str(), kObject, kTrackList, "Tracks", nullptr, &reply, "ao") < 0) return out;
        std::vector<std::string> ids;
        if (sd_bus_message_enter_container(reply, 'a', "o") > 0) {
            const char* id = nullptr;
            while (sd_bus_message_read(reply, "o", &id) > 0) ids.emplace_back(id);
            sd_bus_message_exit_container(reply);
        }
        sd_bus_message_unref(reply);
        if (ids.empty()) return out;

        sd_bus_message* m = nullptr;
        if (sd_bus_message_new_method_call(bus_, &m, p.c_str(), kObject, kTrackList, "GetTracksMetadata") < 0) return out;
        sd_bus_message_open_container(m, 'a', "o");
        for (const std::string& id : ids) sd_bus_message_append(m, "o", id.c_str());
        sd_bus_message_close_container(m);
        reply = nullptr;
        if (sd_bus_call(bus_, m, 0, nullptr, &reply) >= 0 && sd_bus_message_enter_container(reply, 'a', "a{sv}") > 0) {
            while (true) {
                char type = 0;
                if (sd_bus_message_peek_type(reply, &type, nullptr) <= 0) break;
                out.push_back(ReadMetadata(reply));
            }
            sd_bus_message_exit_container(reply);
        }
        sd_bus_message_unref(reply);
        sd_bus_message_unref(m);
        return out;
    }

    bool seek(std::int64_t us) {
        std::string p = player();
        return !p.empty() && call(p, kPlayer, "Seek", "x", us);
    }

    bool volume(double delta) {
        std::string p = player();
        double v = 0;
        if (p.empty() || sd_bus_get_property_trivial(bus_, p.c_str(), kObject, kPlayer, "Volume", nullptr, 'd', &v) < 0)
            return false;
        v = std::max(0.0, v + delta);
        return sd_bus_set_property(bus_, p.c_str(), kObject, kPlayer, "Volume", nullptr, "d", v) >= 0;
    }

    bool toggleShuffle() {
        std::string p = player();
        int on = 0;
        if (p.empty() || sd_bus_get_property_trivial(bus_, p.c_str(), kObject, kPlayer, "Shuffle", nullptr, 'b', &on) < 0)
            return false;
        return sd_bus_set_property(bus_, p.c_str(), kObject, kPlayer, "Shuffle", nullptr, "b", on ? 0 : 1) >= 0;
    }

    bool toggleLoop() {
        std::string p = player();
        char* status = nullptr;
        if (p.empty() ||
            sd_bus_get_property_string(bus_, p.c_str(), kObject, kPlayer, "LoopStatus", nullptr, &status) < 0)
            return false;
        bool none = status && std::strcmp(status, "None") == 0;
        std::free(status);
        return sd_bus_set_property(bus_, p.c_str(), kObject, kPlayer, "LoopStatus", nullptr, "s",
                                   none ? "Playlist" : "None") >= 0;
    }

    std::string path_, program_;
    long started_ = 0; // a player started here that has not reached the bus
    sd_bus* bus_ = nullptr;
    std::unique_ptr<ProgramLauncher> launcher_ = MakeSystemLauncher();
};

} // namespace

} // namespace quenix

// The module's entry point, found by name by the program (winamp_linux.cpp).
extern "C" __attribute__((visibility("default"))) quenix::WinampLink* QuenixMakeWinampLink(const std::string* path) {
    return new quenix::MprisLink(*path);
}
