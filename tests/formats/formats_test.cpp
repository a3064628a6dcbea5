#include "formats/formats.h"
#include "ir/codec.h"
#include "ir/decoder.h"
#include "ir/protocols.h"
#include "ir/pulse_text.h"
#include "ir/scancode.h"

#include "support/fakes.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <map>

namespace quenix {
namespace {

std::string Data(const std::string& name) {
    std::ifstream in(std::string(QUENIX_SOURCE_DIR) + "/tests/formats/data/" + name, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

// Command name -> the kernel's scancode text, or "raw" for codes kept as timings.
std::map<std::string, std::string> Found(const ForeignImport& f) {
    std::map<std::string, std::string> out;
    for (const ImportedRemote& d : f.devices)
        for (const ImportedCommand& c : d.commands)
            out[c.name] = d.header.gproto == kProtoCustom ? "raw" : ScancodeText(d.header.gproto, c.code);
    return out;
}

std::string Refused(const ForeignImport& f) {
    std::string all = f.error;
    for (const std::string& r : f.refused) all += r.substr(0, r.find(": ", r.find(": ") + 2)) + ";";
    return all;
}

TEST(FormatsTest, ScancodesBecomeTheCodesTheKernelReadsBack) {
    struct Row {
        const char* layout;
        std::uint64_t value, readBack;
    };
    const Row rows[] = {{"nec", 0x0408, 0x0408},        {"necx", 0x866b2a, 0x866b2a},
                        {"nec32", 0x12345678, 0x12345678}, {"sanyo", 0x1c45, 0x1c45},
                        {"sony12", 0x10011, 0x10011},    {"sony15", 0xa50011, 0xa50011},
                        {"sony20", 0x1a401a, 0x1a401a},  {"rc5", 0x1f7f, 0x1f7f},
                        {"rc5", 0x0510, 0x0510},         {"rc6_0", 0x1234, 0x1234},
                        {"rc6_6a_20", 0xabcde, 0xabcde}, {"rc6_6a_32", 0x12345678, 0x12345678},
                        {"rc6_mce", 0x800f8411, 0x800f0411}, {"jvc", 0x8312, 0x8312},
                        {"sharp", 0x1234, 0x1234},       {"kaseikyo", 0x022080d00353, 0x022080d00353}};
    for (const Row& r : rows) {
        std::string why;
        const auto code = CodeFromScancode(r.layout, r.value, why);
        ASSERT_TRUE(code) << r.layout << ": " << why;
        const auto back = KernelScancode(code->protocol, code->bits);
        ASSERT_TRUE(back) << r.layout;
        EXPECT_EQ(back->value, r.readBack) << r.layout;
        EXPECT_EQ(back->protocol.rfind(std::string(r.layout).substr(0, 3), 0), 0u) << r.layout << " " << back->protocol;
    }
    const std::pair<const char*, std::uint64_t> refused[] = {
        {"nec", 0x10000}, {"sony12", 0x200001}, {"rc5", 0x2000}, {"rc6_mce", 0x1234}, {"xmp", 1}, {"sharp", 0x2000}};
    for (auto [layout, value] : refused) {
        std::string why;
        EXPECT_FALSE(CodeFromScancode(layout, value, why)) << layout;
        EXPECT_FALSE(why.empty()) << layout;
    }
}

TEST(FormatsTest, EachFormatGivesItsCodesAndNamesTheLinesItRefuses) {
    struct Row {
        const char* file;
        std::map<std::string, std::string> codes;
        const char* refused;
    };
    const Row rows[] = {
        {"tv.ir",
         {{"Power", "nec:0x408"}, {"Input", "necx:0x86ff2a"}, {"Mute", "necx:0x7070f"}, {"Vol_up", "rc5:0x10"},
          {"Vol_dn", "rc5:0x151"}, {"Ch_up", "rc6_0:0x20"}, {"Ch_dn", "sony12:0x10011"}, {"Play", "sony20:0x1a401a"},
          {"Stop", "kaseikyo:0x22080d00353"}, {"Pause", "sanyo:0x1c45"}, {"Raw_nec", "nec:0x408"}, {"Raw_ac", "raw"},
          {"Eject", "rca:0xf54"}, {"Tuner", "pioneer:0xaf12"}},
         "line 93: Raw_56k;line 99: Broken;"},
        {"codes.pronto",
         {{"Power", "nec:0x408"}, {"Vol_up", "rc5:0x10"}, {"Vol_dn", "rc5:0x151"}, {"Menu", "rc6_0:0x20"},
          {"Mute", "nec:0x408"}, {"Text", "rc5x_20:0x52311"}},
         "line 8: Light;line 9: Short;line 10: \"this line is not a code\" is not a Pronto code (groups of four hex digits);"},
        {"remote.toml",
         {{"KEY_SLEEP", "rc6_mce:0x800f040c"}, {"KEY_VOLUMEUP", "rc6_mce:0x800f0410"},
          {"KEY_VOLUMEDOWN", "rc6_mce:0x800f0411"}, {"KEY_POWER", "nec:0x408"}, {"KEY_INPUT", "necx:0x866b2a"},
          {"KEY_MENU", "nec:0x4"}},
         "line 10: KEY_BAD;line 22: KEY_1;"},
    };
    for (const Row& r : rows) {
        const ForeignImport f = ImportCodes(Data(r.file), r.file);
        EXPECT_EQ(Found(f), r.codes) << r.file;
        EXPECT_EQ(Refused(f), r.refused) << r.file;
    }
}

TEST(FormatsTest, MalformedInputIsOneMessageNamingItsLine) {
    const std::pair<std::string, std::string> rows[] = {
        {std::string("\x7f" "ELF\0\1", 6), "binary data, not a text file of codes"},
        {std::string(kMaxImportBytes + 1, 'x'), "the file has 16 MB; codes files are far smaller"},
        {"Filetype: IR library file\nVersion: 1\n", "line 1: a Flipper file of another kind (IR library file)"},
        {"Filetype: IR signals file\nname: A\ntype: parsed\nprotocol: NEC\naddress: 00 01 00 00\ncommand: 01 00 00 00\n",
         "line 5: A: address or command too large for NEC;"},
        {"Filetype: IR signals file\nname: A\ntype: parsed\nprotocol: NEC\naddress: 0\ncommand: 01 00 00 00\n",
         "line 5: A: address: needs four hex bytes such as 07 00 00 00;"},
        {"Filetype: IR signals file\nname: A\ntype: raw\ndata: 500 -3\n",
         "line 4: A: data: holds \"-3\", not a duration in microseconds;"},
        {"A: 0000 0000 0001 0000 0010 0020\n", "line 1: A: a carrier word of 0;"},
        {"A: 5000 0073 0000 0002 0020 0001\n", "line 1: A: RC5 has systems up to 31 and commands up to 127;"},
        {"[[protocols]]\nprotocol = \"nec\"\n[protocols.scancodes]\nzz = \"KEY_A\"\n",
         "line 4: \"zz\" is not a scancode;"},
        {"hello\n", "no codes of a known kind: not a Flipper .ir file, an ir-keytable keymap, Pronto hex or a lircd.conf"},
    };
    for (const auto& [input, message] : rows) {
        const ForeignImport f = ImportCodes(input, "x");
        std::string all = f.error;
        for (const std::string& r : f.refused) all += r + ";";
        EXPECT_EQ(all, message);
        EXPECT_TRUE(f.devices.empty());
    }
}

// Every device of the test files, written in each form and read back, keeps its codes.
TEST(FormatsTest, ExportThenImportGivesTheSameCodes) {
    for (const char* file : {"tv.ir", "codes.pronto", "remote.toml"}) {
        std::string notes;
        const std::string config = *CodesAsConfiguration(Data(file), file, notes);
        for (const ImportedRemote& d : ImportCodes(Data(file), file).devices)
            for (const char* format : {"flipper", "pronto", "lircd"}) {
                std::string why;
                const auto stored = ReadStoredDevice(config, d.header.name, why);
                ASSERT_TRUE(stored) << why;
                const std::string text = ExportDevice(*stored, format, why);
                const ForeignImport back = ImportCodes(text, d.header.name);
                // Raw codes go out to LIRC as raw codes, which no importer of ours reads.
                if (std::string(format) == "lircd" && d.header.gproto == kProtoCustom) {
                    EXPECT_NE(text.find("RAW_CODES"), std::string::npos);
                    continue;
                }
                std::map<std::string, std::string> want, got;
                for (const ImportedCommand& c : d.commands) want[c.name] = c.code;
                for (const ImportedRemote& b : back.devices)
                    for (const ImportedCommand& c : b.commands) got[c.name] = c.code;
                EXPECT_EQ(got, want) << file << " " << d.header.name << " as " << format << "\n" << text;
            }
    }
}

} // namespace
} // namespace quenix
