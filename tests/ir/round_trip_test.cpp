// Keys encoded with their device's header, sampled the way the capture library samples at
// the periods a receiver may give, and decoded as the monitor does.
#include "actions/executor.h"
#include "core/text.h"
#include "ir/codec.h"
#include "ir/decoder.h"
#include "ir/pulse_text.h"
#include "support/fakes.h"

#include <gtest/gtest.h>

#include <sstream>

namespace quenix {
namespace {

TEST(SampleDevices, EveryShippedKeyIsRecognisedWhenReceived) {
    const std::string text = testing::DefaultConfiguration();
    std::istringstream in(text);
    std::string line, device;
    int keys = 0;
    bool toggle = false;
    while (std::getline(in, line)) {
        if (!line.empty() && line.back() == '\r') line.pop_back();
        if (line.size() > 2 && line.front() == '[') device = line.substr(1, line.size() - 2);
        if (line.size() < 2 || line[0] != 'G' || line.find(',') == std::string::npos) continue;
        const ProtocolHeader h = DeviceHeader(text, device);
        const std::string name = Trim(line.substr(line.find(',') + 1));
        for (int press = 0; press < 10; ++press) { // RC5 keys arrive with either toggle
            std::string code = line.substr(0, line.find(','));
            const double period = 45 + press / 2 * 5;
            const DecodedFrame f =
                DecodeMonitorFrame(SampleRuns(CellsToRuns(EncodeCommand(code, h, toggle), h.sendpls), period));
            EXPECT_EQ(f.protocol, h.gproto) << device << " " << name << " at " << period;
            EXPECT_EQ(LookupKey(text, f), device + "&" + name) << f.frame;
        }
        ++keys;
    }
    EXPECT_EQ(keys, 16);
}

} // namespace
} // namespace quenix
