#pragma once

#include "config/context.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace quenix {

class ConfigStore;

// A command code is its data bits as "0"/"1", stored behind the sync marker "G" (a learned
// command line reads "G0110...,Name"). A cell string is "0"/"1", one character per SENDPLS
// cell, "1" meaning carrier; in a recorded cell string "g" (or "G") marks a pause cell.

// The test a typed or learned code must pass before it is stored. Trims the code in place.
bool IsValidCode(std::string& code);

// An air conditioner's press may carry two or three frames of different bits: its code is
// each frame's bits behind its own marker ("G<bits>G<bits>"), sent once, the frames 20 ms
// (or REPEAT cells) apart.
inline constexpr std::size_t kMaxFrames = 3;
inline constexpr int kFrameListGapUs = 20000;
bool IsFrameList(std::string_view code);

// Index of an RC5 code's toggle bit: the third data bit, behind the sync marker when the
// code carries one. -1 when the code is too short to have one.
int Rc5TogglePosition(std::string_view code);
// The code with its RC5 toggle bit set to toggle ('0' or '1'); a code too short to have one
// comes back as it is. Learned RC5 codes are stored with toggle '0'.
std::string WithRc5Toggle(std::string code, char toggle);

// The code as stored: a toggle bit (RC5's third, MCE's seventeenth) set to 0, and Sharp's
// inverted second frame turned back into the first.
std::string NormalisedCode(std::string code, int protocol);

// The cell string of one transmission of code under header. For RC5, RC6 and MCE the toggle
// flips and the code's toggle bit (RC6 mode 0: BITG's trailer) is rewritten in place, so that
// repeated presses alternate it.
std::string EncodeCommand(std::string& code, const ProtocolHeader& header, bool& rc5Toggle);

// Eight cells a byte, the first in the top bit; the last byte is filled with "0" cells.
std::vector<std::uint8_t> PackCells(std::string_view cells);

// Turns the cell string of a received sequence back into a code. NEC and any unknown index
// read pulse distance, SONY pulse width, RC5 bi-phase; a bi-phase violation gives "".
std::string RecordedToCode(std::string_view cells, int protocol);

struct LearnedCommand {
    bool found = false;
    std::string device;
    std::string command;
};

// Looks a received code (its data bits; a leading sync marker is dropped) up among the
// command lines of the configuration text. RC5 codes match whatever their toggle bit.
LearnedCommand FindLearnedCommand(std::string_view configText, std::string_view code, int protocol);
// The same through the store's index.
LearnedCommand FindLearnedCommand(const ConfigStore& config, std::string_view code, int protocol);

// The value of a "0"/"1" text, first character most significant, as a 16-bit integer.
int BitsToNumber(std::string_view bits);

} // namespace quenix
