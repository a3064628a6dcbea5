#pragma once

// The scancode the Linux kernel's rc-core reports for a code, with its protocol name
// (ir-keytable's spelling), so that a key can be matched against keymaps: "nec:0x4fb".

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace quenix {

struct Scancode {
    std::string protocol; // rc-core's name; a protocol it lacks goes by its own lower-case name
    std::uint64_t value = 0;
    int address = -1; // the fields the remote's documentation names, -1 when it has none
    int command = -1;
};

// bits: the data bits as sent ("G" marker allowed). nullopt when the protocol or the bit count
// has no scancode layout.
std::optional<Scancode> KernelScancode(int protocol, std::string_view bits);

// "<protocol>:0x<hex>", or "" when there is none.
std::string ScancodeText(int protocol, std::string_view bits);

} // namespace quenix
