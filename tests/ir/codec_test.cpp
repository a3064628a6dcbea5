// Codes and cell strings, run analysis and decoding.
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

TEST(AnalyseRuns, ClassifiesByWhichRunsAreLong) {
    // Name, samples, ok, cM, cS, unit, protocol.
    // A run length standing alone in its bin reads one short: the windows around n - 1, n
    // and n + 1 hold the same sum, and the first of them wins.
    const std::tuple<std::string, std::string, bool, int, int, int, int> cases[] = {
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
    for (const auto& [name, samples, ok, cM, cS, unit, protocol] : cases) {
        RunAnalysis a = AnalyseRuns(samples);
        EXPECT_EQ((std::vector<int>{a.ok, a.cM, a.cS, a.unit, a.protocol}),
                  (std::vector<int>{ok, cM, cS, unit, protocol}))
            << name;
    }
}

TEST(BitCountVerdict, TextsAndValueFields) {
    for (std::size_t bits : {16, 32, 42, 48})
        EXPECT_EQ(BitCountVerdict(kProtoNec, std::string(bits, '0')).status, "A valid NEC type command has been received.");
    // Protocol, code, status, AddrVal/CmdVal/ToggleVal.
    const std::tuple<int, std::string, std::string, std::string> cases[] = {
        {kProtoNec, "G" + std::string(33, '1'), "A possible invalid NEC type command has been received.", "//N"},
        {kProtoSony, "G101010010000111", "A valid 15 bits SONY type command has been received.", "169/7/N"},
        {kProtoRc5, "G11110000001100", "A valid RC5 type command has been received.", "16/12/1"},
        {kProtoRc5, "G1101000000110", "A possible invalid RC5 type command has been received(less than 14 bits)!",
         "16/6/0"},
        {kProtoRc5, "G110100000011001", "A possible valid command has been received (more than 14 bits).", "16/25/0"},
    };
    for (const auto& [protocol, code, status, fields] : cases) {
        CodeVerdict v = BitCountVerdict(protocol, code);
        EXPECT_EQ(v.status + " " + v.addrVal + "/" + v.cmdVal + "/" + v.toggleVal, status + " " + fields);
    }
    EXPECT_EQ(BitCountVerdict(kProtoNec, "G0101").gType, "2");
}

// A capture holding exactly these samples, padded with silence.
std::vector<std::uint8_t> Samples(const std::string& samples) {
    std::vector<std::uint8_t> bytes = PackCells(samples);
    bytes.resize(600, 0);
    return bytes;
}

// Codes that fail after the protocol was recognised.
TEST(DecodeRecording, StatusTexts) {
    std::string noLeadIn = std::string(10, '1'); // pulse distance: nothing stands between two pauses
    for (int i = 0; i < 6; ++i) noLeadIn = Runs("10 -10 10 -30") + noLeadIn;
    const std::pair<std::vector<std::uint8_t>, std::string> cases[] = {
        {Press(kProtoNec, "G0110101"), "Invalid command (less than 8 bit)!"},
        {Samples(noLeadIn), "Command cannot be extracted!"},
        // Bi-phase whose second frame opens with a doubled space.
        {Samples(Runs("10 -10 20 -20 10 -250 10 -20 20 -10 10")), "Recorded signal is invalid!"},
    };
    for (const auto& [capture, status] : cases) EXPECT_EQ(DecodeRecording(capture).status, status);
    RecordedSignal nec = DecodeRecording(Press(kProtoNec, "G0110101011"));
    EXPECT_EQ(nec.status, "A possible invalid NEC type command has been received.");
    EXPECT_EQ(nec.code, "G0110101011");
    // More 1s than 0s: the long space dominates and the unit reads double (19, not 9), yet
    // every gap still quantises to the right side of a 0/1 decision.
    EXPECT_EQ(nec.unitSamples, 19);
    EXPECT_EQ(ExtractFrame(Press(kProtoNec, "G0110101")).frame, "0110101");
    EXPECT_EQ(ExtractFrame(Press(kProtoNec, "G011010")).frame, ""); // under seven bits
}

TEST(ValidCode, AcceptsOnlyBitsAndOneSyncMarkOrAFrameList) {
    for (std::string code : {"10", "g1g01", "10x1", "1 01", "", "G10210", "G00001111GG00001111", "G00001111G0000111",
                             "G00001111G00001111G00001111G00001111"})
        EXPECT_FALSE(IsValidCode(code)) << code;
    for (auto [in, trimmed] : {std::pair{"g101", "g101"}, {"G101", "G101"}, {"  101  ", "101"},
                               {"G00001111g11110000", "G00001111g11110000"}}) {
        std::string code = in;
        EXPECT_TRUE(IsValidCode(code)) << in;
        EXPECT_EQ(code, trimmed);
    }
}

TEST(Encode, FourRepetitionCases) {
    ProtocolHeader h{kProtoSony, 550, 0, 0, "11", "01", "011"};
    const std::string body = "01011"; // "01" for 0, "011" for 1; SONY has no stop cell
    const std::string burst = std::string(16, '1') + "0000" + "1";
    // REPEAT, GREPEAT, and what follows the first sequence, four times
    const std::tuple<int, int, std::string> cases[] = {
        {0, 1, ""}, {0, 0, ""}, {0, -3, ""},
        {0, 20, std::string(20, '0') + burst},
        {30, 1, std::string(30, '0') + body}, {30, 0, std::string(30, '0') + body},
        {30, 40, std::string(30, '0') + "11" + body},
        {-5, 20, std::string(20, '0') + burst}, // a hand-edited negative REPEAT reads as 0
    };
    for (const auto& [repeat, grepeat, gapThenSequence] : cases) {
        h.repeat = repeat;
        h.grepeat = grepeat;
        std::string code = "G01", expected = "11" + body;
        bool toggle = false;
        for (int i = 0; i < 4; ++i) expected += gapThenSequence;
        EXPECT_EQ(EncodeCommand(code, h, toggle), expected) << repeat << "/" << grepeat;
    }
}

// The toggle is the third data bit; the first send sets it, and its two cells read "01" for 1, "10" for 0.
TEST(Encode, Rc5ToggleAlternatesFromOne) {
    ProtocolHeader h = HeaderFromPreset(kProtoRc5);
    h.repeat = 0;
    bool toggle = false;
    for (auto [typed, set] : {std::pair{"G11010000001100", "G11110000001100"}, {"110100", "111100"}}) {
        std::string code = typed; // the second typed without its marker
        const std::string first = EncodeCommand(code, h, toggle);
        EXPECT_EQ(code, set);
        EXPECT_EQ(first.substr(4, 2) + EncodeCommand(code, h, toggle).substr(4, 2), "0110") << typed;
        EXPECT_EQ(code, typed);
    }
}

TEST(RecordedToCode, ByProtocol) {
    const std::tuple<int, std::string, std::string> cases[] = { // protocol, cells, code
        // Pulse distance: one gap cell is a 0, more a 1; the mark after each gap is skipped.
        {kProtoNec, "g1010001", "GG01"},
        {kProtoNec, "101g1001", "G0G1"}, // a pause inside a run adds its marker
        {kProtoNec, "10gggggg1000", "GGGGGGG0"}, // six pauses in one run end the code
        {kProtoNec, "10ggg1gggg1000", "GGGG0GGGG1"}, // ... but not six spread over two runs
        {7, "10100010001", "G011"}, // unknown indices read pulse distance; the first mark opens no bit
        // Pulse width: the length of each mark counts.
        {kProtoSony, "g1111011010101", "G11000"}, // a long first mark reads as a 1
        {kProtoSony, "g01gg011gg01g011", "G0GG1GG0G"}, // stops at the sixth pause in all
        // Bi-phase: pairs from the third cell; "1g" ends a frame and starts the next.
        {kProtoRc5, "g10110g1", "G110G1"},
        {kProtoRc5, "g101101g1011", "G1100G110G1"}, // "1g" swallows the next start mark, the guard too
        {kProtoRc5, "g101G110", "G11G10"},      // "G" and "g" are the same pause
        {kProtoRc5, "g11000", ""},                // "00" violates bi-phase
        // A stray character is stepped over, never read forever.
        {kProtoNec, "10x0010", "G010"},
        {kProtoSony, "g01x011", "G01"},
    };
    for (const auto& [protocol, cells, code] : cases) EXPECT_EQ(RecordedToCode(cells, protocol), code) << cells;
}

} // namespace
} // namespace quenix
