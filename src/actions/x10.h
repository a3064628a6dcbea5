#pragma once

// X10 power-line modules through a CM11/CM12 interface on a serial port: the address and
// function exchange, the clock-set record, and the table of named units kept in [X10].

#include "config/context.h"

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

namespace quenix {

class Clock;
class SerialPort;

// Function codes, in the order of the main window's function list.
enum X10Function : int { kX10AllUnitsOff = 0, kX10AllLightsOn, kX10On, kX10Off, kX10Dim, kX10Bright, kX10AllLightsOff };
inline constexpr const char* kX10FunctionList = "All-U-Off,All-L-On,On,Off,Dim,Bri,All-L-Off,";
// The code of a function's name ("on", "Dim" ...), or -1 for any other word.
int X10FunctionIndex(std::string_view word);
// The name of a function code, "" outside the list.
std::string X10FunctionName(int function);

// Dim and Bri go out in steps of at most this many percent.
inline constexpr int kX10DimStep = 39;

// The interface's clock-set record: all time fields zero, the three clear flags set.
inline constexpr std::string_view kX10ClockSetRecord{"\x9B\x00\x00\x00\x00\x00\x07", 7};

inline constexpr const char* kX10PortError = "Cannot open COM port for X10 interface (CM11/12)!";
inline constexpr const char* kX10SendError = "Error sending X10 command!";

// The 4-bit code of house A..P or unit 1..16 (index 1..16) as binary text; "" otherwise.
std::string X10Nibble(int index);
// A binary digit string read as a number ("" reads as 0).
int BinaryValue(std::string_view bits);

// The bytes of one exchange, before and after the interface's go-ahead.
struct X10Bytes {
    std::uint8_t header = 0, address = 0, addressSum = 0;
    std::uint8_t functionHeader = 0, function = 0, functionSum = 0;
};
X10Bytes MakeX10Bytes(int house, int unit, int function, int dimLevel);

// One address + function exchange, at most two attempts. True when the interface confirmed
// both parts. Waits through the clock: 200 ms per poll.
bool X10Send(SerialPort& serial, PortHandle h, Clock& clock, int house, int unit, int function, int dimLevel);

// The 16 x 16 unit names, house (1..16 = A..P) by unit (1..16). Empty names are unused.
class X10Names {
public:
    static constexpr int kMaxName = 20;

    const std::string& name(int house, int unit) const;
    void set(int house, int unit, std::string name);
    // The first address (house outer, unit inner) whose name matches, ignoring case and blanks.
    bool find(std::string_view name, int& house, int& unit) const;

    // From the [X10] section of a configuration text.
    static X10Names Parse(std::string_view configText);
    // The section's lines, house by house and unit by unit, named units only.
    std::string SectionLines() const;

private:
    std::array<std::array<std::string, 16>, 16> names_;
};

// The executor's X10 branch for an enabled X10 device: opens the port on first use, frames
// the exchange with beeps, and splits Dim/Bri into steps. unit: the name of the unit in [X10];
// command: the function's word for the result text. Returns the result text.
std::string X10Action(Context& ctx, SerialPort& serial, const std::string& unit, const std::string& command,
                      int function, int dimLevel);

inline constexpr const char* kX10ResetDone = "CM11/12 interface reset OK.";

// Opens (or shares) the X10 port and writes the clock-set record; no answer is awaited.
// False when the port could not be opened or prepared (the caller shows kX10PortError).
bool ResetX10(Context& ctx, SerialPort& serial);

} // namespace quenix
