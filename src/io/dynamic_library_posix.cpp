#include "io/capture_library.h"
#include "io/dynamic_library.h"

#include <dlfcn.h>

namespace quenix {

std::string CaptureLibraryFileName() { return "libserpulse.so"; }

DynamicLibrary::~DynamicLibrary() {
    if (handle_) ::dlclose(handle_);
}

bool DynamicLibrary::load(const std::string& path) {
    ::dlerror();
    handle_ = ::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!handle_) {
        const char* text = ::dlerror();
        error_ = text ? text : path + ": cannot open shared object file";
        return false;
    }
    error_.clear();
    return true;
}

void* DynamicLibrary::symbol(const char* name) {
    if (!handle_) return nullptr;
    ::dlerror();
    void* s = ::dlsym(handle_, name);
    if (!s) {
        const char* text = ::dlerror();
        error_ = text ? text : std::string("undefined symbol: ") + name;
    }
    return s;
}

} // namespace quenix
