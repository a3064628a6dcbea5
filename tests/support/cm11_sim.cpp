#include "support/cm11_sim.h"

#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <termios.h>
#include <unistd.h>

#include <stdexcept>

namespace quenix::testing {

Cm11Sim::Cm11Sim() {
    char name[256] = {};
    termios raw{};
    cfmakeraw(&raw);
    if (openpty(&master_, &slave_, name, &raw, nullptr) != 0) throw std::runtime_error("openpty failed");
    slavePath_ = name;
    fcntl(master_, F_SETFL, fcntl(master_, F_GETFL) | O_NONBLOCK);
}

Cm11Sim::~Cm11Sim() {
    close(master_);
    close(slave_);
}

void Cm11Sim::service(std::int64_t now) {
    // The computer's bytes were written before it slept; give the pty a moment to pass them.
    pollfd p{master_, POLLIN, 0};
    if (poll(&p, 1, 15) > 0) {
        std::uint8_t buf[256];
        ssize_t n;
        while ((n = read(master_, buf, sizeof buf)) > 0) {
            for (ssize_t i = 0; i < n; ++i) onByte(buf[i], now);
        }
    }
    bool wrote = false;
    while (!out_.empty() && out_.front().at <= now) {
        const std::string& b = out_.front().bytes;
        if (write(master_, b.data(), b.size()) != static_cast<ssize_t>(b.size())) complaints.push_back("short write");
        out_.pop_front();
        wrote = true;
    }
    if (wrote) {
        // Make sure the answer is readable at the slave before the computer looks.
        pollfd s{slave_, POLLIN, 0};
        poll(&s, 1, 200);
    }
}

bool Cm11Sim::spoil() {
    if (fault == Fault::None || faultyAnswers <= 0) return false;
    --faultyAnswers;
    return true;
}

void Cm11Sim::answer(std::string bytes, std::int64_t at) { out_.push_back({at, std::move(bytes)}); }

void Cm11Sim::onByte(std::uint8_t b, std::int64_t now) {
    received += static_cast<char>(b);
    switch (state_) {
    case State::AwaitGo:
        if (b == 0x00) {
            bool function = (header_ & 0x02) != 0;
            Event e{function ? Event::Function : Event::Address, second_ >> 4, second_ & 0x0F, header_ >> 3};
            if (function && e.houseCode != lastHouse_) complaints.push_back("function for another house");
            if (!function) lastHouse_ = e.houseCode;
            events.push_back(e);
            std::int64_t at = now;
            bool late = (fault == Fault::LateReady || (fault == Fault::LateFunctionReady && function)) && spoil();
            if (fault == Fault::Silent && spoil()) {
                state_ = State::Header;
                return;
            }
            if (late) at += readyDelayMs;
            answer("\x55", at);
            state_ = State::Header;
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
        if ((b & 0x04) == 0) {
            complaints.push_back("header without the sync bit: " + std::to_string(b));
            return;
        }
        state_ = State::Second;
        return;
    case State::Second: {
        second_ = b;
        auto sum = static_cast<char>((header_ + second_) & 0xFF);
        state_ = State::AwaitGo;
        if (fault == Fault::Silent && spoil()) return;
        if (fault == Fault::TwoBytes && spoil()) {
            answer(std::string{sum, '\x5A'}, now);
            return;
        }
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
