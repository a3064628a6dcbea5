#pragma once

#include <string>
#include <string_view>

namespace quenix {

// Text operations on the configuration text. Positions are 1-based, as everywhere in the
// system; 0 means "not found".

// A collection of thousands of imported remotes fits many times over; positions stay int.
inline constexpr int kMaxConfigLength = 64 << 20;

// Case-blind search; the position just behind the first match at or after start, else 0.
// The last character of the text is never a candidate start, so a one-character needle
// standing only there is not found.
int FindText(std::string_view needle, std::string_view text, int start);

// Characters from pos up to the next CR, trimmed of blanks. Without a CR, up to the end.
std::string ReadLine(std::string_view text, int pos);

// The text with the insertion placed so that it begins at pos.
std::string InsertText(std::string_view text, std::string_view insertion, int pos);

// The text without the characters first..last, both included.
std::string DeleteText(std::string_view text, int first, int last);

// The "[name]" header of the section in which the needle first stands, or empty.
std::string FindSectionHeader(std::string_view needle, std::string_view text);

// The text behind the "#" of the device's comment line (not trimmed), or empty.
std::string GetDeviceDescription(std::string_view name, std::string_view text);

// Trims the name in place; false when it holds one of [ ] , # % & or a control character.
bool IsValidName(std::string& name);
// True when the text holds a line break or another control character, which no name in the
// line-based file can carry.
bool HasControlCharacter(std::string_view text);

// Files edited on other systems may end their lines in LF alone; the configuration text keeps
// CR LF everywhere. A bare CR is left alone.
std::string WithCrLf(std::string text);

} // namespace quenix
