#pragma once

// The library's access to a real port, by the OS handle the program gave to SetHandle.

#include "serpulse/pulse_engine.h"

#include <cstdint>
#include <memory>

namespace serpulse {

std::unique_ptr<Line> MakeSystemLine(std::intptr_t handle);

// Monotonic time; waits spin only for the last stretch before their target.
class SystemTimebase final : public Timebase {
public:
    std::int64_t nowNs() override;
    void sleepNs(std::int64_t ns) override;
    void waitUntilNs(std::int64_t t) override;
};

} // namespace serpulse
