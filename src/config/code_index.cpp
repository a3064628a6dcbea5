#include "config/code_index.h"

#include "config/config_text.h"

#include <algorithm>
#include <cstring>

namespace quenix {
namespace {

std::uint32_t Hash(std::string_view bits) {
    std::uint32_t h = 2166136261u;
    for (char c : bits) h = (h ^ static_cast<unsigned char>(c)) * 16777619u;
    return h;
}

bool IsBit(char c) { return c == '0' || c == '1'; }

} // namespace

CodeIndex::CodeIndex(std::string_view text) {
    // A match of "G<bits>," ends at a comma, and its bits are the whole run of 0 and 1 before
    // that comma, since "G" is no bit: one candidate per comma.
    for (std::size_t comma = text.find(','); comma != std::string_view::npos; comma = text.find(',', comma + 1)) {
        std::size_t first = comma;
        while (first > 0 && IsBit(text[first - 1])) --first;
        if (first == comma || first == 0 || (text[first - 1] != 'G' && text[first - 1] != 'g')) continue;
        codes_.emplace_back(Hash(text.substr(first, comma - first)), static_cast<int>(first));
    }
    std::sort(codes_.begin(), codes_.end());
    codes_.shrink_to_fit();
    monitoring_ = FindText("[Monitoring]", text, 1);
}

int CodeIndex::FindCode(std::string_view text, std::string_view bits) const {
    if (bits.empty() || !std::all_of(bits.begin(), bits.end(), IsBit)) return 0;
    const std::uint32_t h = Hash(bits);
    // Sorted by position within one hash, so the first that really matches is the first in the text.
    for (auto it = std::lower_bound(codes_.begin(), codes_.end(), std::make_pair(h, 0));
         it != codes_.end() && it->first == h; ++it) {
        const auto at = static_cast<std::size_t>(it->second); // 0-based start of the bits
        if (text.size() - at > bits.size() && text.compare(at, bits.size(), bits) == 0 && text[at + bits.size()] == ',')
            return static_cast<int>(at + bits.size()) + 2;
    }
    return 0;
}

} // namespace quenix
