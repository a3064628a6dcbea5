#include "core/program_folder.h"

#include <climits>
#include <unistd.h>

namespace quenix {

std::string ProgramFolder() {
    char buf[PATH_MAX];
    ssize_t n = ::readlink("/proc/self/exe", buf, sizeof buf - 1);
    if (n <= 0) return ".";
    std::string exe(buf, static_cast<std::size_t>(n));
    std::size_t slash = exe.rfind('/');
    return slash == std::string::npos ? "." : (slash == 0 ? "/" : exe.substr(0, slash));
}

} // namespace quenix
