#include "support/peers.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
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
    if (pid_ > 0) {
        kill(-pid_, SIGTERM);
        int i = 0;
        while (waitpid(pid_, nullptr, WNOHANG) == 0 && ++i < 200) usleep(10000);
        if (i == 200) {
            kill(-pid_, SIGKILL);
            waitpid(pid_, nullptr, 0);
        }
    }
    if (out_ >= 0) close(out_);
}

std::string ChildProcess::readLine(int timeoutMs) {
    auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    while (out_ >= 0) {
        std::size_t nl = pending_.find('\n');
        if (nl != std::string::npos) {
            std::string line = pending_.substr(0, nl);
            pending_.erase(0, nl + 1);
            return line;
        }
        auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
        pollfd p{out_, POLLIN, 0};
        char buf[512];
        ssize_t n = 0;
        if (left.count() <= 0 || poll(&p, 1, static_cast<int>(left.count())) <= 0 ||
            (n = read(out_, buf, sizeof buf)) <= 0)
            break;
        pending_.append(buf, static_cast<std::size_t>(n));
    }
    return {};
}

bool HaveProgram(const std::string& name) {
    const char* env = std::getenv("PATH");
    const std::string path = env ? env : "/usr/bin:/bin";
    for (std::size_t start = 0; start < path.size();) {
        std::size_t colon = std::min(path.find(':', start), path.size());
        if (colon > start && access((path.substr(start, colon - start) + "/" + name).c_str(), X_OK) == 0) return true;
        start = colon + 1;
    }
    return false;
}

// -displayfd: the server picks a free display and tells us its number.
XvfbServer::XvfbServer()
    : process_(HaveProgram("Xvfb") ? std::vector<std::string>{"Xvfb", "-displayfd", "1", "-screen", "0", "640x480x24",
                                                              "-nolisten", "tcp", "-noreset"}
                                   : std::vector<std::string>{"true"}) {
    std::string number = process_.readLine(10000);
    if (!number.empty()) display_ = ":" + number;
}

} // namespace quenix::testing
