#pragma once

namespace quenix {

// The system's audible feedback: a tone of the given frequency that blocks for its length.
class Beeper {
public:
    virtual ~Beeper() = default;
    virtual void beep(int frequencyHz, int durationMs) = 0;
};

} // namespace quenix
