#pragma once

// Flipper Zero's infrared files (.ir): "Filetype: IR signals file", then signals of
// "name:", "type: parsed" with "protocol:", "address:" and "command:" as four little-endian
// hex bytes, or "type: raw" with "frequency:", "duty_cycle:" and "data:" in microseconds.

#include "formats/foreign.h"
#include "formats/stored_device.h"

#include <string>
#include <string_view>

namespace quenix {

bool LooksLikeFlipper(std::string_view text);
ForeignImport ImportFlipper(std::string_view text, std::string_view base);

// A device as a .ir file: parsed signals where its protocol and timings are Flipper's, raw
// timings of one transmission otherwise.
std::string ExportFlipper(const StoredDevice& device);

} // namespace quenix
