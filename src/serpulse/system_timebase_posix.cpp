#include "serpulse/system_line.h"

#include <chrono>
#include <thread>

namespace serpulse {

namespace {
// Closer than this to the target, a sleep would overshoot: spin instead.
constexpr std::int64_t kSpinNs = 2'000'000;
} // namespace

std::int64_t SystemTimebase::nowNs() {
    using namespace std::chrono;
    return duration_cast<nanoseconds>(steady_clock::now().time_since_epoch()).count();
}

void SystemTimebase::sleepNs(std::int64_t ns) {
    if (ns > 0) std::this_thread::sleep_for(std::chrono::nanoseconds(ns));
}

void SystemTimebase::waitUntilNs(std::int64_t t) {
    std::int64_t left = t - nowNs();
    if (left > kSpinNs) sleepNs(left - kSpinNs);
    while (nowNs() < t) {
    }
}

} // namespace serpulse
