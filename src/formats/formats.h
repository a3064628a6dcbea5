#pragma once

// Every code file a user may bring, told apart by its content: Flipper .ir, ir-keytable
// keymaps, Pronto hex and LIRC's lircd.conf; and a device written in each of the three forms
// others read.

#include "formats/foreign.h"
#include "formats/stored_device.h"

#include <optional>
#include <string>
#include <string_view>

namespace quenix {

// fileName names the devices of formats that carry no name of their own.
ForeignImport ImportCodes(std::string_view bytes, std::string_view fileName);

// For the import window: the devices as a configuration text, and notes on what was left out.
std::optional<std::string> CodesAsConfiguration(std::string_view bytes, std::string_view fileName,
                                                std::string& notes);

// format: flipper, pronto or lircd. "" with why set for an unknown format.
std::string ExportDevice(const StoredDevice& device, std::string_view format, std::string& why);

} // namespace quenix
