#pragma once

#include <string>

namespace quenix {

// The folder of the running executable, without a trailing separator. The program's data
// (telvorin.cfg, the capture library, icons, help) lives there.
std::string ProgramFolder();

} // namespace quenix
