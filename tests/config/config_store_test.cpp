#include "config/config_store.h"

#include "support/fakes.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace quenix {
namespace {

using testing::DefaultConfiguration;
using testing::TempDir;

const char* kGeneralKeys[] = {"COMPORT", "PROTOCOL", "PROCDELAY", "ITYPE", "BEEPON", "IRINENA", "IROUTENA",
                              "X10COM", "X10ENA", "IRDIMENA", "APPLICATIONENA", "WINAMPENA", "WINAMPPATH",
                              "BTCOM", "BTENA", "BTMODE", "BT0", "BT1", "BT2", "BT3", "BT4", "BT5", "BT6",
                              "BT7", "BT8", "BT9", "BTCURRENT", "MOUSEENA", "KEYBOARDENA", "MONITOR"};

// A [General] section with every key; values from the overrides, else "0".
std::string General(std::map<std::string, std::string> values = {}, const std::string& sep = "= ") {
    std::string s = "[General]\r\n";
    for (const char* k : kGeneralKeys) {
        auto it = values.find(k);
        s += std::string(k) + sep + (it == values.end() ? "0" : it->second) + "\r\n";
    }
    return s;
}

std::string Config(const std::string& general, const std::string& devices = "") {
    return "# Quenix Remote Manager test file\r\n" + general + devices +
           "[X10]\r\n[Application]\r\n[Monitoring]\r\n[End]\r\n";
}

class StoreTest : public ::testing::Test {
protected:
    void Load(const std::string& text) {
        dir.write("telvorin.cfg", text);
        ASSERT_TRUE(store.LoadConfiguration()) << store.lastError();
    }
    std::string OnDisk() const { return dir.read("telvorin.cfg"); }

