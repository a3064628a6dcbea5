// Start-up time of the program against a bare Qt window, paired: each round starts both, in
// turns, on a private X server, and times from the start of the process to the mapping of its
// main window, and for the program also to the close of its start-up progress window. The
// medians, their ratio, and the shared libraries each had loaded when its window mapped.
//
// bench/startup [rounds]   (needs Xvfb and dbus-daemon)

#include <X11/Xlib.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <poll.h>
#include <set>
#include <signal.h>
#include <spawn.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

extern char** environ;

namespace {

using Clock = std::chrono::steady_clock;

pid_t Spawn(std::vector<std::string> args, int stdoutFd = -1) {
    std::vector<char*> argv;
    for (std::string& a : args) argv.push_back(a.data());
    argv.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    if (stdoutFd >= 0) posix_spawn_file_actions_adddup2(&actions, stdoutFd, 1);
    posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
    pid_t pid = -1;
    if (posix_spawn(&pid, argv[0], &actions, nullptr, argv.data(), environ) != 0) pid = -1;
    posix_spawn_file_actions_destroy(&actions);
    return pid;
}

void Stop(pid_t pid) {
    kill(pid, SIGTERM);
    waitpid(pid, nullptr, 0);
}

// Distinct shared objects mapped into a process.
int Libraries(pid_t pid) {
    std::ifstream maps("/proc/" + std::to_string(pid) + "/maps");
    std::set<std::string> seen;
    for (std::string line; std::getline(maps, line);) {
        const auto slash = line.find('/');
        if (slash != std::string::npos && line.find(".so", slash) != std::string::npos) seen.insert(line.substr(slash));
    }
    return static_cast<int>(seen.size());
}

struct Start {
    double ms = -1;
    double finishedMs = -1; // the progress window closed; the main window is painted by then
    int libraries = 0;
};

// A window can be gone by the time its event is read.
int IgnoreXError(Display*, XErrorEvent*) { return 0; }

std::string Title(Display* x, Window w) {
    char* name = nullptr;
    std::string title;
    if (XFetchName(x, w, &name) && name) title = name;
    if (name) XFree(name);
    return title;
}

// Starts the program and waits for a top-level window whose title begins with `title`, then,
// when `progress` is given, for the window of that title to close.
Start TimeStart(Display* x, const std::string& program, const std::string& title, const std::string& option = {},
                const std::string& progress = {}) {
    while (XPending(x)) {
        XEvent drop;
        XNextEvent(x, &drop);
    }
    const auto t0 = Clock::now();
    const pid_t pid = option.empty() ? Spawn({program}) : Spawn({program, option});
    Start result;
    auto since = [&t0] { return std::chrono::duration<double, std::milli>(Clock::now() - t0).count(); };
    const bool waitProgress = !progress.empty();
    while (pid > 0 && Clock::now() - t0 < std::chrono::seconds(20) &&
           (result.ms < 0 || (waitProgress && result.finishedMs < 0))) {
        pollfd p{ConnectionNumber(x), POLLIN, 0};
        if (!XPending(x) && poll(&p, 1, 100) <= 0) continue;
        XEvent e;
        XNextEvent(x, &e);
        if (e.type == MapNotify && result.ms < 0 && Title(x, e.xmap.window).rfind(title, 0) == 0) {
            result.ms = since();
            result.libraries = Libraries(pid);
        } else if (e.type == UnmapNotify && waitProgress && Title(x, e.xunmap.window) == progress) {
            result.finishedMs = since();
        }
    }
    if (pid > 0) Stop(pid);
    return result;
}

double Median(std::vector<double> v) {
    std::sort(v.begin(), v.end());
    return v.empty() ? 0 : (v.size() % 2 ? v[v.size() / 2] : (v[v.size() / 2 - 1] + v[v.size() / 2]) / 2);
}

} // namespace

