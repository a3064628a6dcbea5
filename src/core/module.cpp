#include "core/module.h"

#include "core/program_folder.h"

#include <cstdlib>
#include <mutex>

namespace quenix {
namespace {

std::mutex mutex;
std::string folder;

} // namespace

void SetModuleFolder(std::string f) {
    std::lock_guard lock(mutex);
    folder = std::move(f);
}

std::string ModuleFolder() {
    std::lock_guard lock(mutex);
    if (!folder.empty()) return folder;
    const char* env = std::getenv("QUENIX_MODULE_DIR");
    return env && *env ? env : ProgramFolder();
}

} // namespace quenix
