// Runs the window tests inside one QApplication, offscreen; with QUENIX_UI_XVFB=<WxHxD> on a private
// X server of that size with a tray host, so that screenshots show what a user sees.

#include <QApplication>
#include <QTest>
#include <QSystemTrayIcon>

#include <gmock/gmock.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

// Qt and fontconfig keep caches until exit that LeakSanitizer reports; the core tests keep it.
extern "C" const char* __asan_default_options() { return "detect_leaks=0"; }

namespace {

pid_t Spawn(const std::vector<std::string>& args, int keepFd = -1) {
    pid_t pid = fork();
    if (pid != 0) return pid;
    std::vector<char*> argv;
    for (const auto& a : args) argv.push_back(const_cast<char*>(a.c_str()));
    argv.push_back(nullptr);
    // Quiet helpers: their chatter is not the test's output.
    if (keepFd < 0 && std::freopen("/dev/null", "w", stdout)) dup2(fileno(stdout), 2);
    execvp(argv[0], argv.data());
    _exit(127);
}

void Stop(pid_t pid) {
    if (pid > 0 && kill(pid, SIGTERM) == 0) waitpid(pid, nullptr, 0);
}

// Starts Xvfb on a free display number and returns it, or -1.
int StartXvfb(const std::string& screen, pid_t& pid) {
    int fds[2];
    if (pipe(fds) != 0) return -1;
    pid = Spawn({"Xvfb", "-displayfd", std::to_string(fds[1]), "-screen", "0", screen, "-nolisten", "tcp"}, fds[1]);
    close(fds[1]);
    std::string number;
    char c;
    while (read(fds[0], &c, 1) == 1 && c != '\n') number += c;
    close(fds[0]);
    return number.empty() ? -1 : std::atoi(number.c_str());
}

} // namespace

int main(int argc, char** argv) {
    ::testing::InitGoogleMock(&argc, argv);
    pid_t xvfb = -1;
    pid_t trayer = -1;
    const char* screen = std::getenv("QUENIX_UI_XVFB");
    if (screen && *screen) {
        const int display = StartXvfb(screen, xvfb);
        if (display < 0) return std::fprintf(stderr, "Xvfb did not start\n"), 1;
        setenv("DISPLAY", (":" + std::to_string(display)).c_str(), 1);
        setenv("QT_QPA_PLATFORM", "xcb", 1);
        trayer = Spawn({"trayer", "--edge", "bottom", "--align", "right", "--widthtype", "request", "--height", "32",
                        "--SetDockType", "true", "--expand", "true", "--tint", "0xdddddd", "--transparent", "true",
                        "--alpha", "0"});
    } else {
        setenv("QT_QPA_PLATFORM", "offscreen", 1);
    }
    int rc = 0;
    {
        QApplication app(argc, argv);
        app.setQuitOnLastWindowClosed(false);
        if (trayer > 0) (void)QTest::qWaitFor([] { return QSystemTrayIcon::isSystemTrayAvailable(); }, 5000);
        rc = RUN_ALL_TESTS();
    }
    Stop(trayer);
    Stop(xvfb);
    return rc;
}
