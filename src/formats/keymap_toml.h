#pragma once

// ir-keytable's keymaps (v4l-utils, /lib/udev/rc_keymaps/*.toml): "[[protocols]]" sections
// with name, protocol and variant, a "[protocols.scancodes]" table of scancode = "KEY_NAME",
// or "[[protocols.raw]]" entries of keycode and raw timings. A device per section; the key
// names become the command names.

#include "formats/foreign.h"

#include <string_view>

namespace quenix {

bool LooksLikeKeymap(std::string_view text);
ForeignImport ImportKeymap(std::string_view text, std::string_view base);

} // namespace quenix
