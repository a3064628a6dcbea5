// The kernel's LIRC character devices: the requests map onto the kernel's own ioctl numbers.

#include "io/kernel_ir_device.h"

#include <cerrno>
#include <chrono>
#include <climits>
#include <cstring>
#include <fcntl.h>
#include <linux/lirc.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <thread>
#include <unistd.h>

namespace quenix {

static_assert(kMode2Pulse == LIRC_MODE2_PULSE && kMode2Space == LIRC_MODE2_SPACE &&
              kMode2Frequency == LIRC_MODE2_FREQUENCY && kMode2Timeout == LIRC_MODE2_TIMEOUT &&
              kMode2Overflow == LIRC_MODE2_OVERFLOW && kMode2ValueMask == LIRC_VALUE_MASK &&
              kMode2TypeMask == LIRC_MODE2_MASK);
static_assert(kLircModePulse == LIRC_MODE_PULSE && kLircModeMode2 == LIRC_MODE_MODE2 &&
              kLircCanSendPulse == LIRC_CAN_SEND_PULSE && kLircCanRecMode2 == LIRC_CAN_REC_MODE2 &&
              kLircCanSetSendCarrier == LIRC_CAN_SET_SEND_CARRIER &&
              kLircCanSetSendDutyCycle == LIRC_CAN_SET_SEND_DUTY_CYCLE &&
              kLircCanSetRecTimeout == LIRC_CAN_SET_REC_TIMEOUT);

namespace {

unsigned long RequestNumber(LircRequest r) {
    switch (r) {
    case LircRequest::GetFeatures: return LIRC_GET_FEATURES;
    case LircRequest::SetRecMode: return LIRC_SET_REC_MODE;
    case LircRequest::SetSendMode: return LIRC_SET_SEND_MODE;
    case LircRequest::SetSendCarrier: return LIRC_SET_SEND_CARRIER;
    case LircRequest::SetSendDutyCycle: return LIRC_SET_SEND_DUTY_CYCLE;
    }
    return 0;
}

class LinuxKernelIr final : public KernelIrSystem {
public:
    int request(int fd, LircRequest r, std::uint32_t& value) override {
        return ::ioctl(fd, RequestNumber(r), &value) == 0 ? 0 : errno;
    }
    long read(int fd, std::uint8_t* buffer, std::size_t size) override {
        for (;;) {
            const ssize_t n = ::read(fd, buffer, size);
            if (n >= 0) return static_cast<long>(n);
            if (errno == EINTR) continue;
            return errno == EAGAIN || errno == EWOULDBLOCK ? 0 : -errno;
        }
    }
    int write(int fd, const std::uint8_t* data, std::size_t size) override {
        std::size_t done = 0;
        while (done < size) {
            const ssize_t n = ::write(fd, data + done, size - done);
            if (n > 0) {
                done += static_cast<std::size_t>(n);
            } else if (n < 0 && errno == EAGAIN) {
                pollfd p{fd, POLLOUT, 0};
                ::poll(&p, 1, 1000);
            } else if (n < 0 && errno != EINTR) {
                return errno;
            }
        }
        return 0;
    }
    bool waitReadable(int fd, int ms) override {
        pollfd p{fd, POLLIN, 0};
        const int r = ::poll(&p, 1, ms);
        return r > 0 && (p.revents & (POLLIN | POLLERR | POLLHUP)) != 0;
    }
    void sleepUs(std::int64_t us) override { std::this_thread::sleep_for(std::chrono::microseconds(us)); }
    std::int64_t nowUs() override {
        return std::chrono::duration_cast<std::chrono::microseconds>(
                   std::chrono::steady_clock::now().time_since_epoch())
            .count();
    }
    std::string name(int fd) override {
        char path[PATH_MAX] = {};
        const ssize_t n = ::readlink(("/proc/self/fd/" + std::to_string(fd)).c_str(), path, sizeof path - 1);
        return n > 0 ? std::string(path, static_cast<std::size_t>(n)) : "descriptor " + std::to_string(fd);
    }
    std::string errorText(int error) override { return std::strerror(error); }
};

} // namespace

std::unique_ptr<KernelIrSystem> MakeSystemKernelIr() { return std::make_unique<LinuxKernelIr>(); }

bool IsKernelIrHandle(PortHandle handle) {
    const int fd = static_cast<int>(handle);
    return ::fcntl(fd, F_GETFD) != -1 && !::isatty(fd);
}

} // namespace quenix
