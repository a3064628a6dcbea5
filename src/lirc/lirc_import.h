#pragma once

// Fitting LIRC remotes to device sections: a cell unit that divides every duration of the
// remote, its bit shapes as BITG/BIT0/BIT1 patterns, its gap as the repeat pause, and each
// key's transmitted bits as a command code.

#include "ir/device_editor.h"
#include "lirc/lircd_conf.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quenix {

struct ImportedCommand {
    std::string name;
    std::string code;       // "G" + bits
    std::string lircName;   // the key as the file names it
    bool recognised = true; // the decoder reads the remote's own signal of the key as code
};

struct ImportedRemote {
    std::string lircName; // the remote as the file names it
    bool ok = false;
    std::string why; // when not ok: the reason, for the user
    HeaderFields header;
    std::vector<ImportedCommand> commands;
    // Set when the decoder does not read the remote's own signal (in LIRC's timings) back as
    // the imported codes: the device sends, but monitoring will not recognise those keys.
    std::string unreadable;
    // Keys whose name an earlier key of the remote already has; they are left out.
    std::vector<std::string> duplicates;

    // The device section: header lines, one line per command, and a blank line.
    std::string SectionText() const;
};

// The largest share by which a duration may miss its whole number of cells.
inline constexpr double kUnitTolerance = 0.05;

// Maps one remote; the name is made valid but not checked against other devices.
ImportedRemote FitRemote(const LircRemote& remote);

// Maps every remote of a file; device names are made unique among them. Remotes the reader
// dropped do not appear; parse errors stay in the file.
std::vector<ImportedRemote> ImportLircFile(const LircFile& file);

// A device name made of a LIRC remote name: forbidden characters replaced, 3 to 12
// characters, not reserved and not a name that would make a built-in device.
std::string DeviceNameFor(std::string_view lircName);

// True when the text looks like a lircd.conf file rather than one of our configurations.
bool LooksLikeLircdConf(std::string_view text);

// A lircd.conf as the text of a configuration file holding the remotes that import, for the
// import form; nullopt when the text holds no LIRC remote. notes lists the remotes left out
// and the keys monitoring will not recognise.
std::optional<std::string> LircdConfAsConfiguration(std::string_view text, std::string& notes);

} // namespace quenix
