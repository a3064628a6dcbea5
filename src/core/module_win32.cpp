#include "core/module.h"

#include <map>
#include <mutex>
#include <windows.h>

namespace quenix {

void* ModuleSymbol(const std::string& name, const char* symbol, std::string& error) {
    static std::mutex mutex;
    static std::map<std::string, HMODULE> loaded;
    const std::string path = ModuleFolder() + "\\" + name + ".dll";
    std::lock_guard lock(mutex);
    HMODULE& handle = loaded[path];
    if (!handle) handle = ::LoadLibraryA(path.c_str());
    void* s = handle ? reinterpret_cast<void*>(::GetProcAddress(handle, symbol)) : nullptr;
    if (!s)
        error = path + (handle ? std::string(" has no ") + symbol
                               : ": cannot be loaded (error " + std::to_string(::GetLastError()) + ")");
    return s;
}

} // namespace quenix
