#include "core/clock.h"

#include <chrono>
#include <thread>

namespace quenix {

void SystemClock::sleep(int ms) {
    if (ms > 0) std::this_thread::sleep_for(std::chrono::milliseconds(ms));
}

std::int64_t SystemClock::nowMs() {
    using namespace std::chrono;
    return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}

} // namespace quenix
