#pragma once

#include <cstdint>
#include <string_view>
#include <utility>
#include <vector>

namespace quenix {

// What monitoring looks up in the configuration text for every received frame, found in one
// pass so that a collection of thousands of remotes answers as fast as a handful: every code
// line's "G<bits>," and where [Monitoring] begins. Valid for the text it was built from only.
class CodeIndex {
public:
    explicit CodeIndex(std::string_view text);

    // FindText("G" + bits + ",", text, 1) for bits of "0" and "1" only.
    int FindCode(std::string_view text, std::string_view bits) const;
    // FindText("[Monitoring]", text, 1).
    int monitoring() const { return monitoring_; }

private:
    std::vector<std::pair<std::uint32_t, int>> codes_; // hash of the bits, 1-based position of the "G"
    int monitoring_ = 0;
};

} // namespace quenix
