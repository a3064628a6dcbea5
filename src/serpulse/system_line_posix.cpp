#include "serpulse/system_line.h"

#include <cerrno>
#include <poll.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

namespace serpulse {

namespace {

class PosixLine final : public Line {
public:
    explicit PosixLine(int fd) : fd_(fd) {}

    bool dcd() override {
        int lines = 0;
        if (::ioctl(fd_, TIOCMGET, &lines) == 0) return (lines & TIOCM_CD) != 0;
        // A pseudo-terminal has no modem lines: it reads as on, as in the port layer.
        return errno == ENOTTY || errno == EINVAL;
    }

    void setDtr(bool on) override {
        int bits = TIOCM_DTR;
        ::ioctl(fd_, on ? TIOCMBIS : TIOCMBIC, &bits);
    }

    bool write(const std::uint8_t* data, std::size_t size) override {
        std::size_t done = 0;
        while (done < size) {
            ssize_t n = ::write(fd_, data + done, size - done);
            if (n > 0) {
                done += static_cast<std::size_t>(n);
                continue;
            }
            if (n < 0 && errno == EINTR) continue;
            if (n < 0 && errno != EAGAIN && errno != EWOULDBLOCK) return false;
            // The port was opened non-blocking: wait for room.
            pollfd p{fd_, POLLOUT, 0};
            if (::poll(&p, 1, 1000) <= 0) return false;
        }
        return true;
    }

    void drain() override { ::tcdrain(fd_); }

private:
    int fd_;
};

} // namespace

std::unique_ptr<Line> MakeSystemLine(std::intptr_t handle) {
    return std::make_unique<PosixLine>(static_cast<int>(handle));
}

} // namespace serpulse
