#include "support/cm11_sim.h"

namespace quenix::testing {

void Cm11Sim::service(std::int64_t now) {
    // The computer's bytes were written before it slept; give the pty a moment to pass them.
    for (char b : pty_.receive(1, 15)) onByte(static_cast<std::uint8_t>(b), now);
    for (; !out_.empty() && out_.front().first <= now; out_.pop_front()) pty_.send(out_.front().second);
}

void Cm11Sim::onByte(std::uint8_t b, std::int64_t now) {
    received += static_cast<char>(b);
    switch (state_) {
    case State::AwaitGo:
        if (b == 0x00) {
            const bool function = (header_ & 0x02) != 0;
            const int house = second_ >> 4;
            if (function && house != lastHouse_) complaints.push_back("function for another house");
            if (!function) lastHouse_ = house;
            events.push_back({function ? Event::Function : Event::Address, house, second_ & 0x0F, header_ >> 3});
            state_ = State::Header;
            const bool late = (fault == Fault::LateReady || (fault == Fault::LateFunctionReady && function)) && spoil();
            if (!(fault == Fault::Silent && spoil())) answer("\x55", late ? now + readyDelayMs : now);
            return;
        }
        // Anything else starts a new transmission, as after a lost checksum.
        state_ = State::Header;
        [[fallthrough]];
    case State::Header:
        header_ = b;
        if (b == 0x9B) {
            clockRecord_.assign(1, static_cast<char>(b));
            state_ = State::ClockRecord;
            return;
        }
        if ((b & 0x04) == 0)
            complaints.push_back("header without the sync bit: " + std::to_string(b));
        else
            state_ = State::Second;
        return;
    case State::Second: {
        second_ = b;
        auto sum = static_cast<char>((header_ + second_) & 0xFF);
        state_ = State::AwaitGo;
        if (fault == Fault::Silent && spoil()) return;
        if (fault == Fault::TwoBytes && spoil()) return answer(std::string{sum, '\x5A'}, now);
        if (fault == Fault::WrongChecksum && spoil()) sum = static_cast<char>(sum + 1);
        answer(std::string(1, sum), now);
        return;
    }
    case State::ClockRecord:
        clockRecord_ += static_cast<char>(b);
        if (clockRecord_.size() == 7) {
            events.push_back({Event::ClockSet, 0, static_cast<std::uint8_t>(clockRecord_[6]), 0});
            state_ = State::Header;
        }
        return;
    }
}

} // namespace quenix::testing
