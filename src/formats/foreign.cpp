#include "formats/foreign.h"

#include "core/text.h"
#include "ir/codec.h"
#include "ir/decoder.h"
#include "ir/protocols.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace quenix {

namespace {

const char* kCrLf = "\r\n";
constexpr double kCaptureSampleUs = 55;
constexpr int kMaxRawUnit = 200;
constexpr int kMinRawUnit = 10;
constexpr std::size_t kMaxRawCells = 12000; // a code line must leave room in the store
constexpr double kUnitShare = 0.15; // a decoded unit against its protocol's
constexpr double kMinCarrierHz = 30000, kMaxCarrierHz = 45000; // what a 38 kHz receiver still hears

std::string Hex(std::uint64_t v) {
    char s[24];
    std::snprintf(s, sizeof s, "0x%llx", static_cast<unsigned long long>(v));
    return s;
}

bool FitsWithin(const std::vector<PulseRun>& runs, int unit, double share, double us) {
    for (const PulseRun& r : runs) {
        const double cells = std::max(1.0, std::round(r.us / unit));
        if (std::fabs(cells * unit - r.us) > std::max(share * r.us, us)) return false;
    }
    return true;
}

} // namespace

std::string LsbBits(std::uint64_t v, int n) {
    std::string s;
    for (int i = 0; i < n; ++i) s += i < 64 && ((v >> i) & 1) ? '1' : '0';
    return s;
}

std::string MsbBits(std::uint64_t v, int n) {
    std::string s = LsbBits(v, n);
    std::reverse(s.begin(), s.end());
    return s;
}

std::uint64_t LsbValue(std::string_view bits) {
    std::uint64_t v = 0;
    for (std::size_t i = 0; i < bits.size() && i < 64; ++i) v |= std::uint64_t{bits[i] == '1'} << i;
    return v;
}

std::uint64_t MsbValue(std::string_view bits) {
    std::uint64_t v = 0;
    for (char b : bits) v = v << 1 | (b == '1');
    return v;
}

