#include "actions/launcher.h"

#include <windows.h>

#include <vector>

namespace quenix {
namespace {

class Win32Launcher final : public ProgramLauncher {
public:
    // CreateProcessA finds the program itself, beside ours first.
    std::string program(const std::string& commandLine) const override {
        std::vector<std::string> words = SplitCommandLine(commandLine);
        return words.empty() ? std::string() : words[0];
    }

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

std::unique_ptr<ProgramLauncher> MakeSystemLauncher(const std::string&) { return std::make_unique<Win32Launcher>(); }

} // namespace quenix
