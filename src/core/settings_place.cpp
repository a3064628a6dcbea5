#include "core/settings_place.h"

#include <filesystem>
#include <system_error>

namespace quenix {

namespace fs = std::filesystem;

std::string SettingsFolder(const PlaceFacts& facts) {
    if (facts.writable && !facts.installed) return facts.program;
    // A relative $XDG_CONFIG_HOME is invalid and ignored.
    if (!facts.xdgConfigHome.empty() && fs::path(facts.xdgConfigHome).is_absolute())
        return (fs::path(facts.xdgConfigHome) / "quenix").string();
    // Without a home folder there is nowhere else: the file is read where it was shipped.
    if (facts.home.empty()) return facts.program;
    return (fs::path(facts.home) / ".config" / "quenix").string();
}

std::string PrepareSettingsFolder(const ProgramPlaces& places) {
    const fs::path target = fs::path(places.settings) / "telvorin.cfg";
    std::error_code ec;
    if (fs::exists(target, ec) || places.settings == places.data) return "";
    fs::create_directories(places.settings, ec);
    if (!ec) fs::copy_file(fs::path(places.data) / "telvorin.cfg", target, ec);
    return ec ? "Cannot create " + target.string() + ": " + ec.message() : "";
}

} // namespace quenix
