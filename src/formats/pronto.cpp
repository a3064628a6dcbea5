#include "formats/pronto.h"

#include "core/text.h"
#include "ir/protocols.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace quenix {

namespace {

constexpr double kPeriodPerUnit = 0.241246; // us of carrier period per unit of the frequency word
constexpr unsigned kCarrier38k = 0x6D;
constexpr double kRc5HalfBitUs = 889;
constexpr double kDefaultGapUs = 40000;
constexpr std::size_t kMaxWords = 4096;

bool IsHexWord(std::string_view w) {
    return w.size() == 4 && w.find_first_not_of("0123456789abcdefABCDEF") == std::string_view::npos;
}

// The hex words of a line and its name: "name: words" or the words alone.
bool SplitLine(const std::string& line, std::string& name, std::vector<unsigned>& words) {
    std::string body = line;
    name.clear();
    if (const std::size_t colon = line.find(':'); colon != std::string::npos) {
        name = Strip(line.substr(0, colon));
        body = line.substr(colon + 1);
    }
    words.clear();
    for (std::string_view w : SplitWords(body)) {
        if (!IsHexWord(w)) return false;
        words.push_back(static_cast<unsigned>(std::strtoul(std::string(w).c_str(), nullptr, 16)));
        if (words.size() > kMaxWords) return false;
    }
    return words.size() >= 4;
}

// RC5x: start, field, toggle and five system bits, a pause of two bit times, then six command
// and six data bits; a 1 is space then mark.
std::vector<PulseRun> Rc5xRuns(unsigned system, unsigned command, unsigned data) {
    const std::string head = std::string("1") + (command & 0x40 ? "0" : "1") + "0" + MsbBits(system, 5);
    const std::string tail = MsbBits(command, 6) + MsbBits(data, 6);
    std::vector<PulseRun> runs;
    auto add = [&](bool mark, double us) {
        if (!runs.empty() && runs.back().mark == mark) runs.back().us += us;
        else runs.push_back({mark, us});
    };
    auto bits = [&](const std::string& b) {
        for (char c : b) {
            add(c == '0', kRc5HalfBitUs);
            add(c == '1', kRc5HalfBitUs);
        }
    };
    bits(head);
    add(false, 4 * kRc5HalfBitUs);
    bits(tail);
    if (!runs.empty() && !runs.front().mark) runs.erase(runs.begin()); // silence before the first mark
    return runs;
}

void Read(DeviceCollector& out, int line, const std::string& name, const std::vector<unsigned>& w) {
    char form[8];
    std::snprintf(form, sizeof form, "%04X", w[0]);
    const std::size_t once = w[2], repeat = w[3];
    switch (w[0]) {
    case 0x0000: {
        if (w[1] == 0) return out.Refuse(line, name, "a carrier word of 0");
        if (w.size() < 4 + 2 * (once + repeat))
            return out.Refuse(line, name, "the counts promise " + std::to_string(once + repeat) + " pairs, the line has " +
                                              std::to_string((w.size() - 4) / 2));
        const double period = w[1] * kPeriodPerUnit;
        // The decoder reads one sequence: the once part, or the repeat part when there is none.
        const std::size_t from = once > 0 ? 4 : 4 + 2 * once, pairs = once > 0 ? once : repeat;
        if (pairs == 0) return out.Refuse(line, name, "no sequence");
        std::vector<PulseRun> runs;
        for (std::size_t i = 0; i < 2 * pairs; ++i) {
            if (w[from + i] == 0) return out.Refuse(line, name, "a duration of 0");
            runs.push_back({i % 2 == 0, w[from + i] * period});
        }
        return out.AddRuns(line, name, runs, 1e6 / period);
    }
    case 0x5000:
    case 0x6000:
    case 0x900A: {
        if (w.size() != 6 || once + repeat != 2 - (w[0] == 0x900A))
            return out.Refuse(line, name, std::string(form) + " needs six words: form, carrier, 0000, count, two fields");
        const unsigned a = w[4], c = w[5];
        if (w[0] == 0x900A)
            return out.Add(line, name, kProtoNec, LsbBits(a >> 8, 8) + LsbBits(a, 8) + LsbBits(c >> 8, 8) + LsbBits(c, 8));
        if (w[0] == 0x6000) {
            if (a > 0xFF || c > 0xFF) return out.Refuse(line, name, "RC6 system and command are bytes");
            return out.Add(line, name, kProtoRc6, MsbBits(a, 8) + MsbBits(c, 8));
        }
        if (a > 0x1F || c > 0x7F) return out.Refuse(line, name, "RC5 has systems up to 31 and commands up to 127");
        return out.Add(line, name, kProtoRc5, std::string("1") + (c & 0x40 ? "0" : "1") + "0" + MsbBits(a, 5) + MsbBits(c, 6));
    }
    case 0x5001:
        if (w.size() != 7 || w[4] > 0x1F || w[5] > 0x7F || w[6] > 0x3F)
            return out.Refuse(line, name, "5001 needs system (to 31), command (to 127) and data (to 63)");
        return out.AddRuns(line, name, Rc5xRuns(w[4], w[5], w[6]), 36000);
    case 0x0100: return out.Refuse(line, name, "an unmodulated code (0100); the transmitter sends a carrier");
    default: return out.Refuse(line, name, "the form " + std::string(form) + " is not one this program reads");
    }
}

std::string Word(unsigned v) {
    char s[8];
    std::snprintf(s, sizeof s, " %04X", std::min(v, 0xFFFFu));
    return s;
}

} // namespace

