#include "actions/launcher.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <vector>

extern char** environ;

namespace quenix {
namespace {

class PosixLauncher final : public ProgramLauncher {
public:
    ~PosixLauncher() override { reap(); }

    bool start(const std::string& commandLine, bool shown) override {
        reap();
        std::vector<std::string> words = SplitCommandLine(commandLine);
        if (words.empty()) return false;
        std::vector<char*> argv;
        for (std::string& w : words) argv.push_back(w.data());
        argv.push_back(nullptr);

        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        if (!shown) {
            // No terminal for a hidden program: it neither reads nor writes ours.
            for (int fd = 0; fd <= 2; ++fd)
                posix_spawn_file_actions_addopen(&actions, fd, "/dev/null", fd == 0 ? O_RDONLY : O_WRONLY, 0);
        }
        posix_spawnattr_t attr;
        posix_spawnattr_init(&attr);
        posix_spawnattr_setflags(&attr, POSIX_SPAWN_SETSID); // it outlives a closed terminal
        pid_t pid = 0;
        int rc = posix_spawnp(&pid, argv[0], &actions, &attr, argv.data(), environ);
        posix_spawnattr_destroy(&attr);
        posix_spawn_file_actions_destroy(&actions);
        if (rc != 0) return false;
        children_.push_back(pid);
        return true;
    }

private:
    // Collects the programs that have ended, without waiting for the others.
    void reap() {
        std::vector<pid_t> running;
        for (pid_t pid : children_) {
            int status = 0;
            if (waitpid(pid, &status, WNOHANG) == 0) running.push_back(pid);
        }
        children_.swap(running);
    }

    std::vector<pid_t> children_;
};

} // namespace

std::unique_ptr<ProgramLauncher> MakeSystemLauncher() { return std::make_unique<PosixLauncher>(); }

} // namespace quenix
