#pragma once

#include <cstdint>

namespace quenix {

// Time as the core sees it. The real clock sleeps; tests use a virtual one that only advances
// when told, so a 5-second time-out costs nothing.
class Clock {
public:
    virtual ~Clock() = default;
    virtual void sleep(int ms) = 0;
    // Milliseconds on a monotonic scale with an arbitrary origin.
    virtual std::int64_t nowMs() = 0;
};

class SystemClock final : public Clock {
public:
    void sleep(int ms) override;
    std::int64_t nowMs() override;
};

} // namespace quenix
