#include "core/module.h"

#include <dlfcn.h>
#include <map>
#include <mutex>

namespace quenix {

void* ModuleSymbol(const std::string& name, const char* symbol, std::string& error) {
    static std::mutex mutex;
    static std::map<std::string, void*> loaded;
    const std::string path = ModuleFolder() + "/lib" + name + ".so";
    std::lock_guard lock(mutex);
    void*& handle = loaded[path];
    ::dlerror();
    if (!handle) handle = ::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    void* s = handle ? ::dlsym(handle, symbol) : nullptr;
    if (!s) {
        const char* text = ::dlerror();
        error = text ? text : path + ": cannot be loaded";
    }
    return s;
}

} // namespace quenix
