#pragma once

#include <string>

namespace quenix {

// Reads a whole file as bytes. False with a message for the user when it cannot be read.
bool ReadWholeFile(const std::string& path, std::string& out, std::string& error);

// Writes the bytes to a sibling temporary file, flushes it to the disk and renames it over
// the target, so a crash or a full disk leaves either the old or the new file whole.
bool WriteFileAtomically(const std::string& path, const std::string& data, std::string& error);

} // namespace quenix
