// The remotes shipped in the default configuration must be recognised by the monitoring
// path when their own keys are played back to it.
#include "config/config_text.h"
#include "core/text.h"
#include "ir/analysis.h"
#include "ir/codec.h"
#include "ir/protocols.h"
#include "ir/pulse_text.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <sstream>

namespace quenix {
namespace {

struct Device {
    std::string name;
    ProtocolHeader header;
    std::vector<std::pair<std::string, std::string>> commands; // code, name
};

std::vector<Device> LearnedDevices(const std::string& text) {
    std::vector<Device> devices;
    std::istringstream in(text);
    std::string line;
    while (std::getline(in, line)) {
        if (!line.empty() && line.back() == '\r') line.pop_back();
        if (line.size() > 2 && line.front() == '[') {
            devices.push_back({line.substr(1, line.size() - 2), {}, {}});
            continue;
        }
        if (devices.empty()) continue;
        Device& d = devices.back();
        auto value = [&](const char* key) { return Trim(line.substr(std::string(key).size())); };
        if (line.rfind("GPROTO=", 0) == 0) d.header.gproto = LeadingInt16(value("GPROTO="));
        else if (line.rfind("SENDPLS=", 0) == 0) d.header.sendpls = LeadingInt16(value("SENDPLS="));
        else if (line.rfind("REPEAT=", 0) == 0) d.header.repeat = LeadingInt16(value("REPEAT="));
        else if (line.rfind("GREPEAT=", 0) == 0) d.header.grepeat = LeadingInt16(value("GREPEAT="));
        else if (line.rfind("BITG=", 0) == 0) d.header.bitg = value("BITG=");
        else if (line.rfind("BIT0=", 0) == 0) d.header.bit0 = value("BIT0=");
        else if (line.rfind("BIT1=", 0) == 0) d.header.bit1 = value("BIT1=");
        else if (line.size() > 1 && line[0] == 'G' && line.find(',') != std::string::npos)
            d.commands.emplace_back(line.substr(0, line.find(',')), Trim(line.substr(line.find(',') + 1)));
    }
    std::erase_if(devices, [](const Device& d) { return d.commands.empty(); });
    return devices;
}

TEST(SampleDevices, EveryShippedKeyIsRecognisedWhenReceived) {
    std::ifstream in(QUENIX_SOURCE_DIR "/data/telvorin.cfg", std::ios::binary);
    ASSERT_TRUE(in);
    std::string text((std::istreambuf_iterator<char>(in)), {});
    std::vector<Device> devices = LearnedDevices(text);
    ASSERT_EQ(devices.size(), 3u);
    for (Device& d : devices) {
        bool toggle = false;
        for (const auto& [stored, name] : d.commands) {
            for (int press = 0; press < 2; ++press) { // RC5 keys arrive with either toggle
                std::string code = stored;
                std::string cells = EncodeCommand(code, d.header, toggle);
                MonitorFrame f = ExtractFrame(SampleRuns(CellsToRuns(cells, d.header.sendpls), 55));
                EXPECT_EQ(f.analysis.protocol, d.header.gproto) << d.name << " " << name;
                EXPECT_EQ(MonitorKey(text, f.frame, f.analysis.protocol), d.name + "&" + name) << f.code;
            }
        }
    }
}

} // namespace
} // namespace quenix
