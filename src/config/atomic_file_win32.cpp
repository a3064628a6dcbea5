#include "config/atomic_file.h"

#include <windows.h>

namespace quenix {
namespace {
std::string LastErrorText() {
    char buf[256] = {0};
    DWORD n = FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, GetLastError(), 0,
                             buf, sizeof buf, nullptr);
    while (n > 0 && (buf[n - 1] == '\r' || buf[n - 1] == '\n')) buf[--n] = 0;
    return buf;
}
} // namespace

bool WriteFileAtomically(const std::string& path, const std::string& data, std::string& error) {
    const std::string tmp = path + ".tmp";
    HANDLE h = CreateFileA(tmp.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (h == INVALID_HANDLE_VALUE) {
        error = "Cannot write " + tmp + ": " + LastErrorText();
        return false;
    }
    DWORD written = 0;
    BOOL ok = WriteFile(h, data.data(), static_cast<DWORD>(data.size()), &written, nullptr) && written == data.size() &&
              FlushFileBuffers(h);
    if (!ok)
        error = "Cannot write " + tmp + ": " +
                (written < data.size() && GetLastError() == 0 ? "the disk is full" : LastErrorText());
    CloseHandle(h);
    if (!ok) {
        DeleteFileA(tmp.c_str());
        return false;
    }
    if (!MoveFileExA(tmp.c_str(), path.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH)) {
        error = "Cannot replace " + path + ": " + LastErrorText();
        DeleteFileA(tmp.c_str());
        return false;
    }
    return true;
}

} // namespace quenix
