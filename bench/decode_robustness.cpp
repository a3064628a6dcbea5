// Share of key presses decoded to the exact code, by sample period and timing error, for the
// recorder's path and the monitoring path, with the combined decoder and with the run
// analysis alone. Each random code is encoded with its protocol's preset, its runs disturbed,
// sampled at the period as the capture library samples (from the first carrier on: the first
// press), and decoded. Fixed seeds.
//
// The combined decoder counts a decode as exact when it also names the protocol sent.
//
// Jitter j: every mark and space stretched by its own factor in [1 - j, 1 + j].
// Marks +-15 %: every mark 15 % longer or shorter and the space behind it the other way, as a
// receiver that is slow or quick to let go does, on top of 10 % jitter.
//
//   build/<dir>/bench/decode_robustness [codes-per-cell]
#include "ir/codec.h"
#include "ir/decoder.h"
#include "ir/long_capture.h"
#include "ir/protocols.h"
#include "ir/pulse_text.h"

#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

using namespace quenix;

namespace {

struct Kind {
    const char* name;
    int protocol;
    int bits;
    int firstFrame = 0; // bits of an air conditioner's first frame, when its press sends two
};
const Kind kKinds[] = {{"NEC 32", kProtoNec, 32},         {"SONY 12", kProtoSony, 12},
                       {"SONY 15", kProtoSony, 15},        {"SONY 20", kProtoSony, 20},
                       {"RC5 14", kProtoRc5, 14},          {"RC6-0", kProtoRc6, 16},
                       {"MCE", kProtoRc6A, 32},            {"RC6A 20", kProtoRc6A, 20},
                       {"JVC", kProtoJvc, 16},             {"Samsung", kProtoSamsung, 32},
                       {"Kaseikyo", kProtoKaseikyo, 48},   {"Sharp", kProtoSharp, 15},
                       {"RC5X 20", kProtoRc5x, 20},        {"StrmZap", kProtoStreamZap, 15},
                       {"RCA", kProtoRca, 24},             {"Pioneer", kProtoPioneer, 32},
                       {"AC 256", kProtoNec, 256},         {"AC 64+152", kProtoNec, 216, 64}};
constexpr std::size_t kKindCount = std::size(kKinds);
const int kPeriods[] = {45, 50, 55, 60, 65};

struct Condition {
    const char* name;
    double jitter;
    double markStretch;
};
const Condition kConditions[] = {{"0%", 0, 0},    {"10%", 0.1, 0},          {"20%", 0.2, 0},
                                 {"30%", 0.3, 0}, {"marks+15%", 0.1, 0.15}, {"marks-15%", 0.1, -0.15}};
constexpr int kConditionCount = sizeof(kConditions) / sizeof(kConditions[0]);

// An RC5 frame (and its kin's) opens with start bit 1, which the run analysis takes as read; an MCE code with
// customer 0x800F; a Sharp first frame with expansion bit 1 and check bit 0; an RCA frame with its
// address and command inverted behind them; an air conditioner's press of two frames with a marker between.
std::string RandomBits(std::mt19937& rng, const Kind& k) {
    std::string s;
    const bool rc5 = PresetFor(k.protocol).family == kProtoRc5;
    for (int i = 0; i < k.bits; ++i) s += (rng() & 1) || (i == 0 && rc5) ? '1' : '0';
    if (k.protocol == kProtoRc6A && k.bits == 32) s.replace(0, 16, "1000000000001111");
    if (k.protocol == kProtoSharp) s.replace(13, 2, "10");
    if (k.protocol == kProtoRca)
        for (int i = 12; i < 24; ++i) s[i] = s[i - 12] == '1' ? '0' : '1';
    if (k.firstFrame > 0) s.insert(static_cast<std::size_t>(k.firstFrame), "G");
    return s;
}

struct Cell {
    int recorder = 0;
    int monitor = 0;
    double us = 0; // time spent decoding
    int decodes = 0;
    int unitOff = 0; // recordings whose unit is more than 5 % from the preset's
};

struct Disagreement {
    int kept = 0;  // literal kept although the timing reading read another code
    int right = 0; // of those, the literal one was the code sent
};

struct Table {
    Cell cells[kKindCount][5][kConditionCount];
};

template <class F>
auto Timed(double& us, F&& f) {
    const auto start = std::chrono::steady_clock::now();
    auto result = f();
    us += std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - start).count();
    return result;
}

void Print(const char* title, const Table& t, int codes) {
    std::printf("%s\n%-8s period", title, "");
    for (const Condition& c : kConditions) std::printf("  %11s", c.name);
    std::printf("  us/decode\n");
    int unitOff = 0;
    int recordings = 0;
    for (std::size_t k = 0; k < std::size(kKinds); ++k) {
        for (std::size_t p = 0; p < std::size(kPeriods); ++p) {
            std::printf("%-8s %3d us", p == 0 ? kKinds[k].name : "", kPeriods[p]);
            double us = 0;
            int decodes = 0;
            for (int c = 0; c < kConditionCount; ++c) {
                const Cell& cell = t.cells[k][p][c];
                std::printf("  %5.1f/%5.1f", 100.0 * cell.recorder / codes, 100.0 * cell.monitor / codes);
                us += cell.us;
                decodes += cell.decodes;
                if (c == 0) unitOff += cell.unitOff, recordings += codes;
            }
            std::printf("  %9.1f\n", us / decodes);
        }
    }
    std::printf("recorded unit more than 5 %% from the preset's, no jitter: %d of %d\n\n", unitOff, recordings);
}

} // namespace

