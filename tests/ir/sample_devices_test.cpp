// The remotes shipped in the default configuration must be recognised by the monitoring
// path when their own keys are played back to it.
#include "actions/executor.h"
#include "core/text.h"
#include "ir/analysis.h"
#include "ir/codec.h"
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
        for (int press = 0; press < 2; ++press) { // RC5 keys arrive with either toggle
            std::string code = line.substr(0, line.find(','));
            MonitorFrame f = ExtractFrame(SampleRuns(CellsToRuns(EncodeCommand(code, h, toggle), h.sendpls), 55));
            EXPECT_EQ(f.analysis.protocol, h.gproto) << device << " " << name;
            EXPECT_EQ(MonitorKey(text, f.frame, f.analysis.protocol), device + "&" + name) << f.code;
        }
        ++keys;
    }
    EXPECT_EQ(keys, 16);
}

} // namespace
} // namespace quenix
