#pragma once

// A shared library opened at run time; errors come back as the system's own texts.

#include <string>

namespace quenix {

class DynamicLibrary {
public:
    DynamicLibrary() = default;
    ~DynamicLibrary();
    DynamicLibrary(const DynamicLibrary&) = delete;
    DynamicLibrary& operator=(const DynamicLibrary&) = delete;

    bool load(const std::string& path);
    bool loaded() const { return handle_ != nullptr; }
    // nullptr, with error() set, when the library lacks the symbol.
    void* symbol(const char* name);
    const std::string& error() const { return error_; }

private:
    void* handle_ = nullptr;
    std::string error_;
};

} // namespace quenix
