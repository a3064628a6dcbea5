#pragma once

// Starting programs without waiting for them.

#include <memory>
#include <string>
#include <vector>

namespace quenix {

class ProgramLauncher {
public:
    virtual ~ProgramLauncher() = default;
    // Starts the command line and returns at once. shown: visible without taking the focus;
    // otherwise without a window where the system allows. False when it cannot start.
    virtual bool start(const std::string& commandLine, bool shown) = 0;
};

std::unique_ptr<ProgramLauncher> MakeSystemLauncher();

// The words of a command line: blanks separate, double quotes group.
std::vector<std::string> SplitCommandLine(const std::string& commandLine);

} // namespace quenix
