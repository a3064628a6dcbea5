#include "actions/application.h"

#include "actions/audio.h"
#include "actions/launcher.h"
#include "actions/section_lines.h"
#include "core/text.h"

#include <filesystem>

namespace quenix {
namespace {

bool EndsWithNoCase(const std::string& s, std::string_view tail) {
    return s.size() >= tail.size() && ToLower(s.substr(s.size() - tail.size())) == tail;
}

bool FileExists(const std::string& path) {
    std::error_code ec;
    return std::filesystem::is_regular_file(path, ec);
}

} // namespace

std::optional<std::string> FindApplicationLine(const std::string& text, const std::string& name) {
    std::string wanted = ToLower(Trim(name));
    for (const std::string& line : SectionLinesOf(text, "[application]")) {
        // The entry's name stands last, behind the last comma; the command line may hold commas.
        std::size_t comma = line.rfind(',');
        if (comma != std::string::npos && ToLower(Trim(line.substr(comma + 1))) == wanted)
            return Trim(line.substr(0, comma));
    }
    return std::nullopt;
}

std::string ApplicationAction(Context& ctx, ProgramLauncher& launcher, SoundPlayer& sound, const std::string& command) {
    ctx.beepIfOn(5000, 50);
    std::optional<std::string> line = FindApplicationLine(ctx.config.text(), command);
    if (!line || line->empty()) return kApplicationError;

    std::string result;
    try {
        if (EndsWithNoCase(*line, "mp3")) {
            if (!FileExists(*line)) return kApplicationError;
            sound.playMp3(*line); // playback troubles are the player's, as with MCI
            result = "File " + command + " start playing.";
        } else if (EndsWithNoCase(*line, "wav")) {
            if (!FileExists(*line)) return kApplicationError;
            sound.playWav(*line);
            result = command + " executed.";
        } else {
            bool shown = (*line)[0] == '@';
            if (!launcher.start(shown ? line->substr(1) : *line, shown)) return kApplicationError;
            result = command + " executed.";
        }
    } catch (const std::exception&) {
        return kApplicationError;
    }
    ctx.beepIfOn(2000, 50);
    return result;
}

} // namespace quenix
