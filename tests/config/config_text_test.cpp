#include "config/config_text.h"

#include <gtest/gtest.h>

namespace quenix {
namespace {

struct FindCase {
    const char* needle;
    const char* text;
    int start;
    int expected;
};

TEST(FindText, FollowsTheSystemsSearchRules) {
    const FindCase cases[] = {
        {"[general]", "x[General]\r\n", 1, 11},  // letter case is ignored on both sides
        {"BEEPON=", "beepon= 1\r\n", 1, 8},
        {"abc", "xxabcxxabc!", 4, 11},           // the first match at or after start
        {"abc", "xxabc", 1, 6},                  // a match that ends on the last character
        {"c", "abc", 1, 0},                      // one character standing only last: not found
        {"c", "abcc", 1, 4},
        {"abcd", "xabc", 1, 0},                  // a needle running past the end never matches
        {"a", "", 1, 0},
        {"x", "axb", 0, 3},                      // starts below 1 count from 1
        {"b", "abab", 3, 0},                     // the second b is the last character
    };
    for (const auto& c : cases) {
        EXPECT_EQ(FindText(c.needle, c.text, c.start), c.expected) << c.needle << " in " << c.text;
    }
}

TEST(SectionLookups, HeaderAndDescription) {
    const std::string t = "#top\r\n[General]\r\nA= 1\r\n[TV]\r\n# Living room TV\r\nGPROTO=0\r\nG101,Power\r\n"
                          "[Bare]\r\nGPROTO=1\r\n[End]\r\n";
    EXPECT_EQ(FindSectionHeader("g101,power", t), "[TV]");
    EXPECT_EQ(FindSectionHeader("A= 1", t), "[General]");
    EXPECT_EQ(FindSectionHeader("#top", t), "");
    EXPECT_EQ(FindSectionHeader("missing", t), "");
    EXPECT_EQ(GetDeviceDescription("tv", t), " Living room TV"); // the blank after # is kept
    EXPECT_EQ(GetDeviceDescription("Nope", t), "");
    // A device without a comment line yields nothing of its own.
    EXPECT_EQ(GetDeviceDescription("Bare", t), "");
}

TEST(IsValidName, TrimsInPlaceAndRefusesReservedCharacters) {
    const std::pair<const char*, bool> cases[] = {
        {"  Living TV ", true}, {"", true}, {"a[b", false}, {"a]b", false}, {"a,b", false},
        {"a#b", false},         {"50%", false}, {"R&B", false}, {"x-y_z.1", true},
    };
    for (auto [name, valid] : cases) {
        std::string n = name;
        EXPECT_EQ(IsValidName(n), valid) << name;
    }
    std::string n = "  Living TV ";
    IsValidName(n);
    EXPECT_EQ(n, "Living TV");
}

} // namespace
} // namespace quenix
