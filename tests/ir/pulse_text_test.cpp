// What is read writes back the same; what cannot is refused with its line.
#include "ir/pulse_text.h"

#include <gtest/gtest.h>

namespace quenix {
namespace {

TEST(PulseText, ReadsWhatItWritesAndRefusesTheRest) {
    const std::pair<std::string, std::string> rows[] = {
        {"# mode2\npulse 9000\nspace 4500\ntimeout 8000\npulse 560\n", "pulse 9000\nspace 4500\npulse 560\n"},
        {"pulse 560.4\npulse 0.6\nspace 1690.5\n", "pulse 561\nspace 1691\n"},
        {"pulse 0.4\n", "error: line 1: bad length \"0.4\""},   // written back as 0, which is no length
        {"space 1e69\n", "error: line 1: bad length \"1e69\""}, // once an overflow on writing
        {"pulse 16777215\npulse 1\n", "error: line 2: run longer than 16777215 us"},
        {"pulse\n", "error: line 1: bad length \"\""},
    };
    for (const auto& [text, expected] : rows) {
        std::string error;
        const auto runs = ParseMode2(text, error);
        EXPECT_EQ(runs ? FormatMode2(*runs) : "error: " + error, expected) << text;
    }
}

} // namespace
} // namespace quenix
