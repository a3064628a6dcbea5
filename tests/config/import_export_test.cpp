#include "config/import_export.h"

#include "support/rig.h"

#include <gtest/gtest.h>

namespace quenix {
namespace {

const std::string kImported = "#Configuration file exported from Quenix Remote Manager v.1.0.0\r\n"
                              "[General]\r\n"
                              "BEEPON= 1\r\n"
                              "FOO= 3\r\n"
                              "MOUSEENA= 0\r\n"
                              "\r\n"
                              "[Sony TV]\r\n"
                              "# the bedroom set\r\n"
                              "GPROTO=1\r\n"
                              "G111111111111,Sleep\r\n"
                              "\r\n"
                              "[Radio]\r\n"
                              "# kitchen radio\r\n"
                              "GPROTO=0\r\n"
                              "G0101,On\r\n"
                              "\r\n"
                              "[Monitoring]\r\n"
                              "Sony TV&Mute,winamp&PAUSE\r\n"
                              "Radio&On,winamp&PLAY\r\n"
                              "[End]\r\n";

class ImportExportTest : public ::testing::Test, protected Rig {
protected:
    ImportExportTest() : io(ctx) {
        store.importText() = kImported;
        io.chooseRows = [this](ImportExport::Mode mode, const std::vector<ImportExport::Row>& rows)
            -> std::optional<std::vector<int>> {
            shownRows = rows;
            shownMode = mode;
            std::vector<int> ticked;
            for (std::size_t i = 0; i < rows.size(); ++i)
                for (const auto& s : tick)
                    if (rows[i].section == s) ticked.push_back(static_cast<int>(i));
            return ticked;
        };
    }

    std::size_t At(const std::string& needle) const { return store.text().find(needle); }

