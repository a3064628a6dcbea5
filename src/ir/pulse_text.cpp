#include "ir/pulse_text.h"

#include <cmath>
#include <cstdlib>
#include <sstream>

namespace quenix {
namespace {
constexpr double kMaxRunUs = 16777215;
} // namespace

std::optional<std::vector<PulseRun>> ParseMode2(std::string_view text, std::string& error) {
    std::vector<PulseRun> runs;
    std::istringstream in{std::string(text)};
    std::string line;
    int number = 0;
    while (std::getline(in, line)) {
        ++number;
        std::istringstream words(line);
        std::string kind;
        std::string value;
        words >> kind >> value;
        if (kind != "pulse" && kind != "space") continue;
        char* end = nullptr;
        double us = std::strtod(value.c_str(), &end);
        // Lengths are whole microseconds as written back, and no run is longer than LIRC's 24 bits.
        us = std::round(us);
        if (value.empty() || *end != '\0' || !(us >= 1 && us <= kMaxRunUs)) {
            error = "line " + std::to_string(number) + ": bad length \"" + value + "\"";
            return std::nullopt;
        }
        if (!runs.empty() && runs.back().mark == (kind == "pulse")) runs.back().us += us;
        else runs.push_back({kind == "pulse", us});
        if (runs.back().us > kMaxRunUs) {
            error = "line " + std::to_string(number) + ": run longer than " +
                    std::to_string(static_cast<long>(kMaxRunUs)) + " us";
            return std::nullopt;
        }
    }
    return runs;
}

std::string FormatMode2(const std::vector<PulseRun>& runs) {
    std::string out;
    for (const PulseRun& r : runs)
        out += (r.mark ? "pulse " : "space ") + std::to_string(std::lround(r.us)) + "\n";
    return out;
}

std::vector<PulseRun> CellsToRuns(std::string_view cells, double cellUs) {
    std::vector<PulseRun> runs;
    for (char c : cells) {
        bool mark = c == '1';
        if (!runs.empty() && runs.back().mark == mark) runs.back().us += cellUs;
        else runs.push_back({mark, cellUs});
    }
    if (!runs.empty() && !runs.back().mark) runs.pop_back();
    return runs;
}

std::vector<std::uint8_t> SampleRuns(const std::vector<PulseRun>& runs, double periodUs, std::size_t bytes) {
    std::vector<std::uint8_t> out(bytes, 0);
    std::size_t first = 0;
    while (first < runs.size() && !runs[first].mark) ++first;
    double runEnd = 0;
    std::size_t r = first;
    if (r < runs.size()) runEnd = runs[r].us;
    for (std::size_t k = 0; k < bytes * 8 && r < runs.size(); ++k) {
        double t = (static_cast<double>(k) + 0.5) * periodUs;
        while (r < runs.size() && t >= runEnd) {
            ++r;
            if (r < runs.size()) runEnd += runs[r].us;
        }
        if (r < runs.size() && runs[r].mark) out[k / 8] = static_cast<std::uint8_t>(out[k / 8] | (0x80u >> (k % 8)));
    }
    return out;
}

} // namespace quenix
