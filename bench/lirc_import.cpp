// LIRC's remote database against the importer, both ways, with LIRC's own simulators:
//   encode: each imported key, encoded with its imported header and code, is given to
//           irsimreceive with the original remote; it must name that key (or a key of the
//           same code);
//   decode: irsimsend's signal of each key, sampled as the capture library samples and
//           decoded as quenix-ir decode does, must give the imported code (RC5: any toggle).
//
//   build/<dir>/bench/lirc_import [--check] [--verbose] [--decode-keys N] [DIR]
//
// The figures come as a table per protocol family (the LIRC encoding, and for pulse distance
// the nearest known lead-in), with the reasons remotes were refused.
//
// DIR defaults to /usr/share/lirc/remotes. Keys that LIRC does not read back from its own
// irsimsend are not counted; keys the importer marks as not recognised by the decoder are not
// decoded. --decode-keys decodes only the first N keys of each remote (decoding is the slow
// part). --check exits 1 when a counted key fails either way.
#include "lirc/lirc_import.h"
#include "ir/codec.h"
#include "ir/decoder.h"
#include "ir/protocols.h"
#include "ir/pulse_text.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <sstream>
#include <string>
#include <unistd.h>
#include <vector>

using namespace quenix;
namespace fs = std::filesystem;

namespace {

constexpr double kSamplePeriodUs = 55;
constexpr double kKeyGapUs = 300000; // beyond any repeat window: every key is a new press
bool verbose = false;
std::size_t decodeKeys = SIZE_MAX; // keys per remote checked by decoding

std::string ReadFile(const fs::path& p) {
    std::ifstream in(p, std::ios::binary);
    return std::string((std::istreambuf_iterator<char>(in)), {});
}

void WriteFile(const fs::path& p, const std::string& text) { std::ofstream(p, std::ios::binary) << text; }

std::string Run(const std::string& command) {
    std::string out;
    if (FILE* f = popen(command.c_str(), "r")) {
        char buf[4096];
        std::size_t n;
        while ((n = fread(buf, 1, sizeof buf, f)) > 0) out.append(buf, n);
        pclose(f);
    }
    return out;
}

std::vector<std::string> Lines(const std::string& text) {
    std::vector<std::string> out;
    std::istringstream in(text);
    for (std::string l; std::getline(in, l);)
        if (!l.empty()) out.push_back(l);
    return out;
}

// Lines from..to of a text, 1-based, both included.
std::string LineRange(const std::string& text, int from, int to) {
    std::istringstream in(text);
    std::string out;
    int n = 0;
    for (std::string l; std::getline(in, l);)
        if (++n >= from && n <= to) out += l + "\n";
    return out;
}

// A lone pulse and a long silence: irsimreceive reads a frame only after a gap it has seen.
const std::string kFence = "pulse 500\nspace 300000\n";

std::string EncodedKey(const ImportedRemote& m, const ImportedCommand& c) {
    ProtocolHeader h{m.header.gproto, m.header.sendpls, m.header.repeat, m.header.grepeat,
                     m.header.bitg,   m.header.bit0,    m.header.bit1};
    std::string code = c.code;
    bool toggle = false;
    return FormatMode2(CellsToRuns(EncodeCommand(code, h, toggle), h.sendpls)) + "space " +
           std::to_string(static_cast<long>(kKeyGapUs)) + "\n";
}

// The names irsimreceive gives the new presses (repeat count 00) of a signal.
std::vector<std::string> Received(const fs::path& conf, const fs::path& dir, const std::string& mode2) {
    WriteFile(dir / "keys.mode2", kFence + mode2 + kFence);
    std::vector<std::string> names;
    for (const std::string& l :
         // irsimreceive leaves dummy.out in its working folder.
         Lines(Run("cd '" + dir.string() + "' && irsimreceive '" + conf.string() + "' '" +
                   (dir / "keys.mode2").string() + "' 2>/dev/null"))) {
        std::istringstream w(l);
        std::string code, count, name;
        if (w >> code >> count >> name && count == "00") names.push_back(name);
    }
    return names;
}

struct Tally {
    int remotes = 0, imported = 0, sendOnly = 0, unrecognised = 0, allKeys = 0, keys = 0, encodeOk = 0,
        decodeChecked = 0, decodeOk = 0;
    std::map<std::string, int> refused;    // reason -> remotes
    std::map<std::string, int> importedAs; // our protocol -> remotes

