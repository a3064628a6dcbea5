#include "core/autostart.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <system_error>

namespace quenix {

namespace fs = std::filesystem;

namespace {

// One quoted argument of an Exec line: inside quotes ", `, $ and \ take a backslash, and the
// desktop file's own string escaping doubles every backslash again; % is doubled for field codes.
std::string ExecArgument(const std::string& arg) {
    std::string quoted = "\"";
    for (char c : arg) {
        if (c == '"' || c == '`' || c == '$') quoted += "\\\\";
        if (c == '\\') quoted += "\\\\\\";
        if (c == '%') quoted += '%';
        quoted += c;
    }
    return quoted + "\"";
}

} // namespace

std::string AutostartEntryPath(const std::string& configHome) {
    return (fs::path(configHome) / "autostart" / "quenix.desktop").string();
}

std::string AutostartEntry(const std::string& program) {
    return "[Desktop Entry]\n"
           "Type=Application\n"
           "Name=Quenix Remote Manager\n"
           "Comment=Starts Quenix Remote Manager in the notification area\n"
           "Exec=" +
           ExecArgument(program) + " " + kStartMinimisedOption +
           "\n"
           "Icon=org.quenix_remote.Quenix\n"
           "Terminal=false\n"
           "X-GNOME-Autostart-enabled=true\n";
}

bool AutostartOn(const std::string& entryPath) {
    std::ifstream f(entryPath);
    if (!f) return false;
    // Session settings switch an entry off in place rather than removing it.
    for (std::string line; std::getline(f, line);) {
        if (!line.empty() && line.back() == '\r') line.pop_back();
        if (line == "Hidden=true" || line == "X-GNOME-Autostart-enabled=false") return false;
    }
    return true;
}

std::string SetAutostart(const std::string& entryPath, bool on, const std::string& program) {
    std::error_code ec;
    if (!on) {
        fs::remove(entryPath, ec);
        return ec ? "Cannot remove " + entryPath + ": " + ec.message() : "";
    }
    fs::create_directories(fs::path(entryPath).parent_path(), ec);
    if (ec) return "Cannot create " + fs::path(entryPath).parent_path().string() + ": " + ec.message();
    std::ofstream f(entryPath, std::ios::binary | std::ios::trunc);
    f << AutostartEntry(program);
    f.close();
    return f ? "" : "Cannot write " + entryPath;
}

} // namespace quenix