std::optional<ImportedCode> CodeFromScancode(std::string_view kernelName, std::uint64_t v, std::string& why) {
    const std::string name = ToLower(kernelName);
    auto fits = [&](std::uint64_t limit) {
        if (v <= limit) return true;
        why = "scancode " + Hex(v) + " is too large for " + name;
        return false;
    };
    auto b = [](std::uint64_t x, int n) { return LsbBits(x, n); };
    if (name == "nec" && fits(0xFFFF)) {
        const std::uint64_t a = v >> 8, c = v & 0xFF;
        return ImportedCode{kProtoNec, b(a, 8) + b(~a, 8) + b(c, 8) + b(~c, 8)};
    }
    if (name == "necx" && fits(0xFFFFFF)) {
        const std::uint64_t c = v & 0xFF;
        return ImportedCode{kProtoNec, b(v >> 16, 8) + b(v >> 8, 8) + b(c, 8) + b(~c, 8)};
    }
    if (name == "nec32" && fits(0xFFFFFFFF))
        return ImportedCode{kProtoNec, b(v >> 24, 8) + b(v >> 16, 8) + b(v >> 8, 8) + b(v, 8)};
    if (name == "sanyo" && fits(0x1FFFFF)) {
        const std::uint64_t a = v >> 8, c = v & 0xFF;
        return ImportedCode{kProtoNec, b(a, 13) + b(~a, 13) + b(c, 8) + b(~c, 8)};
    }
    if (name == "sony12" || name == "sony15" || name == "sony20") {
        const int width = name == "sony12" ? 5 : name == "sony15" ? 8 : 5;
        const std::uint64_t device = v >> 16, ext = (v >> 8) & 0xFF, c = v & 0xFF;
        if (c > 0x7F || device >= (1u << width) || (name != "sony20" && ext != 0)) {
            why = "scancode " + Hex(v) + " does not fit " + name;
            return std::nullopt;
        }
        return ImportedCode{kProtoSony, b(c, 7) + b(device, width) + (name == "sony20" ? b(ext, 8) : "")};
    }
    if (name == "rc5" && fits(0x1F7F)) {
        const std::uint64_t a = v >> 8, c = v & 0x7F;
        if ((v & 0x80) == 0)
            return ImportedCode{kProtoRc5, std::string("1") + ((c & 0x40) ? "0" : "1") + "0" + MsbBits(a, 5) + MsbBits(c, 6)};
        why = "scancode " + Hex(v) + " does not fit rc5";
        return std::nullopt;
    }
    if (name == "rc6_0" && fits(0xFFFF)) return ImportedCode{kProtoRc6, MsbBits(v, 16)};
    if (name == "rc6_6a_20" && fits(0xFFFFF)) return ImportedCode{kProtoRc6A, MsbBits(v, 20)};
    if (name == "rc6_6a_24" && fits(0xFFFFFF)) return ImportedCode{kProtoRc6A, MsbBits(v, 24)};
    if (name == "rc6_6a_32" && fits(0xFFFFFFFF)) return ImportedCode{kProtoRc6A, MsbBits(v, 32)};
    if (name == "rc6_mce" && fits(0xFFFFFFFF)) {
        if ((v >> 16) != 0x800F) {
            why = "scancode " + Hex(v) + " is not an MCE code (0x800f....)";
            return std::nullopt;
        }
        return ImportedCode{kProtoRc6A, MsbBits(v & ~std::uint64_t{0x8000}, 32)};
    }
    if (name == "jvc" && fits(0xFFFF)) return ImportedCode{kProtoJvc, b(v >> 8, 8) + b(v, 8)};
    if (name == "sharp" && fits(0x1FFF)) return ImportedCode{kProtoSharp, b(v >> 8, 5) + b(v, 8) + "10"};
    if (name == "kaseikyo" && fits(0xFFFFFFFFFFFF)) {
        std::string bits;
        for (int i = 5; i >= 0; --i) bits += b(v >> (8 * i), 8);
        return ImportedCode{kProtoKaseikyo, bits};
    }
    if (why.empty()) why = "the protocol " + std::string(kernelName) + " is not one this program sends";
    return std::nullopt;
}

int RawUnit(const std::vector<PulseRun>& runs) {
    auto error = [&](int unit) {
        double sum = 0;
        for (const PulseRun& r : runs) sum += std::fabs(std::max(1.0, std::round(r.us / unit)) * unit - r.us);
        return sum;
    };
    for (auto [share, us] : {std::pair{0.03, 15.0}, std::pair{0.10, 100.0}})
        for (int unit = kMaxRawUnit; unit >= kMinRawUnit; --unit) {
            if (!FitsWithin(runs, unit, share, us)) continue;
            // The closest fit a little below: the largest unit that passes is rarely the remote's own.
            int best = unit;
            for (int u = unit - 1; u >= unit * 9 / 10; --u)
                if (FitsWithin(runs, u, share, us) && error(u) < error(best) - 1e-6) best = u;
            return best;
        }
    return 0;
}

std::string Strip(std::string_view text) {
    const std::size_t b = text.find_first_not_of(" \t\r\n");
    if (b == std::string_view::npos) return {};
    return std::string(text.substr(b, text.find_last_not_of(" \t\r\n") - b + 1));
}

std::vector<std::string_view> SplitWords(std::string_view text) {
    std::vector<std::string_view> words;
    std::size_t at = 0;
    while ((at = text.find_first_not_of(" \t", at)) != std::string_view::npos) {
        const std::size_t end = std::min(text.find_first_of(" \t", at), text.size());
        words.push_back(text.substr(at, end - at));
        at = end;
    }
    return words;
}

std::string CleanName(std::string_view text) {
    std::string s;
    for (char c : text) {
        const unsigned char u = static_cast<unsigned char>(c);
        s += (u < 32 || u == 127 || std::string_view("[],#%&").find(c) != std::string_view::npos) ? '_' : c;
    }
    return Strip(s);
}