    void Add(const Tally& o) {
        for (int Tally::*f : {&Tally::remotes, &Tally::imported, &Tally::sendOnly, &Tally::unrecognised,
                              &Tally::allKeys, &Tally::keys, &Tally::encodeOk, &Tally::decodeChecked, &Tally::decodeOk})
            this->*f += o.*f;
        for (const auto& [k, n] : o.refused) refused[k] += n;
        for (const auto& [k, n] : o.importedAs) importedAs[k] += n;
    }
};

// The protocol family of a remote as LIRC describes it: its encoding, and for pulse distance
// the lead-in mark closest to a known one (within 8 %).
std::string Family(const LircRemote& r) {
    if (r.keys.empty() && !r.rawKeys.empty()) return "raw codes";
    for (const char* f : {"RCMM", "XMP", "GRUNDIG", "BO", "GOLDSTAR", "SERIAL"})
        if (r.hasFlag(f)) return "other encodings (RCMM, XMP)";
    if (r.one.pulse <= 0 || r.zero.pulse <= 0) return "no timings (receiver decodes)";
    if (r.hasFlag("RC6")) return "RC6 / MCE";
    if (r.hasFlag("RC5") || r.hasFlag("SHIFT_ENC")) return "RC5 / RC5X / StreamZap";
    if (std::fabs(r.one.pulse - r.zero.pulse) > 0.3 * r.zero.pulse) return "pulse width (SONY)";
    if (!r.header.present()) return "pulse distance, no lead-in";
    const std::pair<const char*, double> leads[] = {
        {"NEC", 9000}, {"JVC", 8400}, {"Samsung", 4500}, {"Kaseikyo", 3456}};
    std::string best = "pulse distance, other lead-in";
    double nearest = 0.08;
    for (const auto& [name, us] : leads)
        if (std::fabs(r.header.pulse - us) / us < nearest) {
            nearest = std::fabs(r.header.pulse - us) / us;
            best = std::string("pulse distance, ") + name + " lead-in";
        }
    return best;
}

void CheckRemote(const LircRemote& r, const ImportedRemote& m, const std::string& text, const fs::path& dir, Tally& t) {
    fs::path conf = dir / "remote.conf";
    WriteFile(conf, LineRange(text, r.line, r.endLine));
    std::map<std::string, std::uint64_t> codeOf;
    for (const LircKey& k : r.keys) codeOf.emplace(k.name, k.code);
    auto sameKey = [&](const std::string& named, const std::string& key) {
        return named == key || (codeOf.count(named) && codeOf[named] == codeOf[key]);
    };

    // Encode: all keys in one run; each key looks for its name among the next few names.
    std::string all;
    for (const ImportedCommand& c : m.commands) all += EncodedKey(m, c);
    std::vector<std::string> names = Received(conf, dir, all);
    std::vector<bool> encoded(m.commands.size(), false);
    for (std::size_t i = 0, j = 0; i < m.commands.size(); ++i) {
        for (std::size_t k = j; k < names.size() && k < j + 12 && !encoded[i]; ++k)
            if (sameKey(names[k], m.commands[i].lircName)) {
                encoded[i] = true;
                j = k + 1;
            }
        if (!encoded[i] && verbose)
            std::printf("  %s %s: irsimreceive does not name it\n", m.lircName.c_str(), m.commands[i].lircName.c_str());
    }

    // LIRC against itself: irsimsend's signal given to irsimreceive. Keys it cannot read
    // back are left out of both counts.
    Run("cd '" + dir.string() + "' && rm -f simsend.out && irsimsend remote.conf >/dev/null 2>&1");
    std::string sent = ReadFile(dir / "simsend.out");
    std::vector<std::string> lircNames = Received(conf, dir, sent);
    std::vector<bool> readable(m.commands.size());
    for (std::size_t i = 0; i < m.commands.size(); ++i)
        readable[i] = std::find(lircNames.begin(), lircNames.end(), m.commands[i].lircName) != lircNames.end();

    // Decode: irsimsend sends every key once, some more than one frame; the frames are cut at
    // the gaps and each key takes the first of its next frames that reads as its code.
    std::string error;
    auto runs = ParseMode2(sent, error);
    double longestInFrame = std::max({r.header.space, r.one.space, r.zero.space, 5000.0});
    std::vector<std::vector<PulseRun>> segments(1);
    if (runs)
        for (const PulseRun& p : *runs) {
            segments.back().push_back(p);
            if (!p.mark && p.us > 2 * longestInFrame) segments.emplace_back();
        }
    if (segments.back().empty()) segments.pop_back();
    std::vector<std::string> reads(segments.size());
    auto readSegment = [&](std::size_t s) -> const std::string& {
        if (reads[s].empty()) {
            std::vector<PulseRun> key = segments[s];
            key.push_back({false, kKeyGapUs});
            std::string code = DecodeCapture(SampleRuns(key, kSamplePeriodUs)).signal.code;
            code = NormalisedCode(code, m.header.gproto);
            reads[s] = code.empty() ? "-" : code;
        }
        return reads[s];
    };
    std::vector<bool> decoded(m.commands.size(), false);
    std::size_t next = 0;
    for (std::size_t i = 0; i < m.commands.size() && i < decodeKeys; ++i) {
        if (!m.commands[i].recognised) continue;
        for (std::size_t s = next; s < segments.size() && s < next + 4 && !decoded[i]; ++s)
            if (readSegment(s) == m.commands[i].code) {
                decoded[i] = true;
                next = s + 1;
            }
        if (!decoded[i] && readable[i] && verbose)
            std::printf("  %s %s: decoded %s, imported %s\n", m.lircName.c_str(), m.commands[i].lircName.c_str(),
                        next < segments.size() ? readSegment(next).c_str() : "nothing", m.commands[i].code.c_str());
    }

    int keys = 0, enc = 0, decChecked = 0, dec = 0;
    for (std::size_t i = 0; i < m.commands.size(); ++i) {
        if (!readable[i]) continue;
        ++keys;
        enc += encoded[i];
        t.unrecognised += m.commands[i].recognised ? 0 : 1;
        if (m.commands[i].recognised && i < decodeKeys) {
            ++decChecked;
            dec += decoded[i];
        }
    }
    t.allKeys += static_cast<int>(m.commands.size());
    t.keys += keys;
    t.encodeOk += enc;
    t.decodeChecked += decChecked;
    t.decodeOk += dec;
    bool none =
        std::none_of(m.commands.begin(), m.commands.end(), [](const ImportedCommand& c) { return c.recognised; });
    t.sendOnly += none ? 1 : 0;
    if (verbose)
        std::printf("%-24s %-13s %-9s %4zu keys %4d LIRC %4d encode %4d/%d decode%s\n", m.lircName.c_str(),
                    m.header.name.c_str(), std::string(PresetFor(m.header.gproto).name).c_str(), m.commands.size(), keys, enc, dec, decChecked,
                    m.unreadable.empty() ? "" : ("  (" + m.unreadable + ")").c_str());
}

} // namespace

