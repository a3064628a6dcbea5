#pragma once

// What the fuzz targets share: the input read as a stream of choices and pieces, the shipped
// configuration in a program folder, and a device on the simulated serial port that answers
// every write with the next piece of the input.

#include "support/rig.h"
#include "support/sim_serial.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>

namespace quenix::fuzz {

class Input {
public:
    Input(const std::uint8_t* data, std::size_t size) : p_(data), left_(size) {}
    bool empty() const { return left_ == 0; }
    std::uint8_t byte() { return left_ ? (--left_, *p_++) : 0; }
    // A length byte, then that many bytes (or what is left).
    std::string piece() { return take(byte()); }
    std::string rest() { return take(left_); }

private:
    std::string take(std::size_t n) {
        n = std::min(n, left_);
        std::string s(reinterpret_cast<const char*>(p_), n);
        p_ += n;
        left_ -= n;
        return s;
    }
    const std::uint8_t* p_;
    std::size_t left_;
};

inline const std::string& Shipped() {
    static const std::string text = testing::DefaultConfiguration();
    return text;
}

// Answers every write with the next piece of the input; its lines are those of a live link.
class ScriptedPeer final : public testing::SimPeer {
public:
    explicit ScriptedPeer(Input& in) : in_(in) {}
    std::uint32_t lines(const testing::SimPort&, std::int64_t) override { return kModemCtsOn | kModemDsrOn; }
    void onWrite(testing::SimPort& port, std::string_view, std::int64_t) override { port.rx += in_.piece(); }

private:
    Input& in_;
};

// The window's SecondTimer, firing from processEvents as the virtual clock passes 200 ms.
class TickingView final : public testing::FakeView {
public:
    TickingView(testing::FakeClock& clock, int& ticks) : clock_(clock), ticks_(ticks), last_(clock.nowMs()) {}
    void processEvents() override {
        if (clock_.nowMs() - last_ >= 200) ++ticks_, last_ = clock_.nowMs();
    }

private:
    testing::FakeClock& clock_;
    int& ticks_;
    std::int64_t last_;
};

// A hang the virtual clock can see: an exchange that should give up after `ms` did not.
inline void Within(std::int64_t startMs, std::int64_t nowMs, std::int64_t ms) {
    if (nowMs - startMs > ms) __builtin_trap();
}

} // namespace quenix::fuzz
