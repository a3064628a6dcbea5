#include "config/config_text.h"

#include "core/text.h"

#include <algorithm>
#include <array>

namespace quenix {
namespace {

constexpr std::array<unsigned char, 256> MakeLowerTable() {
    std::array<unsigned char, 256> t{};
    for (int i = 0; i < 256; ++i) t[static_cast<std::size_t>(i)] = static_cast<unsigned char>(i);
    for (int i = 'A'; i <= 'Z'; ++i) t[static_cast<std::size_t>(i)] = static_cast<unsigned char>(i - 'A' + 'a');
    return t;
}
constexpr auto kLower = MakeLowerTable();

inline unsigned char Lower(char c) { return kLower[static_cast<unsigned char>(c)]; }

int Len(std::string_view s) { return static_cast<int>(std::min<std::size_t>(s.size(), 0x7fffffff)); }

} // namespace

int FindText(std::string_view needle, std::string_view text, int start) {
    const int n = Len(needle);
    const int len = Len(text);
    if (start < 1) start = 1;
    // Candidate starts stop one short of the last character.
    const int lastStart = std::min(len - 1, len - n + 1);
    if (start > lastStart) return 0;
    if (n == 0) return start;
    const unsigned char first = Lower(needle[0]);
    for (int s = start; s <= lastStart; ++s) {
        if (Lower(text[static_cast<std::size_t>(s - 1)]) != first) continue;
        int k = 1;
        while (k < n && Lower(text[static_cast<std::size_t>(s - 1 + k)]) == Lower(needle[static_cast<std::size_t>(k)]))
            ++k;
        if (k == n) return s + n;
    }
    return 0;
}

std::string ReadLine(std::string_view text, int pos) {
    if (pos < 1 || pos > Len(text)) return {};
    std::string_view rest = text.substr(static_cast<std::size_t>(pos - 1));
    std::size_t cr = rest.find('\r');
    return Trim(rest.substr(0, cr));
}

std::string InsertText(std::string_view text, std::string_view insertion, int pos) {
    std::size_t at = static_cast<std::size_t>(std::clamp(pos - 1, 0, Len(text)));
    std::string r;
    r.reserve(text.size() + insertion.size());
    r.append(text.substr(0, at)).append(insertion).append(text.substr(at));
    return r;
}

std::string DeleteText(std::string_view text, int first, int last) {
    const int len = Len(text);
    first = std::max(first, 1);
    last = std::min(last, len);
    if (first > last) return std::string(text);
    std::string r(text.substr(0, static_cast<std::size_t>(first - 1)));
    r.append(text.substr(static_cast<std::size_t>(last)));
    return r;
}

std::string FindSectionHeader(std::string_view needle, std::string_view text) {
    int behind = FindText(needle, text, 1);
    if (behind == 0) return {};
    int p = behind - Len(needle); // where the match begins
    while (p >= 1 && text[static_cast<std::size_t>(p - 1)] != '[') --p;
    if (p < 1) return {};
    int end = FindText("\r\n", text, p);
    if (end == 0) return {};
    return std::string(text.substr(static_cast<std::size_t>(p - 1), static_cast<std::size_t>(end - 2 - p)));
}

std::string GetDeviceDescription(std::string_view name, std::string_view text) {
    std::string header = "[" + std::string(name) + "]";
    int p = FindText(header, text, 1);
    if (p == 0) return {};
    int hash = FindText("#", text, p);
    if (hash == 0) return {};
    int cr = FindText("\r", text, hash);
    if (cr == 0) return {};
    return std::string(text.substr(static_cast<std::size_t>(hash - 1), static_cast<std::size_t>(cr - 1 - hash)));
}

bool IsValidName(std::string& name) {
    name = Trim(name);
    return name.find_first_of("[],#%&") == std::string::npos && !HasControlCharacter(name);
}

bool HasControlCharacter(std::string_view text) {
    return std::any_of(text.begin(), text.end(),
                       [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; });
}

std::string WithCrLf(std::string text) {
    if (text.find('\n') == std::string::npos) return text;
    std::string out;
    out.reserve(text.size() + text.size() / 16);
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\n' && (i == 0 || text[i - 1] != '\r')) out += '\r';
        out += text[i];
    }
    return out;
}

} // namespace quenix
