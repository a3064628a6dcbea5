#pragma once

// A pseudo-terminal pair whose slave a program folder links as com<n>.

#include <fcntl.h>
#include <filesystem>
#include <poll.h>
#include <pty.h>
#include <stdexcept>
#include <string>
#include <termios.h>
#include <unistd.h>

namespace quenix::testing {

class PtyPair {
public:
    PtyPair() {
        if (::openpty(&master_, &keep_, nullptr, nullptr, nullptr) != 0) throw std::runtime_error("openpty");
        // The far end reads raw bytes; the open slave descriptor keeps the pair alive until the
        // program opens it.
        termios t{};
        ::tcgetattr(master_, &t);
        ::cfmakeraw(&t);
        ::tcsetattr(master_, TCSANOW, &t);
        ::fcntl(master_, F_SETFL, ::fcntl(master_, F_GETFL) | O_NONBLOCK);
    }
    ~PtyPair() { ::close(master_), ::close(keep_); }

    void linkAs(const std::filesystem::path& folder, int n) const {
        std::filesystem::create_symlink(::ttyname(keep_), folder / ("com" + std::to_string(n)));
    }

    // Writes to the program and waits until the bytes can be read on the slave side.
    void send(const std::string& bytes) const {
        for (std::size_t done = 0; done < bytes.size();) {
            const ssize_t n = ::write(master_, bytes.data() + done, bytes.size() - done);
            if (n > 0) done += static_cast<std::size_t>(n);
            else waitFor(master_, POLLOUT);
        }
        waitFor(keep_, POLLIN);
    }

    // Everything the program has written so far; waits until at least `atLeast` bytes came.
    std::string receive(std::size_t atLeast = 0, int timeoutMs = 2000) const {
        std::string out;
        char buf[4096];
        for (;;) {
            const ssize_t n = ::read(master_, buf, sizeof buf);
            if (n > 0) out.append(buf, static_cast<std::size_t>(n));
            else if (out.size() >= atLeast || !waitFor(master_, POLLIN, timeoutMs)) return out;
        }
    }

private:
    static bool waitFor(int fd, short events, int timeoutMs = 1000) {
        pollfd p{fd, events, 0};
        return ::poll(&p, 1, timeoutMs) > 0;
    }

    int master_ = -1;
    int keep_ = -1;
};

} // namespace quenix::testing