    TempDir dir;
    ConfigStore store{dir.str()};
};

TEST_F(StoreTest, ValuesAreReadAsTheirLeadingNumber) {
    Load(Config(General({{"COMPORT", "2x"}, {"PROTOCOL", "x"}, {"ITYPE", "18"}, {"BEEPON", "7"},
                         {"WINAMPPATH", " /opt/my player/mpv "}, {"BT3", "T68i phone"}, {"BTCURRENT", "-3"},
                         {"MONITOR", "1"}})));
    const Settings& s = store.settings();
    EXPECT_EQ(s.comPort, 2);
    EXPECT_EQ(s.protocol, 0);
    EXPECT_EQ(s.itypeHigh, 1);
    EXPECT_EQ(s.itypeLow, 2);
    EXPECT_TRUE(s.beepOn); // any non-zero number is on
    EXPECT_EQ(s.winampPath, "/opt/my player/mpv");
    EXPECT_EQ(s.bt[3], "T68i phone");
    EXPECT_EQ(s.btCurrent, -3);
    EXPECT_TRUE(s.monitor);
}

TEST_F(StoreTest, BrokenFilesFailTheLoad) {
    std::string swapped = Config(General());
    auto a = swapped.find("ITYPE= 0\r\n"), b = swapped.find("BEEPON= 0\r\n");
    swapped.replace(b, 11, "ITYPE= 0\r\n");
    swapped.replace(a, 10, "BEEPON= 0\r\n");
    std::string noKey = Config(General());
    noKey.erase(noKey.find("BT7= 0\r\n"), 8);
    std::string lowerCase = Config(General());
    lowerCase.replace(lowerCase.find("COMPORT"), 7, "comport");

    const std::pair<std::string, bool> cases[] = {
        {swapped, false},
        {noKey, false},
        {Config(General()).erase(Config(General()).find("[End]"), 5), false},
        {"Remote Manager\r\n[End]\r\n", false},
        {Config(General(), "[Big]\r\n# " + std::string(33000, 'x') + "\r\n"), true},
        {lowerCase, true}, // keys match regardless of letter case
        {Config(General()) + "trailing text", true},
    };
    for (const auto& [text, ok] : cases) {
        dir.write("telvorin.cfg", text);
        ConfigStore s(dir.str());
        EXPECT_EQ(s.LoadConfiguration(), ok) << text;
        if (!ok) {
            EXPECT_FALSE(s.lastError().empty());
        }
        EXPECT_EQ(OnDisk(), text); // nothing written
    }
    ConfigStore missing((dir.path() / "nowhere").string());
    EXPECT_FALSE(missing.LoadConfiguration());
    EXPECT_NE(missing.lastError().find("Cannot open"), std::string::npos);
}

// A collection of imported remotes: past the old 32,767-character wall and at about 2 MB, the
// text loads, edits and saves, and the code index follows every change of the text.
TEST_F(StoreTest, LargeTextsLoadEditAndSave) {
    auto code = [](int device, int key) {
        std::string bits;
        for (int b = 31; b >= 0; --b) bits += ((device * 64 + key) >> b & 1) ? '1' : '0';
        return bits;
    };
    for (int devices : {40, 1000}) {
        SCOPED_TRACE(devices);
        std::string sections;
        for (int d = 0; d < devices; ++d) {
            sections += "[Dev" + std::to_string(d) + "]\r\n# imported\r\nGPROTO= 0\r\n";
            for (int k = 0; k < 40; ++k) sections += "G" + code(d, k) + ",Key" + std::to_string(k) + "\r\n";
        }
        Load(Config(General(), sections));
        ASSERT_GT(store.text().size(), devices == 40 ? 32767u : 1'500'000u);
        const std::string last = code(devices - 1, 39), inserted = code(devices, 0);
        auto agrees = [&](const std::string& bits) { EXPECT_EQ(store.FindCode(bits), store.Find("G" + bits + ",")); };
        for (const std::string& bits : {code(0, 0), last, inserted, std::string("1"), last + "0"}) agrees(bits);
        EXPECT_EQ(store.FindMonitoring(), store.Find("[Monitoring]"));
        ASSERT_TRUE(store.SetGeneralKey("MONITOR", "1"));

        store.currentDevice = "Dev" + std::to_string(devices - 1);
        store.currentCommand = "Key39";
        store.DeleteCommand();
        EXPECT_EQ(store.FindCode(last), 0);
        ASSERT_TRUE(store.Insert("[Late]\r\nG" + inserted + ",Late\r\n", store.Find("[X10]") - 5));
        agrees(inserted);
        EXPECT_EQ(store.FindMonitoring(), store.Find("[Monitoring]"));
        ASSERT_TRUE(store.SaveConfiguration());

        ConfigStore reread(dir.str());
        ASSERT_TRUE(reread.LoadConfiguration()) << reread.lastError();
        EXPECT_EQ(reread.text(), store.text());
        EXPECT_TRUE(reread.settings().monitor);
        EXPECT_NE(reread.FindCode(inserted), 0);
    }
}

TEST_F(StoreTest, SetGeneralKeyKeepsTheFirstCharacterAfterTheEquals) {
    struct Case {
        std::string line, value, expected;
    };
    const Case cases[] = {
        {"BEEPON= 1", "0", "BEEPON= 0\r\n"},
        {"BEEPON=1", "0", "BEEPON=10\r\n"}, // written without the blank the old digit survives
        {"BEEPON= 1", "  12 ", "BEEPON= 12\r\n"},
        {"BEEPON= 100", "", "BEEPON= \r\n"},
        {"BEEPON=", "1", "BEEPON=\r1\n"}, // an empty value line cannot be set in place
    };
    for (const auto& c : cases) {
        std::string text = Config(General());
        text.replace(text.find("BEEPON= 0"), 9, c.line);
        Load(text);
        ASSERT_TRUE(store.SetGeneralKey("BEEPON", c.value)) << c.line;
        std::string expected = text;
        expected.replace(expected.find(c.line + "\r\n"), c.line.size() + 2, c.expected);
        EXPECT_EQ(store.text(), expected) << c.line;
        EXPECT_EQ(OnDisk(), expected) << c.line;
    }
}

TEST_F(StoreTest, SetGeneralKeyRefusesWithoutWriting) {
    Load(Config(General()));
    std::filesystem::remove(dir.file("telvorin.cfg"));
    EXPECT_FALSE(store.SetGeneralKey("", "1"));
    EXPECT_FALSE(store.SetGeneralKey("NOSUCHKEY", "1"));
    EXPECT_EQ(store.lastError(), "The key NOSUCHKEY= is missing in [General]; the change was not saved.");
    EXPECT_FALSE(std::filesystem::exists(dir.file("telvorin.cfg")));
    // A key that stands only outside [General] ahead of it is not found there.
    ConfigStore s2(dir.str());
    ASSERT_TRUE(s2.LoadFromText("#X10COM= 5\r\n" + Config(General())));
    ASSERT_TRUE(s2.SetGeneralKey("X10COM", "3"));
    EXPECT_NE(s2.text().find("#X10COM= 5\r\n"), std::string::npos);
    EXPECT_NE(s2.text().find("\r\nX10COM= 3\r\n"), std::string::npos);
}

TEST_F(StoreTest, SaveDropsTextAfterTheLastBracketAndEndsWithOneLineBreak) {
    const std::string base = Config(General());
    const std::string body = base.substr(0, base.size() - 2); // ... "[End]"
    const std::pair<std::string, std::string> cases[] = {
        {body, body + "\r\n"},
        {body + "\r\n", body + "\r\n"},
        {body + "\r\nleft over\r\nmore", body + "\r\n"},
        {body + "\r\n\r\n\r\n", body + "\r\n"},
    };
    for (const auto& [in, out] : cases) {
        Load(in);
        ASSERT_TRUE(store.SaveConfiguration());
        ASSERT_TRUE(store.SaveConfiguration());
        EXPECT_EQ(OnDisk(), out);
        EXPECT_EQ(store.text(), out);
    }
}

TEST_F(StoreTest, LineEndsOfOtherEditorsAndLinkedFilesWork) {
    // Bare LF (and a mix) loads as if written with CR LF; the next save writes CR LF.
    std::string crlf = Config(General({{"WINAMPPATH", "/usr/bin/mpv"}, {"BT0", "Phone"}}));
    std::string lf = crlf, mixed = crlf;
    for (std::size_t p; (p = lf.find("\r\n")) != std::string::npos;) lf.erase(p, 1);
    mixed.erase(mixed.find("\r\nBT0"), 1);
    for (const std::string& text : {lf, mixed}) {
        Load(text);
        EXPECT_EQ(store.settings().winampPath, "/usr/bin/mpv");
        EXPECT_EQ(store.settings().bt[0], "Phone");
        ASSERT_TRUE(store.SetGeneralKey("BEEPON", "1"));
        EXPECT_EQ(OnDisk(), [&] { std::string t = crlf; return t.replace(t.find("BEEPON= 0"), 9, "BEEPON= 1"); }());
    }
    // A telvorin.cfg kept elsewhere through a link stays a link; its target is written.
    TempDir elsewhere;
    elsewhere.write("real.cfg", crlf);
    std::filesystem::remove(dir.file("telvorin.cfg"));
    std::filesystem::create_symlink(elsewhere.file("real.cfg"), dir.file("telvorin.cfg"));
    ASSERT_TRUE(store.LoadConfiguration());
    ASSERT_TRUE(store.SetGeneralKey("COMPORT", "4"));
    EXPECT_TRUE(std::filesystem::is_symlink(dir.file("telvorin.cfg")));
    EXPECT_NE(elsewhere.read("real.cfg").find("COMPORT= 4\r\n"), std::string::npos);
}

TEST_F(StoreTest, FailedSaveKeepsTheFileAndTheText) {
    Load(Config(General()));
    const std::string before = OnDisk();
    // The temporary sibling cannot be created: the save must fail cleanly.
    std::filesystem::create_directory(dir.file("telvorin.cfg.tmp"));
    EXPECT_FALSE(store.SetGeneralKey("COMPORT", "7"));
    EXPECT_FALSE(store.lastError().empty());
    store.currentDevice = "General";
    EXPECT_FALSE(store.DeleteDevice());
    EXPECT_EQ(store.text(), before);
    EXPECT_EQ(OnDisk(), before);
    std::filesystem::remove(dir.file("telvorin.cfg.tmp"));
    EXPECT_TRUE(store.SetGeneralKey("COMPORT", "7"));
    EXPECT_NE(OnDisk().find("COMPORT= 7\r\n"), std::string::npos);
}

const char* kDevices = "[TV]\r\n# tv\r\nGPROTO=0\r\nG1010,Power\r\nG1100,Mute\r\n"
                       "[Amp]\r\n# amp\r\nGPROTO=2\r\nG0110,Vol+\r\nG0111,Power\r\n";

TEST_F(StoreTest, DeleteCommandRemovesOneWholeLine) {
    struct Case {
        const char *device, *command, *removed;
    };
    const Case cases[] = {
        {"TV", "Power", "G1010,Power\r\n"},
        {"tv", "MUTE", "G1100,Mute\r\n"},
        {"Amp", "Power", "G0111,Power\r\n"},
        {"TV", "Vol+", "G0110,Vol+\r\n"}, // the search runs past the device's section
        {"Radio", "Power", ""},
    };
    for (const auto& c : cases) {
        Load(Config(General(), kDevices));
        std::string expected = store.text();
        if (*c.removed) expected.erase(expected.find(c.removed), std::string(c.removed).size());
        store.currentDevice = c.device;
        store.currentCommand = c.command;
        store.DeleteCommand();
        EXPECT_EQ(store.text(), expected) << c.device << "/" << c.command;
    }
}

TEST_F(StoreTest, DeleteDeviceTakesTheSectionUpToTheNextHeader) {
    Load(Config(General(), kDevices));
    store.currentDevice = "Amp";
    store.DeleteDevice();
    EXPECT_NE(store.text().find("G1100,Mute\r\n[X10]\r\n"), std::string::npos); // [X10] still starts its line
    EXPECT_EQ(store.Find("[Amp]"), 0);
    EXPECT_EQ(OnDisk(), store.text());

    store.currentDevice = "TV";
    store.DeleteDevice();
    EXPECT_NE(store.text().find("MONITOR= 0\r\n[X10]\r\n"), std::string::npos);

    // A header that stands last in the text has no next "[" and is kept.
    ConfigStore last(dir.str());
    ASSERT_TRUE(last.LoadFromText(Config(General()) + "[Tail]\r\nG1,x\r\n"));
    const std::string before = last.text();
    last.currentDevice = "Tail";
    last.DeleteDevice();
    EXPECT_EQ(last.text(), before);
}

TEST_F(StoreTest, MonitorDeviceList) {
    std::string text = Config(General({{"WINAMPENA", "1"}, {"MOUSEENA", "1"}, {"BTENA", "1"}}), kDevices);
    text.replace(text.find("[X10]\r\n"), 7, "[X10]\r\n/X10/*a1,Desk Lamp\r\n/X10/*b12, Fan \r\n");
    text.replace(text.find("[Application]\r\n"), 15, "[Application]\r\n@xterm,Term\r\n");
    Load(text);
    EXPECT_EQ(store.BuildMonitorDeviceList(), "TV,Amp,X10&Desk Lamp,X10&Fan,Winamp,Mouse,BT,");

    Load(Config(General()));
    EXPECT_EQ(store.BuildMonitorDeviceList(), "none,");
}

} // namespace
} // namespace quenix
