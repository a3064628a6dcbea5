// CPU time of the capture library's waits on Windows: the 1 ms polls that wait for an edge (a
// record wait lasts up to seconds, monitoring polls all the time), and the exact waits of the
// sampling and sending that follow one. Each runs for a stretch of wall time; the table gives
// the processor time spent in that stretch.

#include "serpulse/system_line.h"

#include <windows.h>

#include <cstdio>
#include <functional>

namespace {
double CpuSeconds() {
    FILETIME created, ended, kernel, user;
    ::GetProcessTimes(::GetCurrentProcess(), &created, &ended, &kernel, &user);
    auto s = [](FILETIME f) { return (static_cast<double>(f.dwHighDateTime) * 4294967296.0 + f.dwLowDateTime) / 1e7; };
    return s(kernel) + s(user);
}
} // namespace

int main() {
    serpulse::SystemTimebase time;
    struct Row {
        const char* what;
        double seconds;
        std::function<void()> step;
    };
    const Row rows[] = {
        {"edge poll, sleep 1 ms", 3.0, [&] { time.sleepNs(1'000'000); }},
        {"sampling, wait 55 us", 0.3, [&] { time.waitUntilNs(time.nowNs() + 55'000); }},
        {"cell, wait 550 us", 0.3, [&] { time.waitUntilNs(time.nowNs() + 550'000); }},
        {"pause, wait 20 ms", 1.0, [&] { time.waitUntilNs(time.nowNs() + 20'000'000); }},
    };
    std::printf("%-24s %8s %9s %8s %6s\n", "wait", "steps", "wall s", "cpu s", "cpu %");
    for (const Row& r : rows) {
        const double cpu = CpuSeconds();
        const std::int64_t start = time.nowNs();
        const std::int64_t end = start + static_cast<std::int64_t>(r.seconds * 1e9);
        long steps = 0;
        for (; time.nowNs() < end; ++steps) r.step();
        const double wall = static_cast<double>(time.nowNs() - start) / 1e9;
        const double used = CpuSeconds() - cpu;
        std::printf("%-24s %8ld %9.3f %8.3f %6.1f\n", r.what, steps, wall, used, 100 * used / wall);
    }
}
