#pragma once

#include "config/context.h"

#include <array>
#include <string_view>

namespace quenix {

// Protocol indices as stored in GPROTO= and reported by the run analysis.
inline constexpr int kProtoNec = 0;
inline constexpr int kProtoSony = 1;
inline constexpr int kProtoRc5 = 2;
inline constexpr int kProtoCustom = 3;
inline constexpr int kProtoUnknown = 99;

// One row per entry of the protocol list. The device editor, the encoder and the recorder
// all read these rows; nothing else spells the patterns out.
struct ProtocolPreset {
    std::string_view name;
    int index;
    std::string_view sendpls;
    std::string_view repeat;
    std::string_view grepeat;
    std::string_view bit0;
    std::string_view bit1;
    std::string_view bitg;
    // REPEAT shown when a device is made from a recording of this protocol.
    std::string_view recordedRepeat;
};

// NEC: 16-unit mark and 8-unit space lead-in, pulse-distance bits. SONY: 4-unit lead-in mark,
// pulse-width bits whose space comes first. RC5: bi-phase, no lead-in. Custom starts from NEC.
inline constexpr std::array<ProtocolPreset, 4> kProtocolPresets{{
    {"NEC", kProtoNec, "550", "50", "1", "10", "1000", "111111111111111100000000", "50"},
    {"SONY", kProtoSony, "550", "40", "40", "01", "011", "1111", "40"},
    {"RC5", kProtoRc5, "850", "150", "0", "10", "01", "", "90"},
    {"Custom", kProtoCustom, "550", "50", "1", "10", "1000", "111111111111111100000000", "50"},
}};

// The row of a protocol index; anything outside the list (no selection) reads as NEC.
const ProtocolPreset& PresetFor(int index);

// A transmit header filled from a preset row.
ProtocolHeader HeaderFromPreset(int index);

} // namespace quenix
