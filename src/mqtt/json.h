#pragma once

// The little JSON the bridge needs: a reader for the requests that arrive on the send topic and
// the writing of the messages it publishes. Text inside is UTF-8; the configuration's names are
// Latin-1 and are converted at this edge.

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace quenix {

struct JsonMember;

struct JsonValue {
    enum class Type { Null, Bool, Number, String, Array, Object };
    Type type = Type::Null;
    bool boolean = false;
    double number = 0;
    std::string text; // a string's value, or the source text of a number
    std::vector<JsonValue> items;
    std::vector<JsonMember> members; // a vector may hold a type still being declared; a pair may not

    const JsonValue* find(std::string_view key) const;
    bool isString() const { return type == Type::String; }
};

struct JsonMember {
    std::string first; // the key
    JsonValue second;
};

// Nothing when the text is not one JSON value, nests deeper than 32, or is followed by more.
std::optional<JsonValue> ParseJson(std::string_view text);
// The source text of a value, written back compactly (an echoed request id).
std::string WriteJson(const JsonValue& v);

// A quoted, escaped JSON string of UTF-8 text.
std::string JsonString(std::string_view utf8);
std::string Latin1ToUtf8(std::string_view latin1);
// Characters beyond Latin-1 (which no name of the configuration holds) become '?'.
std::string Utf8ToLatin1(std::string_view utf8);

} // namespace quenix
