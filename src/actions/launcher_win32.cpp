#include "actions/launcher.h"

#include <windows.h>

#include <vector>

namespace quenix {
namespace {

class Win32Launcher final : public ProgramLauncher {
public:
    bool start(const std::string& commandLine, bool shown) override {
        STARTUPINFOA si{};
        si.cb = sizeof si;
        si.dwFlags = STARTF_USESHOWWINDOW;
        si.wShowWindow = shown ? SW_SHOWNOACTIVATE : SW_HIDE;
        PROCESS_INFORMATION pi{};
        std::vector<char> line(commandLine.begin(), commandLine.end());
        line.push_back('\0');
        if (!CreateProcessA(nullptr, line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &si, &pi)) return false;
        CloseHandle(pi.hThread);
        CloseHandle(pi.hProcess);
        return true;
    }
};

} // namespace

std::unique_ptr<ProgramLauncher> MakeSystemLauncher() { return std::make_unique<Win32Launcher>(); }

} // namespace quenix
