#include "actions/launcher.h"

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

} // namespace quenix
