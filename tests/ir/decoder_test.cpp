// The decoder that the recorder, monitoring and quenix-ir share.
#include "ir/codec.h"
#include "ir/decoder.h"
#include "ir/protocols.h"
#include "ir/pulse_text.h"
#include "ir/scancode.h"

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

ProtocolHeader Samsung() { return Preset(kProtoSamsung); }

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

// Each protocol of the list, sent by the encoder and read back by name, with the kernel's
// scancode; a second press flips RC5's, RC6's and MCE's toggle; a held Sharp key alternates
// with its inverted frame and still reads as the first.
TEST(Decoder, EveryProtocolRoundTripsByName) {
    const std::tuple<int, std::string, std::string> kinds[] = {
        {kProtoNec, "G00100000110111110001000011101111", "nec:0x408"},
        {kProtoNec, "G00100000110111100001000011101111", "necx:0x47b08"},
        {kProtoSamsung, "G11100000111000000100000010111111", "necx:0x70702"},
        {kProtoJvc, "G1110000011110000", "jvc:0x70f"},
        {kProtoKaseikyo, "G010000000000010000000001000000001011110010111101", "kaseikyo:0x22080003dbd"},
        {kProtoSharp, "G100001101010010", "sharp:0x12b"},
        {kProtoRc6, "G0000000000001100", "rc6_0:0xc"},
        {kProtoRc6A, "G10000000000011110000010000001101", "rc6_mce:0x800f040d"},
        {kProtoRc6A, "G10101010101010101010", "rc6_6a_20:0xaaaaa"},
        {kProtoSony, "G10111010010001101011", "sony20:0x4d65d"},
        {kProtoRc5, "G11010110001101", "rc5:0x160d"},
        {kProtoRc5x, "G10010110110011011001", "rc5x_20:0x167319"},
        {kProtoStreamZap, "G110100010000101", "rc5_sz:0x2885"},
        {kProtoRca, "G101001011100010110100011", "rca:0xa5c"},
        {kProtoPioneer, "G00100000110111110001000011101111", "pioneer:0x408"},
    };
    for (const auto& [protocol, sent, scancode] : kinds)
        for (double jitter : {0.0, 0.15, 0.3})
            for (bool secondPress : {false, true}) {
                SCOPED_TRACE(std::string(PresetFor(protocol).name) + " " + sent + " at " + std::to_string(jitter));
                std::string code = sent;
                bool toggle = secondPress;
                ProtocolHeader h = Preset(protocol);
                std::vector<PulseRun> runs = CellsToRuns(EncodeCommand(code, h, toggle), h.sendpls);
                unsigned seed = 7;
                for (PulseRun& r : runs) {
                    seed = seed * 1103515245u + 12345u;
                    r.us *= 1 - jitter + 2 * jitter * ((seed >> 8) & 0xFFFF) / 65535.0;
                }
                const std::vector<std::uint8_t> capture = SampleRuns(runs, 55);
                const DecodedRecording d = DecodeCapture(capture);
                EXPECT_EQ(d.signal.protocol, protocol);
                EXPECT_EQ(d.signal.code, code);
                const bool toggled =
                    PresetFor(protocol).toggle == Toggle::Rc5Bit || (protocol == kProtoRc6A && sent.size() == 33);
                EXPECT_EQ(NormalisedCode(code, protocol) != code, toggled && !secondPress);
                EXPECT_EQ(NormalisedCode(code, protocol), NormalisedCode(sent, protocol));
                EXPECT_EQ(ScancodeText(d.signal.protocol, d.signal.code), scancode);
                const DecodedFrame f = DecodeMonitorFrame(capture);
                EXPECT_EQ(f.protocol, protocol);
                EXPECT_EQ(f.frame, code.substr(1));
                EXPECT_EQ(LookupKey("[General]\r\n\r\n[Remote]\r\n" + NormalisedCode(sent, protocol) + ",Key\r\n", f),
                          "Remote&Key");
            }
}

// A receiver that is quick or slow to let go moves every mark's end: the lead-in's space grows
// or shrinks with it, and the key keeps its protocol's name. JVC's and Kaseikyo's lead-ins are
// NEC's and Samsung's shapes at other lengths.
TEST(Decoder, StretchedMarksKeepTheProtocolsName) {
    const std::pair<int, std::string> kinds[] = {
        {kProtoJvc, "G1110000011110000"},
        {kProtoKaseikyo, "G010000000000010000000001000000001011110010111101"},
        {kProtoNec, "G00100000110111110001000011101111"},
        {kProtoSamsung, "G11100000111000000100000010111111"},
        {kProtoRca, "G101001011100010110100011"},
        {kProtoPioneer, "G00100000110111110001000011101111"},
    };
    for (const auto& [protocol, sent] : kinds)
        for (double stretch : {-0.15, 0.15})
            for (unsigned seed : {1u, 2u, 3u, 4u, 5u, 6u, 7u, 8u}) {
                SCOPED_TRACE(std::string(PresetFor(protocol).name) + " marks " + std::to_string(stretch));
                std::string code = sent;
                const ProtocolHeader h = Preset(protocol);
                bool toggle = false;
                std::vector<PulseRun> runs = CellsToRuns(EncodeCommand(code, h, toggle), h.sendpls);
                for (std::size_t i = 0; i + 1 < runs.size(); i += 2) {
                    runs[i + 1].us -= runs[i].us * stretch;
                    runs[i].us *= 1 + stretch;
                }
                for (PulseRun& r : runs) { // and 10 % jitter
                    seed = seed * 1103515245u + 12345u;
                    r.us *= 0.9 + 0.2 * ((seed >> 8) & 0xFFFF) / 65535.0;
                }
                const DecodedRecording d = DecodeCapture(SampleRuns(runs, 55));
                EXPECT_EQ(d.signal.protocol, protocol);
                EXPECT_EQ(d.signal.code, code);
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
