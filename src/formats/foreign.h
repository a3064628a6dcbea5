#pragma once

// The step every code format meets in: a signal given as a protocol's bits, a kernel
// scancode or timed runs becomes a command of a device section. Signals of one protocol share
// a device; raw timings that no protocol reads are kept as cells of one unit.

#include "ir/pulse_text.h"
#include "lirc/lirc_import.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quenix {

struct ForeignImport {
    std::vector<ImportedRemote> devices;
    std::vector<std::string> refused; // one line per signal left out, naming its line
    std::string error;                // set when the whole file is refused
};

struct ImportedCode {
    int protocol = 0;
    std::string bits; // without the "G" marker
};

// The code a protocol sends for an rc-core scancode (ir-keytable's protocol or variant name:
// nec, necx, nec32, sanyo, sony12/15/20, rc5, rc6_0, rc6_6a_20/24/32, rc6_mce, jvc, sharp).
// nullopt with why when the name is unknown or the value does not fit its layout.
std::optional<ImportedCode> CodeFromScancode(std::string_view kernelName, std::uint64_t value, std::string& why);

// Bits of v, n of them, least significant first (lsb) or most significant first.
std::string LsbBits(std::uint64_t v, int n);
std::string MsbBits(std::uint64_t v, int n);
// The value of bits read the same ways.
std::uint64_t LsbValue(std::string_view bits);
std::uint64_t MsbValue(std::string_view bits);

// Raw timings as cells: the largest unit (at most 200 us) that puts every run within 10 % or
// 100 us of its length, preferring one that every run fits closely. 0 when none does.
int RawUnit(const std::vector<PulseRun>& runs);

// The text without blanks, tabs and line-end characters around it.
std::string Strip(std::string_view text);

// The blank-separated words of a line.
std::vector<std::string_view> SplitWords(std::string_view text);

// A name as device and command names allow it: reserved characters and control bytes become "_".
std::string CleanName(std::string_view text);

// Refuses what is too large or not text; "" when the bytes may be read.
std::string RefuseBytes(std::string_view bytes);
inline constexpr std::size_t kMaxImportBytes = 16u << 20;

class DeviceCollector {
public:
    // base names the devices (the file's name), origin says where they came from.
    DeviceCollector(std::string_view base, std::string_view origin);
    void Add(int line, std::string_view name, int protocol, std::string bits);
    // Runs beginning with a mark. Read by the decoder when a protocol reads them; otherwise kept
    // as cells when the carrier suits the transmitter, else refused.
    void AddRuns(int line, std::string_view name, const std::vector<PulseRun>& runs, double carrierHz);
    void Refuse(int line, std::string_view name, std::string_view why);
    ForeignImport Finish();

private:
    struct Group {
        std::string key;
        std::string tag;
        ImportedRemote device;
    };
    Group& GroupFor(const std::string& key, const std::string& tag, const HeaderFields& header);
    void AddTo(Group& g, int line, std::string_view name, std::string code);

    std::string base_, origin_;
    std::vector<Group> groups_;
    std::vector<std::string> refused_;
};

// Adds the devices and notes of from, renaming devices whose names are taken.
void MergeImport(ForeignImport& into, ForeignImport from);

// The text of a configuration file holding the devices, for the import window; notes lists
// what was left out. nullopt when nothing was found at all.
std::optional<std::string> ForeignAsConfiguration(const ForeignImport& found, std::string& notes);

} // namespace quenix
