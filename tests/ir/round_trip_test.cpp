// Keys encoded with their device's header, sampled the way the capture library samples at
// the periods a receiver may give, and decoded as the monitor does.
#include "actions/executor.h"
#include "core/text.h"
#include "ir/codec.h"
#include "ir/decoder.h"
#include "ir/pulse_text.h"
#include "support/fakes.h"
#include "support/learned_keys.h"

#include <gtest/gtest.h>

namespace quenix {
namespace {

TEST(SampleDevices, EveryShippedKeyIsRecognisedWhenReceived) {
    const std::string text = testing::DefaultConfiguration();
    const std::vector<testing::LearnedKey> keys = testing::LearnedKeys(text);
    bool toggle = false;
    for (const testing::LearnedKey& k : keys) {
        for (int press = 0; press < 10; ++press) { // RC5 keys arrive with either toggle
            std::string code = k.code;
            const double period = 45 + press / 2 * 5;
            MonitorFrame f =
                ExtractFrame(SampleRuns(CellsToRuns(EncodeCommand(code, k.header, toggle), k.header.sendpls), period));
            EXPECT_EQ(f.analysis.protocol, k.header.gproto) << k.device << " " << k.name << " at " << period;
            EXPECT_EQ(MonitorKey(text, f.frame, f.analysis.protocol), k.device + "&" + k.name) << f.code;
        }
    }
    EXPECT_EQ(keys.size(), 16u);
}

} // namespace
} // namespace quenix