    ImportExport io;
    std::vector<std::string> tick;
    std::vector<ImportExport::Row> shownRows;
    ImportExport::Mode shownMode = ImportExport::Mode::Import;
};

TEST_F(ImportExportTest, RowsRunFromGeneralToEnd) {
    auto rows = io.Rows(ImportExport::Mode::Export);
    std::vector<std::string> names;
    for (const auto& r : rows) names.push_back(r.section);
    EXPECT_EQ(names, (std::vector<std::string>{"[General]", "[Set-top Box]", "[Sony TV]", "[Philips Amp]", "[X10]",
                                               "[Application]", "[Monitoring]"}));
    EXPECT_EQ(rows[2].description, " SONY 12-bit remote of the living-room TV");
    EXPECT_EQ(rows[0].description, ""); // not the first device's line
    EXPECT_TRUE(ImportExport::IsValidConfiguration("# remote manager\r\n[general]\r\n[end]\r\n"));
    EXPECT_EQ(io.Rows(ImportExport::Mode::Import)[2].description, " kitchen radio");
}

TEST_F(ImportExportTest, GeneralKeysOutsideOurSectionAreRefused) {
    io.Import({"[General]"});
    EXPECT_EQ(dialogs.texts().front(), "The parameter FOO is invalid.\r\nIt will not be loaded.");
    EXPECT_EQ(dialogs.messages.front().icon, MsgIcon::Information);
    EXPECT_NE(At("BEEPON= 1\r\n"), std::string::npos);
    EXPECT_NE(At("MOUSEENA= 0\r\n"), std::string::npos);
    EXPECT_TRUE(store.settings().beepOn);
    EXPECT_FALSE(store.settings().mouseEna);
    EXPECT_EQ(dialogs.texts().back(), "The following devices has been imported successfully:\r\n\r\n"
                                      "Updated general parameters:\r\nBEEPON\r\nMOUSEENA");

    // A key of a device section or the tail of a longer key is no [General] key.
    store.importText() = "Remote Manager\r\n[General]\r\nGPROTO= 7\r\nENA= 1\r\n[End]\r\n";
    const std::string before = store.text();
    io.Import({"[General]"});
    EXPECT_EQ(store.text(), before);
}

TEST_F(ImportExportTest, ExistingDeviceOverrideOrRename) {
    struct Case {
        std::vector<MsgAnswer> answers;
        std::vector<std::optional<std::string>> names;
        std::string imported; // the name it lands under, empty when skipped
        std::vector<std::string> refusals;
    };
    const Case cases[] = {
        {{MsgAnswer::Ok}, {}, "Sony TV", {}},
        {{MsgAnswer::Cancel}, {""}, "", {}},
        {{MsgAnswer::Cancel, MsgAnswer::Ok, MsgAnswer::Ok, MsgAnswer::Ok, MsgAnswer::Ok, MsgAnswer::Ok, MsgAnswer::Ok},
         {"Bed,room", "set-top box", "TV", "Mouse", "zvk", "WEB", " Bedroom TV "},
         "Bedroom TV",
         {"Device name cannot contain the following characters: [ ] , # ", "There is another device named set-top box",
          "Device name must have 3 to 12 characters", "This is a reserved name!", "This is a reserved name!",
          "This is a reserved name!"}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.imported);
        store.LoadFromText(DefaultConfiguration());
        dialogs = FakeDialogs();
        dialogs.answers.assign(c.answers.begin(), c.answers.end());
        dialogs.inputs.assign(c.names.begin(), c.names.end());

        auto done = io.Import({"[Sony TV]", "[Radio]"});
        ASSERT_GE(dialogs.messages.size(), 1u);
        EXPECT_EQ(dialogs.messages[0].caption, "Device override");
        EXPECT_EQ(dialogs.messages[0].text,
                  "The device Sony TV exist in the current configuration file.\r\nDo you want to override it?");
        for (std::size_t i = 0; i < c.refusals.size(); ++i) EXPECT_EQ(dialogs.messages[i + 1].text, c.refusals[i]);
        EXPECT_EQ(dialogs.prompts.empty() ? "" : dialogs.prompts[0].prompt,
                  c.names.empty() ? "" : "Enter a device name for: Sony TV.");

        // The next row is handled whatever happened to this one.
        EXPECT_NE(At("[Radio]"), std::string::npos);
        if (c.imported.empty()) {
            EXPECT_EQ(done, std::vector<std::string>{"Radio"});
            EXPECT_NE(At("[Sony TV]\r\n# SONY 12-bit"), std::string::npos);
        } else if (c.imported == "Sony TV") {
            // Replaced in place: the old commands are gone, the section still stands before [Philips Amp].
            EXPECT_EQ(At("SONY 12-bit"), std::string::npos);
            EXPECT_LT(At("[Sony TV]\r\n# the bedroom set"), At("[Philips Amp]"));
            EXPECT_LT(At("[Set-top Box]"), At("[Sony TV]"));
        } else {
            EXPECT_NE(At("[Sony TV]\r\n# SONY 12-bit"), std::string::npos);
            EXPECT_NE(At("[" + c.imported + "]\r\n# the bedroom set"), std::string::npos);
            EXPECT_LT(At("[" + c.imported + "]"), At("[X10]"));
        }
    }
}

TEST_F(ImportExportTest, ImportThatCannotBeSavedLeavesEverythingAsItWas) {
    const std::string before = store.text();
    BlockSaves();
    EXPECT_TRUE(io.Import({"[General]", "[Radio]"}).empty());
    // [General] keys are not refused one by one; the one failure is the save.
    const auto texts = dialogs.texts();
    EXPECT_EQ(texts.back().rfind("The configuration file could not be written.\r\n", 0), 0u);
    EXPECT_EQ(texts.front(), "The parameter FOO is invalid.\r\nIt will not be loaded.");
    EXPECT_EQ(texts.size(), 2u);
    EXPECT_EQ(store.text(), before);
    EXPECT_FALSE(store.settings().beepOn);
}

TEST_F(ImportExportTest, FileImportRefusesForeignOrUnreadableFiles) {
    dir.write("other.cfg", "[General]\r\n[End]\r\n");
    const std::string before = store.text();
    const std::pair<std::string, std::string> cases[] = {
        {dir.file("other.cfg").string(), "This is not a valid configuration file!"},
        {dir.file("gone.cfg").string(), "Cannot open " + dir.file("gone.cfg").string() + ": No such file or directory"},
    };
    for (const auto& [file, message] : cases) {
        dialogs = FakeDialogs();
        dialogs.files.push_back(file);
        io.FileImport();
        EXPECT_EQ(dialogs.fileDialogs[0].first, "Open Configuration File");
        EXPECT_EQ(dialogs.texts(), std::vector<std::string>{message});
    }
    EXPECT_TRUE(shownRows.empty());
    EXPECT_EQ(store.text(), before);
}

TEST_F(ImportExportTest, ExportRoundTripsThroughImport) {
    tick = {"[Sony TV]", "[Monitoring]"};
    dialogs.files.push_back(dir.file("living").string()); // no extension
    io.FileExport();
    EXPECT_EQ(shownMode, ImportExport::Mode::Export);
    EXPECT_EQ(dialogs.fileDialogs[0].first, "Export Configuration File");
    const std::string out = dir.read("living.cfg");
    EXPECT_EQ(out.rfind("#Configuration file exported from Quenix Remote Manager v." + store.version() + "\r\n", 0), 0u);
    EXPECT_TRUE(ImportExport::IsValidConfiguration(out));
    EXPECT_EQ(out.find("COMPORT"), std::string::npos); // [General] was not ticked
    EXPECT_NE(out.find("\r\n[Sony TV]\r\n# SONY 12-bit"), std::string::npos);
    EXPECT_EQ(out.find("[Set-top Box]"), std::string::npos);
    EXPECT_EQ(out.substr(out.size() - 7), "[End]\r\n");
    EXPECT_EQ(dialogs.texts().back(), "The following devices has been exported successfully:\r\nSony TV\r\nMonitoring");

    // Asked before replacing; No keeps the file.
    const std::string file = dir.file("living.cfg").string();
    EXPECT_FALSE(io.Export({"[Philips Amp]"}, file));
    EXPECT_EQ(dialogs.messages.back().caption, "File exist");
    EXPECT_EQ(dialogs.messages.back().text, "The file " + file + " exist.\r\nDo you want to replace it?");
    EXPECT_EQ(dir.read("living.cfg"), out);

    // Read back into a configuration that lacks the device.
    store.currentDevice = "Sony TV";
    store.DeleteDevice();
    dialogs.files.push_back(dir.file("living.cfg").string());
    tick = {"[Sony TV]"};
    io.FileImport();
    EXPECT_EQ(shownMode, ImportExport::Mode::Import);
    EXPECT_NE(At("[Sony TV]\r\n# SONY 12-bit remote of the living-room TV\r\nGPROTO=1\r\n"), std::string::npos);
    EXPECT_LT(At("[Sony TV]"), At("[X10]"));
}

// The form follows the file's extension; a virtual device, a refused device or a kept file
// writes nothing.
TEST_F(ImportExportTest, ExportCodesByExtension) {
    io.exportCodes = [](const std::string& device, const std::string& format, std::string& why) {
        why = "no codes";
        return device == "Set-top Box" ? std::string() : format + ":" + device;
    };
    const std::string d = dir.str() + "/";
    struct Row {
        std::string device;
        std::optional<std::string> file;
        std::string written; // the file and its bytes, "" when nothing is written
        std::string message;
    };
    const Row rows[] = {
        {"Winamp", "x", "", "Select a learned device to export its codes."},
        {"Sony TV", "tv", "tv.ir=flipper:Sony TV", "The codes of Sony TV have been exported to " + d + "tv.ir."},
        {"Sony TV", "tv.CONF", "tv.CONF=lircd:Sony TV", "The codes of Sony TV have been exported to " + d + "tv.CONF."},
        {"Sony TV", "list.txt", "list.txt=pronto:Sony TV", "The codes of Sony TV have been exported to " + d + "list.txt."},
        {"Sony TV", "tv.ir", "", "The file " + d + "tv.ir exist.\r\nDo you want to replace it?"},
        {"Sony TV", std::nullopt, "", ""},
        {"Set-top Box", "box.ir", "", "The codes of Set-top Box cannot be exported: no codes"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.device + " " + row.file.value_or("cancel"));
        dialogs.messages.clear();
        dialogs.files = {row.file ? std::optional(d + *row.file) : std::nullopt};
        store.currentDevice = row.device;
        const auto before = std::distance(std::filesystem::directory_iterator(dir.path()), {});
        io.FileExportCodes();
        EXPECT_EQ(dialogs.texts(), row.message.empty() ? std::vector<std::string>{} : std::vector{row.message});
        const std::size_t eq = row.written.find('=');
        if (eq != std::string::npos) EXPECT_EQ(dir.read(row.written.substr(0, eq)), row.written.substr(eq + 1));
        else EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir.path()), {}), before);
    }
    EXPECT_EQ(dir.read("tv.ir"), "flipper:Sony TV");
}

} // namespace
} // namespace quenix
