#include "formats/keymap_toml.h"

#include "core/text.h"

#include <cerrno>
#include <cstdlib>

namespace quenix {

namespace {

struct Entry {
    int line;
    std::string key;
    std::uint64_t scancode;
};

struct Section {
    int line = 0;
    std::string name, protocol, variant;
    std::vector<Entry> scancodes;
    struct Raw {
        int line;
        std::string keycode;
        std::vector<PulseRun> runs;
        std::string bad;
    };
    std::vector<Raw> raw;
    std::vector<std::string> refused;
};

std::string Unquoted(std::string s) {
    s = Strip(s);
    if (s.size() >= 2 && (s.front() == '"' || s.front() == '\'') && s.back() == s.front()) return s.substr(1, s.size() - 2);
    return s;
}

// Strips a comment that stands outside quotes.
std::string WithoutComment(const std::string& line) {
    char quote = 0;
    for (std::size_t i = 0; i < line.size(); ++i) {
        if (quote) {
            if (line[i] == quote) quote = 0;
        } else if (line[i] == '"' || line[i] == '\'') {
            quote = line[i];
        } else if (line[i] == '#') {
            return line.substr(0, i);
        }
    }
    return line;
}

bool Number(const std::string& text, std::uint64_t& v) {
    const std::string t = Unquoted(text);
    if (t.empty() || t[0] == '-' || t[0] == '+') return false;
    char* end = nullptr;
    errno = 0;
    v = std::strtoull(t.c_str(), &end, 0);
    return errno == 0 && end == t.c_str() + t.size();
}

// A kernel scancode layout for the section and a value, by its variant or the value's size.
std::string LayoutFor(const Section& s, std::uint64_t v) {
    const std::string p = ToLower(s.protocol), variant = ToLower(s.variant);
    if (!variant.empty() && variant != p) return variant;
    if (p == "nec") return v > 0xFFFFFF ? "nec32" : v > 0xFFFF ? "necx" : "nec";
    if (p == "sony") return (v >> 8 & 0xFF) ? "sony20" : (v >> 16) > 0x1F ? "sony15" : "sony12";
    if (p == "rc6") return (v >> 16) == 0x800F ? "rc6_mce" : v > 0xFFFFFF ? "rc6_6a_32" : v > 0xFFFFF ? "rc6_6a_24"
                         : v > 0xFFFF ? "rc6_6a_20" : "rc6_0";
    return p;
}

void Emit(ForeignImport& all, const Section& s, std::string_view base) {
    const std::string title = s.name.empty() ? std::string(base) : s.name;
    DeviceCollector out(title, "keymap");
    for (const std::string& r : s.refused) out.Refuse(s.line, "", r);
    if (ToLower(s.protocol) == "raw") {
        for (const Section::Raw& r : s.raw) {
            if (!r.bad.empty()) out.Refuse(r.line, r.keycode, r.bad);
            else out.AddRuns(r.line, r.keycode, r.runs, 0);
        }
    } else if (s.protocol.empty()) {
        out.Refuse(s.line, title, "the section names no protocol");
    } else {
        for (const Entry& e : s.scancodes) {
            std::string why;
            if (auto code = CodeFromScancode(LayoutFor(s, e.scancode), e.scancode, why))
                out.Add(e.line, e.key, code->protocol, code->bits);
            else
                out.Refuse(e.line, e.key, why);
        }
    }
    MergeImport(all, out.Finish());
}

} // namespace

bool LooksLikeKeymap(std::string_view text) { return text.find("[[protocols]]") != std::string_view::npos; }

ForeignImport ImportKeymap(std::string_view text, std::string_view base) {
    ForeignImport all;
    std::vector<Section> sections;
    enum { Top, Fields, Scancodes, Raw } where = Top;
    int number = 0;
    std::string pending; // a raw = [ ... ] array over several lines
    for (std::string_view rawLine : SplitLines(text)) {
        ++number;
        const std::string line = Strip(WithoutComment(std::string(rawLine)));
        if (line.empty()) continue;
        if (!pending.empty()) {
            pending += " " + line;
        } else if (line == "[[protocols]]") {
            sections.push_back({});
            sections.back().line = number;
            where = Fields;
            continue;
        } else if (line.front() == '[') {
            if (sections.empty()) {
                all.refused.push_back("line " + std::to_string(number) + ": " + line + " before any [[protocols]]");
                where = Top;
            } else if (line == "[protocols.scancodes]") {
                where = Scancodes;
            } else if (line == "[[protocols.raw]]") {
                sections.back().raw.push_back({number, "", {}, ""});
                where = Raw;
            } else {
                sections.back().refused.push_back("the table " + line + " is not read");
                where = Top;
            }
            continue;
        }
        const std::string& body = pending.empty() ? line : pending;
        const std::size_t eq = body.find('=');
        if (eq == std::string::npos || where == Top) {
            if (where != Top) all.refused.push_back("line " + std::to_string(number) + ": \"" + line.substr(0, 40) +
                                                    "\" is not a key = value line");
            pending.clear();
            continue;
        }
        const std::string key = Unquoted(body.substr(0, eq)), value = Strip(body.substr(eq + 1));
        Section& s = sections.back();
        if (where == Fields) {
            if (key == "name") s.name = Unquoted(value);
            else if (key == "protocol") s.protocol = Unquoted(value);
            else if (key == "variant") s.variant = Unquoted(value);
            else if (ToLower(s.protocol) != "raw" && key != "scancodes")
                s.refused.push_back("the protocol parameter " + key.substr(0, 32) + " is not read");
        } else if (where == Scancodes) {
            std::uint64_t v = 0;
            if (!Number(key, v))
                all.refused.push_back("line " + std::to_string(number) + ": \"" + key.substr(0, 24) + "\" is not a scancode");
            else
                s.scancodes.push_back({number, Unquoted(value), v});
        } else {
            Section::Raw& r = s.raw.back();
            if (key == "keycode") {
                r.keycode = Unquoted(value);
            } else if (key == "raw") {
                if (value.find(']') == std::string::npos) {
                    if (pending.empty()) pending = line;
                    if (pending.size() > 65536) pending.clear(), r.bad = "a raw array without its closing ]";
                    continue;
                }
                const std::size_t open = value.find('['), close = value.find(']');
                std::string list = open == std::string::npos || close < open ? "" : value.substr(open + 1, close - open - 1);
                for (char& c : list)
                    if (c == ',') c = ' ';
                for (std::string_view w : SplitWords(list)) {
                    std::uint64_t us = 0;
                    if (!Number(std::string(w), us) || us == 0 || us > 1000000) {
                        r.bad = "the raw value \"" + std::string(w.substr(0, 16)) + "\" is not a duration";
                        break;
                    }
                    r.runs.push_back({r.runs.size() % 2 == 0, static_cast<double>(us)});
                }
                if (r.runs.empty() && r.bad.empty()) r.bad = "an empty raw array";
            }
        }
        pending.clear();
    }
    if (!pending.empty()) all.refused.push_back("the last raw array has no closing ]");
    if (sections.empty()) all.error = "not an ir-keytable keymap: no [[protocols]] section";
    for (const Section& s : sections) Emit(all, s, base);
    return all;
}

} // namespace quenix
