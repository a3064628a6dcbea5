#pragma once

// The media player ("winamp" devices): the player's remote-control interface behind one
// link, the playlist cursor and the command words with their result texts.

#include "config/context.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace quenix {

// The player's button ids, as its window-message interface numbers them.
enum WinampButton : int {
    kWinampClose = 40001,
    kWinampRepeat = 40022,
    kWinampShuffle = 40023,
    kWinampEqualizer = 40036,
    kWinampTimeElapsed = 40037,
    kWinampTimeRemaining = 40038,
    kWinampPlaylistEditor = 40040,
    kWinampPrev = 40044,
    kWinampPlay = 40045,
    kWinampPause = 40046,
    kWinampStop = 40047,
    kWinampNext = 40048,
    kWinampVolumeUp = 40058,
    kWinampVolumeDown = 40059,
    kWinampRewind = 40144,
    kWinampForward = 40148,
    kWinampDoubleSize = 40165,
    kWinampVisualisation = 40192,
};

// How the running player is reached: window messages on Windows, MPRIS 2 on Linux. A player
// that is not running swallows everything and answers 0.
class WinampLink {
public:
    virtual ~WinampLink() = default;
    virtual int version() = 0;
    virtual void addPlaylist(const std::string& file) = 0;
    virtual void deletePlaylist() = 0;
    virtual void startPlay() = 0;
    virtual void chDir(const std::string& folder) = 0;
    virtual int isPlaying() = 0;
    virtual int songPos() = 0; // milliseconds
    virtual int songLen() = 0; // seconds
    virtual void jumpToTime(int ms) = 0;
    // The playlist as m3u lines ("#EXTM3U", then "#EXTINF:..." and the file of each song) and
    // the 0-based index of the current song; nothing when the player has none to give.
    virtual std::optional<int> refreshPlaylist(const std::string& winampDir, std::vector<std::string>& lines) = 0;
    // A button (WM_COMMAND id); false when the player lacks the button or refused the press.
    virtual bool command(int id) = 0;
    // Starts the player program, shown without taking the focus; true once it answers.
    virtual bool startPlayer() = 0;
};

// winampPath: the configured player program.
std::unique_ptr<WinampLink> MakeSystemWinampLink(const std::string& winampPath);

// The folder of a program path, with its separator; empty for a bare name.
std::string FolderOf(const std::string& path);

class clsWinamp {
public:
    clsWinamp(WinampLink& link, std::string winampDir) : link_(link), dir_(std::move(winampDir)) {}

    int Version() { return link_.version(); }
    void AddPlaylist(const std::string& file) { link_.addPlaylist(file); }
    void DeletePlaylist() { link_.deletePlaylist(); }
    void StartPlay() { link_.startPlay(); }
    void ChDir(const std::string& folder) { link_.chDir(folder); }
    int IsPlaying() { return link_.isPlaying(); }
    int SongPos() { return link_.songPos(); }
    int SongLen() { return link_.songLen(); }
    void JumpToTime(int ms) { link_.jumpToTime(ms); }
    const std::string& WinampDir() const { return dir_; }
    void WinampDir(std::string dir) { dir_ = std::move(dir); }
    // Reads the playlist again; the index of the current song (0 when the player gives none).
    int RefreshPlaylist();
    int PlaylistCount() const { return static_cast<int>(playlist_.size()); }
    // Line i, 1-based; empty outside the list.
    std::string PlaylistSong(int i) const;
    // Each press is false when it did nothing (see WinampLink::command).
    bool CommandCloseWinamp() { return link_.command(kWinampClose); }
    bool CommandPrevSong() { return link_.command(kWinampPrev); }
    bool CommandPlay() { return link_.command(kWinampPlay); }
    bool CommandPause() { return link_.command(kWinampPause); }
    bool CommandStop() { return link_.command(kWinampStop); }
    bool CommandNextSong() { return link_.command(kWinampNext); }
    bool PressButton(int id) { return link_.command(id); }
    bool StartPlayer() { return link_.startPlayer(); }

    // The offset in songs from the current one, moved by the "in pl" words. It lives as
    // long as the player object, from the first command to the end of the run.
    int cursor = 0;
    // The index the last RefreshPlaylist returned.
    int current = 0;

private:
    WinampLink& link_;
    std::string dir_;
    std::vector<std::string> playlist_;
};

// The name of a playlist line: behind the last path separator, without the extension.
std::string CutSongName(const std::string& line);

// The name of the song at the cursor; keeps the cursor in the list by one step at most.
std::string SongAtCursor(clsWinamp& winamp);

inline constexpr const char* kWinampInvalid = "Invalid Winamp command!";
inline constexpr const char* kWinampNotRunning = "The media player is not running!";

// The executor's branch for an enabled "winamp" device: the result text of the word.
std::string WinampAction(Context& ctx, clsWinamp& winamp, const std::string& command);

} // namespace quenix
