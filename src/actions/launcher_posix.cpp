#include "actions/launcher.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace quenix {
namespace {

bool Runnable(const std::string& path) {
    struct stat st {};
    return stat(path.c_str(), &st) == 0 && S_ISREG(st.st_mode) && access(path.c_str(), X_OK) == 0;
}

class PosixLauncher final : public ProgramLauncher {
public:
    explicit PosixLauncher(std::string folder) : folder_(std::move(folder)) {}

    std::string program(const std::string& commandLine) const override {
        std::vector<std::string> words = ProgramWords(commandLine, [this](const std::string& n) { return locate(n); });
        return words.empty() ? std::string() : words[0];
    }

    bool start(const std::string& commandLine, bool shown) override {
        std::vector<std::string> words = ProgramWords(commandLine, [this](const std::string& n) { return locate(n); });
        if (words.empty() || words[0].empty()) return false;
        std::vector<char*> argv;
        for (std::string& w : words) argv.push_back(w.data());
        argv.push_back(nullptr);

        // The program reports a failed exec through this pipe; it closes unread when the exec works.
        // The middle child names the program's process through the other.
        int report[2], named[2];
        if (pipe2(report, O_CLOEXEC) != 0) return false;
        if (pipe2(named, O_CLOEXEC) != 0) {
            close(report[0]);
            close(report[1]);
            return false;
        }
        // No terminal for a hidden program: it neither reads nor writes ours.
        const int devnull = shown ? -1 : open("/dev/null", O_RDWR | O_CLOEXEC);
        const pid_t middle = fork();
        if (middle == 0) {
            // The middle child leaves at once, so the program is adopted and reaped by init:
            // nothing it leaves behind waits here as a zombie. Only async-signal-safe calls.
            setsid();
            const pid_t pid = fork();
            if (pid == 0) {
                if (devnull >= 0)
                    for (int fd = 0; fd <= 2; ++fd) dup2(devnull, fd);
                execv(argv[0], argv.data());
            }
            if (pid > 0) {
                (void)!write(named[1], &pid, sizeof pid);
                _exit(0);
            }
            const int err = errno; // the fork or the exec failed
            (void)!write(report[1], &err, sizeof err);
            _exit(127);
        }
        close(report[1]);
        close(named[1]);
        if (devnull >= 0) close(devnull);
        if (middle < 0) {
            close(report[0]);
            close(named[0]);
            return false;
        }
        while (waitpid(middle, nullptr, 0) < 0 && errno == EINTR) {
        }
        pid_t started = 0;
        while (read(named[0], &started, sizeof started) < 0 && errno == EINTR) {
        }
        close(named[0]);
        int err = 0;
        ssize_t n;
        while ((n = read(report[0], &err, sizeof err)) < 0 && errno == EINTR) {
        }
        close(report[0]);
        started_ = n == 0 ? started : 0;
        return n == 0;
    }

    long startedProcess() const override { return started_; }

    // init may not have reaped it yet: an ended program lingers as a zombie ("Z").
    bool stillRunning(long process) const override {
        if (process <= 0) return true;
        std::ifstream stat("/proc/" + std::to_string(process) + "/stat");
        std::string line;
        if (!std::getline(stat, line)) return kill(static_cast<pid_t>(process), 0) == 0 || errno == EPERM;
        const std::size_t close = line.rfind(')');
        return close == std::string::npos || close + 2 >= line.size() || line[close + 2] != 'Z';
    }

private:
    // A path as it is (a relative one from the program folder first), a bare name beside the
    // program, else on PATH.
    std::string locate(const std::string& name) const {
        if (name.empty()) return {};
        const std::string beside = folder_.empty() || name[0] == '/' ? std::string() : folder_ + "/" + name;
        if (!beside.empty() && Runnable(beside)) return beside;
        if (name.find('/') != std::string::npos) return Runnable(name) ? name : std::string();
        const char* env = std::getenv("PATH");
        const std::string path = env ? env : "/usr/local/bin:/usr/bin:/bin";
        for (std::size_t start = 0; start <= path.size();) {
            std::size_t colon = path.find(':', start);
            if (colon == std::string::npos) colon = path.size();
            const std::string candidate = path.substr(start, colon - start) + "/" + name;
            if (colon > start && Runnable(candidate)) return candidate;
            start = colon + 1;
        }
        return {};
    }

    std::string folder_;
    pid_t started_ = 0;
};

} // namespace

std::unique_ptr<ProgramLauncher> MakeSystemLauncher(const std::string& programFolder) {
    return std::make_unique<PosixLauncher>(programFolder);
}

} // namespace quenix
