#include "ir/codec.h"

#include "config/config_store.h"
#include "config/config_text.h"
#include "core/text.h"
#include "ir/protocols.h"

#include <algorithm>
#include <cstddef>

namespace quenix {

namespace {

bool IsPause(char c) { return c == 'g' || c == 'G'; }
bool IsMarker(char c) { return c == 'g' || c == 'G'; }

std::string BitsOnly(std::string_view code) {
    if (!code.empty() && IsMarker(code.front())) code.remove_prefix(1);
    return std::string(code);
}

} // namespace

bool IsValidCode(std::string& code) {
    code = Trim(code);
    if (code.size() < 3) return false;
    int syncs = 0;
    for (char c : code) {
        char l = static_cast<char>(c | 0x20);
        if (l == 'g') {
            ++syncs;
        } else if (c != '0' && c != '1') {
            return false;
        }
    }
    return syncs <= 1 || IsFrameList(code);
}

bool IsFrameList(std::string_view code) {
    if (code.empty() || !IsMarker(code.front())) return false;
    std::size_t frames = 0;
    for (std::size_t at = 0; at < code.size(); ++frames) {
        const std::size_t next = std::min(code.find_first_of("gG", at + 1), code.size());
        // Each frame as long as a recording must be.
        if (frames == kMaxFrames || next - at - 1 < 8) return false;
        at = next;
    }
    return frames > 1;
}

int Rc5TogglePosition(std::string_view code) {
    // The stored code is "G" + bits; the toggle is the third bit, not the third character.
    std::size_t pos = !code.empty() && IsMarker(code.front()) ? 3 : 2;
    return pos < code.size() ? static_cast<int>(pos) : -1;
}

std::string WithRc5Toggle(std::string code, char toggle) {
    if (int t = Rc5TogglePosition(code); t >= 0) code[static_cast<std::size_t>(t)] = toggle;
    return code;
}

namespace {

constexpr std::string_view kMceCustomer = "1000000000001111"; // 0x800F
constexpr std::size_t kMceToggleBit = 16;
constexpr std::size_t kSharpInvertedBits = 10; // command, expansion and check

// Where a code's toggle bit sits for its protocol, behind the sync marker; -1 when it has none.
int TogglePosition(std::string_view code, Toggle toggle) {
    const std::size_t marker = !code.empty() && IsMarker(code.front()) ? 1 : 0;
    if (toggle == Toggle::Rc5Bit) return Rc5TogglePosition(code);
    if (toggle == Toggle::MceBit && code.size() == marker + 32 && code.substr(marker, 16) == kMceCustomer)
        return static_cast<int>(marker + kMceToggleBit);
    return -1;
}

} // namespace

std::string NormalisedCode(std::string code, int protocol) {
    const ProtocolPreset* p = FindPreset(protocol);
    if (!p) return code;
    if (int t = TogglePosition(code, p->toggle); t >= 0) code[static_cast<std::size_t>(t)] = '0';
    if (p->toggle == Toggle::SharpInverse && !code.empty() && code.back() == '1' &&
        code.size() >= kSharpInvertedBits)
        for (std::size_t i = code.size() - kSharpInvertedBits; i < code.size(); ++i) code[i] = code[i] == '1' ? '0' : '1';
    return code;
}

std::string EncodeCommand(std::string& code, const ProtocolHeader& header, bool& rc5Toggle) {
    const ProtocolPreset* row = FindPreset(header.gproto);
    const Toggle toggle = row ? row->toggle : Toggle::None;
    std::string bitg = header.bitg;
    const bool flips = toggle == Toggle::Rc5Bit || toggle == Toggle::Rc6Trailer || TogglePosition(code, toggle) >= 0;
    if (flips) {
        const bool bit = !rc5Toggle;
        rc5Toggle = !rc5Toggle;
        if (int pos = TogglePosition(code, toggle); pos >= 0) code[static_cast<std::size_t>(pos)] = bit ? '1' : '0';
        const std::size_t n = bitg.size();
        if (toggle == Toggle::Rc6Trailer && n >= 4 && (bitg.compare(n - 4, 4, "0011") == 0 || bitg.compare(n - 4, 4, "1100") == 0))
            bitg.replace(n - 4, 4, bit ? "1100" : "0011");
    }
    const bool stop = row && row->stopMark;
    // The frames of an air conditioner's press, REPEAT cells apart (20 ms when it is 0), each
    // behind its lead-in.
    const std::size_t frameGap = header.repeat > 0 ? static_cast<std::size_t>(header.repeat)
                                                   : static_cast<std::size_t>(kFrameListGapUs / std::max(header.sendpls, 1) + 1);
    auto bodyOf = [&](std::string_view bits) {
        std::string body;
        int sent = 0;
        for (char c : bits) {
            if (IsMarker(c) && !body.empty()) {
                if (stop) body += '1';
                body.append(frameGap, '0');
                body += bitg;
                sent = 0;
            }
            if (c != '0' && c != '1') continue;
            body += c == '0' ? header.bit0 : header.bit1;
            if (row && ++sent == row->gapAfter) body.append(static_cast<std::size_t>(row->gapCells), '0');
        }
        if (stop) body += '1'; // the stop mark ends the last space
        return body;
    };
    const std::string body = bodyOf(code);
    // Sharp's second frame carries the command, expansion and check bits inverted.
    std::string second = body;
    if (toggle == Toggle::SharpInverse) {
        std::string inverted = code;
        const std::size_t bits = inverted.size() - (!inverted.empty() && IsMarker(inverted.front()) ? 1 : 0);
        if (bits >= kSharpInvertedBits)
            for (std::size_t i = inverted.size() - kSharpInvertedBits; i < inverted.size(); ++i)
                inverted[i] = inverted[i] == '1' ? '0' : '1';
        second = bodyOf(inverted);
    }

    std::string cells = bitg + body;
    if (IsFrameList(code)) return cells; // sent once: its REPEAT is the gap between its frames
    // A negative REPEAT (only a hand-edited file has one) sends the single sequence, as 0 does.
    if (header.repeat <= 0 && header.grepeat <= 1) return cells;
    for (int i = 0; i < 4; ++i) {
        if (header.repeat <= 0) {
            // A short data-less burst, as NEC remotes send while a key is held.
            cells.append(static_cast<std::size_t>(header.grepeat), '0');
            cells.append(16, '1');
            cells.append(4, '0');
            cells += '1';
        } else {
            cells.append(static_cast<std::size_t>(header.repeat), '0');
            if (header.grepeat > 1) cells += bitg;
            cells += i % 2 == 0 ? second : body;
        }
    }
    return cells;
}

std::vector<std::uint8_t> PackCells(std::string_view cells) {
    std::vector<std::uint8_t> bytes((cells.size() + 7) / 8, 0);
    for (std::size_t i = 0; i < cells.size(); ++i)
        if (cells[i] == '1') bytes[i / 8] = static_cast<std::uint8_t>(bytes[i / 8] | (0x80u >> (i % 8)));
    return bytes;
}

namespace {

std::string PulseDistanceToCode(std::string_view s) {
    std::string code = "G";
    std::size_t i = 0;
    while (i < s.size()) {
        int pauses = 0;
        int zeros = 0;
        for (; i < s.size() && (IsPause(s[i]) || s[i] == '0'); ++i) {
            if (IsPause(s[i])) {
                code += 'G';
                ++pauses;
            } else {
                ++zeros;
            }
        }
        if (zeros > 1) code += '1';
        else if (zeros == 1) code += '0';
        if (pauses >= 6) break;
        if (i < s.size()) ++i; // the mark after the gap, or a stray character
    }
    return code;
}

std::string PulseWidthToCode(std::string_view s) {
    std::string code;
    int pauses = 0;
    std::size_t i = 0;
    while (i < s.size()) {
        if (IsPause(s[i])) {
            code += 'G';
            ++pauses;
            ++i;
        } else if (s[i] != '1') {
            ++i; // a gap cell, or a stray character: the count starts again
        }
        int ones = 0;
        for (; i < s.size() && s[i] == '1'; ++i) ++ones;
        if (ones > 1) code += '1';
        else if (ones == 1) code += '0';
        if (pauses >= 6) break;
    }
    return code;
}

std::string BiPhaseToCode(std::string_view cells) {
    // The first start bit's leading half merges with the pause before it, so its trailing
    // mark is taken as read; five pause cells guard the last pair.
    std::string s(cells);
    s += "ggggg";
    for (char& c : s)
        if (c == 'G') c = 'g';
    std::string code = "G1";
    std::size_t i = 2;
    while (i + 1 < s.size()) {
        char a = s[i];
        char b = s[i + 1];
        if (a == '1' && b == '0') {
            code += '0';
        } else if (a == '0' && b == '1') {
            code += '1';
        } else if (a == '1' && b == 'g') {
            code += "0G1";
            ++i; // the next start bit's mark is swallowed by the pair boundary
        } else if (a == 'g' && b == '1') {
            code += "G1";
        } else if (a == b && a != 'g') {
            return {};
        }
        i += 2;
    }
    return code;
}

} // namespace

std::string RecordedToCode(std::string_view cells, int protocol) {
    if (protocol == kProtoSony) return PulseWidthToCode(cells);
    if (protocol == kProtoRc5) return BiPhaseToCode(cells);
    return PulseDistanceToCode(cells);
}

namespace {

LearnedCommand FindLearned(std::string_view configText, std::string_view code, int protocol,
                           const ConfigStore* index) {
    LearnedCommand result;
    std::string bits = BitsOnly(code);
    if (bits.empty()) return result;
    bits = NormalisedCode(bits, protocol); // stored with toggle 0
    std::string needle = "G" + bits + ",";
    // The index holds single frames; a list of frames is rare enough to be searched for.
    int behind = index && bits.find_first_of("gG") == std::string::npos ? index->FindCode(bits) : FindText(needle, configText, 1);
    int start = behind - static_cast<int>(needle.size()); // 1-based start of the match
    if (behind == 0 || start <= 10) return result;

    std::string name = ReadLine(configText, behind);
    std::size_t bracket = configText.rfind('[', static_cast<std::size_t>(start - 1));
    if (bracket == std::string_view::npos) return result;
    std::string header = ReadLine(configText, static_cast<int>(bracket) + 2);
    if (!header.empty() && header.back() == ']') header.pop_back();
    header = Trim(header);
    if (ToLower(header) == "general") return result;
    result.found = true;
    result.device = header;
    result.command = name;
    return result;
}

} // namespace

LearnedCommand FindLearnedCommand(std::string_view configText, std::string_view code, int protocol) {
    return FindLearned(configText, code, protocol, nullptr);
}

LearnedCommand FindLearnedCommand(const ConfigStore& config, std::string_view code, int protocol) {
    return FindLearned(config.text(), code, protocol, &config);
}

int BitsToNumber(std::string_view bits) {
    unsigned value = 0;
    for (char c : bits) value = ((value << 1) | (c == '1' ? 1u : 0u)) & 0xFFFFu;
    return static_cast<std::int16_t>(static_cast<std::uint16_t>(value));
}

} // namespace quenix
