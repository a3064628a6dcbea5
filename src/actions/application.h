#pragma once

// The "application" device: its commands start programs or play wav and mp3 files, as the
// [Application] section of the configuration lists them.

#include "config/context.h"

#include <optional>
#include <string>

namespace quenix {

class ProgramLauncher;
class SoundPlayer;

inline constexpr const char* kApplicationError = "Error handling application!";

// The command line of the entry of that name in [Application], or nothing.
std::optional<std::string> FindApplicationLine(const std::string& configText, const std::string& name);

// Runs the entry and returns the result text, framed by beeps when they are on.
std::string ApplicationAction(Context& ctx, ProgramLauncher& launcher, SoundPlayer& sound, const std::string& command);

} // namespace quenix
