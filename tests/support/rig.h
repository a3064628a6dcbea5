#pragma once

// The fixture most controller tests share: a temporary program folder with the default configuration
// loaded into a store, and a context on a test clock, fake dialogs and beeper.

#include "config/config_store.h"
#include "config/context.h"
#include "support/fakes.h"

#include <string>

namespace quenix::testing {

template <class TestClock>
struct BasicRig {
    BasicRig() { Load(DefaultConfiguration()); }
    // Replaces the configuration on disk and loads it; false when the store refused it.
    bool Load(const std::string& text) {
        dir.write(ConfigStore::kFileName, text);
        return store.LoadConfiguration();
    }
    std::string OnDisk() const { return dir.read(ConfigStore::kFileName); }
    // Makes every later save fail the way a full disk or a locked folder does (permission bits
    // do not stop root): the temporary file the atomic writer needs is a directory.
    void BlockSaves() {
        std::filesystem::create_directories(dir.path() / (std::string(ConfigStore::kFileName) + ".tmp"));
    }

    TempDir dir;
    ConfigStore store{dir.str()};
    TestClock clock;
    FakeDialogs dialogs;
    FakeBeeper beeper;
    Context ctx{store, clock, dialogs, beeper};
};

using Rig = BasicRig<FakeClock>;

} // namespace quenix::testing

namespace quenix {
using testing::BasicRig, testing::DefaultConfiguration, testing::FakeBeeper, testing::FakeClock, testing::FakeDialogs,
    testing::FakeView, testing::Rig, testing::TempDir;
} // namespace quenix
