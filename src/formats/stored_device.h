#pragma once

// A device section read back from a configuration text, and what the exporters share.

#include "ir/device_editor.h"
#include "ir/pulse_text.h"

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace quenix {

struct StoredDevice {
    HeaderFields header;
    std::vector<std::pair<std::string, std::string>> commands; // name, code ("G" + bits)
};

// nullopt with why when the text has no such device or its header lacks a key.
std::optional<StoredDevice> ReadStoredDevice(std::string_view configText, std::string_view name, std::string& why);

// The first transmission of a code (no repeats), as runs ending with a mark.
std::vector<PulseRun> FirstSequence(const HeaderFields& h, const std::string& code);
// What follows the first transmission: the repeat frame the transmitter sends (empty when it
// sends none) and the pause before it, in microseconds.
std::vector<PulseRun> RepeatSequence(const HeaderFields& h, const std::string& code, double& pauseUs);

// True when the device's timings are its protocol's own, so a protocol's name says them.
bool HasPresetTimings(const HeaderFields& h);

} // namespace quenix
