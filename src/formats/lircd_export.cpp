#include "formats/lircd_export.h"

#include "ir/protocols.h"

#include <cmath>
#include <cstdint>
#include <cstdio>

namespace quenix {

namespace {

constexpr double kDefaultGapUs = 40000;
constexpr std::size_t kRc6Head = 5;        // start, three mode bits and the trailer open LIRC's pre_data
constexpr std::size_t kRc6Trailer = 4;     // its index among them
constexpr std::size_t kMceToggle = 16;     // data bit that MCE remotes flip per press
constexpr std::size_t kSharpInverted = 10; // command, expansion and check bits of the second frame

// A remote block before it is written: the lines that describe its bits, and each key's bits
// as LIRC counts them (pre_data included).
struct Block {
    std::string flags;
    std::string timings;
    std::vector<std::string> codes;
    std::size_t preBits = 0;
    std::uint64_t toggleMask = 0, rc6Mask = 0, repeatMask = 0;
    double gap = kDefaultGapUs;
};

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

std::string Hex(std::uint64_t v) {
    char s[24];
    std::snprintf(s, sizeof s, "0x%llX", static_cast<unsigned long long>(v));
    return s;
}

std::uint64_t Value(const std::string& bits) {
    std::uint64_t v = 0;
    for (char b : bits) v = v << 1 | (b == '1');
    return v;
}

std::string Line(const char* key, double a, double b = -1) {
    std::string s = "  " + std::string(key) + " " + std::to_string(std::lround(a));
    if (b >= 0) s += " " + std::to_string(std::lround(b));
    return s + "\n";
}

// The mask of bit i (from the first sent) among n.
std::uint64_t MaskOf(std::size_t i, std::size_t n) { return std::uint64_t{1} << (n - 1 - i); }

std::string Bits(const std::string& code) {
    return code.substr(!code.empty() && (code[0] == 'G' || code[0] == 'g'));
}

// Whole bytes all keys share from bit `from` on, for pre_data, as LIRC's own remotes keep the
// address there; at most half the bits, so that the codes still tell the keys apart at a glance.
std::size_t SharedBytes(const std::vector<std::string>& codes, std::size_t from = 0) {
    std::size_t same = (codes[0].size() - from) / 2;
    for (const std::string& c : codes)
        for (std::size_t i = 0; i < same; ++i)
            if (c[from + i] != codes[0][from + i]) same = i;
    return same / 8 * 8;
}

// RC6 as LIRC writes it: bi-phase bits inverted against RC6's, the header the leader, and the
// start, mode and double-width trailer as the first bits of pre_data.
bool Rc6(const HeaderFields& h, const std::vector<std::string>& bits, Block& b) {
    const ProtocolPreset& p = PresetFor(h.gproto);
    if (h.bitg != p.bitg || h.bit0 != p.bit0 || h.bit1 != p.bit1) return false;
    const std::string head = h.gproto == kProtoRc6 ? "01111" : "00011"; // start 1, mode 0 or 6, trailer 0
    const double u = h.sendpls;
    const std::size_t n = bits[0].size(), all = kRc6Head + n;
    bool mce = true;
    for (const std::string& c : bits) {
        std::string lirc = head + c;
        for (std::size_t i = kRc6Head; i < all; ++i) lirc[i] = lirc[i] == '1' ? '0' : '1';
        b.codes.push_back(lirc);
        mce = mce && n == 32 && c.compare(0, 16, "1000000000001111") == 0;
    }
    b.flags = "RC6|CONST_LENGTH";
    b.timings = Line("header", 6 * u, 2 * u) + Line("one", u, u) + Line("zero", u, u);
    b.preBits = kRc6Head + SharedBytes(b.codes, kRc6Head);
    b.rc6Mask = MaskOf(kRc6Trailer, all);
    if (h.gproto == kProtoRc6) b.toggleMask = b.rc6Mask;
    if (mce) b.toggleMask = MaskOf(kRc6Head + kMceToggle, all);
    // A constant-length remote counts its gap from the start of one frame to the next.
    b.gap = (static_cast<double>(h.bitg.size() + 2 * n) + std::max(h.repeat, 16)) * u;
    return true;
}

// RC5 and its longer kin: the first start bit's mark is LIRC's lead pulse, the toggle the third
// bit. RC5X's silence behind its 8th bit is LIRC's pre pulse and space after pre_data, so the
// bits before it are shared by the remote's keys (ExportLircd groups them so): a 0 there ends in
// a space, and goes into the pre pulse; a 1 ends in a mark, which a 1 µs pre pulse lengthens.
bool Rc5(const HeaderFields& h, const std::vector<std::string>& bits, Block& b) {
    if (h.bit0 != "10" || h.bit1 != "01" || h.bitg.find('1') != std::string::npos) return false;
    const ProtocolPreset& row = PresetFor(h.gproto);
    const std::size_t n = bits[0].size(), split = static_cast<std::size_t>(row.gapAfter);
    if (n < 4 || (split && n <= split)) return false;
    for (const std::string& c : bits) {
        if (c[0] != '1' || (split && c.compare(0, split, bits[0], 0, split) != 0)) return false;
        b.codes.push_back(c.substr(1));
    }
    const double u = h.sendpls;
    b.flags = "RC5|CONST_LENGTH";
    b.timings = Line("one", u, u) + Line("zero", u, u) + Line("plead", u);
    if (split) {
        const bool endsInMark = bits[0][split - 1] == '1';
        b.preBits = split - (endsInMark ? 1 : 2);
        b.timings += endsInMark ? Line("pre", 1, row.gapCells * u) : Line("pre", u, (row.gapCells + 1) * u);
        if (!endsInMark)
            for (std::string& c : b.codes) c.erase(b.preBits, 1);
    }
    b.toggleMask = MaskOf(1, b.codes[0].size());
    const std::size_t cells = 2 * n - 1 + static_cast<std::size_t>(row.gapCells); // the first half bit is silence
    b.gap = (static_cast<double>(cells) + std::max(h.repeat, 16)) * u;
    return true;
}

// Pulse distance or width, bits mark first: SPACE_ENC behind an optional header.
bool SpaceEnc(const HeaderFields& h, const std::vector<std::string>& bits, Block& b) {
    int m0 = 0, s0 = 0, m1 = 0, s1 = 0, lead = 0, leadSpace = 0;
    const bool silentLead = h.bitg.find('1') == std::string::npos;
    const ProtocolPreset* row = FindPreset(h.gproto);
    const double u = h.sendpls;
    const bool noHeadRepeat = h.repeat > 0 && h.grepeat <= 1 && !silentLead;
    if (Shape(h.bit0, true, m0, s0) && Shape(h.bit1, true, m1, s1) &&
        (silentLead || Shape(h.bitg + "0", true, lead, leadSpace))) {
        if (!silentLead) leadSpace = static_cast<int>(h.bitg.size()) - lead; // a lead-in without its space has none
        b.timings = (lead ? leadSpace ? Line("header", lead * u, leadSpace * u) : Line("plead", lead * u) : "") +
                    Line("one", m1 * u, s1 * u) + Line("zero", m0 * u, s0 * u) +
                    (row && row->stopMark ? Line("ptrail", u) : "") +
                    (h.repeat == 0 && h.grepeat > 1 ? Line("repeat", 16 * u, 4 * u) : "");
        b.codes = bits;
        b.preBits = SharedBytes(bits);
    } else if (Shape(h.bit0, false, m0, s0) && Shape(h.bit1, false, m1, s1) && s0 == s1 &&
               h.bitg.find('0') == std::string::npos) {
        // Space-first bits: the same waveform as mark-first bits behind a header whose space is
        // the first bit's, the last space running into the gap.
        b.timings = Line("header", static_cast<double>(h.bitg.size()) * u, s0 * u) + Line("one", m1 * u, s1 * u) +
                    Line("zero", m0 * u, s0 * u);
        b.codes = bits;
    } else {
        return false;
    }
    b.flags = std::string("SPACE_ENC") + (noHeadRepeat ? "|NO_HEAD_REP" : "");
    b.gap = h.repeat > 0 ? h.repeat * u : h.grepeat > 1 ? h.grepeat * u : kDefaultGapUs;
    // Sharp's repeats carry the command, expansion and check bits inverted.
    if (row && row->toggle == Toggle::SharpInverse && bits[0].size() >= kSharpInverted)
        b.repeatMask = (std::uint64_t{1} << kSharpInverted) - 1;
    return true;
}

std::string Written(const HeaderFields& h, const std::vector<std::string>& names, const Block& b) {
    const std::size_t n = b.codes[0].size();
    std::string out = "begin remote\n  name " + LircName(h.name) + "\n  bits " + std::to_string(n - b.preBits) +
                      "\n  flags " + b.flags + "\n  eps 30\n  aeps 100\n" + b.timings;
    if (b.preBits) {
        out += "  pre_data_bits " + std::to_string(b.preBits) + "\n";
        out += "  pre_data " + Hex(Value(b.codes[0].substr(0, b.preBits))) + "\n";
    }
    out += Line("gap", b.gap);
    if (b.toggleMask) out += "  toggle_bit_mask " + Hex(b.toggleMask) + "\n";
    if (b.rc6Mask) out += "  rc6_mask " + Hex(b.rc6Mask) + "\n";
    if (b.repeatMask) out += "  repeat_mask " + Hex(b.repeatMask) + "\n";
    out += "  frequency " + std::to_string(CarrierHz(h.gproto)) + "\n  begin codes\n";
    for (std::size_t i = 0; i < names.size(); ++i)
        out += "    " + LircName(names[i]) + " " + Hex(Value(b.codes[i].substr(b.preBits))) + "\n";
    return out + "  end codes\nend remote\n";
}

// One remote: LIRC gives every key of a remote the same bit count.
std::string OneRemote(const StoredDevice& device) {
    const HeaderFields& h = device.header;
    std::vector<std::string> names, bits;
    for (const auto& [name, code] : device.commands) {
        names.push_back(name);
        bits.push_back(Bits(code));
    }
    const std::size_t n = bits[0].size();
    bool plain = true; // a code of several sequences has no LIRC form
    for (const std::string& c : bits) plain = plain && c.find_first_not_of("01") == std::string::npos;
    Block b;
    const bool biphase = h.gproto == kProtoRc5 || h.gproto == kProtoStreamZap || h.gproto == kProtoRc5x;
    const bool rc6 = h.gproto == kProtoRc6 || h.gproto == kProtoRc6A;
    const bool fits = plain && n > 0 && n <= 64 + (biphase ? 1 : 0) && (rc6 ? n + kRc6Head <= 64 : true) &&
                      (rc6 ? Rc6(h, bits, b) : biphase ? Rc5(h, bits, b) : SpaceEnc(h, bits, b));
    if (fits) return Written(h, names, b);

    const double u = h.sendpls;
    const double gap = h.repeat > 0 ? h.repeat * u : h.grepeat > 1 ? h.grepeat * u : kDefaultGapUs;
    std::string out = "begin remote\n  name " + LircName(h.name) + "\n  flags RAW_CODES\n  eps 30\n  aeps 100\n" +
                      Line("gap", gap) + "  frequency " + std::to_string(CarrierHz(h.gproto)) + "\n  begin raw_codes\n";
    for (const auto& [name, code] : device.commands) {
        out += "    name " + LircName(name) + "\n     ";
        for (const PulseRun& r : FirstSequence(h, code)) out += " " + std::to_string(std::lround(r.us));
        out += "\n";
    }
    return out + "  end raw_codes\nend remote\n";
}

} // namespace

std::string ExportLircd(const StoredDevice& device) {
    // A remote per bit count, as LIRC gives all keys of a remote the same; RC5X also per the bits
    // before its silence, which LIRC can only send as pre_data.
    const std::size_t split = static_cast<std::size_t>(PresetFor(device.header.gproto).gapAfter);
    const bool rc5x = device.header.gproto == kProtoRc5x;
    std::vector<StoredDevice> groups;
    std::vector<std::string> keys;
    for (const auto& command : device.commands) {
        const std::string bits = Bits(command.second);
        const std::string key = std::to_string(bits.size()) + (rc5x ? ":" + bits.substr(0, split) : "");
        std::size_t i = 0;
        while (i < keys.size() && keys[i] != key) ++i;
        if (i == keys.size()) {
            keys.push_back(key);
            groups.push_back({device.header, {}});
        }
        groups[i].commands.push_back(command);
    }
    std::string out;
    for (std::size_t i = 0; i < groups.size(); ++i) {
        if (groups.size() > 1) {
            const std::size_t n = Bits(groups[i].commands[0].second).size();
            groups[i].header.name += "_" + std::to_string(n) + (rc5x ? "_" + std::to_string(i + 1) : "");
        }
        out += (i ? "\n" : "") + OneRemote(groups[i]);
    }
    return out;
}

} // namespace quenix
