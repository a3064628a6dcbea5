#include "core/program_folder.h"

#include <windows.h>

namespace quenix {

std::string ProgramFolder() {
    char buf[MAX_PATH];
    DWORD n = GetModuleFileNameA(nullptr, buf, MAX_PATH);
    if (n == 0 || n >= MAX_PATH) return ".";
    std::string exe(buf, n);
    std::size_t slash = exe.find_last_of("\\/");
    return slash == std::string::npos ? "." : exe.substr(0, slash);
}

} // namespace quenix
