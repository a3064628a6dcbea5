#pragma once

// A CM11 interface on the far end of a pty, checking and answering every byte as the interface does;
// the test's clock drives it on each sleep. Tests link its slave as com<n> in a program folder.

#include "core/clock.h"
#include "io/pty_pair.h"
#include "support/fakes.h"

#include <deque>

namespace quenix::testing {

class Cm11Sim {
public:
    // LateFunctionReady: only the ready after a function is late, as on a slow power line.
    enum class Fault { None, Silent, TwoBytes, WrongChecksum, LateReady, LateFunctionReady };

    struct Event {
        enum Kind { Address, Function, ClockSet } kind;
        int houseCode = 0; // the nibble value, as on the wire
        int value = 0;     // unit nibble or function code
        int dims = 0;      // header bits 7..3
        bool operator==(const Event&) const = default;
    };

    Cm11Sim() { pty_.linkAs(links_.path(), 0); }
    std::string slavePath() const { return links_.file("com0").string(); }

    // Handles what arrived, sends the answers due at virtual time now.
    void service(std::int64_t now);

    Fault fault = Fault::None;
    int faultyAnswers = 1 << 30; // how many answers the fault spoils before it heals
    int goodAnswers = 0;         // how many answers come right before the fault starts
    int readyDelayMs = 0;        // LateReady, LateFunctionReady: the ready byte comes this late

    std::vector<Event> events;           // what went out on the power line
    std::vector<std::string> complaints; // bytes the interface would not accept
    std::string received;                // every byte from the computer

private:
    void onByte(std::uint8_t b, std::int64_t now);
    void answer(std::string bytes, std::int64_t at) { out_.push_back({at, std::move(bytes)}); }
    bool spoil() { return fault != Fault::None && goodAnswers-- <= 0 && faultyAnswers-- > 0; }

    enum class State { Header, Second, AwaitGo, ClockRecord } state_ = State::Header;
    std::uint8_t header_ = 0, second_ = 0;
    std::string clockRecord_;
    int lastHouse_ = -1;
    std::deque<std::pair<std::int64_t, std::string>> out_; // answers and when they go out
    PtyPair pty_;
    TempDir links_;
};

// Virtual time that lets the simulator run at each sleep.
class Cm11Clock final : public Clock {
public:
    explicit Cm11Clock(Cm11Sim& sim) : sim_(sim) {}
    void sleep(int ms) override { sim_.service(slept += ms); }
    std::int64_t nowMs() override { return slept; }
    std::int64_t slept = 0;

private:
    Cm11Sim& sim_;
};

} // namespace quenix::testing
