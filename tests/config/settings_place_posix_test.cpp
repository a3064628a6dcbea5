#include "config/config_store.h"
#include "core/autostart.h"
#include "core/settings_place.h"

#include "support/fakes.h"

#include <gtest/gtest.h>

namespace quenix {
namespace {

using testing::TempDir;

TEST(SettingsPlace, ProgramFolderOnlyWhenItIsAWritableFolderOfItsOwn) {
    struct Row {
        bool installed, writable;
        std::string xdg, home, expected;
    } rows[] = {
        {false, true, "/x", "/home/u", "/opt/q"},                   // build folder, portable copy
        {false, false, "", "/home/u", "/home/u/.config/quenix"},    // read-only copy, XDG unset
        {false, false, "/x/cfg", "/home/u", "/x/cfg/quenix"},       // XDG set
        {false, false, "cfg", "/home/u", "/home/u/.config/quenix"}, // relative XDG is ignored
        {true, true, "", "/root", "/root/.config/quenix"},          // installed, run by root
        {true, false, "", "", "/opt/q"},                            // nowhere else to go
    };
    for (const Row& r : rows)
        EXPECT_EQ(SettingsFolder({"/opt/q", r.installed, r.writable, r.xdg, r.home}), r.expected)
            << r.installed << r.writable << " xdg=" << r.xdg << " home=" << r.home;
}

TEST(SettingsPlace, FirstStartCopiesTheShippedFileAndLaterStartsKeepTheUsers) {
    TempDir dir;
    dir.write("telvorin.cfg", "shipped");
    const std::string user = dir.str() + "/home/.config/quenix";
    const ProgramPlaces places{dir.str(), dir.str(), dir.str(), user};
    EXPECT_EQ(PrepareSettingsFolder(places), "");
    EXPECT_EQ(TempDir::ReadFile(ConfigStore(places.settings, places.data).path()), "shipped");
    std::ofstream(user + "/telvorin.cfg", std::ios::trunc) << "mine";
    EXPECT_EQ(PrepareSettingsFolder(places), "");
    EXPECT_EQ(TempDir::ReadFile(user + "/telvorin.cfg"), "mine");
    dir.write("blocker", "");
    const std::string blocked = PrepareSettingsFolder({dir.str(), dir.str(), dir.str(), dir.str() + "/blocker/q"});
    EXPECT_EQ(blocked.rfind("Cannot create " + dir.str() + "/blocker/q/telvorin.cfg: ", 0), 0u) << blocked;
}

TEST(Autostart, ExecLineQuotesThePathAsDesktopEntriesRequire) {
    const std::pair<std::string, std::string> rows[] = {
        {"/home/a b/quenix", R"(Exec="/home/a b/quenix" --minimized)"},
        {R"(/x/$HOME"`\50%/quenix)", R"(Exec="/x/\\$HOME\\"\\`\\\\50%%/quenix" --minimized)"},
    };
    for (const auto& [program, exec] : rows)
        EXPECT_NE(AutostartEntry(program).find("\n" + exec + "\n"), std::string::npos) << AutostartEntry(program);
}

TEST(Autostart, OnWritesTheEntryOffRemovesItAndTheSessionsOwnSwitchCounts) {
    TempDir dir;
    const std::string entry = AutostartEntryPath(dir.str());
    EXPECT_EQ(SetAutostart(entry, true, "/usr/bin/quenix"), "");
    EXPECT_TRUE(AutostartOn(dir.str() + "/autostart/quenix.desktop"));
    std::ofstream(entry, std::ios::app) << "Hidden=true\r\n";
    EXPECT_FALSE(AutostartOn(entry));
    EXPECT_EQ(SetAutostart(entry, true, "/usr/bin/quenix"), "");
    EXPECT_TRUE(AutostartOn(entry));
    EXPECT_EQ(SetAutostart(entry, false, ""), "");
    EXPECT_FALSE(AutostartOn(entry));
    dir.write("file", "");
    EXPECT_EQ(SetAutostart(AutostartEntryPath(dir.str() + "/file"), true, "q").rfind("Cannot create ", 0), 0u);
}

} // namespace
} // namespace quenix