int main(int argc, char** argv) {
    const int rounds = argc > 1 ? std::max(1, std::atoi(argv[1])) : 10;
    int fds[2];
    if (pipe(fds) != 0) return 1;
    const pid_t xvfb = Spawn({"/usr/bin/Xvfb", "-displayfd", "1", "-nolisten", "tcp", "-screen", "0", "1280x800x24"},
                             fds[1]);
    close(fds[1]);
    char buf[16] = {};
    if (xvfb < 0 || read(fds[0], buf, sizeof buf - 1) <= 0) {
        std::fprintf(stderr, "startup: no Xvfb\n");
        return 1;
    }
    const std::string display = ":" + std::string(buf, std::strcspn(buf, "\n"));
    setenv("DISPLAY", display.c_str(), 1);
    // A desktop has a session bus; without one the tray icon's bus connection would launch one.
    int bus[2];
    if (pipe(bus) != 0) return 1;
    const pid_t dbus = Spawn({"/usr/bin/dbus-daemon", "--session", "--nofork", "--print-address=1"}, bus[1]);
    close(bus[1]);
    char address[512] = {};
    if (dbus < 0 || read(bus[0], address, sizeof address - 1) <= 0) {
        std::fprintf(stderr, "startup: no dbus-daemon\n");
        return 1;
    }
    address[std::strcspn(address, "\n")] = 0;
    setenv("DBUS_SESSION_BUS_ADDRESS", address, 1);
    // A runtime folder of its own, so that the lircd socket of a program running elsewhere is not met.
    char runtime[] = "/tmp/quenix-startup-XXXXXX";
    if (!mkdtemp(runtime)) return 1;
    setenv("XDG_RUNTIME_DIR", runtime, 1);
    setenv("QT_QPA_PLATFORM", "xcb", 1);
    Display* x = XOpenDisplay(display.c_str());
    if (!x) return 1;
    XSetErrorHandler(IgnoreXError);
    XSelectInput(x, DefaultRootWindow(x), SubstructureNotifyMask);

    const std::string bare = QUENIX_BENCH_DIR "/helpers/bare_window", program = QUENIX_PROGRAM_DIR "/quenix";
    struct Row {
        const char* name;
        std::string path, title, option, progress;
        std::vector<double> ms, finishedMs;
        int libraries = 0;
    };
    std::vector<Row> rows{{"bare Qt window", bare, "Bare Qt window", "", ""},
                          {"with a line of text", bare, "Bare Qt window", "--text", ""},
                          {"quenix", program, "Orvel's Quenix Remote Manager", "", "Quenix Remote Manager"}};
    // One unmeasured start each warms the file cache.
    for (Row& r : rows) TimeStart(x, r.path, r.title, r.option, r.progress);
    bool failed = false;
    for (int i = 0; i < rounds && !failed; ++i) {
        // The order turns each round, so that none always runs first.
        for (std::size_t k = 0; k < rows.size() && !failed; ++k) {
            Row& r = rows[(i + k) % rows.size()];
            const Start s = TimeStart(x, r.path, r.title, r.option, r.progress);
            failed = s.ms < 0 || (!r.progress.empty() && s.finishedMs < 0);
            if (failed) std::fprintf(stderr, "startup: %s showed no window, or its progress window stayed\n", r.name);
            r.ms.push_back(s.ms);
            r.finishedMs.push_back(s.finishedMs);
            r.libraries = s.libraries;
        }
    }
    XCloseDisplay(x);
    Stop(dbus);
    Stop(xvfb);
    std::filesystem::remove_all(runtime);
    if (failed) return 1;

    std::printf("start-up to the main window, median of %d rounds, each starting all three in turn\n", rounds);
    std::printf("%-20s %10s %16s %10s %22s\n", "program", "ms", "shared objects", "ratio", "start-up finished ms");
    for (const Row& r : rows) {
        std::printf("%-20s %10.1f %16d %10.2f", r.name, Median(r.ms), r.libraries, Median(r.ms) / Median(rows[0].ms));
        if (r.progress.empty()) {
            std::printf(" %22s\n", "-");
        } else {
            std::printf(" %22.1f\n", Median(r.finishedMs));
        }
    }
    std::printf("goal: quenix <= 1.30 x the bare window. Start-up finished: the progress window closed, the\n"
                "receiver open and the main window painted.\n");
    return 0;
}
