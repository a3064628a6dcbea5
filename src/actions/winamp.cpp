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

bool MoveByCursor(clsWinamp& w) {
    bool ok = true;
    for (int i = 0; i < w.cursor; ++i) ok = w.CommandNextSong() && ok;
    for (int i = 0; i > w.cursor; --i) ok = w.CommandPrevSong() && ok;
    return w.cursor != 0 ? ok : w.CommandPlay();
}

// After a transport word the player has moved: name the song it plays now.
std::string Transport(clsWinamp& w, bool pressed, const char* symbol) {
    if (!pressed) return kWinampInvalid;
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

// A word whose button the player lacks did nothing: it answers kWinampInvalid.
std::string RunWord(clsWinamp& w, const std::string& word, bool startedNow) {
    if (word == "power on") return startedNow || w.StartPlayer() ? "Winamp STARTED." : kWinampNotRunning;
    if (word == "power off") return w.CommandCloseWinamp() ? "Winamp CLOSED." : kWinampInvalid;
    if (word == "play") return Transport(w, MoveByCursor(w), "(>)  ");
    if (word == "stop") {
        if (!w.CommandStop()) return kWinampInvalid;
        w.cursor = 0;
        return "Stop playing.";
    }
    if (word == "next") return Transport(w, w.CommandNextSong(), "(>>)  ");
    if (word == "prev") return Transport(w, w.CommandPrevSong(), "(<<)  ");
    if (word == "pause") return Transport(w, w.CommandPause(), "(||)  ");
    if (word == "ffw") return Transport(w, w.PressButton(kWinampForward), "(>>)  ");
    if (word == "rew") return Transport(w, w.PressButton(kWinampRewind), "(<<)  ");
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
        const bool up = word == "volup";
        bool ok = true;
        for (int i = 0; i < 5; ++i) ok = w.PressButton(up ? kWinampVolumeUp : kWinampVolumeDown) && ok;
        if (!ok) return kWinampInvalid;
        return up ? "VOLUME UP 10% OK." : "VOLUME DOWN 10% OK.";
    }
    for (const ToggleWord& t : kButtons) {
        if (word == t.word) return w.PressButton(t.button) ? t.result : kWinampInvalid;
    }
    if (word == "getname") return SongAtCursor(w);
    return kWinampInvalid;
}

} // namespace

std::string WinampAction(Context& ctx, clsWinamp& winamp, const std::string& command) {
    ctx.beepIfOn(5000, 50);
    bool startedNow = false;
    if (winamp.Version() == 0) {
        startedNow = winamp.StartPlayer();
        if (!startedNow) return kWinampNotRunning;
    }
    winamp.RefreshPlaylist();
    std::string result = RunWord(winamp, ToLower(command), startedNow);
    if (result != kWinampInvalid && result != kWinampNotRunning) ctx.beepIfOn(2000, 50);
    return result;
}

} // namespace quenix
