#pragma once

#include <string>

namespace quenix {

// Where the program finds its files. A build folder or a portable copy holds everything in one
// place; an installed program keeps its data under <prefix>/share/quenix, the capture library
// under <prefix>/lib/<multiarch>/quenix, and cannot write either, so the user's telvorin.cfg lives in the
// user's configuration folder.
struct ProgramPlaces {
    std::string program;  // folder of the running executable
    std::string data;     // the shipped telvorin.cfg, icons and help
    std::string library;  // the capture library
    std::string settings; // where telvorin.cfg is read and written (and com<n> links are looked up)
};

// What the choice of the settings folder depends on, as read from the system.
struct PlaceFacts {
    std::string program;
    bool installed = false; // a <prefix>/bin program with <prefix>/share/quenix beside it
    bool writable = false;  // the program folder accepts new files
    std::string xdgConfigHome; // $XDG_CONFIG_HOME (%APPDATA% on Windows); empty when unset
    std::string home;
};

// The user's configuration folder: $XDG_CONFIG_HOME when absolute, else ~/.config; empty
// without a home folder.
std::string ConfigHome(const std::string& xdgConfigHome, const std::string& home);
// The same for the running user (%APPDATA% on Windows).
std::string UserConfigHome();

// The program folder when it is a writable folder of its own; otherwise <config home>/quenix.
std::string SettingsFolder(const PlaceFacts& facts);

// The places of the running program.
ProgramPlaces FindProgramPlaces();

// Copies the shipped telvorin.cfg into a settings folder of the user's that has none yet. An
// empty text when the file is there; otherwise why it could not be made.
std::string PrepareSettingsFolder(const ProgramPlaces& places);

} // namespace quenix
