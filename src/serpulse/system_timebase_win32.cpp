#include "serpulse/system_line.h"

#include <windows.h>
#include <mmsystem.h>

#include <algorithm>

namespace serpulse {

namespace {
// Sleep() counts in scheduler ticks (1 to 15.6 ms): the last stretch of an exact wait spins,
// giving the rest of the time slice away on each turn.
constexpr std::int64_t kSpinNs = 2'000'000;

// Asks for a 1 ms scheduler tick once, so that Sleep(1) lasts about a millisecond rather than
// a whole default tick of 15.6 ms.
void FineTicks() {
    static const bool fine = ::timeBeginPeriod(1) == TIMERR_NOERROR;
    (void)fine;
}

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

// Never spins: the edge polls of the capture calls sleep here, a thousand times a second for
// as long as monitoring or a record wait lasts.
void SystemTimebase::sleepNs(std::int64_t ns) {
    if (ns <= 0) return;
    FineTicks();
    ::Sleep(static_cast<DWORD>(std::max<std::int64_t>(1, ns / 1'000'000)));
}

void SystemTimebase::waitUntilNs(std::int64_t t) {
    std::int64_t left = t - nowNs();
    FineTicks();
    if (left > kSpinNs) ::Sleep(static_cast<DWORD>((left - kSpinNs) / 1'000'000));
    while (nowNs() < t) ::SwitchToThread();
}

} // namespace serpulse
