#include "web/web_json.h"

#include <cstdint>

namespace quenix::web {
namespace {

class Reader {
public:
    explicit Reader(std::string_view s) : s_(s) {}

    bool Object(std::map<std::string, std::string>& out) {
        if (!Take('{')) return false;
        if (Take('}')) return End();
        do {
            std::string key, value;
            if (!String(key) || !Take(':')) return false;
            Space();
            if (Peek() == '"') {
                if (!String(value)) return false;
                out[key] = value;
            } else if (!Scalar()) {
                return false;
            }
        } while (Take(','));
        return Take('}') && End();
    }

private:
    char Peek() const { return i_ < s_.size() ? s_[i_] : '\0'; }
    void Space() {
        while (i_ < s_.size() && (s_[i_] == ' ' || s_[i_] == '\t' || s_[i_] == '\n' || s_[i_] == '\r')) ++i_;
    }
    bool Take(char c) {
        Space();
        if (Peek() != c) return false;
        ++i_;
        return true;
    }
    bool End() {
        Space();
        return i_ == s_.size();
    }
    // A number, true, false or null: letters, digits and the signs a number has.
    bool Scalar() {
        const std::size_t from = i_;
        while (i_ < s_.size() && std::string_view("0123456789+-.eEtrufalsn").find(s_[i_]) != std::string_view::npos) ++i_;
        const std::string_view word = s_.substr(from, i_ - from);
        return !word.empty() && (word == "true" || word == "false" || word == "null" ||
                                 word.find_first_not_of("0123456789+-.eE") == std::string_view::npos);
    }
    bool Hex4(std::uint32_t& v) {
        if (i_ + 4 > s_.size()) return false;
        v = 0;
        for (int k = 0; k < 4; ++k) {
            const char c = s_[i_++];
            const int d = c >= '0' && c <= '9' ? c - '0' : c >= 'a' && c <= 'f' ? c - 'a' + 10 : c >= 'A' && c <= 'F' ? c - 'A' + 10 : -1;
            if (d < 0) return false;
            v = v * 16 + static_cast<std::uint32_t>(d);
        }
        return true;
    }
    // UTF-8 is decoded to code points; those beyond Latin-1 become '?'.
    bool String(std::string& out) {
        if (!Take('"')) return false;
        while (i_ < s_.size()) {
            const auto c = static_cast<unsigned char>(s_[i_++]);
            std::uint32_t cp = c;
            if (c == '"') return true;
            if (c < 0x20) return false;
            if (c == '\\') {
                if (i_ >= s_.size()) return false;
                const char e = s_[i_++];
                const std::string_view from = "\"\\/bfnrt", to = "\"\\/\b\f\n\r\t";
                if (e == 'u') {
                    if (!Hex4(cp)) return false;
                    if (cp >= 0xD800 && cp <= 0xDBFF) { // the high half of a pair: its low half follows
                        std::uint32_t low = 0;
                        if (s_.substr(i_, 2) != "\\u") return false;
                        i_ += 2;
                        if (!Hex4(low)) return false;
                        cp = 0x10000;
                    }
                } else if (from.find(e) != std::string_view::npos) {
                    cp = static_cast<unsigned char>(to[from.find(e)]);
                } else {
                    return false;
                }
            } else if (c >= 0x80) {
                const int more = c >= 0xF0 ? 3 : c >= 0xE0 ? 2 : c >= 0xC0 ? 1 : -1;
                if (more < 0 || i_ + static_cast<std::size_t>(more) > s_.size()) return false;
                cp = c & (0x3F >> more);
                for (int k = 0; k < more; ++k) {
                    const auto t = static_cast<unsigned char>(s_[i_++]);
                    if ((t & 0xC0) != 0x80) return false;
                    cp = (cp << 6) | (t & 0x3F);
                }
            }
            out += cp <= 0xFF ? static_cast<char>(cp) : '?';
        }
        return false;
    }

    std::string_view s_;
    std::size_t i_ = 0;
};

} // namespace

std::string Quoted(std::string_view latin1) {
    std::string out = "\"";
    for (char ch : latin1) {
        const auto c = static_cast<unsigned char>(ch);
        if (c == '"' || c == '\\') {
            out += '\\';
            out += ch;
        } else if (c < 0x20) {
            static const char* kHex = "0123456789abcdef";
            out += "\\u00";
            out += kHex[c >> 4];
            out += kHex[c & 15];
        } else if (c >= 0x80) {
            out += static_cast<char>(0xC0 | (c >> 6));
            out += static_cast<char>(0x80 | (c & 0x3F));
        } else {
            out += ch;
        }
    }
    return out + "\"";
}

std::string QuotedList(const std::vector<std::string>& latin1) {
    std::string out = "[";
    for (const std::string& s : latin1) out += (out.size() > 1 ? "," : "") + Quoted(s);
    return out + "]";
}

std::optional<std::map<std::string, std::string>> ReadFlatObject(std::string_view json) {
    std::map<std::string, std::string> out;
    Reader r(json);
    if (!r.Object(out)) return std::nullopt;
    return out;
}

} // namespace quenix::web
