#include "actions/winamp.h"

#include "core/text.h"

namespace quenix {

std::string FolderOf(const std::string& path) {
    std::size_t sep = path.find_last_of("/\\");
    return sep == std::string::npos ? std::string() : path.substr(0, sep + 1);
}

int clsWinamp::RefreshPlaylist() {
    playlist_.clear();
    std::optional<int> index = link_.refreshPlaylist(dir_, playlist_);
    current = index.value_or(0);
    return current;
}

std::string clsWinamp::PlaylistSong(int i) const {
    if (i < 1 || i > PlaylistCount()) return {};
    return playlist_[static_cast<std::size_t>(i - 1)];
}

std::string CutSongName(const std::string& line) {
    std::size_t sep = line.find_last_of("\\/");
    std::string name = sep == std::string::npos ? line : line.substr(sep + 1);
    return name.size() < 3 || name.size() <= 4 ? std::string() : name.substr(0, name.size() - 4);
}

std::string SongAtCursor(clsWinamp& w) {
    int songs = w.PlaylistCount() / 2; // two lines per song
    int position = w.current + 1 + w.cursor;
    // One step back into the list, even after a jump of ten: the cursor may stay outside.
    if (position < 1) {
        w.cursor += 1;
        position = 1;
    }
    if (position > songs) {
        w.cursor -= 1;
        position = songs;
    }
    // Behind the "#EXTM3U" line, song n's file is line 2n + 1.
    return position < 1 ? std::string() : CutSongName(w.PlaylistSong(2 * position + 1));
}

namespace {

void MoveByCursor(clsWinamp& w) {
    if (w.cursor > 0) {
        for (int i = 0; i < w.cursor; ++i) w.CommandNextSong();
    } else if (w.cursor < 0) {
        for (int i = 0; i < -w.cursor; ++i) w.CommandPrevSong();
    } else {
        w.CommandPlay();
    }
}

// After a transport word the player has moved: name the song it plays now.
std::string Transport(clsWinamp& w, const char* symbol) {
    w.cursor = 0;
    w.RefreshPlaylist();
    return symbol + SongAtCursor(w);
}

struct ToggleWord {
    const char* word;
    int button;
    const char* result;
};

const ToggleWord kButtons[] = {
    {"eqon", kWinampEqualizer, "Winamp toggle EQ OK."},
    {"repeat", kWinampRepeat, "Winamp toggle REPEAT OK."},
    {"shuffle", kWinampShuffle, "Winamp toggle SUFFLE OK."},
    {"playlist", kWinampPlaylistEditor, "Winamp Playlist Editor OK."},
    {"double", kWinampDoubleSize, "Winamp toggle DOUBLE SIZE OK."},
    {"visual", kWinampVisualisation, "Winamp VISUALISATION OK."},
    {"time elapsed", kWinampTimeElapsed, "Winamp TIME ELAPSED OK."},
    {"time remaining", kWinampTimeRemaining, "Winamp TIME REMAINING OK."},
};

std::string RunWord(clsWinamp& w, const std::string& word, bool startedNow) {
    if (word == "power on") {
        if (!startedNow) w.StartPlayer();
        return "Winamp STARTED.";
    }
    if (word == "power off") {
        w.CommandCloseWinamp();
        return "Winamp CLOSED.";
    }
    if (word == "play") {
        MoveByCursor(w);
        return Transport(w, "(>)  ");
    }
    if (word == "stop") {
        w.CommandStop();
        w.cursor = 0;
        return "Stop playing.";
    }
    if (word == "next") {
        w.CommandNextSong();
        return Transport(w, "(>>)  ");
    }
    if (word == "prev") {
        w.CommandPrevSong();
        return Transport(w, "(<<)  ");
    }
    if (word == "pause") {
        w.CommandPause();
        return Transport(w, "(||)  ");
    }
    if (word == "ffw") {
        w.PressButton(kWinampForward);
        return Transport(w, "(>>)  ");
    }
    if (word == "rew") {
        w.PressButton(kWinampRewind);
        return Transport(w, "(<<)  ");
    }
    struct Step {
        const char* word;
        int by;
    };
    for (Step s : {Step{"next in pl", 1}, Step{"prev in pl", -1}, Step{"next 10 in pl", 10}, Step{"prev 10 in pl", -10}}) {
        if (word == s.word) {
            w.cursor += s.by;
            return SongAtCursor(w);
        }
    }
    if (word == "volup" || word == "voldown") {
        bool up = word == "volup";
        for (int i = 0; i < 5; ++i) w.PressButton(up ? kWinampVolumeUp : kWinampVolumeDown);
        return up ? "VOLUME UP 10% OK." : "VOLUME DOWN 10% OK.";
    }
    for (const ToggleWord& t : kButtons) {
        if (word == t.word) {
            w.PressButton(t.button);
            return t.result;
        }
    }
    if (word == "getname") return SongAtCursor(w);
    return kWinampInvalid;
}

} // namespace

std::string WinampAction(Context& ctx, clsWinamp& winamp, const std::string& command) {
    ctx.beepIfOn(5000, 50);
    bool startedNow = false;
    if (winamp.Version() == 0) startedNow = winamp.StartPlayer();
    winamp.RefreshPlaylist();
    std::string result = RunWord(winamp, ToLower(command), startedNow);
    if (result != kWinampInvalid) ctx.beepIfOn(2000, 50);
    return result;
}

} // namespace quenix