bool LooksLikePronto(std::string_view text) {
    std::string name;
    std::vector<unsigned> words;
    for (std::string_view line : SplitLines(text))
        if (SplitLine(Strip(line), name, words)) return true;
    return false;
}

ForeignImport ImportPronto(std::string_view text, std::string_view base) {
    DeviceCollector out(base, "Pronto");
    int number = 0, codes = 0;
    std::string name;
    std::vector<unsigned> words;
    for (std::string_view raw : SplitLines(text)) {
        ++number;
        const std::string line = Strip(raw);
        if (line.empty() || line.front() == '#') continue;
        if (!SplitLine(line, name, words)) {
            out.Refuse(number, "", "\"" + line.substr(0, 40) + "\" is not a Pronto code (groups of four hex digits)");
            continue;
        }
        if (name.empty()) name = "Code" + std::to_string(codes + 1);
        ++codes;
        Read(out, number, name, words);
    }
    return out.Finish();
}

std::string ExportPronto(const StoredDevice& device) {
    const HeaderFields& h = device.header;
    std::string out;
    for (const auto& [name, code] : device.commands) {
        const std::string bits = code.size() > 1 && (code[0] == 'G' || code[0] == 'g') ? code.substr(1) : code;
        out += name + ":";
        const bool preset = HasPresetTimings(h);
        if (preset && h.gproto == kProtoRc5 && bits.size() == 14 && bits[0] == '1') {
            const unsigned c = static_cast<unsigned>(MsbValue(bits.substr(8))) | (bits[1] == '0' ? 0x40 : 0);
            out += " 5000 0073 0000 0002" + Word(static_cast<unsigned>(MsbValue(bits.substr(3, 5)))) + Word(c) + "\n";
            continue;
        }
        if (preset && h.gproto == kProtoRc6 && bits.size() == 16) {
            out += " 6000 0073 0000 0002" + Word(static_cast<unsigned>(MsbValue(bits.substr(0, 8)))) +
                   Word(static_cast<unsigned>(MsbValue(bits.substr(8)))) + "\n";
            continue;
        }
        if (preset && h.gproto == kProtoNec && bits.size() == 32) {
            auto byte = [&](int i) { return static_cast<unsigned>(LsbValue(bits.substr(8 * i, 8))); };
            out += " 900A 006D 0000 0001" + Word(byte(0) << 8 | byte(1)) + Word(byte(2) << 8 | byte(3)) + "\n";
            continue;
        }
        const double period = kCarrier38k * kPeriodPerUnit;
        double pause = 0;
        std::vector<PulseRun> once = FirstSequence(h, code), again = RepeatSequence(h, code, pause);
        if (pause <= 0) pause = kDefaultGapUs;
        for (auto* seq : {&once, &again})
            if (!seq->empty()) seq->push_back({false, pause});
        auto periods = [&](double us) { return static_cast<unsigned>(std::max(1L, std::lround(us / period))); };
        out += " 0000" + Word(kCarrier38k) + Word(static_cast<unsigned>(once.size() / 2)) +
               Word(static_cast<unsigned>(again.size() / 2));
        for (auto* seq : {&once, &again})
            for (const PulseRun& r : *seq) out += Word(periods(r.us));
        out += "\n";
    }
    return out;
}

} // namespace quenix
