#pragma once

// A device as a LIRC remote description: timings and hex codes where its bit shapes are
// LIRC's (pulse distance or width, RC5 and RC5X bi-phase, RC6 with its double-width trailer,
// Sharp's inverted repeats), raw_codes of one transmission otherwise.

#include "formats/stored_device.h"

#include <string>

namespace quenix {

std::string ExportLircd(const StoredDevice& device);

} // namespace quenix
