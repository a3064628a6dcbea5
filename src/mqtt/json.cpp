#include "mqtt/json.h"

#include <cstdio>
#include <cstdlib>

namespace quenix {
namespace {

constexpr int kMaxDepth = 32;

void AppendUtf8(std::string& out, unsigned cp) {
    if (cp < 0x80) {
        out += static_cast<char>(cp);
    } else if (cp < 0x800) {
        out += static_cast<char>(0xC0 | (cp >> 6));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    } else if (cp < 0x10000) {
        out += static_cast<char>(0xE0 | (cp >> 12));
        out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | (cp >> 18));
        out += static_cast<char>(0x80 | ((cp >> 12) & 0x3F));
        out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    }
}

class Reader {
public:
    explicit Reader(std::string_view s) : s_(s) {}

    bool value(JsonValue& v, int depth) {
        if (depth > kMaxDepth) return false;
        space();
        if (at_ >= s_.size()) return false;
        const char c = s_[at_];
        if (c == '{') return object(v, depth);
        if (c == '[') return array(v, depth);
        if (c == '"') {
            v.type = JsonValue::Type::String;
            return string(v.text);
        }
        if (word("true")) return v.type = JsonValue::Type::Bool, v.boolean = true, true;
        if (word("false")) return v.type = JsonValue::Type::Bool, true;
        if (word("null")) return true;
        return number(v);
    }
    bool end() {
        space();
        return at_ == s_.size();
    }

private:
    void space() {
        while (at_ < s_.size() && (s_[at_] == ' ' || s_[at_] == '\t' || s_[at_] == '\n' || s_[at_] == '\r')) ++at_;
    }
    bool eat(char c) {
        space();
        if (at_ < s_.size() && s_[at_] == c) return ++at_, true;
        return false;
    }
    bool word(std::string_view w) {
        if (s_.substr(at_, w.size()) != w) return false;
        at_ += w.size();
        return true;
    }
    bool object(JsonValue& v, int depth) {
        v.type = JsonValue::Type::Object;
        ++at_;
        if (eat('}')) return true;
        do {
            space();
            std::string key;
            JsonValue member;
            if (at_ >= s_.size() || s_[at_] != '"' || !string(key) || !eat(':') || !value(member, depth + 1))
                return false;
            v.members.push_back({std::move(key), std::move(member)});
        } while (eat(','));
        return eat('}');
    }
    bool array(JsonValue& v, int depth) {
        v.type = JsonValue::Type::Array;
        ++at_;
        if (eat(']')) return true;
        do {
            v.items.emplace_back();
            if (!value(v.items.back(), depth + 1)) return false;
        } while (eat(','));
        return eat(']');
    }
    bool hex4(unsigned& out) {
        if (at_ + 4 > s_.size()) return false;
        out = 0;
        for (int i = 0; i < 4; ++i) {
            const char c = s_[at_++];
            out <<= 4;
            if (c >= '0' && c <= '9')
                out |= static_cast<unsigned>(c - '0');
            else if (c >= 'a' && c <= 'f')
                out |= static_cast<unsigned>(c - 'a' + 10);
            else if (c >= 'A' && c <= 'F')
                out |= static_cast<unsigned>(c - 'A' + 10);
            else
                return false;
        }
        return true;
    }
    bool string(std::string& out) {
        ++at_; // the opening quote
        while (at_ < s_.size()) {
            const char c = s_[at_++];
            if (c == '"') return true;
            if (static_cast<unsigned char>(c) < 0x20) return false;
            if (c != '\\') {
                out += c;
                continue;
            }
            if (at_ >= s_.size()) return false;
            const char e = s_[at_++];
            switch (e) {
            case '"':
            case '\\':
            case '/': out += e; break;
            case 'b': out += '\b'; break;
            case 'f': out += '\f'; break;
            case 'n': out += '\n'; break;
            case 'r': out += '\r'; break;
            case 't': out += '\t'; break;
            case 'u': {
                unsigned cp = 0;
                if (!hex4(cp)) return false;
                if (cp >= 0xD800 && cp < 0xDC00) { // a surrogate pair
                    unsigned low = 0;
                    if (!word("\\u") || !hex4(low) || low < 0xDC00 || low > 0xDFFF) return false;
                    cp = 0x10000 + ((cp - 0xD800) << 10) + (low - 0xDC00);
                }
                AppendUtf8(out, cp);
                break;
            }
            default: return false;
            }
        }
        return false;
    }
    bool number(JsonValue& v) {
        const std::size_t start = at_;
        if (at_ < s_.size() && s_[at_] == '-') ++at_;
        auto digits = [this] {
            const std::size_t from = at_;
            while (at_ < s_.size() && s_[at_] >= '0' && s_[at_] <= '9') ++at_;
            return at_ > from;
        };
        if (!digits()) return false;
        if (at_ < s_.size() && s_[at_] == '.') {
            ++at_;
            if (!digits()) return false;
        }
        if (at_ < s_.size() && (s_[at_] == 'e' || s_[at_] == 'E')) {
            ++at_;
            if (at_ < s_.size() && (s_[at_] == '+' || s_[at_] == '-')) ++at_;
            if (!digits()) return false;
        }
        v.type = JsonValue::Type::Number;
        v.text = std::string(s_.substr(start, at_ - start));
        v.number = std::strtod(v.text.c_str(), nullptr);
        return true;
    }

