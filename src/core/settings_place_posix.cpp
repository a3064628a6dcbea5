#include "core/program_folder.h"
#include "core/settings_place.h"

#include <cstdlib>
#include <filesystem>
#include <pwd.h>
#include <unistd.h>
#include <vector>

namespace quenix {

namespace fs = std::filesystem;

namespace {

std::string Env(const char* name) {
    const char* v = std::getenv(name);
    return v ? v : "";
}

std::string HomeFolder() {
    std::string home = Env("HOME");
    if (!home.empty()) return home;
    std::vector<char> buf(16384);
    passwd pw{};
    passwd* found = nullptr;
    if (::getpwuid_r(::getuid(), &pw, buf.data(), buf.size(), &found) == 0 && found && found->pw_dir)
        return found->pw_dir;
    return "";
}

} // namespace

std::string UserConfigHome() { return ConfigHome(Env("XDG_CONFIG_HOME"), HomeFolder()); }

ProgramPlaces FindProgramPlaces() {
    PlaceFacts facts;
    facts.program = ProgramFolder();
    const fs::path prefix = fs::path(facts.program).parent_path();
    std::error_code ec;
    facts.installed = fs::path(facts.program).filename() == "bin" &&
                      fs::exists(prefix / "share" / "quenix" / "telvorin.cfg", ec);
    facts.writable = ::access(facts.program.c_str(), W_OK) == 0;
    facts.xdgConfigHome = Env("XDG_CONFIG_HOME");
    facts.home = HomeFolder();

    ProgramPlaces places{facts.program, facts.program, facts.program, SettingsFolder(facts)};
    if (facts.installed) {
        places.data = (prefix / "share" / "quenix").string();
        places.library = (prefix / QUENIX_INSTALL_LIBDIR).string();
    }
    return places;
}

} // namespace quenix
