#include "formats/lircd_export.h"

#include "ir/protocols.h"

#include <cmath>
#include <cstdio>

namespace quenix {

namespace {

constexpr double kDefaultGapUs = 40000;

// A pattern of n marks then k spaces (marksFirst) or k spaces then n marks.
bool Shape(const std::string& p, bool marksFirst, int& marks, int& spaces) {
    const char first = marksFirst ? '1' : '0';
    const std::size_t split = p.find(first == '1' ? '0' : '1');
    if (split == 0 || split == std::string::npos || p.find(first, split) != std::string::npos) return false;
    (marksFirst ? marks : spaces) = static_cast<int>(split);
    (marksFirst ? spaces : marks) = static_cast<int>(p.size() - split);
    return true;
}

std::string LircName(std::string s) {
    for (char& c : s)
        if (c == ' ' || c == '\t') c = '_';
    return s;
}

std::string Hex(const std::string& bits) {
    unsigned long long v = 0;
    for (char b : bits) v = v << 1 | (b == '1');
    char s[24];
    std::snprintf(s, sizeof s, "0x%llX", v);
    return s;
}

std::string Line(const char* key, double a, double b = -1) {
    std::string s = "  " + std::string(key) + " " + std::to_string(std::lround(a));
    if (b >= 0) s += " " + std::to_string(std::lround(b));
    return s + "\n";
}

// One remote: LIRC gives every key of a remote the same bit count.
std::string OneRemote(const StoredDevice& device) {
    const HeaderFields& h = device.header;
    const double u = h.sendpls;
    std::size_t bits = 0;
    bool sameLength = true;
    for (const auto& [name, code] : device.commands) {
        const std::size_t n = code.size() - (!code.empty() && (code[0] == 'G' || code[0] == 'g'));
        sameLength = sameLength && (bits == 0 || n == bits);
        bits = n;
    }
    const double gap = h.repeat > 0 ? h.repeat * u : h.grepeat > 1 ? h.grepeat * u : kDefaultGapUs;
    std::string out = "begin remote\n  name " + LircName(h.name) + "\n";
    std::string timings;
    int m0 = 0, s0 = 0, m1 = 0, s1 = 0, lead = 0, leadSpace = 0;
    const bool silentLead = h.bitg.find('1') == std::string::npos;
    const ProtocolPreset* row = FindPreset(h.gproto);
    const bool rc5 = h.gproto == kProtoRc5 && h.bit0 == "10" && h.bit1 == "01" && silentLead;
    bool fits = sameLength && bits > 0 && bits <= 64 + (rc5 ? 1 : 0);
    if (fits && rc5) {
        for (const auto& c : device.commands) fits = fits && c.second.find('1') == 1; // the start bit
        timings = "  bits " + std::to_string(bits - 1) + "\n  flags RC5|CONST_LENGTH\n" + Line("one", u, u) +
                  Line("zero", u, u) + Line("plead", u) + "  toggle_bit_mask 0x" +
                  [&] { char s[20]; std::snprintf(s, sizeof s, "%llX", 1ULL << (bits - 3)); return std::string(s); }() + "\n";
    } else if (fits && Shape(h.bit0, true, m0, s0) && Shape(h.bit1, true, m1, s1) &&
               (silentLead || Shape(h.bitg + "0", true, lead, leadSpace))) {
        if (!silentLead) leadSpace = static_cast<int>(h.bitg.size()) - lead; // a lead-in without its space has none
        timings = "  bits " + std::to_string(bits) + "\n  flags SPACE_ENC" + (h.repeat > 0 && h.grepeat <= 1 ? "|NO_HEAD_REP" : "") + "\n" +
                  (lead ? leadSpace ? Line("header", lead * u, leadSpace * u) : Line("plead", lead * u) : "") +
                  Line("one", m1 * u, s1 * u) + Line("zero", m0 * u, s0 * u) +
                  (row && row->stopMark ? Line("ptrail", u) : "") +
                  (h.repeat == 0 && h.grepeat > 1 ? Line("repeat", 16 * u, 4 * u) : "");
    } else if (fits && Shape(h.bit0, false, m0, s0) && Shape(h.bit1, false, m1, s1) && s0 == s1 &&
               h.bitg.find('0') == std::string::npos) {
        // Space-first bits: the same waveform as mark-first bits behind a header whose space is
        // the first bit's, the last space running into the gap.
        timings = "  bits " + std::to_string(bits) + "\n  flags SPACE_ENC" + (h.repeat > 0 && h.grepeat <= 1 ? "|NO_HEAD_REP" : "") + "\n" +
                  Line("header", static_cast<double>(h.bitg.size()) * u, s0 * u) + Line("one", m1 * u, s1 * u) +
                  Line("zero", m0 * u, s0 * u);
    } else {
        fits = false;
    }
    if (!fits) {
        out += "  flags RAW_CODES\n  eps 30\n  aeps 100\n" + Line("gap", gap) + "  frequency 38000\n  begin raw_codes\n";
        for (const auto& [name, code] : device.commands) {
            out += "    name " + LircName(name) + "\n     ";
            for (const PulseRun& r : FirstSequence(h, code)) out += " " + std::to_string(std::lround(r.us));
            out += "\n";
        }
        return out + "  end raw_codes\nend remote\n";
    }
    out += timings + "  eps 30\n  aeps 100\n" + Line("gap", gap) + "  frequency 38000\n  begin codes\n";
    for (const auto& [name, code] : device.commands) {
        std::string b = code.substr(!code.empty() && (code[0] == 'G' || code[0] == 'g'));
        if (rc5) b = b.substr(1);
        out += "    " + LircName(name) + " " + Hex(b) + "\n";
    }
    return out + "  end codes\nend remote\n";
}

} // namespace

std::string ExportLircd(const StoredDevice& device) {
    std::vector<StoredDevice> byLength;
    std::vector<std::size_t> lengths;
    for (const auto& command : device.commands) {
        const std::size_t n = command.second.size();
        std::size_t i = 0;
        while (i < lengths.size() && lengths[i] != n) ++i;
        if (i == lengths.size()) {
            lengths.push_back(n);
            byLength.push_back({device.header, {}});
        }
        byLength[i].commands.push_back(command);
    }
    std::string out;
    for (std::size_t i = 0; i < byLength.size(); ++i) {
        if (byLength.size() > 1) byLength[i].header.name += "_" + std::to_string(lengths[i] - 1);
        out += (i ? "\n" : "") + OneRemote(byLength[i]);
    }
    return out;
}

} // namespace quenix
