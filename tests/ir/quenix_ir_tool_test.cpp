// Runs the built quenix-ir the way a script would.
#include "support/peers.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace {

using quenix::testing::Shell;
using quenix::testing::ShellOutput;

const std::string kTool = QUENIX_PROGRAM_DIR "/quenix-ir";

std::string Field(const std::string& out, const std::string& key) {
    std::size_t at = out.find(key + ": ");
    return at == std::string::npos ? "<missing>" : out.substr(at + key.size() + 2, out.find('\n', at) - at - key.size() - 2);
}

TEST(QuenixIrTool, EncodeToPulseTextAndDecodeGivesTheCodeBack) {
    struct Case {
        std::string protocol, code, decoded, name, verdict, reading;
    };
    std::string ac = "G"; // an air conditioner's 256 bits: 430 ms, longer than one 600-byte capture
    for (int i = 0; i < 16; ++i) ac += "0010000011011111";
    const Case cases[] = {
        {"NEC", ac, ac, "NEC", "A possible invalid NEC", "literal"},
        {"SONY", "G1010100100001000", "G1010100100001000", "SONY", "A possible invalid SONY", "literal"},
        // The first send carries toggle 1.
        {"RC5", "G11010000001100", "G11110000001100", "RC5", "A valid RC5", "literal"},
        // More 1s than 0s: the run analysis takes SONY's lead-in for a bit.
        {"SONY", "G111101111110", "G111101111110", "SONY", "A valid SONY", "timing"},
        // Custom has NEC's patterns but no stop mark: the last gap runs into the pause, the last bit is lost.
        {"CUSTOM", "G0010000011011111", "G001000001101111", "NEC", "A possible invalid NEC", "literal"},
    };
    for (const Case& c : cases) {
        ShellOutput o = Shell(kTool + " encode --protocol " + c.protocol + " --code " + c.code + " --format mode2 | " +
                         kTool + " decode 2>&1");
        EXPECT_EQ(o.status, 0) << o.out;
        EXPECT_EQ(Field(o.out, "protocol") + " " + Field(o.out, "code") + " " + Field(o.out, "frame"),
                  c.name + " " + c.decoded + " " + c.decoded.substr(1));
        EXPECT_EQ(Field(o.out, "verdict").rfind(c.verdict + " type command has been received", 0), 0u) << o.out;
        EXPECT_EQ(Field(o.out, "reading"), c.reading);
    }
}

TEST(QuenixIrTool, FormatsPeriodAndPackedCaptures) {
    ShellOutput o = Shell(kTool + " encode --protocol sony --code G101 --repeat 0 --grepeat 0 --bitg 11 --format packed");
    EXPECT_EQ(o.out, "dac0\n"); // 11 011 01 011 -> 1101 1010 11, filled with 0 cells
    o = Shell(kTool + " encode --protocol NEC --code G0010000011011111 --format mode2 | " + kTool + " decode --period 50");
    EXPECT_EQ(Field(o.out, "unit_us"), "550"); // measured in samples of the given period
    // A key of the shipped file, whose lines end in CR LF.
    o = Shell(kTool + " encode --config " QUENIX_SOURCE_DIR "/data/telvorin.cfg --device 'Sony TV' --command Mute" +
              " --format mode2 | " + kTool + " decode");
    EXPECT_EQ(Field(o.out, "code"), "G001010010000") << o.out;
    // 39 bytes of carrier in a 600-byte capture: as short as the window calls it.
    o = Shell("(head -c 39 /dev/zero | tr '\\0' '\\377'; head -c 561 /dev/zero) | " + kTool + " decode --packed");
    EXPECT_EQ(Field(o.out, "verdict"), "Recorded signal to short!");
}

TEST(QuenixIrTool, BadInputIsOneLineOnStderrAndStatusTwo) {
    const std::string cases[] = {
        "encode --protocol NEC --code 10x1",           "encode --protocol FOO --code G101",
        "encode --protocol NEC --code G101 --bit0 12", "encode --protocol NEC --code G101 --frobnicate",
        "encode --protocol NEC",                       "decode /nonexistent/file",
        "decode --period x",                           "frobnicate",
        "decode /dev/null",                            "decode " + kTool, // no pulse/space lines; binary data
        "decode " QUENIX_PROGRAM_DIR, // a folder, which once ended the tool with an uncaught exception
        "encode --protocol NEC --code \"$(printf '1\\n0')\"", // a line break in the quoted argument
        "lirc-import /dev/null",                       "lirc-import " QUENIX_SOURCE_DIR "/data/help", // no remote
    };
    for (const std::string& args : cases) {
        ShellOutput o = Shell(kTool + " " + args + " 2>&1 >/dev/null");
        EXPECT_EQ(o.status, 2) << args;
        EXPECT_EQ(std::count(o.out.begin(), o.out.end(), '\n'), 1) << args << ": " << o.out;
    }
    EXPECT_EQ(Shell(kTool + " decode --packed /dev/null 2>&1").out,
              "quenix-ir: a packed capture has 600 to 2048 bytes, this one 0\n");
    EXPECT_EQ(Shell("printf 'space abc' | " + kTool + " decode 2>/dev/null").status, 2); // not a length
}

// LIRC's remote database is a tree of files with notes beside them: a folder imports every remote
// under it, names kept apart across the files.
TEST(QuenixIrTool, LircImportOfAFolderTakesEveryRemoteUnderIt) {
    const std::string remote = "begin remote\\n name tv\\n bits 16\\n header 9000 4500\\n one 560 1690\\n"
                               " zero 560 560\\n ptrail 560\\n gap 108000\\n begin codes\\n KEY_POWER 0x10EF\\n"
                               " end codes\\nend remote\\n";
    ShellOutput o = Shell("d=$(mktemp -d) && mkdir $d/a && printf '" + remote +
                          "' | tee $d/a/lircd.conf >$d/lircd.conf.tv && echo notes >$d/README && " + kTool +
                          " lirc-import $d; s=$?; rm -r $d; exit $s");
    EXPECT_EQ(o.status, 0);
    EXPECT_NE(o.out.find("[tv_]\r\n"), std::string::npos) << o.out;
    EXPECT_NE(o.out.find("[tv__2]\r\n"), std::string::npos);
}

} // namespace