std::string RefuseBytes(std::string_view bytes) {
    if (bytes.size() > kMaxImportBytes)
        return "the file has " + std::to_string(bytes.size() >> 20) + " MB; codes files are far smaller";
    std::size_t control = 0;
    for (unsigned char c : bytes.substr(0, 65536)) {
        if (c == 0) return "binary data, not a text file of codes";
        control += c < 32 && c != '\n' && c != '\r' && c != '\t';
    }
    if (control * 100 > std::min<std::size_t>(bytes.size(), 65536)) return "binary data, not a text file of codes";
    return {};
}

DeviceCollector::DeviceCollector(std::string_view base, std::string_view origin)
    : base_(CleanName(base)), origin_(origin) {}

DeviceCollector::Group& DeviceCollector::GroupFor(const std::string& key, const std::string& tag,
                                                  const HeaderFields& header) {
    for (Group& g : groups_)
        if (g.key == key) return g;
    Group g{key, tag, {}};
    g.device.ok = true;
    g.device.header = header;
    g.device.lircName = base_;
    return groups_.emplace_back(std::move(g));
}

void DeviceCollector::AddTo(Group& g, int line, std::string_view name, std::string code) {
    ImportedCommand c;
    c.lircName = std::string(name);
    c.name = CleanName(name);
    if (c.name.empty()) c.name = "key";
    for (const ImportedCommand& k : g.device.commands)
        if (ToLower(k.name) == ToLower(c.name)) return Refuse(line, name, "a key of this name came before");
    c.code = "G" + std::move(code);
    g.device.commands.push_back(std::move(c));
}

void DeviceCollector::Add(int line, std::string_view name, int protocol, std::string bits) {
    const ProtocolPreset* p = FindPreset(protocol);
    if (!p || protocol == kProtoCustom) return Refuse(line, name, "no protocol to send it with");
    const ProtocolHeader ph = HeaderFromPreset(protocol);
    // The device editor wants a lead-in; one silent cell before RC5's first start bit changes nothing.
    HeaderFields h{"", "", ph.gproto, ph.sendpls, ph.repeat, ph.grepeat, ph.bitg.empty() ? "0" : ph.bitg, ph.bit0, ph.bit1};
    AddTo(GroupFor("p" + std::to_string(protocol), std::string(p->name), h), line, name,
          NormalisedCode("G" + bits, protocol).substr(1));
}

void DeviceCollector::AddRuns(int line, std::string_view name, const std::vector<PulseRun>& runs, double carrierHz) {
    if (runs.empty() || !runs.front().mark) return Refuse(line, name, "the timings do not begin with a mark");
    const std::vector<std::uint8_t> capture = SampleRuns(runs, kCaptureSampleUs);
    const DecodedRecording d = DecodeCapture(capture);
    RecordedSignal s = d.signal;
    double unitSamples = d.unit;
    if (s.code.size() <= 1) { // a single short frame: the recorder wants more, monitoring reads it
        const DecodedFrame f = DecodeMonitorFrame(capture);
        s.protocol = f.protocol;
        s.code = f.frame.empty() ? "" : "G" + f.frame;
        unitSamples = MeasuredUnit(capture);
    }
    // Kept only when the protocol's own timing and bit count fit: the reading scales its unit
    // to the signal, so an air conditioner's frame may read as a short NEC code at another pace.
    if (const ProtocolPreset* p = FindPreset(s.protocol); p && s.protocol != kProtoCustom && s.code.size() > 1) {
        const double preset = LeadingInt16(p->sendpls), unit = unitSamples * kCaptureSampleUs;
        const std::size_t bits = s.code.size() - 1;
        if (std::fabs(unit - preset) <= kUnitShare * preset && (p->bits == 0 || bits == static_cast<std::size_t>(p->bits)))
            return Add(line, name, s.protocol, s.code.substr(1));
    }
    if (carrierHz > 0 && (carrierHz < kMinCarrierHz || carrierHz > kMaxCarrierHz))
        return Refuse(line, name,
                      "raw timings on a carrier of " + std::to_string(std::lround(carrierHz / 1000)) +
                          " kHz, which a 38 kHz transmitter does not reach, and no protocol reads them");
    std::vector<PulseRun> kept = runs;
    while (!kept.empty() && !kept.back().mark) kept.pop_back(); // the gap behind the last mark
    const int unit = RawUnit(kept);
    if (unit == 0) return Refuse(line, name, "raw timings with a mark or space too short to send");
    std::string cells;
    for (const PulseRun& r : kept) {
        cells.append(static_cast<std::size_t>(std::max(1.0, std::round(r.us / unit))), r.mark ? '1' : '0');
        if (cells.size() > kMaxRawCells)
            return Refuse(line, name, "raw timings too long to keep (" + std::to_string(kMaxRawCells) + " cells)");
    }
    HeaderFields h{"", "", kProtoCustom, unit, 0, 0, "0", "0", "1"};
    AddTo(GroupFor("raw" + std::to_string(unit), "raw", h), line, name, cells);
}

