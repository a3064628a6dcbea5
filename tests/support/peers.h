#pragma once

// Real programs a test talks to (Xvfb, dbus-daemon, players), started and ended by the test.

#include <string>
#include <vector>

namespace quenix::testing {

// A program from PATH in a process group of its own, so that ending it ends what it started;
// its standard output is read line by line.
class ChildProcess {
public:
    explicit ChildProcess(std::vector<std::string> argv);
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    // One line of the child's output, waiting at most timeoutMs; empty on time-out.
    std::string readLine(int timeoutMs);

private:
    int pid_ = -1;
    int out_ = -1;
    std::string pending_;
};

bool HaveProgram(const std::string& name);

// Runs a shell command line: its standard output and exit status (-1 when it did not exit).
struct ShellOutput {
    std::string out;
    int status;
};
ShellOutput Shell(const std::string& command);

// An X server of its own on a free display; display() is ":<n>", empty when it did not start.
class XvfbServer {
public:
    explicit XvfbServer(const std::string& screen = "640x480x24");
    const std::string& display() const { return display_; }

private:
    ChildProcess process_;
    std::string display_;
};

} // namespace quenix::testing
