#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace quenix {

// The lines of a configuration section, without CR LF: from behind its header (found without
// regard to case) up to the next "[". Empty when the header is missing.
std::vector<std::string> SectionLinesOf(std::string_view configText, std::string_view header);

} // namespace quenix
