#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace quenix {

// Small text helpers with the semantics the configuration file relies on.

// Removes leading and trailing blanks (spaces only, as the file format means by "blank").
std::string Trim(std::string_view s);
std::string ToLower(std::string_view s);
// The numeric value of the leading number: "2x" is 2, "x" is 0, " -3" is -3.
long LeadingNumber(std::string_view s);
// The same, rounded into a 16-bit signed integer the way the system stores its numbers.
int LeadingInt16(std::string_view s);
// The lines of a text split at LF, line ends left out; a final LF starts no empty line. A CR
// before the LF stays with its line.
std::vector<std::string_view> SplitLines(std::string_view text);

} // namespace quenix
