#include "actions/section_lines.h"

#include "config/config_text.h"

namespace quenix {

std::vector<std::string> SectionLinesOf(std::string_view text, std::string_view header) {
    std::vector<std::string> lines;
    int behind = FindText(header, text, 1);
    if (behind == 0) return lines;
    std::size_t from = text.find('\n', static_cast<std::size_t>(behind - 1));
    std::size_t end = text.find('[', static_cast<std::size_t>(behind - 1));
    if (end == std::string_view::npos) end = text.size();
    std::size_t pos = from == std::string_view::npos ? end : from + 1;
    while (pos < end) {
        std::size_t eol = text.find('\n', pos);
        if (eol == std::string_view::npos || eol > end) eol = end;
        std::string_view line = text.substr(pos, eol - pos);
        if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
        lines.emplace_back(line);
        pos = eol + 1;
    }
    return lines;
}

} // namespace quenix
