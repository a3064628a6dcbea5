#include "support/peers.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>

extern char** environ;

namespace quenix::testing {

ChildProcess::ChildProcess(std::vector<std::string> argv) {
    std::vector<char*> args;
    for (auto& a : argv) args.push_back(a.data());
    args.push_back(nullptr);
    int pipefd[2] = {-1, -1};
    if (pipe2(pipefd, O_CLOEXEC) != 0) return;
    posix_spawn_file_actions_t fa;
    posix_spawn_file_actions_init(&fa);
    posix_spawn_file_actions_adddup2(&fa, pipefd[1], 1);
    posix_spawn_file_actions_addopen(&fa, 0, "/dev/null", O_RDONLY, 0);
    posix_spawnattr_t attr;
    posix_spawnattr_init(&attr);
    posix_spawnattr_setflags(&attr, POSIX_SPAWN_SETPGROUP);
    pid_t pid = -1;
    if (posix_spawnp(&pid, args[0], &fa, &attr, args.data(), environ) == 0) pid_ = pid;
    posix_spawnattr_destroy(&attr);
    posix_spawn_file_actions_destroy(&fa);
    close(pipefd[1]);
    out_ = pipefd[0];
}

ChildProcess::~ChildProcess() {
    if (pid_ > 0 && kill(-pid_, SIGTERM) == 0) waitpid(pid_, nullptr, 0);
    if (out_ >= 0) close(out_);
}

std::string ChildProcess::readLine(int timeoutMs) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    std::size_t nl;
    while ((nl = pending_.find('\n')) == std::string::npos) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
        pollfd p{out_, POLLIN, 0};
        char buf[512];
        ssize_t n = 0;
        if (out_ < 0 || left.count() <= 0 || poll(&p, 1, static_cast<int>(left.count())) <= 0 ||
            (n = read(out_, buf, sizeof buf)) <= 0)
            return {};
        pending_.append(buf, static_cast<std::size_t>(n));
    }
    std::string line = pending_.substr(0, nl);
    pending_.erase(0, nl + 1);
    return line;
}

bool HaveProgram(const std::string& name) {
    return std::system(("command -v '" + name + "' >/dev/null 2>&1").c_str()) == 0;
}

// -displayfd: the server picks a free display and names it; without Xvfb the pipe just closes.
XvfbServer::XvfbServer(const std::string& screen)
    : process_({"Xvfb", "-displayfd", "1", "-screen", "0", screen, "-nolisten", "tcp", "-noreset"}) {
    std::string number = process_.readLine(10000);
    if (!number.empty()) display_ = ":" + number;
}

ShellOutput Shell(const std::string& command) {
    std::string out;
    FILE* p = popen(command.c_str(), "r");
    std::array<char, 4096> buf{};
    for (std::size_t n = 0; p && (n = fread(buf.data(), 1, buf.size(), p)) > 0;) out.append(buf.data(), n);
    const int rc = p ? pclose(p) : -1;
    return {out, WIFEXITED(rc) ? WEXITSTATUS(rc) : -1};
}

} // namespace quenix::testing
