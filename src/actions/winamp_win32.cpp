#include "actions/winamp.h"

#include "actions/launcher.h"

#include <windows.h>

#include <fstream>

namespace quenix {
namespace {

constexpr UINT kWmUser = WM_USER;       // 1024
constexpr UINT kWmCommand = WM_COMMAND; // 273

// The player's window-message interface: found by its window class on every call, so a
// player started or closed meanwhile is seen; without one the messages go to window 0.
class WindowMessageLink final : public WinampLink {
public:
    explicit WindowMessageLink(std::string winampPath) : dir_(FolderOf(winampPath)) {}

    int version() override { return send(0, 0); }
    void addPlaylist(const std::string& file) override { postText(file, 100); }
    void deletePlaylist() override { post(0, 101); }
    void startPlay() override { post(0, 102); }
    void chDir(const std::string& folder) override { postText(folder, 103); }
    int isPlaying() override { return send(0, 104); }
    int songPos() override { return send(0, 105); }
    int songLen() override { return send(1, 105); }
    void jumpToTime(int ms) override { post(static_cast<WPARAM>(ms), 106); }

    std::optional<int> refreshPlaylist(const std::string& winampDir, std::vector<std::string>& lines) override {
        // The player writes its playlist file when asked for the current index.
        int index = send(0, 120);
        std::string path = winampDir;
        if (!path.empty() && path.back() != '\\') path += '\\';
        std::ifstream f(path + "winamp.m3u");
        if (!f) return std::nullopt;
        std::string line;
        while (std::getline(f, line)) {
            if (!line.empty() && line.back() == '\r') line.pop_back();
            lines.push_back(line);
        }
        return index;
    }

    bool command(int id) override {
        SendMessageA(window(), kWmCommand, static_cast<WPARAM>(id), 0);
        return true; // every button has its id
    }

    bool startPlayer() override {
        if (!launcher_->start(dir_ + "winamp.exe", true)) return false;
        // Its window appears a moment later; the words need it.
        for (int i = 0; i < 100 && !window(); ++i) Sleep(100);
        return window() != nullptr;
    }

private:
    static HWND window() { return FindWindowA("Winamp v1.x", nullptr); }
    static int send(WPARAM w, LPARAM l) { return static_cast<int>(SendMessageA(window(), kWmUser, w, l)); }
    static void post(WPARAM w, LPARAM l) { PostMessageA(window(), kWmUser, w, l); }
    // Text goes one character per message, closed by a 0.
    static void postText(const std::string& text, LPARAM l) {
        HWND h = window();
        for (unsigned char c : text) PostMessageA(h, kWmUser, c, l);
        PostMessageA(h, kWmUser, 0, l);
    }

    std::string dir_;
    std::unique_ptr<ProgramLauncher> launcher_ = MakeSystemLauncher();
};

} // namespace

std::unique_ptr<WinampLink> MakeSystemWinampLink(const std::string& winampPath) {
    return std::make_unique<WindowMessageLink>(winampPath);
}

} // namespace quenix
