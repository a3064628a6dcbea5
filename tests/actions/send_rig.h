#pragma once

// The executor on a simulated COM1 and a fake capture library; the other actions only record
// what they were asked.

#include "actions/executor.h"
#include "config/context.h"
#include "io/serial_port.h"
#include "support/fakes.h"
#include "support/sim_serial.h"

#include <gtest/gtest.h>

namespace quenix::testing {

struct SendRig {
    ConfigStore store;
    FakeClock clock;
    FakeDialogs dialogs;
    FakeBeeper beeper;
    Context ctx{store, clock, dialogs, beeper};
    SimClock simClock;
    SimSerialDriver driver{simClock};
    SerialPort serial{driver};
    FakeCaptureLibrary library;
    FakeView view;
    std::vector<std::string> calls; // "kind:command"
    CommandExecutor exec{ctx, serial, library, view, Backends()};

    explicit SendRig(const std::string& config) {
        EXPECT_TRUE(store.SetText(config));
        ctx.settings().irOutEna = true;
        driver.port(1).dtr = true; // as the receiver side leaves it
        ctx.irPortHandle = serial.OpenComPort(1);
    }

    ActionBackends Backends() {
        auto record = [this](std::string kind, std::string answer) {
            return [this, kind, answer](const std::string& c) {
                calls.push_back(kind + ":" + c);
                return answer.empty() ? answer : answer + " " + c;
            };
        };
        ActionBackends b{[this](const std::string& d, const std::string& c, int f, int level) {
                             calls.push_back("x10:" + d + ":" + c + ":" + std::to_string(f) + ":" +
                                             std::to_string(level));
                             return std::string("X10 done");
                         },
                         record("mouse", "Mouse"), record("keyboard", ""), record("application", "Started"),
                         record("winamp", "Winamp")};
        return b;
    }

    std::vector<std::vector<std::uint8_t>> sentBytes() const {
        std::vector<std::vector<std::uint8_t>> out;
        for (const auto& s : library.sends) out.push_back(s.bytes);
        return out;
    }
};

using Beeps = std::vector<std::pair<int, int>>;
inline const Beeps kFramed{{5000, 50}, {2000, 50}};

} // namespace quenix::testing