int main(int argc, char** argv) {
    bool check = false;
    fs::path root = "/usr/share/lirc/remotes";
    for (int i = 1; i < argc; ++i) {
        std::string a = argv[i];
        if (a == "--check")
            check = true;
        else if (a == "--verbose")
            verbose = true;
        else if (a == "--decode-keys" && i + 1 < argc)
            decodeKeys = std::stoul(argv[++i]);
        else
            root = fs::absolute(a);
    }
    if (!fs::is_directory(root)) {
        std::fprintf(stderr, "lirc_import: no remotes in %s\n", root.c_str());
        return 2;
    }
    char tmpl[] = "/tmp/lirc_import.XXXXXX";
    if (!mkdtemp(tmpl)) return 2;
    fs::path dir = tmpl;

    std::vector<fs::path> files;
    for (const auto& e : fs::recursive_directory_iterator(root))
        if (e.is_regular_file()) files.push_back(e.path());
    std::sort(files.begin(), files.end());

    std::map<std::string, Tally> families;
    for (const fs::path& f : files) {
        std::string text = ReadFile(f);
        LircFile file = ParseLircdConf(text);
        std::vector<ImportedRemote> imported = ImportLircFile(file);
        for (std::size_t i = 0; i < imported.size(); ++i) {
            Tally& t = families[Family(file.remotes[i])];
            ++t.remotes;
            if (!imported[i].ok) {
                ++t.refused[imported[i].why];
                if (verbose)
                    std::printf("%-24s not imported: %s\n", imported[i].lircName.c_str(), imported[i].why.c_str());
                continue;
            }
            ++t.imported;
            ++t.importedAs[std::string(PresetFor(imported[i].header.gproto).name)];
            CheckRemote(file.remotes[i], imported[i], text, dir, t);
        }
    }
    fs::remove_all(dir);

    // Keys: those LIRC reads back from its own irsimsend; encode: our signal named by irsimreceive;
    // decode: irsimsend's signal read by our decoder as the imported code.
    Tally t;
    std::printf("LIRC remotes against the importer (%s)\n\n", root.c_str());
    std::printf("%-33s %7s %8s %9s %5s %11s %11s  %s\n", "family", "remotes", "imported", "send-only", "keys",
                "encode", "decode", "imported as");
    auto row = [](const std::string& name, const Tally& f) {
        std::string as;
        for (const auto& [p, n] : f.importedAs) as += (as.empty() ? "" : ", ") + p + " " + std::to_string(n);
        std::printf("%-33s %7d %8d %9d %5d %5d/%-5d %5d/%-5d  %s\n", name.c_str(), f.remotes, f.imported, f.sendOnly,
                    f.keys, f.encodeOk, f.keys, f.decodeOk, f.decodeChecked, as.c_str());
    };
    for (const auto& [name, f] : families) {
        row(name, f);
        t.Add(f);
    }
    row("all", t);
    std::printf("\nRemotes not imported, by family and reason:\n");
    for (const auto& [name, f] : families)
        for (const auto& [why, n] : f.refused) std::printf("  %-33s %4d  %s\n", name.c_str(), n, why.c_str());
    std::printf("\nKeys of imported remotes %d; LIRC reads %d of them back itself; %d are marked as not "
                "recognised by the decoder and left out of decoding\n",
                t.allKeys, t.keys, t.unrecognised);
    bool allPass = t.encodeOk == t.keys && t.decodeOk == t.decodeChecked;
    return check && !allPass ? 1 : 0;
}
