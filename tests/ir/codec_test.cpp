#include "ir/codec.h"
#include "ir/protocols.h"

#include <gtest/gtest.h>

#include <string>

namespace quenix {
namespace {

TEST(ValidCode, AcceptsOnlyBitsAndOneSyncMark) {
    struct Case {
        std::string in;
        bool valid;
        std::string trimmed;
    };
    const Case cases[] = {
        {"10", false, "10"},      {"g101", true, "g101"},   {"G101", true, "G101"},
        {"g1g01", false, "g1g01"}, {"10x1", false, "10x1"}, {"  101  ", true, "101"},
        {"1 01", false, "1 01"},  {"", false, ""},          {"G10210", false, "G10210"},
    };
    for (const Case& c : cases) {
        std::string code = c.in;
        EXPECT_EQ(IsValidCode(code), c.valid) << c.in;
        EXPECT_EQ(code, c.trimmed) << c.in;
    }
}

// The lead-in, 2 or 4 cells a bit and the stop mark; REPEAT 50, GREPEAT 1: four more bodies
// without the lead-in, 50 gap cells before each.
TEST(Encode, NecFirstSequenceAndRepeats) {
    ProtocolHeader h = HeaderFromPreset(kProtoNec);
    std::string code = "G00000000111111110000000011111111", half;
    for (int i = 0; i < 8; ++i) half += "10";
    for (int i = 0; i < 8; ++i) half += "1000";
    const std::string body = half + half + "1";
    std::string expected = h.bitg + body;
    for (int i = 0; i < 4; ++i) expected += std::string(50, '0') + body;
    bool toggle = false;
    EXPECT_EQ(EncodeCommand(code, h, toggle), expected);
    EXPECT_EQ(code, "G00000000111111110000000011111111");
}

TEST(Encode, FourRepetitionCases) {
    ProtocolHeader h{kProtoSony, 550, 0, 0, "11", "01", "011"};
    const std::string body = "01011"; // "01" for 0, "011" for 1; SONY has no stop cell
    const std::string burst = std::string(16, '1') + "0000" + "1";
    struct Case {
        int repeat, grepeat;
        std::string gapThenSequence; // what follows the first sequence, four times
    };
    const Case cases[] = {
        {0, 1, ""}, {0, 0, ""}, {0, -3, ""},
        {0, 20, std::string(20, '0') + burst},
        {30, 1, std::string(30, '0') + body}, {30, 0, std::string(30, '0') + body},
        {30, 40, std::string(30, '0') + "11" + body},
        {-5, 20, std::string(20, '0') + burst}, // a hand-edited negative REPEAT reads as 0
    };
    for (const Case& c : cases) {
        h.repeat = c.repeat;
        h.grepeat = c.grepeat;
        std::string code = "G01", expected = "11" + body;
        bool toggle = false;
        for (int i = 0; i < 4; ++i) expected += c.gapThenSequence;
        EXPECT_EQ(EncodeCommand(code, h, toggle), expected) << c.repeat << "/" << c.grepeat;
    }
}

TEST(Encode, Rc5ToggleIsTheThirdDataBitAndAlternatesFromOne) {
    ProtocolHeader h = HeaderFromPreset(kProtoRc5);
    h.repeat = 0;
    bool toggle = false;
    std::string code = "G11010000001100"; // start bits, toggle, address, command
    const std::string first = EncodeCommand(code, h, toggle);
    EXPECT_EQ(code, "G11110000001100");
    const std::string second = EncodeCommand(code, h, toggle);
    EXPECT_EQ(code, "G11010000001100");
    // The sequences differ only in the toggle's two cells ("01" for 1, "10" for 0).
    EXPECT_EQ(first, second.substr(0, 4) + "01" + second.substr(6));
    EXPECT_EQ(second.substr(4, 2), "10");
    std::string bare = "110100"; // typed without its marker: the third character itself
    EncodeCommand(bare, h, toggle);
    EXPECT_EQ(bare, "111100");
}

TEST(RecordedToCode, ByProtocol) {
    struct Case {
        int protocol;
        std::string cells;
        std::string code;
    };
    const Case cases[] = {
        // Pulse distance: one gap cell is a 0, more a 1; the mark after each gap is skipped.
        {kProtoNec, "10100010001", "G011"}, // the first mark opens no bit
        {kProtoNec, "g1010001", "GG01"},
        {kProtoNec, "101g1001", "G0G1"}, // a pause inside a run adds its marker
        {kProtoNec, "10gggggg1000", "GGGGGGG0"}, // six pauses in one run end the code
        {kProtoNec, "10ggg1gggg1000", "GGGG0GGGG1"}, // ... but not six spread over two runs
        {7, "10100010001", "G011"},              // unknown indices read pulse distance
        // Pulse width: the length of each mark counts.
        {kProtoSony, "G0101101", "G010"},
        {kProtoSony, "g1111011010101", "G11000"}, // a long first mark reads as a 1
        {kProtoSony, "g01gg011gg01g011", "G0GG1GG0G"}, // stops at the sixth pause in all
        // Bi-phase: pairs from the third cell; "1g" ends a frame and starts the next.
        {kProtoRc5, "g1011010", "G1100"},
        {kProtoRc5, "g10110g1", "G110G1"},
        {kProtoRc5, "g101101g1011", "G1100G110G1"}, // "1g" swallows the next start mark, the guard too
        {kProtoRc5, "g101G110", "G11G10"},      // "G" and "g" are the same pause
        {kProtoRc5, "g11000", ""},                // "00" violates bi-phase
        {kProtoRc5, "g1011110", ""},              // so does "11"
        // A stray character is stepped over, never read forever.
        {kProtoNec, "10x0010", "G010"},
        {kProtoSony, "g01x011", "G01"},
    };
    for (const Case& c : cases) EXPECT_EQ(RecordedToCode(c.cells, c.protocol), c.code) << c.protocol << " " << c.cells;
}

const char* kConfig = "[General]\r\nCOMPORT= 1\r\nG101,InGeneral\r\n\r\n"
                      "[TV Set]\r\n# tv\r\nGPROTO=1\r\nG101010010000,Power \r\nG0101,Mute\r\n\r\n"
                      "[ Amp ]\r\nGPROTO=2\r\nG11010000001100,Standby\r\n\r\n[X10]\r\n[End]\r\n";

TEST(FindLearnedCommand, LooksUpCodeLinesOutsideGeneral) {
    struct Case {
        std::string code;
        int protocol;
        bool found;
        std::string device, command;
    };
    const Case cases[] = {
        {"101010010000", kProtoSony, true, "TV Set", "Power"},
        {"G101010010000", kProtoSony, true, "TV Set", "Power"}, // the recorder's marker is dropped
        {"g0101", kProtoNec, true, "TV Set", "Mute"},
        {"11110000001100", kProtoRc5, true, "Amp", "Standby"}, // toggle 1 finds the toggle-0 line
        {"11010000001100", kProtoRc5, true, "Amp", "Standby"},
        {"11110000001100", kProtoNec, false, "", ""},          // only RC5 ignores the toggle
        {"101", kProtoNec, false, "", ""}, // inside [General]
        {"", kProtoNec, false, "", ""},    {"G", kProtoNec, false, "", ""}, {"0000", kProtoNec, false, "", ""},
    };
    for (const Case& c : cases) {
        LearnedCommand r = FindLearnedCommand(kConfig, c.code, c.protocol);
        EXPECT_EQ(r.found, c.found) << c.code;
        EXPECT_EQ(r.device + "&" + r.command, c.device + "&" + c.command) << c.code;
    }
}

} // namespace
} // namespace quenix
