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

} // namespace
} // namespace quenix
