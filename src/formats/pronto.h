#pragma once

// Pronto hex, the form of printed and forum code lists: one code per line, "name: 0000 006D
// ..." or the words alone. The learned form 0000 gives the carrier and the once and repeat
// sequences in carrier periods; 5000 (RC5), 6000 (RC6 mode 0) and 900A (NEC) give only the
// protocol's fields. 5001 (RC5x with its data field) is turned into timings.

#include "formats/foreign.h"
#include "formats/stored_device.h"

#include <string>
#include <string_view>

namespace quenix {

bool LooksLikePronto(std::string_view text);
ForeignImport ImportPronto(std::string_view text, std::string_view base);

// One "name: hex" line per command: the short forms where the device sends a protocol's own
// timings, the learned form otherwise.
std::string ExportPronto(const StoredDevice& device);

} // namespace quenix
