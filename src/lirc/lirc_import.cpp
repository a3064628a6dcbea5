#include "lirc/lirc_import.h"

#include "config/browser_controller.h"
#include "core/text.h"
#include "ir/codec.h"
#include "ir/decoder.h"
#include "ir/protocols.h"
#include "ir/pulse_text.h"

#include <algorithm>
#include <cmath>
#include <set>

namespace quenix {

namespace {

const char* kCrLf = "\r\n";
constexpr int kMinUnit = 20; // µs; finer cells only lengthen the patterns
constexpr int kMaxCells = 32767;
constexpr int kMaxUnit = 10000;        // µs; no remote has a shorter run than this is long
constexpr double kMaxDurationUs = 1e6; // a mark or space of its own, not a gap       // REPEAT and GREPEAT are 16-bit
constexpr double kLeadTolerance = 0.2; // an RC5 lead pulse against the bits' pulses
constexpr double kDefaultGapUs = 40000;
constexpr int kNecBurstMark = 16; // the encoder's data-less repeat burst, in cells
constexpr int kNecBurstSpace = 4;
constexpr double kCaptureSampleUs = 55; // the capture library's sample, once calibrated
constexpr double kReadBackGapUs = 100000;

// Encodings LIRC knows that a fixed pattern per bit value cannot carry.
constexpr const char* kUnsupported[] = {"RCMM",      "XMP",         "GRUNDIG",  "BO",
                                        "SERIAL", "RAW_CODES", "SPACE_FIRST", "GOLDSTAR", "NOKIA"};

int CellsOf(double us, int unit) { return static_cast<int>(std::lround(us / unit)); }

bool Fits(double us, int unit) {
    if (us <= 0) return true;
    int n = CellsOf(us, unit);
    return n >= 1 && std::fabs(n * unit - us) <= kUnitTolerance * us;
}

double WorstError(const std::vector<double>& durations, int unit) {
    double worst = 0;
    for (double d : durations)
        if (d > 0) worst = std::max(worst, std::fabs(std::max(CellsOf(d, unit), 1) * unit - d) / d);
    return worst;
}

// The unit for durations in [lo, hi]: the largest that every duration fits, moved down to the
// best fit within a tenth of it (NEC's runs fit 588 µs, but 563 µs fits them better).
int FindUnit(const std::vector<double>& durations, int lo, int hi) {
    hi = std::min(hi, kMaxUnit);
    lo = std::max(lo, kMinUnit);
    int largest = 0;
    for (int u = hi; u >= lo && largest == 0; --u)
        if (WorstError(durations, u) <= kUnitTolerance &&
            std::all_of(durations.begin(), durations.end(), [u](double d) { return Fits(d, u); }))
            largest = u;
    int best = largest;
    for (int u = largest - 1; largest > 0 && u >= std::max(lo, largest * 9 / 10); --u)
        if (std::all_of(durations.begin(), durations.end(), [u](double d) { return Fits(d, u); }) &&
            WorstError(durations, u) < WorstError(durations, best))
            best = u;
    return best;
}

std::string Mark(double us, int unit) {
    return us > 0 ? std::string(static_cast<std::size_t>(CellsOf(us, unit)), '1') : "";
}
std::string Space(double us, int unit) {
    return us > 0 ? std::string(static_cast<std::size_t>(CellsOf(us, unit)), '0') : "";
}

std::string Bits(std::uint64_t v, int width) {
    std::string s;
    for (int i = width - 1; i >= 0; --i) s += i < 64 && ((v >> i) & 1) ? '1' : '0';
    return s;
}

bool Near(double a, double b, double tolerance) { return std::fabs(a - b) <= tolerance * std::max(a, b); }

std::string Sanitised(std::string_view text) {
    std::string s;
    for (char c : text) {
        unsigned char u = static_cast<unsigned char>(c);
        s += (u < 32 || u == 127 || std::string_view("[],#%&").find(c) != std::string_view::npos) ? '_' : c;
    }
    return Trim(s);
}

// The bits a key sends: pre_data, code and post_data, each field in its own bit order, with
// the toggle bits at 0.
std::string KeyBits(const LircRemote& r, std::uint64_t code) {
    std::string all = Bits(r.preData, r.preDataBits) + Bits(code, r.bits) + Bits(r.postData, r.postDataBits);
    const std::size_t n = all.size();
    if (r.toggleBit > 0 && static_cast<std::size_t>(r.toggleBit) <= n)
        all[static_cast<std::size_t>(r.toggleBit - 1)] = '0';
    for (std::size_t k = 0; k < std::min<std::size_t>(n, 64); ++k)
        if ((r.toggleMask >> k) & 1) all[n - 1 - k] = '0';
    if (r.hasFlag("REVERSE")) {
        auto from = all.begin();
        for (int width : {r.preDataBits, r.bits, r.postDataBits}) {
            std::reverse(from, from + width);
            from += width;
        }
    }
    return all;
}

// Index of the first toggle bit in the joined bits, or -1.
int TogglePosition(const LircRemote& r) {
    if (r.toggleBit > 0) return r.toggleBit - 1;
    const int n = r.totalBits();
    for (int k = 0; k < std::min(n, 64); ++k)
        if ((r.toggleMask >> k) & 1) return n - 1 - k;
    return -1;
}

// Names a key's command; false for a name an earlier key has, as only the first line of a name
// can be sent.
bool NameKey(ImportedRemote& m, std::set<std::string>& names, const LircKey& k, ImportedCommand& c) {
    c.lircName = k.name;
    c.name = Sanitised(k.name);
    if (c.name.empty()) c.name = "key";
    if (names.insert(ToLower(c.name)).second) return true;
    m.duplicates.push_back(k.name);
    return false;
}

void AddRun(std::vector<PulseRun>& runs, bool mark, double us) {
    if (us <= 0) return;
    if (!runs.empty() && runs.back().mark == mark)
        runs.back().us += us;
    else
        runs.push_back({mark, us});
}

// One frame of a key as the remote itself sends it, in LIRC's timings, and a long gap.
std::vector<PulseRun> RemoteFrame(const LircRemote& r, std::string_view bits, bool biphase) {
    std::vector<PulseRun> runs;
    auto add = [&](bool mark, double us) { AddRun(runs, mark, us); };
    add(true, r.header.pulse);
    add(false, r.header.space);
    add(true, r.plead);
    for (std::size_t i = 0; i < bits.size(); ++i) {
        if (i == static_cast<std::size_t>(r.preDataBits) && r.pre.present()) {
            add(true, r.pre.pulse);
            add(false, r.pre.space);
        }
        const char b = bits[i];
        const LircPair& p = b == '1' ? r.one : r.zero;
        if (biphase && b == '1') {
            add(false, p.space);
            add(true, p.pulse);
        } else {
            add(true, p.pulse);
            add(false, p.space);
        }
    }
    add(true, r.ptrail);
    add(false, kReadBackGapUs);
    return runs;
}

// Whether the decoder reads each key, captured from the remote's own signal, as its code;
// the reason when not.
std::string ReadBack(ImportedRemote& m, const std::vector<std::vector<PulseRun>>& frames) {
    int failed = 0;
    std::string first;
    for (std::size_t i = 0; i < frames.size(); ++i) {
        std::string read = DecodeCapture(SampleRuns(frames[i], kCaptureSampleUs)).signal.code;
        if (NormalisedCode(read, m.header.gproto) == m.commands[i].code) continue;
        m.commands[i].recognised = false;
        if (failed++ == 0) first = m.commands[i].name + (read.empty() ? " is not recognised" : " reads as " + read);
    }
    if (failed == 0) return {};
    return "the decoder misreads " + std::to_string(failed) + " of " + std::to_string(frames.size()) + " keys (" +
           first + ")";
}

ImportedRemote Refused(ImportedRemote m, std::string why) {
    m.ok = false;
    m.why = std::move(why);
    return m;
}

std::string Us(double v) { return std::to_string(std::lround(v)) + " µs"; }

// LIRC writes RC6 as bi-phase bits whose 1 is space then mark, RC6's 0. The start bit, the three
// mode bits and the double-width trailer open its pre_data; rc6_mask marks the trailer.
constexpr int kRc6Trailer = 4;        // bits before it: start and mode
constexpr double kRc6Tolerance = 0.2; // LIRC's own eps is 30 %
constexpr int kRc6LeaderMark = 6;     // units
constexpr int kRc6LeaderSpace = 2;

// One frame of an RC6 key in LIRC's timings; bits as LIRC writes them.
std::vector<PulseRun> Rc6RemoteFrame(const LircRemote& r, std::string_view bits) {
    std::vector<PulseRun> runs;
    auto add = [&](bool mark, double us) { AddRun(runs, mark, us); };
    add(true, r.header.pulse);
    add(false, r.header.space);
    for (std::size_t i = 0; i < bits.size(); ++i) {
        const double w = i == kRc6Trailer ? 2 : 1;
        if (bits[i] == '1') {
            add(false, w * r.one.space);
            add(true, w * r.one.pulse);
        } else {
            add(true, w * r.zero.pulse);
            add(false, w * r.zero.space);
        }
    }
    add(false, kReadBackGapUs);
    return runs;
}

// Maps an RC6 remote to RC6 mode 0 or 6A; keys keep only their data bits, as the preset's
// lead-in carries the rest.
ImportedRemote FitRc6(ImportedRemote m, const LircRemote& r) {
    const double unit = (r.one.pulse + r.one.space + r.zero.pulse + r.zero.space) / 4;
    for (auto [us, units] : {std::pair{r.header.pulse, kRc6LeaderMark}, {r.header.space, kRc6LeaderSpace},
                             {r.one.pulse, 1}, {r.one.space, 1}, {r.zero.pulse, 1}, {r.zero.space, 1}})
        if (unit <= 0 || !Near(us, units * unit, kRc6Tolerance)) return Refused(m, "timings unlike RC6's");
    const int n = r.totalBits();
    if (n <= kRc6Trailer + 1 || n > 64) return Refused(m, "a bit count of " + std::to_string(n));
    const std::uint64_t trailer = std::uint64_t{1} << (n - 1 - kRc6Trailer);
    if (r.rc6Mask != 0 && r.rc6Mask != trailer) return Refused(m, "double-width bits other than RC6's trailer");
    if (r.plead > 0 || r.ptrail > 0) return Refused(m, "a lead or trailing pulse around RC6's bits");

    HeaderFields& h = m.header;
    std::vector<std::vector<PulseRun>> frames;
    std::set<std::string> names;
    for (const LircKey& k : r.keys) {
        ImportedCommand c;
        if (!NameKey(m, names, k, c)) continue;
        const std::string lirc = KeyBits(r, k.code);
        std::string bits = lirc;
        for (char& b : bits) b = b == '1' ? '0' : '1';
        const std::string mode = bits.substr(0, kRc6Trailer);
        const int proto = mode == "1000" ? kProtoRc6 : mode == "1110" ? kProtoRc6A : -1;
        if (proto < 0) return Refused(m, "an RC6 start and mode of " + mode + ", neither mode 0 nor 6A");
        if (!frames.empty() && proto != h.gproto) return Refused(m, "keys of two RC6 modes");
        h.gproto = proto;
        frames.push_back(Rc6RemoteFrame(r, lirc));
        c.code = "G" + NormalisedCode(bits.substr(kRc6Trailer + 1), proto);
        m.commands.push_back(std::move(c));
    }
    const ProtocolHeader preset = HeaderFromPreset(h.gproto);
    h.sendpls = static_cast<int>(std::lround(unit));
    h.bitg = preset.bitg;
    h.bit0 = preset.bit0;
    h.bit1 = preset.bit1;
    // The pause between frames: a constant-length remote counts its gap from the frame's start.
    const double frameUs = (static_cast<double>(h.bitg.size()) + 2.0 * (n - kRc6Trailer - 1)) * unit;
    const double gap = r.gap > 0 ? r.gap : kDefaultGapUs;
    const double pause = r.hasFlag("CONST_LENGTH") ? gap - frameUs : gap;
    h.repeat = h.grepeat = std::clamp(CellsOf(std::max(pause, 0.0), h.sendpls), 16, kMaxCells);
    m.ok = true;
    m.unreadable = ReadBack(m, frames);
    return m;
}

// RC5X as LIRC can write it: the silence behind the 8th bit as the pre pulse and space after
// pre_data. A pulse of a bit's length is the 8th bit, a 0, left out of pre_data; a token pulse
// follows an 8th bit of 1 and only lengthens its mark. 0 when the remote is not RC5X; else the
// bits the pre pulse stands for.
int Rc5xSilenceBits(const LircRemote& r) {
    const ProtocolPreset& x = PresetFor(kProtoRc5x);
    const double u = r.one.pulse;
    if (!(r.hasFlag("RC5") || r.hasFlag("SHIFT_ENC")) || r.plead <= 0 || r.post.present() || u <= 0) return 0;
    const int carried = r.pre.pulse < u / 2 ? 0 : 1;
    const bool fits = carried ? Near(r.pre.pulse, u, kLeadTolerance) : r.pre.pulse > 0;
    const int ahead = 1 + r.preDataBits + carried; // the lead pulse's start bit, pre_data and the 0
    if (!fits || ahead != x.gapAfter || 1 + r.totalBits() + carried != x.bits ||
        !Near(r.pre.space, (x.gapCells + carried) * u, kLeadTolerance))
        return 0;
    return carried + 1;
}

} // namespace

std::string ImportedRemote::SectionText() const {
    std::string t = BuildHeaderText(header, true) + kCrLf;
    for (const ImportedCommand& c : commands) t += c.code + "," + c.name + kCrLf;
    return t + kCrLf;
}

std::string DeviceNameFor(std::string_view lircName) {
    std::string n = Sanitised(lircName);
    for (char& c : n)
        if (c == ' ') c = '_';
    const std::string lower = ToLower(n);
    if (KindOfDevice(n) != DeviceKind::Infrared || lower.rfind("x10", 0) == 0 || lower == "irdimmer")
        n = "IR_" + n; // the name alone would make it a built-in device
    if (n.size() > 12) n.resize(12);
    while (n.size() < 3) n += '_';
    const std::string l = ToLower(n);
    if (l == "end" || l == "zvk") n += '_';
    return n;
}

ImportedRemote FitRemote(const LircRemote& remote) {
    ImportedRemote m;
    m.lircName = remote.name;
    m.header.name = DeviceNameFor(remote.name);
    m.header.description = Sanitised("LIRC remote " + remote.name);

    for (const char* f : kUnsupported)
        if (remote.hasFlag(f)) return Refused(m, std::string("LIRC's ") + f + " encoding has no fixed pattern per bit");
    if (remote.keys.empty() && !remote.rawKeys.empty())
        return Refused(m, "raw codes: recorded waveforms, not bit codes");
    if (remote.keys.empty()) return Refused(m, "no keys");
    if (remote.two.present() || remote.three.present()) return Refused(m, "bits of more than two values");
    const int rc5x = Rc5xSilenceBits(remote);
    if ((remote.pre.present() && !rc5x) || remote.post.present()) return Refused(m, "a pulse between the data fields");
    if (remote.foot.present()) return Refused(m, "a footer after the data");
    if (!remote.unknown.empty()) return Refused(m, "the parameter " + remote.unknown.front() + " is not understood");
    if (remote.one.pulse <= 0 || remote.zero.pulse <= 0 || (remote.one.space <= 0 && remote.zero.space <= 0))
        return Refused(m, "no timings: the receiver decodes the codes itself");
    if (remote.hasFlag("RC6")) return FitRc6(m, remote);
    for (double d : {remote.header.pulse, remote.header.space, remote.one.pulse, remote.one.space, remote.zero.pulse,
                     remote.zero.space, remote.plead, remote.ptrail, remote.repeat.pulse, remote.repeat.space})
        if (d > kMaxDurationUs) return Refused(m, "a duration of " + Us(d));
    if (remote.totalBits() <= 0 || remote.totalBits() > 200)
        return Refused(m, "a bit count of " + std::to_string(remote.totalBits()));

    const bool biphase = remote.hasFlag("RC5") || remote.hasFlag("SHIFT_ENC");
    // The decoder reads a longer space (pulse distance) or a longer mark (pulse width) as 1.
    // A remote that has it the other way round gets its patterns swapped and its codes
    // inverted: the same signal, in the codes that monitoring will read.
    LircRemote r = remote;
    const bool marksEqual = Near(r.one.pulse, r.zero.pulse, kUnitTolerance);
    const bool spacesEqual = Near(r.one.space, r.zero.space, kUnitTolerance);
    const bool inverted =
        !biphase && ((marksEqual && r.one.space < r.zero.space) || (spacesEqual && r.one.pulse < r.zero.pulse));
    if (inverted) std::swap(r.one, r.zero);
    // A trailer that misses the bits' equal marks by less than LIRC's own tolerance is their mark
    // measured badly (irrecord times each run on its own), not a length of its own.
    if (!biphase && r.ptrail > 0 && marksEqual && Near(r.ptrail, r.one.pulse, kLeadTolerance)) r.ptrail = r.one.pulse;
    HeaderFields& h = m.header;
    int toggle = TogglePosition(r);
    std::vector<double> durations = {r.header.pulse, r.header.space, r.one.pulse, r.one.space,
                                     r.zero.pulse,   r.zero.space,   r.plead,     r.ptrail};
    int unit = 0;
    bool rotate = false; // bits written space first, so that the last pulse is the trailer
    if (biphase) {
        if (r.header.present() || r.ptrail > 0) return Refused(m, "a header or trailer around bi-phase bits");
        if (r.plead > 0 && !Near(r.plead, r.one.pulse, kLeadTolerance))
            return Refused(m, "a lead pulse of " + Us(r.plead) + " against bit pulses of " + Us(r.one.pulse));
        durations[6] = 0;
        if (toggle >= 0 && toggle + (r.plead > 0 ? 1 : 0) != 2)
            return Refused(m, "a toggle bit at bit " + std::to_string(toggle + 1) + " where RC5 has it at bit 3");
        unit = FindUnit(durations, kMinUnit, static_cast<int>(std::min(r.one.pulse, r.one.space) * 1.05));
        if (unit == 0) return Refused(m, "timings without a common unit");
        // RC5's 14 bits with the lead pulse's start bit; 15 are StreamZap's, whose system has 6.
        const int sent = r.totalBits() + (r.plead > 0 ? 1 : 0);
        h.gproto = rc5x ? kProtoRc5x : sent == PresetFor(kProtoStreamZap).bits ? kProtoStreamZap : kProtoRc5;
        h.bitg = "0"; // the editor wants a lead-in; silence before the first start bit changes nothing
        h.bit0 = Mark(r.zero.pulse, unit) + Space(r.zero.space, unit);
        h.bit1 = Space(r.one.space, unit) + Mark(r.one.pulse, unit);
    } else {
        const int shortest =
            static_cast<int>(*std::min_element(durations.begin(), durations.end(), [](double a, double b) {
                return (a > 0 ? a : 1e18) < (b > 0 ? b : 1e18);
            }) * (1 + kUnitTolerance));
        if (r.ptrail > 0) {
            // NEC's own shape: the trailer is the encoder's one-cell stop mark.
            unit = FindUnit(durations, static_cast<int>(std::ceil(r.ptrail / (1 + kUnitTolerance))),
                            static_cast<int>(r.ptrail / (1 - kUnitTolerance)));
            if (unit == 0 || CellsOf(r.ptrail, unit) != 1) {
                unit = 0;
                if (!Near(r.one.pulse, r.ptrail, kUnitTolerance) || !Near(r.zero.pulse, r.ptrail, kUnitTolerance))
                    return Refused(m, "a trailing pulse of " + Us(r.ptrail) + " unlike the bits' pulses");
                rotate = true;
                unit = FindUnit(durations, kMinUnit, shortest);
            }
        } else {
            unit = FindUnit(durations, kMinUnit, shortest);
        }
        if (unit == 0) return Refused(m, "timings without a common unit");
        if (rotate) {
            h.gproto = kProtoCustom;
            h.bitg =
                Mark(r.header.pulse, unit) + Space(r.header.space, unit) + Mark(r.plead, unit) + Mark(r.ptrail, unit);
            h.bit0 = Space(r.zero.space, unit) + Mark(r.zero.pulse, unit);
            h.bit1 = Space(r.one.space, unit) + Mark(r.one.pulse, unit);
        } else {
            h.gproto =
                r.ptrail > 0 ? kProtoNec
                : (Near(r.one.space, r.zero.space, kUnitTolerance) && !Near(r.one.pulse, r.zero.pulse, kUnitTolerance))
                    ? kProtoSony
                    : kProtoCustom;
            h.bitg = Mark(r.header.pulse, unit) + Space(r.header.space, unit) + Mark(r.plead, unit);
            h.bit0 = Mark(r.zero.pulse, unit) + Space(r.zero.space, unit);
            h.bit1 = Mark(r.one.pulse, unit) + Space(r.one.space, unit);
            if (h.bitg.empty()) h.bitg = "0"; // no lead-in: one cell of silence, as the editor wants one
        }
    }
    h.sendpls = unit;
    // Bits inverted on repeats: Sharp's second frame, its last ten bits.
    if (r.repeatMask) {
        const ProtocolPreset& sharp = PresetFor(kProtoSharp);
        if (h.gproto != kProtoNec || r.header.present() || r.totalBits() != sharp.bits || r.repeatMask != 0x3FF)
            return Refused(m, "bits inverted on repeats, unlike Sharp's");
        h.gproto = kProtoSharp;
    }

    std::size_t longest = 0;
    std::vector<std::vector<PulseRun>> frames;
    std::set<std::string> names;
    for (const LircKey& k : r.keys) {
        ImportedCommand c;
        if (!NameKey(m, names, k, c)) continue;
        std::string bits = KeyBits(r, k.code);
        if (inverted)
            for (char& b : bits) b = b == '1' ? '0' : '1';
        frames.push_back(RemoteFrame(r, bits, biphase));
        if (biphase) {
            if (rc5x == 2) bits.insert(static_cast<std::size_t>(r.preDataBits), 1, '0');
            if (r.plead > 0) bits.insert(0, 1, '1'); // the first start bit, whose mark is the lead pulse
            bits = WithRc5Toggle(bits, '0');
        }
        c.code = "G" + bits;
        std::size_t cells = h.bitg.size() + (h.gproto == kProtoNec ? 1 : 0) +
                            static_cast<std::size_t>(PresetFor(h.gproto).gapCells);
        for (char b : bits) cells += (b == '1' ? h.bit1 : h.bit0).size();
        longest = std::max(longest, cells);
        m.commands.push_back(std::move(c));
    }

    // The pause between sequences: a constant-length remote counts its gap from frame start.
    double gap = r.gap > 0 ? r.gap : kDefaultGapUs;
    double pause = r.hasFlag("CONST_LENGTH") ? gap - static_cast<double>(longest) * unit : gap;
    int pauseCells = std::clamp(CellsOf(std::max(pause, 0.0), unit), 16, kMaxCells);
    h.repeat = pauseCells;
    h.grepeat = pauseCells; // the lead-in goes before every sequence
    if (h.gproto == kProtoNec && r.repeat.present() && CellsOf(r.repeat.pulse, unit) == kNecBurstMark &&
        CellsOf(r.repeat.space, unit) == kNecBurstSpace && Fits(r.repeat.pulse, unit) && Fits(r.repeat.space, unit))
        h.repeat = 0; // NEC's data-less repeat burst
    m.ok = true;
    m.unreadable = ReadBack(m, frames);
    return m;
}

std::vector<ImportedRemote> ImportLircFile(const LircFile& file) {
    std::vector<ImportedRemote> out;
    std::set<std::string> taken;
    for (const LircRemote& r : file.remotes) {
        ImportedRemote m = FitRemote(r);
        std::string name = m.header.name;
        for (int n = 2; taken.count(ToLower(name)); ++n) {
            std::string suffix = "_" + std::to_string(n);
            name = m.header.name.substr(0, 12 - suffix.size()) + suffix;
        }
        taken.insert(ToLower(name));
        m.header.name = name;
        out.push_back(std::move(m));
    }
    return out;
}

bool LooksLikeLircdConf(std::string_view text) { return !ParseLircdConf(text).remotes.empty(); }

std::optional<std::string> LircdConfAsConfiguration(std::string_view text, std::string& notes) {
    LircFile file = ParseLircdConf(text);
    if (file.remotes.empty()) return std::nullopt;
    std::string config = std::string("# LIRC remotes read by Remote Manager") + kCrLf + "[General]" + kCrLf + kCrLf;
    for (const ImportedRemote& m : ImportLircFile(file)) {
        if (!m.ok) {
            notes += "The remote " + m.lircName + " cannot be imported: " + m.why + "." + kCrLf;
            continue;
        }
        if (!m.unreadable.empty())
            notes += "The remote " + m.lircName +
                     " sends, but monitoring will not recognise all its keys: " + m.unreadable + "." + kCrLf;
        config += m.SectionText();
    }
    return config + "[End]" + kCrLf;
}

} // namespace quenix