int main(int argc, char** argv) {
    int codes = argc > 1 ? std::atoi(argv[1]) : 1000;
    if (codes < 1) codes = 1000;
    static Table combined;
    static Table literal;
    Disagreement disagree[kKindCount][kConditionCount][2] = {};

    for (std::size_t k = 0; k < std::size(kKinds); ++k) {
        const Kind& kind = kKinds[k];
        const ProtocolHeader h = HeaderFromPreset(kind.protocol);
        for (std::size_t p = 0; p < std::size(kPeriods); ++p) {
            for (int c = 0; c < kConditionCount; ++c) {
                const Condition& cond = kConditions[c];
                std::mt19937 rng(static_cast<unsigned>(k * 7919 + p * 131 + static_cast<unsigned>(c) * 17));
                std::uniform_real_distribution<double> factor(1.0 - cond.jitter, 1.0 + cond.jitter);
                Cell& comb = combined.cells[k][p][c];
                Cell& lit = literal.cells[k][p][c];
                for (int i = 0; i < codes; ++i) {
                    std::string code = "G" + RandomBits(rng, kind);
                    bool toggle = false;
                    std::vector<PulseRun> runs = CellsToRuns(EncodeCommand(code, h, toggle), h.sendpls);
                    for (std::size_t r = 0; r < runs.size(); ++r) {
                        if (!runs[r].mark || cond.markStretch == 0) continue;
                        const double extra = runs[r].us * cond.markStretch;
                        runs[r].us += extra;
                        if (r + 1 < runs.size()) runs[r + 1].us -= extra;
                    }
                    for (PulseRun& r : runs) r.us *= factor(rng);
                    // An air conditioner's press is captured as long as it goes on, as a kernel device does.
                    const std::vector<std::uint8_t> capture = SampleRuns(
                        runs, kPeriods[p], kind.bits > 48 ? CaptureBytesFor(runs, kPeriods[p]) : kCaptureBytes);
                    const std::string sent = code.substr(1); // RC5: the toggle the first press set

                    const DecodedRecording rec = Timed(comb.us, [&] { return DecodeCapture(capture); });
                    const DecodedFrame mon = Timed(comb.us, [&] { return DecodeMonitorFrame(capture); });
                    comb.decodes += 2;
                    comb.recorder += rec.signal.code == code && rec.signal.protocol == kind.protocol;
                    comb.monitor += mon.frame == sent && mon.protocol == kind.protocol;
                    comb.unitOff += std::abs(rec.unit * kPeriods[p] - h.sendpls) > 0.05 * h.sendpls;

                    const RecordedSignal lrec = Timed(lit.us, [&] { return DecodeRecording(capture); });
                    const MonitorFrame lmon = Timed(lit.us, [&] { return ExtractFrame(capture); });
                    lit.decodes += 2;
                    lit.recorder += lrec.code == code;
                    lit.monitor += lmon.frame == sent;
                    lit.unitOff += std::abs(lrec.unitSamples * kPeriods[p] - h.sendpls) > 0.05 * h.sendpls;

                    const TimingReading t = ReadTiming(SplitFrames(UnpackSamples(capture)));
                    auto note = [&](Disagreement& d, Reading r, const std::string& bits) {
                        if (r != Reading::Literal || !t.ok || t.bits == bits) return;
                        ++d.kept;
                        d.right += bits == sent;
                    };
                    note(disagree[k][c][0], rec.reading, rec.signal.code.substr(rec.signal.code.empty() ? 0 : 1));
                    note(disagree[k][c][1], mon.reading, mon.frame);
                }
            }
        }
    }
    std::printf("exact decodes in %%, recorder/monitoring path, %d random codes per cell, first press\n\n", codes);
    Print("combined: the run analysis where its code re-encodes to the capture, else the timing reading", combined,
          codes);
    Print("literal: the run analysis alone", literal, codes);
    std::printf("literal kept although the timing reading disagrees, over all periods (none where not listed):\n");
    for (std::size_t k = 0; k < std::size(kKinds); ++k)
        for (int c = 0; c < kConditionCount; ++c) {
            const Disagreement(&d)[2] = disagree[k][c];
            if (d[0].kept + d[1].kept == 0) continue;
            std::printf("  %-8s %-10s recorder %d (literal right in %d), monitoring %d (literal right in %d)\n",
                        kKinds[k].name, kConditions[c].name, d[0].kept, d[0].right, d[1].kept, d[1].right);
        }
    return 0;
}
