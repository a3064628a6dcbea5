#include "core/settings_place.h"

#include <filesystem>
#include <system_error>

namespace quenix {

namespace fs = std::filesystem;

std::string ConfigHome(const std::string& xdgConfigHome, const std::string& home) {
    // A relative $XDG_CONFIG_HOME is invalid and ignored.
    if (!xdgConfigHome.empty() && fs::path(xdgConfigHome).is_absolute()) return xdgConfigHome;
    return home.empty() ? "" : (fs::path(home) / ".config").string();
}

std::string SettingsFolder(const PlaceFacts& facts) {
    if (facts.writable && !facts.installed) return facts.program;
    const std::string configHome = ConfigHome(facts.xdgConfigHome, facts.home);
    // Without a home folder there is nowhere else: the file is read where it was shipped.
    return configHome.empty() ? facts.program : (fs::path(configHome) / "quenix").string();
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
