#include "config/import_export.h"
#include "ir/codec.h"
#include "ir/decoder.h"
#include "ir/protocols.h"
#include "ir/pulse_text.h"
#include "ir/scancode.h"
#include "lirc/lirc_import.h"

#include "support/rig.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace quenix {
namespace {

std::string Remote(const std::string& name, const std::string& body, const std::string& codes) {
    return "# made by hand\nbegin remote\n  name " + name + "\n" + body + "\n  begin codes\n" + codes +
           "\n  end codes\nend remote\n";
}

const std::string kNec = "  bits 16\n  flags SPACE_ENC|CONST_LENGTH\n  header 9000 4500\n  one 560 1690\n"
                         "  zero 560 560\n  ptrail 560\n  pre_data_bits 16\n  pre_data 0x20DF\n  gap 108000\n"
                         "  repeat 9000 2250";

TEST(LircImport, FitsEachShapeOfRemote) {
    struct Case {
        const char* what;
        std::string conf;
        int gproto, sendpls, repeat, grepeat;
        std::string bitg, bit0, bit1, firstCode;
    };
    const Case cases[] = {
        {"NEC with its repeat burst", Remote("tv", kNec, "KEY_POWER 0x10EF\nKEY_POWER 0x11EE\nEnd 0x12ED"), 0, 562, 0,
         71, std::string(16, '1') + std::string(8, '0'), "10", "1000", "G00100000110111110001000011101111"},
        // The trailer unlike one unit: bits written space first, so the last pulse ends the frame.
        {"pulse distance, trailer as long as the pulses",
         Remote("dvd", "  bits 8\n  header 9000 4500\n  one 770 1490\n  zero 770 360\n  ptrail 760\n  gap 40000",
                "KEY_PLAY 0x19"),
         3, 372, 108, 108, std::string(24, '1') + std::string(12, '0') + "11", "011", "000011", "G00011001"},
        // A shorter space for 1: swapped, so that the codes are what the decoder reads.
        {"inverted pulse distance",
         Remote("pb", "  bits 8\n  header 9000 4500\n  one 560 560\n  zero 560 1690\n  ptrail 560\n  gap 50000",
                "KEY_UP 0x3C"),
         0, 562, 89, 89, std::string(16, '1') + std::string(8, '0'), "10", "1000", "G11000011"},
        {"pulse width, SONY's shape",
         Remote("SONY_12", "  bits 12\n  header 2400 600\n  one 1200 600\n  zero 600 600\n  gap 45000",
                "KEY_POWER 0xA90"),
         1, 600, 75, 75, "11110", "10", "110", "G101010010000"},
        {"RC5, toggle cleared",
         Remote("Hauppauge",
                "  bits 13\n  flags RC5|CONST_LENGTH\n  one 889 889\n  zero 889 889\n  plead 889\n"
                "  gap 113792\n  toggle_bit 2",
                "KEY_1 0x17C1"),
         2, 889, 99, 99, "0", "10", "01", "G11011111000001"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        LircFile file = ParseLircdConf(c.conf);
        ASSERT_EQ(file.remotes.size(), 1u);
        ImportedRemote m = FitRemote(file.remotes[0]);
        ASSERT_TRUE(m.ok) << m.why;
        EXPECT_EQ(m.unreadable, "");
        const HeaderFields& h = m.header;
        EXPECT_EQ(h.gproto, c.gproto);
        EXPECT_EQ(h.sendpls, c.sendpls);
        EXPECT_EQ(h.repeat, c.repeat);
        EXPECT_EQ(h.grepeat, c.grepeat);
        EXPECT_EQ(h.bitg, c.bitg);
        EXPECT_EQ(h.bit0, c.bit0);
        EXPECT_EQ(h.bit1, c.bit1);
        EXPECT_EQ(m.commands[0].code, c.firstCode);
    }
}

TEST(LircImport, TellsWhyARemoteCannotBeMapped) {
    const std::pair<std::string, std::string> cases[] = {
        {Remote("raw", "  flags RAW_CODES", ""), "LIRC's RAW_CODES encoding has no fixed pattern per bit"},
        {"begin remote\n name raw2\n begin raw_codes\n name KEY_1\n 900 450 900\n end raw_codes\nend remote\n",
         "raw codes: recorded waveforms, not bit codes"},
        {Remote("mce", "  bits 16\n  flags RC6\n  one 444 444\n  zero 444 444", "KEY_1 0x1"), "timings unlike RC6's"},
        {Remote("rc6m3", "  bits 16\n  flags RC6\n  header 2667 889\n  one 444 444\n  zero 444 444\n"
                "  pre_data_bits 5\n  pre_data 0x9",
                "KEY_1 0x1"),
         "an RC6 start and mode of 1011, neither mode 0 nor 6A"},
        {Remote("usb", "  bits 32\n  one 0 0\n  zero 0 0", "KEY_1 0x1"),
         "no timings: the receiver decodes the codes itself"},
        {Remote("odd", "  bits 8\n  one 15 30\n  zero 15 15", "KEY_1 0x1"), "timings without a common unit"},
        {Remote("tail", "  bits 8\n  one 560 1690\n  zero 560 560\n  ptrail 1200", "KEY_1 0x1"),
         "a trailing pulse of 1200 µs unlike the bits' pulses"},
        {Remote("rep", "  bits 8\n  one 560 1690\n  zero 560 560\n  ptrail 560\n  repeat_mask 0x3", "KEY_1 0x1"),
         "bits inverted on repeats, unlike Sharp's"},
    };
    for (const auto& [conf, why] : cases) {
        SCOPED_TRACE(conf);
        std::vector<ImportedRemote> m = ImportLircFile(ParseLircdConf(conf));
        ASSERT_EQ(m.size(), 1u);
        EXPECT_FALSE(m[0].ok);
        EXPECT_EQ(m[0].why, why);
    }
}

// LIRC's RC6 remotes as RC6 devices; irsimsend, LIRC's own sender, is the judge of the codes.
TEST(LircImport, Rc6RemotesReadAsLircSendsThem) {
    if (std::system("command -v irsimsend >/dev/null 2>&1") != 0) GTEST_SKIP() << "no irsimsend";
    const std::string dir = "/usr/share/lirc/remotes/";
    struct Case {
        std::string conf, key;
        int gproto, sendpls;
        const char* scancode;
    } cases[] = {
        {TempDir::ReadFile(dir + "mceusb/lircd.conf.mceusb"), "PlayPause", kProtoRc6A, 444, "rc6_mce:0x800f046e"},
        {TempDir::ReadFile(dir + "acer/lircd.conf.Aspire_6530G"), "KEY_POWER", kProtoRc6A, 451, "rc6_mce:0x800f040c"},
        // Mode 0 with the trailer as toggle bit and no rc6_mask, as generic/RC-6.conf writes it.
        {Remote("philips", "  bits 8\n  flags RC6|CONST_LENGTH\n  header 2667 889\n  one 444 444\n  zero 444 444\n"
                "  pre_data_bits 13\n  pre_data 0xFFF\n  gap 108000\n  toggle_bit 5",
                "KEY_POWER 0xF3\nKEY_MUTE 0xF2"),
         "KEY_POWER", kProtoRc6, 444, "rc6_0:0xc"},
    };
    TempDir tmp;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.key);
        std::vector<ImportedRemote> all = ImportLircFile(ParseLircdConf(c.conf));
        ASSERT_FALSE(all.empty());
        const ImportedRemote& m = all[0];
        ASSERT_TRUE(m.ok) << m.why;
        EXPECT_EQ(m.unreadable, "");
        EXPECT_EQ(m.header.gproto, c.gproto);
        EXPECT_EQ(m.header.sendpls, c.sendpls);
        auto key = std::find_if(m.commands.begin(), m.commands.end(), [&](auto& k) { return k.lircName == c.key; });
        ASSERT_NE(key, m.commands.end());
        EXPECT_EQ(ScancodeText(c.gproto, key->code), c.scancode);

        tmp.write("remote.conf", c.conf);
        const std::string run = "cd '" + tmp.str() + "' && rm -f simsend.out && irsimsend -k " + c.key +
                                " remote.conf >/dev/null 2>&1";
        ASSERT_EQ(std::system(run.c_str()), 0);
        std::string error;
        std::optional<std::vector<PulseRun>> runs = ParseMode2(tmp.read("simsend.out"), error);
        ASSERT_TRUE(runs) << error;
        runs->push_back({false, 100000});
        const DecodedRecording d = DecodeCapture(SampleRuns(*runs, 55));
        EXPECT_EQ(NormalisedCode(d.signal.code, c.gproto), key->code);
    }
}

