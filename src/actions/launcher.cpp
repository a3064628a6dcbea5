#include "actions/launcher.h"

#include "core/text.h"

namespace quenix {

std::vector<std::string> SplitCommandLine(const std::string& commandLine) {
    std::vector<std::string> words;
    std::string word;
    bool quoted = false, any = false;
    for (char c : commandLine) {
        if (c == '"') {
            quoted = !quoted;
            any = true;
        } else if ((c == ' ' || c == '\t') && !quoted) {
            if (any) words.push_back(word);
            word.clear();
            any = false;
        } else {
            word += c;
            any = true;
        }
    }
    if (any) words.push_back(word);
    return words;
}

std::vector<std::string> ProgramWords(const std::string& commandLine,
                                      const std::function<std::string(const std::string&)>& locate) {
    const std::string line = Trim(commandLine);
    if (!line.empty() && line[0] != '"') {
        for (std::size_t end = line.find(' ');; end = line.find(' ', end + 1)) {
            std::string program = locate(line.substr(0, end));
            if (!program.empty()) {
                std::vector<std::string> words = SplitCommandLine(end == std::string::npos ? "" : line.substr(end));
                words.insert(words.begin(), program);
                return words;
            }
            if (end == std::string::npos) break;
        }
    }
    std::vector<std::string> words = SplitCommandLine(line);
    if (!words.empty()) words[0] = locate(words[0]);
    return words;
}

} // namespace quenix
