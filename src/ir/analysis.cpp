#include "ir/analysis.h"

#include "ir/codec.h"
#include "ir/protocols.h"
#include "ir/scancode.h"
#include "core/text.h"

#include <algorithm>

namespace quenix {

std::string UnpackSamples(const std::vector<std::uint8_t>& bytes) {
    std::string s;
    s.reserve(bytes.size() * 8);
    for (std::uint8_t b : bytes)
        for (int k = 7; k >= 0; --k) s += (b >> k) & 1 ? '1' : '0';
    return s;
}

namespace {

constexpr int kEndOfSequence = 300; // a gap this long closes the first sequence

int Dominant(const std::array<int, 100>& h) {
    int best = 0;
    int at = 0;
    for (int n = 4; n <= 90; ++n) {
        int sum = h[static_cast<std::size_t>(n - 1)] + h[static_cast<std::size_t>(n)] + h[static_cast<std::size_t>(n + 1)];
        if (sum > best) { // the first of equal sums wins
            best = sum;
            at = n;
        }
    }
    return at;
}

bool AnyFrom(const std::array<int, 100>& h, int from) {
    for (int n = std::max(from, 0); n <= 90; ++n)
        if (h[static_cast<std::size_t>(n)] != 0) return true;
    return false;
}

int Bin(std::size_t length) { return static_cast<int>(std::min<std::size_t>(length, 99)); }

// Halves go to the even neighbour, as the system's integer conversion does.
int RoundHalfEven(int twice) { return twice / 2 + ((twice % 2) != 0 && ((twice / 2) % 2) != 0 ? 1 : 0); }

} // namespace

RunAnalysis AnalyseRuns(std::string_view samples) {
    RunAnalysis a;
    std::size_t i = samples.find('1');
    while (i != std::string_view::npos && i < samples.size()) {
        std::size_t markEnd = samples.find('0', i);
        if (markEnd == std::string_view::npos) markEnd = samples.size();
        a.marks[static_cast<std::size_t>(Bin(markEnd - i))]++;
        std::size_t spaceEnd = samples.find('1', markEnd);
        if (spaceEnd == std::string_view::npos) spaceEnd = samples.size();
        std::size_t space = spaceEnd - markEnd;
        if (space > 0) a.spaces[static_cast<std::size_t>(Bin(space))]++;
        if (space > static_cast<std::size_t>(kEndOfSequence)) break;
        i = spaceEnd;
    }
    a.cS = Dominant(a.spaces);
    a.cM = Dominant(a.marks);
    if (a.cS == 0 || a.cS == 99 || a.cM == 0 || a.cM == 99) return a;

    bool longSpaces = AnyFrom(a.spaces, 2 * a.cS - 3);
    bool longMarks = AnyFrom(a.marks, 2 * a.cM - 3);
    if (longSpaces && !longMarks) a.protocol = kProtoNec;
    else if (longMarks && !longSpaces) a.protocol = kProtoSony;
    else if (longMarks && longSpaces) a.protocol = kProtoRc5;
    else a.protocol = kProtoUnknown;
    a.unit = RoundHalfEven(a.cS + a.cM);
    a.ok = true;
    return a;
}

int QuantiseRun(int length, int unit) {
    if (length < unit + 5) return 1;
    if (length < (unit + 3) * 2) return 2;
    if (length < (unit + 3) * 3) return 3;
    return 9;
}

QuantisedSamples QuantiseSamples(std::string_view samples, int unit) {
    QuantisedSamples q;
    std::size_t i = 0;
    while (i < samples.size()) {
        char c = samples[i];
        std::size_t end = samples.find(c == '1' ? '0' : '1', i);
        bool cutOff = end == std::string_view::npos;
        if (cutOff) end = samples.size();
        int n = static_cast<int>(end - i);
        i = end;
        if (c == '0' && cutOff) {
            if (n > 100) q.cells += 'g';
            break;
        }
        int k = QuantiseRun(n, unit);
        if (k == 9) q.cells += c == '1' ? 'G' : 'g';
        else q.cells.append(static_cast<std::size_t>(k), c);
        (c == '1' ? q.plen1 : q.plen0) += "-" + std::to_string(n);
    }
    return q;
}

std::string SelectFrame(std::string_view code) {
    auto isPause = [](char c) { return c == 'g' || c == 'G'; };
    std::size_t i = 0;
    auto skipPauses = [&] {
        while (i < code.size() && isPause(code[i])) ++i;
    };
    auto take = [&] {
        std::size_t from = i;
        while (i < code.size() && !isPause(code[i])) ++i;
        return std::string(code.substr(from, i - from));
    };
    skipPauses();
    std::string first = take();
    skipPauses();
    std::string second = take();
    return first.size() > second.size() ? first : second;
}

namespace {

// Steps shared by the recorder and the monitoring path: quantise, cut the leader, normalise.
// An RC5 frame has no leader, so the cut drops the first frame, whose start the capture may
// have caught late. When that frame is all there is (a quick tap), the recorder keeps it: the
// silence before the capture stands for its pause.
void Normalise(MonitorFrame& f, std::string_view samples, bool keepOnlyRc5Frame = false) {
    f.quantised = QuantiseSamples(samples, f.analysis.unit);
    std::string cells = f.quantised.cells;
    if (f.analysis.protocol == kProtoRc5) {
        const std::size_t firstGap = cells.find('g');
        if (keepOnlyRc5Frame && !cells.empty() && (firstGap == std::string::npos || firstGap + 1 == cells.size()))
            cells.insert(0, 1, 'g');
        cells += 'g';
    }
    std::size_t gap = cells.find('g');
    cells = gap == std::string::npos ? std::string() : cells.substr(gap);
    f.code = RecordedToCode(cells, f.analysis.protocol);
}

} // namespace

MonitorFrame ExtractFrame(const std::vector<std::uint8_t>& capture) {
    MonitorFrame f;
    std::string samples = UnpackSamples(capture);
    f.analysis = AnalyseRuns(samples);
    if (!f.analysis.ok || f.analysis.protocol == kProtoUnknown) return f;
    Normalise(f, samples);
    if (f.code.empty()) return f;
    std::string frame = SelectFrame(f.code);
    if (frame.size() >= kMinFrameLength) f.frame = frame;
    return f;
}

namespace {

template <class Config> std::string KeyOf(const Config& config, std::string_view frame, int protocol) {
    LearnedCommand c = FindLearnedCommand(config, frame, protocol);
    return c.found ? c.device + "&" + c.command : "UNKNOWN";
}

} // namespace

std::string MonitorKey(std::string_view configText, std::string_view frame, int protocol) {
    return KeyOf(configText, frame, protocol);
}

std::string MonitorKey(const ConfigStore& config, std::string_view frame, int protocol) {
    return KeyOf(config, frame, protocol);
}

CodeVerdict BitCountVerdict(int protocol, std::string_view code) {
    CodeVerdict v;
    std::string bits;
    for (char c : code)
        if (c == '0' || c == '1') bits += c;
    v.bits = static_cast<int>(bits.size());
    auto field = [&](std::size_t from, std::size_t to) { // 1-based, both included
        if (from > bits.size()) return std::string();
        return std::to_string(BitsToNumber(std::string_view(bits).substr(from - 1, to - from + 1)));
    };
    v.multiSeq = "Y";
    switch (protocol) {
    case kProtoNec:
        v.status = (v.bits == 16 || v.bits == 32 || v.bits == 42 || v.bits == 48)
                       ? "A valid NEC type command has been received."
                       : "A possible invalid NEC type command has been received.";
        v.toggleVal = "N";
        v.gType = "2";
        break;
    case kProtoSony:
        if (v.bits == 12) {
            v.status = "A valid SONY type command has been received.";
            v.addrVal = field(1, 5);
            v.cmdVal = field(6, 12);
        } else if (v.bits == 15) {
            v.status = "A valid 15 bits SONY type command has been received.";
            v.addrVal = field(1, 8);
            v.cmdVal = field(9, 15);
        } else {
            v.status = "A possible invalid SONY type command has been received.";
        }
        v.toggleVal = "N";
        v.gType = "2"; // every SONY sequence starts with its lead-in
        break;
    case kProtoRc5:
        if (v.bits == 14) v.status = "A valid RC5 type command has been received.";
        else if (v.bits < 14) v.status = "A possible invalid RC5 type command has been received(less than 14 bits)!";
        else v.status = "A possible valid command has been received (more than 14 bits).";
        if (bits.size() >= 3) v.toggleVal = std::string(1, bits[2]);
        v.addrVal = field(4, 8);
        v.cmdVal = field(9, bits.size());
        v.gType = "0"; // RC5 has no lead-in
        break;
    default: {
        const ProtocolPreset* row = FindPreset(protocol);
        if (!row || row->family == kProtoUnknown) break;
        const bool usual = row->bits ? v.bits == row->bits : v.bits == 20 || v.bits == 24 || v.bits == 32;
        v.status = std::string(usual ? "A valid " : "A possible invalid ") + std::string(row->name) +
                   " type command has been received.";
        if (const std::optional<Scancode> s = KernelScancode(protocol, bits); s && s->address >= 0) {
            v.addrVal = std::to_string(s->address);
            v.cmdVal = std::to_string(s->command);
        }
        v.toggleVal = row->toggle == Toggle::MceBit && bits.size() == 32 ? std::string(1, bits[16]) : "N";
        v.gType = row->bitg.find('1') == std::string_view::npos ? "0" : LeadingInt16(row->grepeat) > 1 ? "2" : "1";
        break;
    }
    }
    return v;
}

RecordedSignal DecodeRecording(std::vector<std::uint8_t> capture) {
    RecordedSignal r;
    std::size_t used = capture.size();
    while (used > 0 && capture[used - 1] == 0) --used; // captured: up to the last byte with carrier
    if (used < kMinCapturedBytes) {
        r.status = "Recorded signal to short!";
        return r;
    }
    if (used + kTrailingSilenceBytes <= capture.size()) capture.resize(used + kTrailingSilenceBytes);
    if (capture.size() < kMinDecodedBytes) {
        r.status = "Not enough information recorded to decode the signal!";
        return r;
    }
    r.signal = capture;
    MonitorFrame f;
    std::string samples = UnpackSamples(capture);
    f.analysis = AnalyseRuns(samples);
    if (!f.analysis.ok) {
        r.status = "Recorded signal is invalid or unknown!";
        return r;
    }
    r.unitSamples = f.analysis.unit;
    if (f.analysis.protocol == kProtoUnknown) {
        r.status = "Unknown protocol!";
        return r;
    }
    r.protocol = f.analysis.protocol;
    Normalise(f, samples, true);
    if (f.code.empty()) {
        r.status = "Recorded signal is invalid!";
        return r;
    }
    std::string frame = SelectFrame(f.code);
    if (frame.empty()) {
        r.status = "Command cannot be extracted!";
        return r;
    }
    if (frame.size() < 8) {
        r.status = "Invalid command (less than 8 bit)!";
        return r;
    }
    r.code = "G" + frame;
    r.verdict = BitCountVerdict(r.protocol, frame);
    r.status = r.verdict.status;
    r.recognised = true;
    return r;
}

} // namespace quenix
