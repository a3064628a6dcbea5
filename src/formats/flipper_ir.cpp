#include "formats/flipper_ir.h"

#include "core/text.h"
#include "ir/protocols.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <map>

namespace quenix {

namespace {

constexpr std::size_t kMaxRawValues = 4096;

struct Signal {
    int line = 0;
    std::string name;
    std::map<std::string, std::string> fields; // lower-case key -> value
    std::map<std::string, int> lines;
};

// "07 00 00 00": four bytes, the first the least significant.
std::optional<std::uint32_t> LittleEndian(const std::string& text) {
    std::uint32_t v = 0;
    int n = 0;
    for (std::string_view word : SplitWords(text)) {
        if (word.size() != 2 || n == 4 || word.find_first_not_of("0123456789abcdefABCDEF") != std::string_view::npos)
            return std::nullopt;
        v |= static_cast<std::uint32_t>(std::strtoul(std::string(word).c_str(), nullptr, 16)) << (8 * n++);
    }
    if (n != 4) return std::nullopt;
    return v;
}

struct Layout {
    const char* name;
    int protocol;
    std::uint32_t maxAddress, maxCommand;
};

constexpr Layout kLayouts[] = {
    {"NEC", kProtoNec, 0xFF, 0xFF},           {"NECext", kProtoNec, 0xFFFF, 0xFFFF},
    {"NEC42", kProtoNec, 0x1FFF, 0xFF},       {"NEC42ext", kProtoNec, 0x3FFFFFF, 0xFFFF},
    {"Samsung32", kProtoSamsung, 0xFF, 0xFF}, {"RC5", kProtoRc5, 0x1F, 0x3F},
    {"RC5X", kProtoRc5, 0x1F, 0x7F},          {"RC6", kProtoRc6, 0xFF, 0xFF},
    {"SIRC", kProtoSony, 0x1F, 0x7F},         {"SIRC15", kProtoSony, 0xFF, 0x7F},
    {"SIRC20", kProtoSony, 0x1FFF, 0x7F},     {"Kaseikyo", kProtoKaseikyo, 0x3FFFFFF, 0x3FF},
    {"RCA", kProtoRca, 0xF, 0xFF},            {"Pioneer", kProtoPioneer, 0xFF, 0xFF},
};

std::uint32_t Nibbles(std::uint32_t v) { return (v ^ v >> 4) & 0xF; }

// Kaseikyo's address packs id (bits 24-25), vendor (8-23) and two genre nibbles (4-7, 0-3);
// the command has ten bits. Six bytes go out, each least significant bit first.
std::string KaseikyoBits(std::uint32_t a, std::uint32_t c) {
    const std::uint32_t vendor = (a >> 8) & 0xFFFF;
    std::uint32_t d[6] = {vendor & 0xFF, vendor >> 8, 0, 0, 0, 0};
    d[2] = Nibbles(d[0] ^ d[1]) | ((a >> 4) & 0xF) << 4;
    d[3] = (a & 0xF) | (c & 0xF) << 4;
    d[4] = ((c >> 4) & 0x3F) | ((a >> 24) & 3) << 6;
    d[5] = d[2] ^ d[3] ^ d[4];
    std::string bits;
    for (std::uint32_t b : d) bits += LsbBits(b, 8);
    return bits;
}

std::string ParsedBits(const Layout& l, std::uint32_t a, std::uint32_t c) {
    const std::string name = l.name;
    if (name == "NEC" || name == "Pioneer") return LsbBits(a, 8) + LsbBits(~a, 8) + LsbBits(c, 8) + LsbBits(~c, 8);
    if (name == "NECext") return LsbBits(a, 16) + LsbBits(c, 16);
    if (name == "NEC42") return LsbBits(a, 13) + LsbBits(~a, 13) + LsbBits(c, 8) + LsbBits(~c, 8);
    if (name == "NEC42ext") return LsbBits(a, 26) + LsbBits(c, 16);
    if (name == "Samsung32") return LsbBits(a, 8) + LsbBits(a, 8) + LsbBits(c, 8) + LsbBits(~c, 8);
    if (l.protocol == kProtoRc5) return std::string("1") + (c & 0x40 ? "0" : "1") + "0" + MsbBits(a, 5) + MsbBits(c, 6);
    if (name == "RC6") return MsbBits(a, 8) + MsbBits(c, 8);
    if (name == "RCA") return MsbBits(a, 4) + MsbBits(c, 8) + MsbBits(~a, 4) + MsbBits(~c, 8);
    if (l.protocol == kProtoSony) return LsbBits(c, 7) + LsbBits(a, name == "SIRC" ? 5 : name == "SIRC15" ? 8 : 13);
    return KaseikyoBits(a, c);
}

void Emit(DeviceCollector& out, const Signal& s) {
    auto field = [&](const char* key) -> const std::string* {
        auto it = s.fields.find(key);
        return it == s.fields.end() ? nullptr : &it->second;
    };
    auto lineOf = [&](const char* key) { return s.lines.count(key) ? s.lines.at(key) : s.line; };
    const std::string* type = field("type");
    if (!type) return out.Refuse(s.line, s.name, "no type: line");
    if (ToLower(*type) == "parsed") {
        const std::string* protocol = field("protocol");
        const std::string* address = field("address");
        const std::string* command = field("command");
        if (!protocol || !address || !command) return out.Refuse(s.line, s.name, "a parsed signal needs protocol:, address: and command:");
        const Layout* layout = nullptr;
        for (const Layout& l : kLayouts)
            if (ToLower(l.name) == ToLower(*protocol)) layout = &l;
        if (!layout) return out.Refuse(lineOf("protocol"), s.name, "the protocol " + *protocol + " is not one this program sends");
        const auto a = LittleEndian(*address), c = LittleEndian(*command);
        if (!a) return out.Refuse(lineOf("address"), s.name, "address: needs four hex bytes such as 07 00 00 00");
        if (!c) return out.Refuse(lineOf("command"), s.name, "command: needs four hex bytes such as 07 00 00 00");
        if (*a > layout->maxAddress || *c > layout->maxCommand)
            return out.Refuse(lineOf(*a > layout->maxAddress ? "address" : "command"), s.name,
                              "address or command too large for " + std::string(layout->name));
        return out.Add(s.line, s.name, layout->protocol, ParsedBits(*layout, *a, *c));
    }
    if (ToLower(*type) != "raw") return out.Refuse(lineOf("type"), s.name, "unknown type " + *type);
    const std::string* data = field("data");
    if (!data) return out.Refuse(s.line, s.name, "a raw signal needs data:");
    std::vector<PulseRun> runs;
    for (std::string_view word : SplitWords(*data)) {
        char* end = nullptr;
        const std::string w(word);
        const double us = std::strtod(w.c_str(), &end);
        if (end != w.c_str() + w.size() || !(us > 0) || us > 1e6)
            return out.Refuse(lineOf("data"), s.name, "data: holds \"" + w.substr(0, 16) + "\", not a duration in microseconds");
        if (runs.size() == kMaxRawValues) return out.Refuse(lineOf("data"), s.name, "more than 4096 durations");
        runs.push_back({runs.size() % 2 == 0, us});
    }
    const std::string* frequency = field("frequency");
    const double hz = frequency ? std::strtod(frequency->c_str(), nullptr) : 0;
    out.AddRuns(lineOf("data"), s.name, runs, std::isfinite(hz) ? hz : 0);
}

} // namespace

bool LooksLikeFlipper(std::string_view text) {
    for (std::string_view line : SplitLines(text)) {
        const std::string t = Strip(line);
        if (t.empty()) continue;
        return ToLower(t).rfind("filetype:", 0) == 0;
    }
    return false;
}

ForeignImport ImportFlipper(std::string_view text, std::string_view base) {
    DeviceCollector out(base, "Flipper");
    std::vector<Signal> signals;
    int number = 0;
    bool typed = false;
    for (std::string_view raw : SplitLines(text)) {
        ++number;
        const std::string line = Strip(raw);
        if (line.empty() || line.front() == '#') continue;
        const std::size_t colon = line.find(':');
        if (colon == std::string::npos) {
            out.Refuse(number, "", "\"" + line.substr(0, 40) + "\" is not a key: value line");
            continue;
        }
        const std::string key = ToLower(Strip(line.substr(0, colon)));
        const std::string value = Strip(line.substr(colon + 1));
        if (key == "filetype") {
            if (ToLower(value) != "ir signals file") {
                ForeignImport r;
                r.error = "line " + std::to_string(number) + ": a Flipper file of another kind (" + value.substr(0, 40) + ")";
                return r;
            }
            typed = true;
        } else if (key == "name") {
            signals.push_back({number, value, {}, {}});
        } else if (!signals.empty()) {
            signals.back().fields[key] = value;
            signals.back().lines[key] = number;
        }
    }
    if (!typed) {
        ForeignImport r;
        r.error = "not a Flipper infrared file: the line Filetype: IR signals file is missing";
        return r;
    }
    for (const Signal& s : signals) Emit(out, s);
    return out.Finish();
}

std::string ExportFlipper(const StoredDevice& device) {
    std::string out = "Filetype: IR signals file\nVersion: 1\n";
    const HeaderFields& h = device.header;
    for (const auto& [name, code] : device.commands) {
        out += "# \nname: " + name + "\n";
        const std::string bits = code.size() > 1 && (code[0] == 'G' || code[0] == 'g') ? code.substr(1) : code;
        bool parsed = false;
        if (HasPresetTimings(h))
            for (const Layout& l : kLayouts) {
                if (l.protocol != h.gproto) continue;
                // The fields that would give these bits back, if any do.
                const std::size_t n = bits.size();
                std::uint32_t a = 0, c = 0;
                const std::string name = l.name;
                if ((name == "NEC" || name == "Pioneer") && n == 32)
                    a = LsbValue(bits.substr(0, 8)), c = LsbValue(bits.substr(16, 8));
                else if (name == "NECext" && n == 32) a = LsbValue(bits.substr(0, 16)), c = LsbValue(bits.substr(16));
                else if (name == "NEC42" && n == 42) a = LsbValue(bits.substr(0, 13)), c = LsbValue(bits.substr(26, 8));
                else if (name == "NEC42ext" && n == 42) a = LsbValue(bits.substr(0, 26)), c = LsbValue(bits.substr(26));
                else if (name == "Samsung32" && n == 32) a = LsbValue(bits.substr(0, 8)), c = LsbValue(bits.substr(16, 8));
                else if (l.protocol == kProtoRc5 && n == 14)
                    a = MsbValue(bits.substr(3, 5)), c = MsbValue(bits.substr(8)) | (bits[1] == '0' ? 0x40 : 0);
                else if (name == "RC6" && n == 16) a = MsbValue(bits.substr(0, 8)), c = MsbValue(bits.substr(8));
                else if (name == "RCA" && n == 24) a = MsbValue(bits.substr(0, 4)), c = MsbValue(bits.substr(4, 8));
                else if (l.protocol == kProtoSony && n == 7 + LsbBits(l.maxAddress, 32).find('0'))
                    a = LsbValue(bits.substr(7)), c = LsbValue(bits.substr(0, 7));
                else if (name == "Kaseikyo" && n == 48) {
                    auto byte = [&](int i) { return static_cast<std::uint32_t>(LsbValue(bits.substr(8 * i, 8))); };
                    a = (byte(4) >> 6) << 24 | byte(1) << 16 | byte(0) << 8 | (byte(2) >> 4) << 4 | (byte(3) & 0xF);
                    c = (byte(3) >> 4) | (byte(4) & 0x3F) << 4;
                } else
                    continue;
                if (a > l.maxAddress || c > l.maxCommand || ParsedBits(l, a, c) != bits) continue;
                char fields[96];
                std::snprintf(fields, sizeof fields, "address: %02X %02X %02X %02X\ncommand: %02X %02X %02X %02X\n",
                              a & 0xFF, a >> 8 & 0xFF, a >> 16 & 0xFF, a >> 24, c & 0xFF, c >> 8 & 0xFF, c >> 16 & 0xFF,
                              c >> 24);
                out += "type: parsed\nprotocol: " + name + "\n" + fields;
                parsed = true;
                break;
            }
        if (parsed) continue;
        out += "type: raw\nfrequency: 38000\nduty_cycle: 0.330000\ndata:";
        for (const PulseRun& r : FirstSequence(h, code)) out += " " + std::to_string(std::lround(r.us));
        out += "\n";
    }
    return out;
}

} // namespace quenix