void DeviceCollector::Refuse(int line, std::string_view name, std::string_view why) {
    refused_.push_back("line " + std::to_string(line) + ": " + (name.empty() ? "" : std::string(name) + ": ") +
                       std::string(why));
}

ForeignImport DeviceCollector::Finish() {
    ForeignImport out;
    out.refused = std::move(refused_);
    std::vector<std::string> taken;
    std::string base = base_.empty() ? std::string("Remote") : base_;
    for (char& c : base)
        if (c == ' ') c = '_';
    for (Group& g : groups_) {
        std::string name = base;
        if (groups_.size() > 1) {
            const std::string tag = ("_" + CleanName(g.tag)).substr(0, 11);
            name = base.substr(0, 12 - tag.size()) + tag;
        }
        name = DeviceNameFor(name);
        for (int n = 2; std::find(taken.begin(), taken.end(), ToLower(name)) != taken.end(); ++n) {
            const std::string suffix = "_" + std::to_string(n);
            name = name.substr(0, std::min(name.size(), 12 - suffix.size())) + suffix;
        }
        taken.push_back(ToLower(name));
        g.device.header.name = name;
        g.device.header.description = CleanName(origin_ + " " + base_ + " " + g.tag);
        out.devices.push_back(std::move(g.device));
    }
    groups_.clear();
    return out;
}

void MergeImport(ForeignImport& into, ForeignImport from) {
    for (ImportedRemote& d : from.devices) {
        std::string& name = d.header.name;
        const std::string stem = name;
        auto taken = [&] {
            for (const ImportedRemote& o : into.devices)
                if (ToLower(o.header.name) == ToLower(name)) return true;
            return false;
        };
        for (int n = 2; taken(); ++n) {
            const std::string suffix = "_" + std::to_string(n);
            name = stem.substr(0, std::min(stem.size(), 12 - suffix.size())) + suffix;
        }
        into.devices.push_back(std::move(d));
    }
    for (std::string& r : from.refused) into.refused.push_back(std::move(r));
    if (into.error.empty()) into.error = std::move(from.error);
}

std::optional<std::string> ForeignAsConfiguration(const ForeignImport& found, std::string& notes) {
    if (!found.error.empty()) {
        notes += found.error + kCrLf;
        return std::nullopt;
    }
    std::string config = std::string("# Codes read by Remote Manager") + kCrLf + "[General]" + kCrLf + kCrLf;
    for (ImportedRemote d : found.devices) {
        // The import window shows the description: it tells how many keys each device brings.
        d.header.description += " (" + std::to_string(d.commands.size()) + " keys)";
        config += d.SectionText();
    }
    for (const std::string& r : found.refused) notes += r + kCrLf;
    return config + "[End]" + kCrLf;
}

} // namespace quenix