TEST(LircImport, DeviceNamesFollowTheNameRules) {
    const std::pair<const char*, const char*> cases[] = {
        {"tv", "tv_"},         {"Philips_RC5_Universal", "Philips_RC5_"},
        {"mouse", "IR_mouse"}, {"X10-remote", "IR_X10-remot"},
        {"end", "end_"},       {"a[b],c#d", "a_b__c_d"},
    };
    for (const auto& [lirc, device] : cases) EXPECT_EQ(DeviceNameFor(lirc), device);
    std::vector<ImportedRemote> two = ImportLircFile(
        ParseLircdConf(Remote("Creative_RM-1500", kNec, "K 0x1") + Remote("Creative_RM-1800", kNec, "K 0x1")));
    EXPECT_EQ(two[0].header.name, "Creative_RM-");
    EXPECT_EQ(two[1].header.name, "Creative_R_2");
}

// File > Import with a lircd.conf: its remotes are the rows, no settings row, and a ticked one
// lands before [X10] like any imported device.
TEST(LircImport, FileImportTakesALircdConf) {
    Rig rig;
    rig.dir.write("lircd.conf", Remote("tv", kNec, "KEY_POWER 0x10EF\nKEY_MUTE 0x20DF") +
                                    Remote("usb", "  bits 32\n  one 0 0\n  zero 0 0", "KEY_1 0x1"));
    ImportExport io(rig.ctx);
    io.convertForeign = LircdConfAsConfiguration;
    std::vector<ImportExport::Row> shown;
    io.chooseRows = [&](ImportExport::Mode, const std::vector<ImportExport::Row>& rows) {
        shown = rows;
        return std::optional<std::vector<int>>{{0}};
    };
    rig.dialogs.files.push_back(rig.dir.file("lircd.conf").string());
    io.FileImport();
    ASSERT_EQ(shown.size(), 1u);
    EXPECT_EQ(shown[0].section, "[tv_]");
    EXPECT_EQ(shown[0].description, " LIRC remote tv");
    const std::string usb = "The remote usb cannot be imported: no timings: the receiver decodes the codes itself.\r\n";
    EXPECT_EQ(rig.dialogs.texts().front(), "Notes on the remotes of this file:\r\n" + usb);
    const std::string& text = rig.store.text();
    EXPECT_LT(text.find("[tv_]\r\n# LIRC remote tv\r\nGPROTO=0\r\n"), text.find("[X10]"));
    EXPECT_NE(text.find("G00100000110111110010000011011111,KEY_MUTE\r\n"), std::string::npos);

    // No remote that maps: said so, and no empty list to choose from.
    rig.dir.write("lircd.conf", Remote("usb", "  bits 32\n  one 0 0\n  zero 0 0", "KEY_1 0x1"));
    rig.dialogs.files.push_back(rig.dir.file("lircd.conf").string());
    shown.clear();
    io.FileImport();
    EXPECT_TRUE(shown.empty());
    EXPECT_EQ(rig.dialogs.texts().back(), "Nothing in this file can be imported.\r\n" + usb);
}

} // namespace
} // namespace quenix
