#include "core/text.h"

#include <algorithm>
#include <cctype>
#include <climits>
#include <cstdint>

namespace quenix {

std::string Trim(std::string_view s) {
    std::size_t b = s.find_first_not_of(' ');
    if (b == std::string_view::npos) return {};
    std::size_t e = s.find_last_not_of(' ');
    return std::string(s.substr(b, e - b + 1));
}

std::string ToLower(std::string_view s) {
    std::string r(s);
    std::transform(r.begin(), r.end(), r.begin(), [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return r;
}

long LeadingNumber(std::string_view s) {
    std::size_t i = 0;
    while (i < s.size() && (s[i] == ' ' || s[i] == '\t')) ++i;
    bool negative = false;
    if (i < s.size() && (s[i] == '-' || s[i] == '+')) negative = s[i++] == '-';
    long value = 0;
    for (; i < s.size() && std::isdigit(static_cast<unsigned char>(s[i])); ++i) {
        if (value < LONG_MAX / 10 - 10) value = value * 10 + (s[i] - '0');
    }
    return negative ? -value : value;
}

int LeadingInt16(std::string_view s) {
    long v = LeadingNumber(s);
    return static_cast<int>(std::clamp<long>(v, INT16_MIN, INT16_MAX));
}

std::vector<std::string_view> SplitLines(std::string_view text) {
    std::vector<std::string_view> lines;
    std::size_t pos = 0;
    while (pos < text.size()) {
        std::size_t end = text.find('\n', pos);
        if (end == std::string_view::npos) end = text.size();
        lines.push_back(text.substr(pos, end - pos));
        pos = end + 1;
    }
    return lines;
}

} // namespace quenix
