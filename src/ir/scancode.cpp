#include "ir/scancode.h"

#include "ir/protocols.h"

#include <cstdio>

namespace quenix {

namespace {

// The n bits from `from` on, the first sent as the most significant (msb) or the least.
std::uint64_t Field(std::string_view bits, std::size_t from, std::size_t n, bool msb) {
    std::uint64_t v = 0;
    for (std::size_t i = 0; i < n; ++i) {
        const std::uint64_t bit = bits[from + i] == '1';
        v |= msb ? bit << (n - 1 - i) : bit << i;
    }
    return v;
}

std::uint64_t Lsb(std::string_view bits, std::size_t from, std::size_t n) { return Field(bits, from, n, false); }

// NEC sends address, its inverse, command, its inverse, each least significant bit first; the
// kernel names the layout after which inverses hold.
Scancode Nec(std::string_view b) {
    const std::uint64_t a = Lsb(b, 0, 8), na = Lsb(b, 8, 8), c = Lsb(b, 16, 8), nc = Lsb(b, 24, 8);
    if ((c ^ nc) != 0xFF) return {"nec32", a << 24 | na << 16 | c << 8 | nc, static_cast<int>(a), static_cast<int>(c)};
    if ((a ^ na) != 0xFF) return {"necx", a << 16 | na << 8 | c, static_cast<int>(a << 8 | na), static_cast<int>(c)};
    return {"nec", a << 8 | c, static_cast<int>(a), static_cast<int>(c)};
}

} // namespace

std::optional<Scancode> KernelScancode(int protocol, std::string_view b) {
    if (!b.empty() && (b.front() == 'G' || b.front() == 'g')) b.remove_prefix(1);
    if (b.find_first_not_of("01") != std::string_view::npos) return std::nullopt;
    const std::size_t n = b.size();
    auto make = [](const char* name, std::uint64_t v, std::uint64_t address, std::uint64_t command) {
        return Scancode{name, v, static_cast<int>(address), static_cast<int>(command)};
    };
    switch (protocol) {
    case kProtoNec:
    case kProtoSamsung: // rc-core reads Samsung's 4.5 ms lead-in with its NEC decoder
        if (n == 32) return Nec(b);
        if (n == 42) { // Sanyo: 13-bit address and 8-bit command, each followed by its inverse
            const std::uint64_t a = Lsb(b, 0, 13), c = Lsb(b, 26, 8);
            return make("sanyo", a << 8 | c, a, c);
        }
        break;
    case kProtoSony: {
        const std::uint64_t c = Lsb(b, 0, 7);
        if (n == 12) return make("sony12", Lsb(b, 7, 5) << 16 | c, Lsb(b, 7, 5), c);
        if (n == 15) return make("sony15", Lsb(b, 7, 8) << 16 | c, Lsb(b, 7, 8), c);
        if (n == 20) return make("sony20", Lsb(b, 7, 5) << 16 | Lsb(b, 12, 8) << 8 | c, Lsb(b, 7, 5), c);
        break;
    }
    case kProtoRc5:
        // Start bit, field bit (the inverse of command bit 6), toggle, 5 address and 6 command bits.
        if (n == 14) {
            const std::uint64_t a = Field(b, 3, 5, true), c = Field(b, 8, 6, true) | (b[1] == '0' ? 0x40u : 0u);
            return make("rc5", a << 8 | c, a, c);
        }
        break;
    case kProtoRc5x:
        // As RC5, then six more data bits behind the command.
        if (n == 20) {
            const std::uint64_t a = Field(b, 3, 5, true), c = Field(b, 8, 6, true) | (b[1] == '0' ? 0x40u : 0u);
            return make("rc5x_20", a << 16 | c << 8 | Field(b, 14, 6, true), a, c);
        }
        break;
    case kProtoStreamZap:
        // Both start bits, toggle, 6 system and 6 command bits; the kernel keeps the second start bit.
        if (n == 15) {
            const std::uint64_t a = Field(b, 3, 6, true), c = Field(b, 9, 6, true);
            return make("rc5_sz", (b[1] == '1' ? 0x2000u : 0u) | a << 6 | c, a, c);
        }
        break;
    case kProtoRc6:
        if (n == 16) return make("rc6_0", Field(b, 0, 16, true), Field(b, 0, 8, true), Field(b, 8, 8, true));
        break;
    case kProtoRc6A:
        if (n == 32 && Field(b, 0, 16, true) == 0x800F) {
            const std::uint64_t v = Field(b, 0, 32, true) & ~std::uint64_t{0x8000};
            return make("rc6_mce", v, (v >> 8) & 0x7F, v & 0xFF);
        }
        if (n == 20 || n == 24 || n == 32) {
            static const char* names[] = {"rc6_6a_20", "rc6_6a_24", "rc6_6a_32"};
            const std::uint64_t v = Field(b, 0, n, true);
            return make(names[n == 20 ? 0 : n == 24 ? 1 : 2], v, (v >> 8) & 0xFF, v & 0xFF);
        }
        break;
    case kProtoJvc:
        if (n == 16) return make("jvc", Lsb(b, 0, 8) << 8 | Lsb(b, 8, 8), Lsb(b, 0, 8), Lsb(b, 8, 8));
        break;
    case kProtoSharp:
        if (n == 15) return make("sharp", Lsb(b, 0, 5) << 8 | Lsb(b, 5, 8), Lsb(b, 0, 5), Lsb(b, 5, 8));
        break;
    case kProtoKaseikyo:
        // Vendor (16 bits), then parity, system, product and command; bytes as sent, each least
        // significant bit first.
        if (n == 48) {
            std::uint64_t v = 0;
            for (std::size_t i = 0; i < 6; ++i) v = v << 8 | Lsb(b, 8 * i, 8);
            return make("kaseikyo", v, Lsb(b, 24, 8), Lsb(b, 32, 8));
        }
        break;
    case kProtoRca:
        // Not in rc-core: address and command as sent, most significant bit first.
        if (n == 24) {
            const std::uint64_t a = Field(b, 0, 4, true), c = Field(b, 4, 8, true);
            return make("rca", a << 8 | c, a, c);
        }
        break;
    case kProtoPioneer:
        // Not in rc-core: NEC's address and command bytes.
        if (n == 32) return make("pioneer", Lsb(b, 0, 8) << 8 | Lsb(b, 16, 8), Lsb(b, 0, 8), Lsb(b, 16, 8));
        break;
    default: break;
    }
    return std::nullopt;
}

std::string ScancodeText(int protocol, std::string_view bits) {
    const std::optional<Scancode> s = KernelScancode(protocol, bits);
    if (!s) return {};
    char hex[24];
    std::snprintf(hex, sizeof hex, "%llx", static_cast<unsigned long long>(s->value));
    return s->protocol + ":0x" + hex;
}

} // namespace quenix
