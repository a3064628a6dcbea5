// An IRMan receiver on a pseudo-terminal, for trying the program by hand or from an
// end-to-end test: links <folder>/com<n> to a new pty and answers the "I", "R" handshake.
//
//   irman_sim <program folder> <n> [answer [delay ms]]     answer "" never answers
//
// Prints the pty's name, then serves until stdin closes or the process is ended.

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <poll.h>
#include <pty.h>
#include <string>
#include <termios.h>
#include <thread>
#include <unistd.h>

int main(int argc, char** argv) {
    if (argc < 3) {
        std::fprintf(stderr, "usage: %s <program folder> <n> [answer [delay ms]]\n", argv[0]);
        return 2;
    }
    const std::string answer = argc > 3 ? argv[3] : "OK";
    const int delayMs = argc > 4 ? std::atoi(argv[4]) : 50;
    int master = -1, slave = -1;
    if (::openpty(&master, &slave, nullptr, nullptr, nullptr) != 0) {
        std::perror("openpty");
        return 1;
    }
    termios t{};
    ::tcgetattr(master, &t);
    ::cfmakeraw(&t);
    ::tcsetattr(master, TCSANOW, &t);
    const std::filesystem::path link = std::filesystem::path(argv[1]) / ("com" + std::string(argv[2]));
    std::error_code ec;
    std::filesystem::remove(link, ec);
    std::filesystem::create_symlink(::ttyname(slave), link, ec);
    if (ec) {
        std::fprintf(stderr, "%s: %s\n", link.c_str(), ec.message().c_str());
        return 1;
    }
    std::printf("%s -> %s\n", link.c_str(), ::ttyname(slave));
    std::fflush(stdout);

    std::string heard;
    for (;;) {
        pollfd p[2] = {{master, POLLIN, 0}, {0, POLLIN, 0}};
        if (::poll(p, 2, -1) < 0 && errno != EINTR) break;
        if (p[1].revents & (POLLIN | POLLHUP)) {
            char c;
            if (::read(0, &c, 1) <= 0) break;
        }
        if (!(p[0].revents & POLLIN)) continue;
        char buf[256];
        ssize_t n = ::read(master, buf, sizeof buf);
        if (n <= 0) continue;
        heard.append(buf, static_cast<std::size_t>(n));
        if (heard.find("IR") == std::string::npos) continue;
        heard.clear();
        if (answer.empty()) continue;
        std::this_thread::sleep_for(std::chrono::milliseconds(delayMs));
        if (::write(master, answer.data(), answer.size()) < 0) break;
    }
    std::filesystem::remove(link, ec);
    return 0;
}
