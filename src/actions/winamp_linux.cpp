#include "actions/winamp.h"

#include "core/module.h"

namespace quenix {
namespace {

// Without its module the player is simply never running.
class NoPlayer final : public WinampLink {
public:
    int version() override { return 0; }
    void addPlaylist(const std::string&) override {}
    void deletePlaylist() override {}
    void startPlay() override {}
    void chDir(const std::string&) override {}
    int isPlaying() override { return 0; }
    int songPos() override { return 0; }
    int songLen() override { return 0; }
    void jumpToTime(int) override {}
    std::optional<int> refreshPlaylist(const std::string&, std::vector<std::string>&) override { return {}; }
    bool command(int) override { return false; }
    bool startPlayer() override { return false; }
};

} // namespace

// MPRIS over sd-bus is a module of its own (mpris/), loaded at the first media-player action.
std::unique_ptr<WinampLink> MakeSystemWinampLink(const std::string& winampPath) {
    std::string why;
    using Make = WinampLink* (*)(const std::string*);
    if (auto make = reinterpret_cast<Make>(ModuleSymbol("quenix-mpris", "QuenixMakeWinampLink", why)))
        return std::unique_ptr<WinampLink>(make(&winampPath));
    return std::make_unique<NoPlayer>();
}

} // namespace quenix
