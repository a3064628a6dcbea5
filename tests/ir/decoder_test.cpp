// The decoder that the recorder, monitoring and quenix-ir share.
#include "ir/codec.h"
#include "ir/decoder.h"
#include "ir/protocols.h"
#include "ir/pulse_text.h"

#include <gtest/gtest.h>

#include <cmath>

namespace quenix {
namespace {

// A press, every run stretched by a fixed pseudo-random factor within the jitter, sampled
// every 55 us. code comes back as sent (RC5: with the toggle the first press sets).
std::vector<std::uint8_t> Recording(const ProtocolHeader& h, std::string& code, double jitter, unsigned seed = 1) {
    bool toggle = false;
    std::vector<PulseRun> runs = CellsToRuns(EncodeCommand(code, h, toggle), h.sendpls);
    for (PulseRun& r : runs) {
        seed = seed * 1103515245u + 12345u;
        r.us *= 1 - jitter + 2 * jitter * ((seed >> 8) & 0xFFFF) / 65535.0;
    }
    std::string error;
    return SampleRuns(*ParseMode2(FormatMode2(runs), error), 55);
}

ProtocolHeader Preset(int protocol, int repeat = -1, int grepeat = -1) {
    ProtocolHeader h = HeaderFromPreset(protocol);
    if (repeat >= 0) h.repeat = repeat, h.grepeat = grepeat;
    return h;
}

// Samsung style: a lead-in of 8 units of carrier and 8 of silence, 560 us units.
ProtocolHeader Samsung() {
    ProtocolHeader h = Preset(kProtoNec);
    h.bitg = std::string(8, '1') + std::string(8, '0');
    h.sendpls = 560;
    return h;
}

TEST(Decoder, CasesTheRunAnalysisGetsWrong) {
    // Name, header, code, jitter, seed, what the run analysis alone reads, the reading taken.
    const std::tuple<std::string, ProtocolHeader, std::string, double, unsigned, std::string, Reading> cases[] = {
        {"SONY with more 1s than 0s: the lead-in reads as a leading 1", Preset(kProtoSony), "G111101111110", 0, 1,
         "G1111101111110", Reading::Timing},
        // The code is right, only its unit is not: the code stays, the unit is measured again.
        {"NEC with more 1s than 0s: the unit reads double", Preset(kProtoNec), "G11111111000000001111111111111111", 0,
         1, "G11111111000000001111111111111111", Reading::Literal},
        {"RC5 at 20 % jitter: a doubled half-bit breaks the pairs", Preset(kProtoRc5), "G11010110001101", 0.2, 3, "",
         Reading::Timing},
        {"Samsung's 4.5 ms lead-in: taken for bi-phase and read empty", Samsung(), "G11100000111000000100000010111111",
         0, 1, "", Reading::Timing},
    };
    for (const auto& [name, header, sent, jitter, seed, literal, reading] : cases) {
        SCOPED_TRACE(name);
        std::string code = sent;
        const std::vector<std::uint8_t> capture = Recording(header, code, jitter, seed);
        EXPECT_EQ(DecodeRecording(capture).code, literal);
        const DecodedRecording d = DecodeCapture(capture);
        EXPECT_EQ(d.signal.code, code);
        EXPECT_EQ(d.reading, reading);
        EXPECT_NEAR(d.unit * 55, header.sendpls, 0.05 * header.sendpls);
        EXPECT_EQ(d.signal.status, BitCountVerdict(header.gproto, code.substr(1)).status);
        const DecodedFrame f = DecodeMonitorFrame(capture);
        EXPECT_EQ(f.frame, code.substr(1));
        EXPECT_EQ(f.protocol, header.gproto);
    }
}

TEST(Decoder, GoldenRecordingsAtSeveralJitters) {
    const std::pair<std::string, ProtocolHeader> kinds[] = {
        {"G00100000110111110001000011101111", Preset(kProtoNec)},
        // Held: the frame, then data-less repeat codes.
        {"G00100000110111110001000011101111", Preset(kProtoNec, 0, 70)},
        {"G11100000111000000100000010111111", Samsung()},
        {"G101010010000", Preset(kProtoSony)},
        {"G011010010001101", Preset(kProtoSony)},
        {"G10111010010001101011", Preset(kProtoSony)},
        {"G11010110001101", Preset(kProtoRc5)},
        {"G11000010000001", Preset(kProtoRc5, 0, 0)}, // a tap: one frame
    };
    for (const auto& [sent, header] : kinds)
        for (double jitter : {0.0, 0.1, 0.2, 0.3}) {
            SCOPED_TRACE(sent + " at " + std::to_string(jitter));
            std::string code = sent;
            const std::vector<std::uint8_t> capture = Recording(header, code, jitter);
            EXPECT_EQ(DecodeCapture(capture).signal.code, code);
            EXPECT_EQ(DecodeMonitorFrame(capture).frame, code.substr(1));
        }
}

// Keys learned before the timing reading hold what the run analysis read.
TEST(Decoder, KeysStoredFromEitherReadingAreRecognised) {
    std::string code = "G111101111110";
    const DecodedFrame f = DecodeMonitorFrame(Recording(Preset(kProtoSony), code, 0));
    ASSERT_EQ(f.literal.frame, "1111101111110");
    const std::string head = "[General]\r\nMONITOR= 0\r\n\r\n[Sony TV]\r\nGPROTO=1\r\n";
    const std::pair<std::string, std::string> cases[] = {
        {"G1111101111110,Power\r\n", "Sony TV&Power"},
        {"G111101111110,Power\r\n", "Sony TV&Power"},
        {"G1111101111110,Old\r\nG111101111110,New\r\n", "Sony TV&New"},
        {"G011101111110,Power\r\n", "UNKNOWN"},
    };
    for (const auto& [lines, key] : cases) EXPECT_EQ(LookupKey(head + lines, f), key) << lines;
}

} // namespace
} // namespace quenix