    std::string_view s_;
    std::size_t at_ = 0;
};

} // namespace

const JsonValue* JsonValue::find(std::string_view key) const {
    for (const auto& [k, v] : members)
        if (k == key) return &v;
    return nullptr;
}

std::optional<JsonValue> ParseJson(std::string_view text) {
    Reader r(text);
    JsonValue v;
    if (!r.value(v, 0) || !r.end()) return std::nullopt;
    return v;
}

std::string WriteJson(const JsonValue& v) {
    switch (v.type) {
    case JsonValue::Type::Null: return "null";
    case JsonValue::Type::Bool: return v.boolean ? "true" : "false";
    case JsonValue::Type::Number: return v.text;
    case JsonValue::Type::String: return JsonString(v.text);
    case JsonValue::Type::Array: {
        std::string out = "[";
        for (std::size_t i = 0; i < v.items.size(); ++i) out += (i ? "," : "") + WriteJson(v.items[i]);
        return out + "]";
    }
    case JsonValue::Type::Object: {
        std::string out = "{";
        for (std::size_t i = 0; i < v.members.size(); ++i)
            out += (i ? "," : "") + JsonString(v.members[i].first) + ":" + WriteJson(v.members[i].second);
        return out + "}";
    }
    }
    return "null";
}

std::string JsonString(std::string_view utf8) {
    std::string out = "\"";
    for (char c : utf8) {
        switch (c) {
        case '"': out += "\\\""; break;
        case '\\': out += "\\\\"; break;
        case '\n': out += "\\n"; break;
        case '\r': out += "\\r"; break;
        case '\t': out += "\\t"; break;
        default:
            if (static_cast<unsigned char>(c) < 0x20) {
                char buf[8];
                std::snprintf(buf, sizeof buf, "\\u%04x", static_cast<unsigned>(c));
                out += buf;
            } else {
                out += c;
            }
        }
    }
    return out + "\"";
}

std::string Latin1ToUtf8(std::string_view latin1) {
    std::string out;
    for (char c : latin1) AppendUtf8(out, static_cast<unsigned char>(c));
    return out;
}

std::string Utf8ToLatin1(std::string_view utf8) {
    std::string out;
    for (std::size_t i = 0; i < utf8.size();) {
        const auto b = static_cast<unsigned char>(utf8[i]);
        if (b < 0x80) {
            out += static_cast<char>(b);
            ++i;
            continue;
        }
        const std::size_t len = b >= 0xF0 ? 4 : b >= 0xE0 ? 3 : 2;
        if (len == 2 && i + 1 < utf8.size()) {
            const unsigned cp = ((b & 0x1Fu) << 6) | (static_cast<unsigned char>(utf8[i + 1]) & 0x3Fu);
            out += cp < 0x100 ? static_cast<char>(cp) : '?';
        } else {
            out += '?';
        }
        i += len;
    }
    return out;
}

} // namespace quenix
