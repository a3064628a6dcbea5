#pragma once

// The little JSON the browser remote speaks: the answers it writes and the flat objects of
// strings that phones and scripts send. The configuration's names are Latin-1; JSON is UTF-8.

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quenix::web {

// A quoted JSON string of Latin-1 text.
std::string Quoted(std::string_view latin1);
std::string QuotedList(const std::vector<std::string>& latin1);

// The string members of one JSON object, converted to Latin-1 (what Latin-1 cannot hold becomes
// '?', which no name matches). Numbers, true, false and null are skipped; nested values, a
// second value, or anything malformed give nothing.
std::optional<std::map<std::string, std::string>> ReadFlatObject(std::string_view json);

} // namespace quenix::web
