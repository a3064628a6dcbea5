#include "capture_script.h"
#include "ir/analysis.h"

#include <gtest/gtest.h>

#include <sstream>

namespace quenix {
namespace {

using testing::Press;

// Samples from run lengths: "10 -30" is 10 samples of carrier, then 30 without.
std::string Runs(const std::string& lengths) {
    std::istringstream in(lengths);
    std::string s;
    for (int n = 0; in >> n;) s.append(static_cast<std::size_t>(std::abs(n)), n > 0 ? '1' : '0');
    return s;
}

TEST(QuantiseRun, Boundaries) {
    struct Case {
        int length, unit, size;
    };
    const Case cases[] = {
        {14, 10, 1}, {15, 10, 2}, {25, 10, 2}, {26, 10, 3}, {38, 10, 3}, {39, 10, 9}, {1, 10, 1}, {0, 0, 1},
        {5, 0, 2},   {200, 10, 9},
    };
    for (const Case& c : cases) EXPECT_EQ(QuantiseRun(c.length, c.unit), c.size) << c.length << "/" << c.unit;
}

TEST(AnalyseRuns, ClassifiesByWhichRunsAreLong) {
    struct Case {
        std::string name;
        std::string samples;
        bool ok;
        int cM, cS, unit, protocol;
    };
    // A run length standing alone in its bin reads one short: the windows around n - 1, n
    // and n + 1 hold the same sum, and the first of them wins.
    const Case cases[] = {
        {"short marks, gaps of 1 and 3 units: pulse distance", Runs("10 -10 10 -30 10 -10 10"), true, 9, 9, 9, kProtoNec},
        {"gaps of 1 unit, marks of 1 and 2: pulse width", Runs("40 -10 20 -10 10 -10 10"), true, 9, 9, 9, kProtoSony},
        {"both doubled: bi-phase", Runs("10 -10 20 -20 10 -10 10"), true, 9, 9, 9, kProtoRc5},
        {"nothing long: unknown, yet 9.5 rounds to 10", Runs("10 -11 10 -11"), true, 9, 10, 10, kProtoUnknown},
        {"equal window sums: the shorter wins", Runs("10 -10 30 -30"), true, 9, 9, 9, kProtoRc5},
        {"runs over 99 count as 99, outside every window", Runs("150 -150"), false, 0, 0, 0, kProtoUnknown},
        {"silence", std::string(4800, '0'), false, 0, 0, 0, kProtoUnknown},
        {"a gap over 300 ends the walk", Runs("10 -10 10 -30 10 -301 40 -10"), true, 9, 9, 9, kProtoNec},
        {"leading silence is no gap", Runs("-40 10 -10 20 -10 10"), true, 9, 9, 9, kProtoSony},
        {"half units round to even: down", Runs("9 -10 9 -30 9"), true, 8, 9, 8, kProtoNec},
        {"half units round to even: up", Runs("12 -13 12 -39 12"), true, 11, 12, 12, kProtoNec},
    };
    for (const Case& c : cases) {
        RunAnalysis a = AnalyseRuns(c.samples);
        EXPECT_EQ((std::vector<int>{a.ok, a.cM, a.cS, a.unit, a.protocol}),
                  (std::vector<int>{c.ok, c.cM, c.cS, c.unit, c.protocol}))
            << c.name;
    }
}

TEST(QuantiseSamples, CellsPausesAndMeasuredLengths) {
    QuantisedSamples q = QuantiseSamples(Runs("80 -10 21 -30 10 -101"), 10);
    EXPECT_EQ(q.cells, "G0110001g");
    EXPECT_EQ(q.plen1, "-80-21-10");
    EXPECT_EQ(q.plen0, "-10-30");
    // A gap cut off by the end counts only when it is over 100 samples.
    EXPECT_EQ(QuantiseSamples(Runs("10 -100"), 10).cells, "1");
    EXPECT_EQ(QuantiseSamples(Runs("-10 10"), 10).cells, "01");
}

TEST(SelectFrame, LongerOfTheFirstTwoSecondOnATie) {
    EXPECT_EQ(SelectFrame("GG0101G011G"), "0101");
    EXPECT_EQ(SelectFrame("G011GG0101G1"), "0101");
    EXPECT_EQ(SelectFrame("G0101GG1010G11111111"), "1010");
    EXPECT_EQ(SelectFrame("G0101"), "0101");
    EXPECT_EQ(SelectFrame("GGG"), "");
}

TEST(BitCountVerdict, TextsAndValueFields) {
    struct Case {
        int protocol;
        std::string code;
        std::string status, addr, cmd, toggle;
    };
    const std::string necValid = "A valid NEC type command has been received.";
    const Case cases[] = {
        {kProtoNec, "G" + std::string(32, '1'), necValid, "", "", "N"},
        {kProtoNec, std::string(16, '0'), necValid, "", "", "N"}, {kProtoNec, std::string(42, '0'), necValid, "", "", "N"},
        {kProtoNec, std::string(48, '0'), necValid, "", "", "N"},
        {kProtoNec, std::string(33, '0'), "A possible invalid NEC type command has been received.", "", "", "N"},
        {kProtoSony, "G101010010000111", "A valid 15 bits SONY type command has been received.", "169", "7", "N"},
        {kProtoRc5, "G11110000001100", "A valid RC5 type command has been received.", "16", "12", "1"},
        {kProtoRc5, "G1101000000110", "A possible invalid RC5 type command has been received(less than 14 bits)!", "16",
         "6", "0"},
        {kProtoRc5, "G110100000011001", "A possible valid command has been received (more than 14 bits).", "16", "25",
         "0"},
    };
    for (const Case& c : cases) {
        CodeVerdict v = BitCountVerdict(c.protocol, c.code);
        EXPECT_EQ(v.status, c.status) << c.code;
        EXPECT_EQ(v.addrVal + "/" + v.cmdVal + "/" + v.toggleVal, c.addr + "/" + c.cmd + "/" + c.toggle) << c.code;
    }
    EXPECT_EQ(BitCountVerdict(kProtoNec, "G0101").gType, "2");
}

// A capture holding exactly these samples, padded with silence.
std::vector<std::uint8_t> Samples(const std::string& samples) {
    std::vector<std::uint8_t> bytes = PackCells(samples);
    bytes.resize(600, 0);
    return bytes;
}

// What the recorder's own table cannot reach: a buffer too small to cut, and codes that fail
// after the protocol was recognised.
TEST(DecodeRecording, StatusTexts) {
    struct Case {
        std::string name;
        std::vector<std::uint8_t> capture;
        std::string status;
    };
    std::string noLeadIn = std::string(10, '1'); // pulse distance: nothing stands between two pauses
    for (int i = 0; i < 6; ++i) noLeadIn = Runs("10 -10 10 -30") + noLeadIn;
    const Case cases[] = {
        {"short buffer", std::vector<std::uint8_t>(45, 0xF0), "Not enough information recorded to decode the signal!"},
        {"seven bits", Press(kProtoNec, "G0110101"), "Invalid command (less than 8 bit)!"},
        {"no lead-in", Samples(noLeadIn), "Command cannot be extracted!"},
        // Bi-phase whose second frame opens with a doubled space.
        {"rc5 violation", Samples(Runs("10 -10 20 -20 10 -250 10 -20 20 -10 10")), "Recorded signal is invalid!"},
    };
    for (const Case& c : cases) EXPECT_EQ(DecodeRecording(c.capture).status, c.status) << c.name;

    RecordedSignal nec = DecodeRecording(Press(kProtoNec, "G0110101011"));
    EXPECT_EQ(nec.status, "A possible invalid NEC type command has been received.");
    EXPECT_EQ(nec.code, "G0110101011");
    // More 1s than 0s: the long space dominates and the unit reads double (19, not 9), yet
    // every gap still quantises to the right side of a 0/1 decision.
    EXPECT_EQ(nec.unitSamples, 19);
}

TEST(ExtractFrame, FramesUnderSevenBitsAreDropped) {
    EXPECT_EQ(ExtractFrame(Press(kProtoNec, "G0110101")).frame, "0110101");
    EXPECT_EQ(ExtractFrame(Press(kProtoNec, "G011010")).frame, "");
}

} // namespace
} // namespace quenix
