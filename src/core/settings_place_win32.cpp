#include "core/program_folder.h"
#include "core/settings_place.h"

#include <cstdio>
#include <cstdlib>
#include <string>

namespace quenix {

namespace {

std::string Env(const char* name) {
    const char* v = std::getenv(name);
    return v ? v : "";
}

// Access rights decide, and only an attempt tells them (Program Files refuses a plain user).
bool CanCreateIn(const std::string& folder) {
    const std::string probe = folder + "\\.quenix-write-probe";
    std::FILE* f = std::fopen(probe.c_str(), "wb");
    if (!f) return false;
    std::fclose(f);
    std::remove(probe.c_str());
    return true;
}

} // namespace

std::string UserConfigHome() { return ConfigHome(Env("APPDATA"), Env("USERPROFILE")); }

ProgramPlaces FindProgramPlaces() {
    PlaceFacts facts;
    facts.program = ProgramFolder();
    facts.writable = CanCreateIn(facts.program);
    facts.xdgConfigHome = Env("APPDATA");
    facts.home = Env("USERPROFILE");
    return {facts.program, facts.program, facts.program, SettingsFolder(facts)};
}

} // namespace quenix
