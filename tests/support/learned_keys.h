#pragma once

// The learned keys of a configuration text with their device's protocol header, in file order.

#include "actions/executor.h"
#include "core/text.h"

#include <sstream>
#include <string>
#include <vector>

namespace quenix::testing {

struct LearnedKey {
    std::string device, name, code;
    ProtocolHeader header;
};

inline std::vector<LearnedKey> LearnedKeys(const std::string& text) {
    std::vector<LearnedKey> keys;
    std::istringstream in(text);
    std::string line, device;
    while (std::getline(in, line)) {
        if (!line.empty() && line.back() == '\r') line.pop_back();
        if (line.size() > 2 && line.front() == '[') device = line.substr(1, line.size() - 2);
        if (line.size() < 2 || line[0] != 'G' || line.find(',') == std::string::npos) continue;
        keys.push_back({device, Trim(line.substr(line.find(',') + 1)), line.substr(0, line.find(',')),
                        DeviceHeader(text, device)});
    }
    return keys;
}

} // namespace quenix::testing
