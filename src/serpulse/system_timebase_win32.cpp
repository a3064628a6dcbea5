#include "serpulse/system_line.h"

#include <windows.h>

namespace serpulse {

namespace {
// Sleep() counts in scheduler ticks (1 to 15.6 ms): shorter waits spin, giving the rest of
// the time slice away on each turn.
constexpr std::int64_t kSpinNs = 2'000'000;

std::int64_t Frequency() {
    LARGE_INTEGER f;
    ::QueryPerformanceFrequency(&f);
    return f.QuadPart;
}
} // namespace

std::int64_t SystemTimebase::nowNs() {
    static const std::int64_t frequency = Frequency();
    LARGE_INTEGER c;
    ::QueryPerformanceCounter(&c);
    return static_cast<std::int64_t>(static_cast<double>(c.QuadPart) * 1e9 / static_cast<double>(frequency));
}

void SystemTimebase::sleepNs(std::int64_t ns) { waitUntilNs(nowNs() + ns); }

void SystemTimebase::waitUntilNs(std::int64_t t) {
    std::int64_t left = t - nowNs();
    if (left > kSpinNs) ::Sleep(static_cast<DWORD>((left - kSpinNs) / 1'000'000));
    while (nowNs() < t) ::SwitchToThread();
}

} // namespace serpulse
