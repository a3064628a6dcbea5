#pragma once

// The program's optional parts, each a shared library of its own, loaded when first used so that
// their libraries (D-Bus, XTest, libmosquitto, Qt's network stack) cost nothing at start.

#include <string>

namespace quenix {

// Set once at start to the folder of the capture library. Unset, QUENIX_MODULE_DIR names it, or
// else the running program's folder.
void SetModuleFolder(std::string folder);
std::string ModuleFolder();

// The symbol of module name (lib<name>.so, <name>.dll), the module loaded on first use and kept until the process ends (their
// libraries may leave threads behind). nullptr, with the system's reason in error, when either is
// missing.
void* ModuleSymbol(const std::string& name, const char* symbol, std::string& error);

} // namespace quenix
