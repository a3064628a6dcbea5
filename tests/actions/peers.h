#pragma once

// Real programs a test talks to (Xvfb, dbus-daemon, mpv), started by the test itself and
// ended with it.

#include <string>
#include <vector>

namespace quenix::testing {

class ChildProcess {
public:
    // argv[0] is looked up in PATH; extraEnv holds "NAME=value" entries added to ours.
    // With captureStdout, the child's standard output can be read with readLine().
    ChildProcess(std::vector<std::string> argv, std::vector<std::string> extraEnv = {}, bool captureStdout = false);
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    bool started() const { return pid_ > 0; }
    // One line of the child's output, waiting at most timeoutMs; empty on time-out.
    std::string readLine(int timeoutMs);
    void stop();

private:
    int pid_ = -1;
    int out_ = -1;
    std::string pending_;
};

// Whether a program is on PATH.
bool HaveProgram(const std::string& name);

// An X server of its own on a free display; display() is ":<n>", empty when it did not start.
class XvfbServer {
public:
    XvfbServer();
    const std::string& display() const { return display_; }

private:
    std::string display_;
    ChildProcess process_;
};

} // namespace quenix::testing
