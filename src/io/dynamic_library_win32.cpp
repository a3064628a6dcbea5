#include "io/capture_library.h"
#include "io/dynamic_library.h"

#include <windows.h>

namespace quenix {

namespace {
// The system's message for an error code, without the trailing line break.
std::string SystemMessage(DWORD code) {
    char* text = nullptr;
    DWORD n =
        ::FormatMessageA(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
                         nullptr, code, 0, reinterpret_cast<LPSTR>(&text), 0, nullptr);
    std::string message = n && text ? std::string(text, n) : "Error " + std::to_string(code);
    if (text) ::LocalFree(text);
    while (!message.empty() && (message.back() == '\n' || message.back() == '\r')) message.pop_back();
    return message;
}
} // namespace

std::string CaptureLibraryFileName() { return "SerPulse.dll"; }

DynamicLibrary::~DynamicLibrary() {
    if (handle_) ::FreeLibrary(static_cast<HMODULE>(handle_));
}

bool DynamicLibrary::load(const std::string& path) {
    HMODULE module = ::LoadLibraryA(path.c_str());
    if (!module) {
        // Named as the loader on Linux names it: the system's text alone does not say which file.
        error_ = path + ": " + SystemMessage(::GetLastError());
        return false;
    }
    handle_ = module;
    error_.clear();
    return true;
}

void* DynamicLibrary::symbol(const char* name) {
    if (!handle_) return nullptr;
    FARPROC proc = ::GetProcAddress(static_cast<HMODULE>(handle_), name);
    if (!proc) {
        error_ = SystemMessage(::GetLastError());
        return nullptr;
    }
    return reinterpret_cast<void*>(proc);
}

} // namespace quenix
