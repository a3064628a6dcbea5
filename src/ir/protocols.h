#pragma once

#include "config/context.h"

#include <array>
#include <string_view>

namespace quenix {

// Protocol indices as stored in GPROTO= and reported by the run analysis. The first four keep
// the meaning older files give them; later ones only ever join behind "Custom".
inline constexpr int kProtoNec = 0;
inline constexpr int kProtoSony = 1;
inline constexpr int kProtoRc5 = 2;
inline constexpr int kProtoCustom = 3;
inline constexpr int kProtoRc6 = 4;    // mode 0, 16 bits, toggle in the trailer bit
inline constexpr int kProtoRc6A = 5;   // mode 6A, 20/24/32 bits; MCE's toggle is data bit 16
inline constexpr int kProtoJvc = 6;    // 16 bits, repeats without lead-in
inline constexpr int kProtoSamsung = 7; // 4.5 ms lead-in mark
inline constexpr int kProtoKaseikyo = 8; // Panasonic, 48 bits
inline constexpr int kProtoSharp = 9;  // no lead-in; the second frame carries the command inverted
inline constexpr int kProtoRc5x = 10;  // RC5 of 20 bits, silent for two bit times behind the 8th
inline constexpr int kProtoStreamZap = 11; // RC5 of 15 bits: a 6-bit system
inline constexpr int kProtoRca = 12;   // 56 kHz, 24 bits: address 4 and command 8, then both inverted
inline constexpr int kProtoPioneer = 13; // NEC's frame at 40 kHz, repeated whole
inline constexpr int kProtoUnknown = 99;

// How a protocol tells a new press from a held key.
enum class Toggle {
    None,
    Rc5Bit,      // the third data bit
    Rc6Trailer,  // the trailer bit: the last four cells of BITG, "0011" or "1100"
    MceBit,      // data bit 16 of a 32-bit code whose top 16 bits are 0x800F
    SharpInverse // repeats alternate with the command, expansion and check bits inverted
};

// One row per entry of the protocol list. The device editor, the encoder, the recorder, the
// timing reading and the scancode text all read these rows; nothing else spells them out.
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
    // The reading that finds its bits: pulse distance (NEC), pulse width (SONY), bi-phase (RC5,
    // RC6); Custom has none.
    int family = kProtoUnknown;
    bool stopMark = false; // a one-cell mark closes the last space
    int bits = 0;          // the usual bit count; 0 when several are
    Toggle toggle = Toggle::None;
    int gapAfter = 0; // bits before a silence inside the frame
    int gapCells = 0;
};

// Cells: NEC 16 on + 8 off lead-in, pulse-distance bits. SONY a 4-unit lead-in mark, pulse-width
// bits whose space comes first. RC5 bi-phase, no lead-in. RC6: a 6 on + 2 off leader, start bit
// 1, three mode bits and a double-width trailer in BITG; bi-phase bits opposite to RC5's (1 is
// mark then space). JVC NEC's shape at 526 us, repeated without its lead-in. Samsung a lead-in
// of 8 on + 8 off. Kaseikyo 8 on + 4 off at 432 us. Sharp 320 us marks before 680 or 1680 us of
// silence (2 and 5 cells), no lead-in: BITG is one silent cell, as an empty one is refused.
inline constexpr std::array<ProtocolPreset, 14> kProtocolPresets{{
    {"NEC", kProtoNec, "550", "50", "1", "10", "1000", "111111111111111100000000", "50", kProtoNec, true},
    {"SONY", kProtoSony, "550", "40", "40", "01", "011", "1111", "40", kProtoSony},
    {"RC5", kProtoRc5, "850", "150", "0", "10", "01", "", "90", kProtoRc5, false, 14, Toggle::Rc5Bit},
    {"Custom", kProtoCustom, "550", "50", "1", "10", "1000", "111111111111111100000000", "50"},
    {"RC6", kProtoRc6, "444", "190", "190", "01", "10", "11111100100101010011", "190", kProtoRc6, false, 16,
     Toggle::Rc6Trailer},
    {"RC6-6A", kProtoRc6A, "444", "160", "160", "01", "10", "11111100101010010011", "160", kProtoRc6, false, 0,
     Toggle::MceBit},
    {"JVC", kProtoJvc, "526", "40", "1", "10", "1000", "111111111111111100000000", "40", kProtoNec, true, 16},
    {"Samsung32", kProtoSamsung, "560", "80", "80", "10", "1000", "1111111100000000", "80", kProtoNec, true, 32},
    {"Kaseikyo", kProtoKaseikyo, "432", "140", "140", "10", "1000", "111111110000", "140", kProtoNec, true, 48},
    {"Sharp", kProtoSharp, "320", "125", "1", "100", "100000", "0", "125", kProtoNec, true, 15,
     Toggle::SharpInverse},
    // RC5's 889 us half-bit and its 114 ms frame period, less the frame.
    {"RC5X", kProtoRc5x, "889", "84", "0", "10", "01", "0", "84", kProtoRc5, false, 20, Toggle::Rc5Bit, 8, 4},
    {"StreamZap", kProtoStreamZap, "889", "98", "0", "10", "01", "0", "98", kProtoRc5, false, 15, Toggle::Rc5Bit},
    // RCA: 8 on + 8 off at 500 us, spaces of 2 and 4 cells; its inverted half keeps every frame
    // 113 cells long, so 15 more make its 64 ms period.
    {"RCA", kProtoRca, "500", "15", "15", "100", "10000", "1111111100000000", "15", kProtoNec, true, 24},
    // Pioneer: NEC's cells at 560 us, the lead-in sent again with every frame, about 105 ms apart.
    {"Pioneer", kProtoPioneer, "560", "66", "66", "10", "1000", "111111111111111100000000", "66", kProtoNec, true, 32},
}};

// The row of a protocol index; anything outside the list (no selection) reads as NEC.
const ProtocolPreset& PresetFor(int index);
// The row of a protocol index, or nullptr when the list has none.
const ProtocolPreset* FindPreset(int index);
// The index of a protocol name (case-insensitive), or -1.
int ProtocolIndex(std::string_view name);

// The carrier a protocol's remotes send on, in Hz (38 kHz for Custom and anything unknown).
int CarrierHz(int index);

// A transmit header filled from a preset row.
ProtocolHeader HeaderFromPreset(int index);

} // namespace quenix
