#include "formats/formats.h"
#include "ir/codec.h"
#include "ir/decoder.h"
#include "ir/protocols.h"
#include "ir/pulse_text.h"

#include "support/fakes.h"
#include "support/peers.h"

#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <optional>
#include <random>
#include <sstream>

namespace quenix {
namespace {

// LIRC as the judge of our lircd.conf, a device of random keys per protocol and the shipped
// devices: irsimsend of each key from the exported file is named by irsimreceive with that file
// and decoded by us as the stored code; our own transmission of the key is named by irsimreceive.
TEST(FormatsTest, LircReadsOurLircdConfBothWays) {
    if (!testing::HaveProgram("irsimsend")) GTEST_SKIP() << "no irsimsend";
    struct Row {
        int proto;
        std::size_t bits;
        std::string head, tail; // fixed bits: start bits, the MCE customer, Sharp's expansion and check
        const char* flags;
    };
    const Row rows[] = {
        {kProtoNec, 32, "", "", "SPACE_ENC|NO_HEAD_REP"},
        {kProtoSony, 12, "", "", "SPACE_ENC"},
        {kProtoRc5, 14, "1", "", "RC5|CONST_LENGTH"},
        {kProtoRc6, 16, "", "", "RC6|CONST_LENGTH"},
        {kProtoRc6A, 20, "", "", "RC6|CONST_LENGTH"},
        {kProtoRc6A, 24, "", "", "RC6|CONST_LENGTH"},
        {kProtoRc6A, 32, "", "", "RC6|CONST_LENGTH"},
        {kProtoRc6A, 32, "1000000000001111", "", "RC6|CONST_LENGTH"},
        {kProtoJvc, 16, "", "", "SPACE_ENC|NO_HEAD_REP"},
        {kProtoSamsung, 32, "", "", "SPACE_ENC"},
        {kProtoKaseikyo, 48, "0100000000000100", "", "SPACE_ENC"},
        {kProtoSharp, 15, "", "10", "SPACE_ENC"},
        {kProtoRc5x, 20, "1", "", "RC5|CONST_LENGTH"},
        {kProtoStreamZap, 15, "1", "", "RC5|CONST_LENGTH"},
    };
    std::mt19937 random(7);
    std::vector<StoredDevice> devices;
    for (const Row& r : rows) {
        const ProtocolHeader p = HeaderFromPreset(r.proto);
        StoredDevice d{{"dev", "", r.proto, p.sendpls, p.repeat, p.grepeat, p.bitg, p.bit0, p.bit1}, {}};
        for (int k = 0; k < 4; ++k) {
            std::string bits = r.head;
            while (bits.size() + r.tail.size() < r.bits) bits += "01"[random() & 1];
            d.commands.emplace_back("K" + std::to_string(k), NormalisedCode("G" + bits + r.tail, r.proto));
        }
        devices.push_back(d);
    }
    const std::string config = testing::DefaultConfiguration();
    for (const char* device : {"Set-top Box", "Sony TV", "Philips Amp"}) {
        std::string why;
        devices.push_back(*ReadStoredDevice(config, device, why));
    }
    testing::TempDir tmp;
    // The name irsimreceive gives the first press of a pulse/space text.
    auto named = [&](const std::string& mode2) {
        tmp.write("keys.mode2", "pulse 500\nspace 300000\n" + mode2 + "space 300000\npulse 500\nspace 300000\n");
        std::istringstream out(testing::Shell("cd '" + tmp.str() + "' && irsimreceive remote.conf keys.mode2").out);
        for (std::string code, count, name; out >> code >> count >> name;)
            if (count == "00") return name;
        return std::string("nothing");
    };
    for (std::size_t i = 0; i < devices.size(); ++i) {
        const StoredDevice& d = devices[i];
        std::string why;
        const std::string text = ExportDevice(d, "lircd", why);
        tmp.write("remote.conf", text);
        std::map<std::string, std::string> back;
        for (const ImportedRemote& m : ImportCodes(text, "x").devices)
            for (const ImportedCommand& c : m.commands) back[c.name] = c.code;
        const std::map<std::string, std::string> stored(d.commands.begin(), d.commands.end());
        EXPECT_EQ(back, stored) << text;
        if (i < std::size(rows)) {
            EXPECT_NE(text.find("flags " + std::string(rows[i].flags) + "\n"), std::string::npos) << text;
        }
        for (const auto& [name, code] : d.commands) {
            SCOPED_TRACE(std::string(PresetFor(d.header.gproto).name) + " " + name + " " + code + "\n" + text);
            // irsimsend finds keys in the first remote only: the key's own remote is sent from. Three
            // presses' worth, as SONY sends each press at least three times and Sharp twice.
            const std::size_t key = text.find("    " + name + " "), from = text.rfind("begin remote", key);
            tmp.write("key.conf", text.substr(from, text.find("end remote", key) - from) + "end remote\n");
            testing::Shell("cd '" + tmp.str() + "' && rm -f simsend.out && irsimsend -c 3 -k " + name + " key.conf");
            const std::string sent = tmp.read("simsend.out");
            EXPECT_EQ(named(sent), name);
            std::optional<std::vector<PulseRun>> runs = ParseMode2(sent, why);
            ASSERT_TRUE(runs) << why;
            runs->push_back({false, 100000});
            EXPECT_EQ(NormalisedCode(DecodeCapture(SampleRuns(*runs, 55)).signal.code, d.header.gproto), code);
            std::string c = code;
            bool toggle = false;
            const ProtocolHeader h{d.header.gproto, d.header.sendpls, d.header.repeat, d.header.grepeat,
                                   d.header.bitg,   d.header.bit0,    d.header.bit1};
            const std::string cells = EncodeCommand(c, h, toggle);
            EXPECT_EQ(named(FormatMode2(CellsToRuns(cells.substr(cells.find('1')), h.sendpls))), name);
        }
    }
}

} // namespace
} // namespace quenix
