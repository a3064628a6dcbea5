#pragma once

// Starting programs without waiting for them.

#include <functional>
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
    // The process the last successful start began, or 0 where the system does not say.
    virtual long startedProcess() const { return 0; }
    // Whether that process still runs; true where the system cannot tell.
    virtual bool stillRunning(long /*process*/) const { return true; }
    // The program a command line would start; empty when there is none to start.
    virtual std::string program(const std::string& commandLine) const = 0;
};

// programFolder: where a relative program name is looked for first, as Windows does.
std::unique_ptr<ProgramLauncher> MakeSystemLauncher(const std::string& programFolder = {});

// The words of a command line: blanks separate, double quotes group.
std::vector<std::string> SplitCommandLine(const std::string& commandLine);

// The program and its arguments. locate answers the program a name leads to ("" for none).
// A line that does not quote its program may still name one whose path holds blanks, as lines
// written for Windows do: the shortest run of words that names a program wins. The first word
// is "" when no program is found.
std::vector<std::string> ProgramWords(const std::string& commandLine,
                                      const std::function<std::string(const std::string&)>& locate);

} // namespace quenix
