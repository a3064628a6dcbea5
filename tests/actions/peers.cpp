#include "peers.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <filesystem>

extern char** environ;

namespace quenix::testing {

ChildProcess::ChildProcess(std::vector<std::string> argv, std::vector<std::string> extraEnv, bool captureStdout) {
    std::vector<char*> args;
    for (auto& a : argv) args.push_back(a.data());
    args.push_back(nullptr);
    std::vector<std::string> envStore;
    for (char** e = environ; *e; ++e) envStore.emplace_back(*e);
    for (auto& e : extraEnv) envStore.push_back(e);
    std::vector<char*> env;
    for (auto& e : envStore) env.push_back(e.data());
    env.push_back(nullptr);

    posix_spawn_file_actions_t fa;
    posix_spawn_file_actions_init(&fa);
    int pipefd[2] = {-1, -1};
    if (captureStdout && pipe2(pipefd, O_CLOEXEC) == 0) {
        posix_spawn_file_actions_adddup2(&fa, pipefd[1], 1);
    }
    posix_spawn_file_actions_addopen(&fa, 0, "/dev/null", O_RDONLY, 0);
    pid_t pid = -1;
    // Its own process group, so that stop() ends whatever it started too.
    posix_spawnattr_t attr;
    posix_spawnattr_init(&attr);
    posix_spawnattr_setflags(&attr, POSIX_SPAWN_SETPGROUP);
    posix_spawnattr_setpgroup(&attr, 0);
    if (posix_spawnp(&pid, args[0], &fa, &attr, args.data(), env.data()) == 0) pid_ = pid;
    posix_spawnattr_destroy(&attr);
    posix_spawn_file_actions_destroy(&fa);
    if (pipefd[1] >= 0) close(pipefd[1]);
    out_ = pipefd[0];
}

ChildProcess::~ChildProcess() { stop(); }

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
        if (left.count() <= 0) break;
        pollfd p{out_, POLLIN, 0};
        if (poll(&p, 1, static_cast<int>(left.count())) <= 0) break;
        char buf[512];
        ssize_t n = read(out_, buf, sizeof buf);
        if (n <= 0) break;
        pending_.append(buf, static_cast<std::size_t>(n));
    }
    return {};
}

void ChildProcess::stop() {
    if (pid_ > 0) {
        kill(-pid_, SIGTERM);
        for (int i = 0; i < 200; ++i) {
            if (waitpid(pid_, nullptr, WNOHANG) != 0) {
                pid_ = -1;
                break;
            }
            usleep(10000);
        }
        if (pid_ > 0) {
            kill(-pid_, SIGKILL);
            waitpid(pid_, nullptr, 0);
            pid_ = -1;
        }
    }
    if (out_ >= 0) close(out_);
    out_ = -1;
}

bool HaveProgram(const std::string& name) {
    const char* path = std::getenv("PATH");
    std::string p = path ? path : "/usr/bin:/bin";
    std::size_t start = 0;
    while (start <= p.size()) {
        std::size_t colon = p.find(':', start);
        std::string dir = p.substr(start, colon == std::string::npos ? std::string::npos : colon - start);
        if (!dir.empty() && access((dir + "/" + name).c_str(), X_OK) == 0) return true;
        if (colon == std::string::npos) break;
        start = colon + 1;
    }
    return false;
}

namespace {
std::vector<std::string> XvfbArgs() {
    // -displayfd: the server picks a free display and tells us its number.
    return {"Xvfb", "-displayfd", "1", "-screen", "0", "640x480x24", "-nolisten", "tcp", "-noreset"};
}
} // namespace

XvfbServer::XvfbServer() : process_(HaveProgram("Xvfb") ? XvfbArgs() : std::vector<std::string>{"true"}, {}, true) {
    std::string number = process_.readLine(10000);
    if (!number.empty()) display_ = ":" + number;
}

} // namespace quenix::testing
