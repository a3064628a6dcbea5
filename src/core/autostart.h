#pragma once

#include <string>

namespace quenix {

// Starting with the desktop session: an XDG autostart entry, <config home>/autostart/quenix.desktop,
// that starts the program minimised to the notification area.

inline constexpr const char* kStartMinimisedOption = "--minimized";

std::string AutostartEntryPath(const std::string& configHome);

// The entry's text for the program at the given path.
std::string AutostartEntry(const std::string& program);

// On when the entry is there and the session has not been told to skip it.
bool AutostartOn(const std::string& entryPath);

// Writes or removes the entry. An empty text on success; otherwise why it failed.
std::string SetAutostart(const std::string& entryPath, bool on, const std::string& program);

} // namespace quenix
