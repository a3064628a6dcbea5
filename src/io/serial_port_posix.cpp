// The serial driver on POSIX: termios for speed and framing, ioctl for the modem lines.
//
// COMn is the target of a link com<n> in the program folder when there is one (as Wine's
// dosdevices does), else /dev/ttyS<n-1>. A pseudo-terminal has no modem control (its line
// ioctls answer ENOTTY): its lines read as on, like a three-wire link with the handshake
// looped back, and line writes do nothing. Any other failure of a line read reads as off.
//
// LIRCn is a kernel infrared device: a link lirc<n> in the program folder (which may point
// at a FIFO of mode2 words), else /dev/lirc<n>. The capture library reads and sends on it;
// here it has no lines, and DCD reads on while it holds words to read, so the question "is
// the receiver active?" becomes "is the descriptor readable?".
//
// DTR and RTS follow the Windows rule: a configuration drops them only when it switches their
// control to "disable", so a port configured again (TxD sending does it before every send)
// keeps powering its receiver.

#include "io/serial_port.h"

#include <cerrno>
#include <chrono>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <map>
#include <poll.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <termios.h>
#include <unistd.h>
#if __has_include(<linux/serial.h>)
#include <linux/serial.h>
#define QUENIX_HAVE_SERIAL_INFO 1
#endif

namespace quenix {
namespace {

struct SpeedEntry {
    std::uint32_t baud;
    speed_t speed;
};

constexpr SpeedEntry kSpeeds[] = {
    {110, B110},   {300, B300},     {600, B600},     {1200, B1200},   {2400, B2400},     {4800, B4800},
    {9600, B9600}, {19200, B19200}, {38400, B38400}, {57600, B57600}, {115200, B115200}, {230400, B230400},
};

speed_t SpeedOf(std::uint32_t baud) {
    for (const auto& e : kSpeeds)
        if (e.baud == baud) return e.speed;
    return 0;
}

std::uint32_t BaudOf(speed_t speed) {
    for (const auto& e : kSpeeds)
        if (e.speed == speed) return e.baud;
    return 9600;
}

tcflag_t SizeFlag(int bits) {
    switch (bits) {
    case 5: return CS5;
    case 6: return CS6;
    case 7: return CS7;
    default: return CS8;
    }
}

class PosixSerialDriver final : public SerialDriver {
public:
    explicit PosixSerialDriver(std::string programFolder) : folder_(std::move(programFolder)) {}

    PortHandle open(const std::string& deviceName) override {
        openError_.clear();
        std::string path = pathOf(deviceName);
        if (path.empty()) return kNoPort;
        const bool kernel = IsLircPort(ComPortNumber(deviceName));
        // Read and write, so that a FIFO never sees its last writer leave.
        int fd = ::open(path.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
        if (fd < 0) return kernel ? refuseKernel(deviceName, path, errno) : refuse(path, errno);
        // A handle of 0 reads as "closed" to the capture library: keep clear of the standard
        // descriptors even when the program was started without them.
        if (fd < 3) {
            int high = ::fcntl(fd, F_DUPFD_CLOEXEC, 3);
            ::close(fd);
            if (high < 0) return refuse(path, errno);
            fd = high;
        }
        if (kernel) {
            ports_[fd] = PortState{};
            ports_[fd].kernel = true;
            return fd;
        }
        if (!::isatty(fd) || !uartPresent(fd, path)) {
            ::close(fd);
            return refuse(path, ENOTTY);
        }
        // No sharing: a second open of the same port fails, as on Windows.
        if (::flock(fd, LOCK_EX | LOCK_NB) != 0) {
            ::close(fd);
            return refuse(path, EBUSY);
        }
        ::ioctl(fd, TIOCEXCL);
        ports_[fd] = PortState{};
        return fd;
    }

    std::string openError() const override { return openError_; }

    bool getState(PortHandle h, CommState& s) override {
        termios t{};
        if (::tcgetattr(fd(h), &t) != 0) return false;
        s.baudRate = BaudOf(::cfgetospeed(&t));
        switch (t.c_cflag & CSIZE) {
        case CS5: s.byteSize = 5; break;
        case CS6: s.byteSize = 6; break;
        case CS7: s.byteSize = 7; break;
        default: s.byteSize = 8; break;
        }
        s.parity = (t.c_cflag & PARENB) ? ((t.c_cflag & PARODD) ? 1 : 2) : 0;
        s.stopBits = (t.c_cflag & CSTOPB) ? 2 : 0;
        s.flags = kCommFlagBinary | stateOf(h).lineControl;
        if (t.c_cflag & CRTSCTS) s.flags |= kCommFlagOutxCtsFlow;
        return true;
    }

    bool setState(PortHandle h, const CommState& s) override {
        termios t{};
        if (::tcgetattr(fd(h), &t) != 0) return false;
        speed_t speed = SpeedOf(s.baudRate);
        if (speed == 0 || s.byteSize < 5 || s.byteSize > 8) return false;
        // Raw bytes both ways; parity and stop bits as they were.
        t.c_iflag &= ~static_cast<tcflag_t>(IGNBRK | BRKINT | PARMRK | ISTRIP | INLCR | IGNCR | ICRNL | IXON | IXOFF |
                                            IXANY | INPCK);
        t.c_oflag &= ~static_cast<tcflag_t>(OPOST);
        t.c_lflag &= ~static_cast<tcflag_t>(ECHO | ECHONL | ICANON | ISIG | IEXTEN);
        t.c_cflag &= ~static_cast<tcflag_t>(CSIZE | CRTSCTS | HUPCL);
        t.c_cflag |= SizeFlag(s.byteSize) | CREAD | CLOCAL;
        if ((s.flags & kCommFlagOutxCtsFlow) != 0) t.c_cflag |= CRTSCTS;
        t.c_cc[VMIN] = 0;
        t.c_cc[VTIME] = 0;
        ::cfsetispeed(&t, speed);
        ::cfsetospeed(&t, speed);
        if (::tcsetattr(fd(h), TCSANOW, &t) != 0) return false;
        // Switching a line's control to "disable" drops it; a control already disabled leaves
        // the line as the escape functions set it.
        std::uint32_t& control = stateOf(h).lineControl;
        const std::uint32_t next = s.flags & (kCommFlagDtrControlMask | kCommFlagRtsControlMask);
        int lines = 0;
        if ((control & kCommFlagDtrControlMask) != 0 && (next & kCommFlagDtrControlMask) == 0) lines |= TIOCM_DTR;
        if ((control & kCommFlagRtsControlMask) != 0 && (next & kCommFlagRtsControlMask) == 0) lines |= TIOCM_RTS;
        control = next;
        if (lines != 0) lineIoctl(h, TIOCMBIC, lines);
        return true;
    }

    bool getTimeouts(PortHandle h, CommTimeouts& t) override {
        auto it = ports_.find(fd(h));
        if (it == ports_.end()) return false;
        t = it->second.timeouts;
        return true;
    }

    bool setTimeouts(PortHandle h, const CommTimeouts& t) override {
        auto it = ports_.find(fd(h));
        if (it == ports_.end()) return false;
        it->second.timeouts = t;
        return true;
    }

    bool read(PortHandle h, char* buffer, std::size_t max, std::size_t& got) override {
        got = 0;
        if (isKernel(h)) return false; // its words are the capture library's
        CommTimeouts t{};
        getTimeouts(h, t);
        // An interval of all ones with zero totals: return at once with what is buffered.
        bool immediate = t.readIntervalTimeout == 0xFFFFFFFFu && t.readTotalTimeoutMultiplier == 0 &&
                         t.readTotalTimeoutConstant == 0;
        std::int64_t budget =
            immediate ? 0
                      : static_cast<std::int64_t>(t.readTotalTimeoutMultiplier) * static_cast<std::int64_t>(max) +
                            t.readTotalTimeoutConstant;
        auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(budget);
        while (got < max) {
            ssize_t n = ::read(fd(h), buffer + got, max - got);
            if (n > 0) {
                got += static_cast<std::size_t>(n);
                continue;
            }
            if (n == 0 || errno == EAGAIN || errno == EWOULDBLOCK) {
                if (immediate || !waitFor(h, POLLIN, deadline)) break;
                continue;
            }
            if (errno == EINTR) continue;
            // A pty whose other end is closed answers EIO: that is "nothing to read".
            return errno == EIO;
        }
        return true;
    }

    bool write(PortHandle h, const char* data, std::size_t size, std::size_t& written) override {
        written = 0;
        if (isKernel(h)) return false; // bytes meant for a serial peer would go on the air
        CommTimeouts t{};
        getTimeouts(h, t);
        std::int64_t budget =
            static_cast<std::int64_t>(t.writeTotalTimeoutMultiplier) * static_cast<std::int64_t>(size) +
            t.writeTotalTimeoutConstant;
        bool unbounded = t.writeTotalTimeoutMultiplier == 0 && t.writeTotalTimeoutConstant == 0;
        auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(unbounded ? 3600000 : budget);
        while (written < size) {
            ssize_t n = ::write(fd(h), data + written, size - written);
            if (n > 0) {
                written += static_cast<std::size_t>(n);
                continue;
            }
            if (n < 0 && errno == EINTR) continue;
            if (n < 0 && errno != EAGAIN && errno != EWOULDBLOCK) return false;
            if (!waitFor(h, POLLOUT, deadline)) break; // time-out: report success, short
        }
        return true;
    }

    bool escape(PortHandle h, CommEscape function) override {
        if (isKernel(h)) return true;
        switch (function) {
        case CommEscape::SetDTR: return lineIoctl(h, TIOCMBIS, TIOCM_DTR);
        case CommEscape::ClrDTR: return lineIoctl(h, TIOCMBIC, TIOCM_DTR);
        case CommEscape::SetRTS: return lineIoctl(h, TIOCMBIS, TIOCM_RTS);
        case CommEscape::ClrRTS: return lineIoctl(h, TIOCMBIC, TIOCM_RTS);
        case CommEscape::SetBreak: return ::ioctl(fd(h), TIOCSBRK) == 0 || errno == ENOTTY || errno == EINVAL;
        case CommEscape::ClrBreak: return ::ioctl(fd(h), TIOCCBRK) == 0 || errno == ENOTTY || errno == EINVAL;
        }
        return false;
    }

    bool modemStatus(PortHandle h, std::uint32_t& status) override {
        status = 0;
        if (isKernel(h)) {
            pollfd p{fd(h), POLLIN, 0};
            if (::poll(&p, 1, 0) > 0 && (p.revents & POLLIN) == 0) return false; // unplugged
            status = kModemCtsOn | kModemDsrOn | ((p.revents & POLLIN) != 0 ? kModemDcdOn : 0);
            return true;
        }
        int lines = 0;
        if (::ioctl(fd(h), TIOCMGET, &lines) != 0) {
            if (errno != ENOTTY && errno != EINVAL) return false;
            status = kModemCtsOn | kModemDsrOn | kModemDcdOn; // no modem control: looped back
            return true;
        }
        if (lines & TIOCM_CTS) status |= kModemCtsOn;
        if (lines & TIOCM_DSR) status |= kModemDsrOn;
        if (lines & TIOCM_RI) status |= kModemRingOn;
        if (lines & TIOCM_CD) status |= kModemDcdOn;
        return true;
    }

    bool canWaitForLines(PortHandle h) override {
        serial_icounter_struct counts{};
        return !isKernel(h) && ::ioctl(fd(h), TIOCGICOUNT, &counts) == 0;
    }

    int waitLineChange(PortHandle h, std::uint32_t mask) override {
        int lines = 0;
        if (mask & kModemCtsOn) lines |= TIOCM_CTS;
        if (mask & kModemDsrOn) lines |= TIOCM_DSR;
        if (mask & kModemRingOn) lines |= TIOCM_RI;
        if (mask & kModemDcdOn) lines |= TIOCM_CD;
        if (::ioctl(fd(h), TIOCMIWAIT, lines) == 0) return 1;
        return errno == EINTR ? 0 : -1;
    }

    // Looks without opening: an open raises DTR and RTS and the close drops them, which resets
    // devices that listen to DTR. A port that exists but may not be opened is listed; opening
    // it then says why.
    bool defaultConfig(const std::string& deviceName) override {
        std::string path = pathOf(deviceName);
        struct stat st {};
        if (path.empty() || ::stat(path.c_str(), &st) != 0) return false;
        if (IsLircPort(ComPortNumber(deviceName))) return S_ISCHR(st.st_mode) || S_ISFIFO(st.st_mode);
        if (!S_ISCHR(st.st_mode)) return false;
        if (path.rfind("/dev/ttyS", 0) != 0) return true;
        // Every possible UART has a node; the kernel names the type of the one behind it.
        std::ifstream type("/sys/class/tty/" + path.substr(5) + "/type");
        int t = -1;
        if (type >> t) return t != 0; // PORT_UNKNOWN: no UART
        int fd = ::open(path.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
        if (fd < 0) return errno == EBUSY || errno == EACCES;
        bool ok = ::isatty(fd) && uartPresent(fd, path);
        ::close(fd);
        return ok;
    }

    void close(PortHandle h) override {
        ports_.erase(fd(h));
        ::close(fd(h));
    }

private:
    struct PortState {
        CommTimeouts timeouts;
        // DTR and RTS control of the last configuration; "enable" after open, as the kernel
        // raises both lines then.
        std::uint32_t lineControl = 0x10 | 0x1000;
        bool kernel = false;
    };

    bool isKernel(PortHandle h) const {
        auto it = ports_.find(fd(h));
        return it != ports_.end() && it->second.kernel;
    }

    static int fd(PortHandle h) { return static_cast<int>(h); }

    PortState& stateOf(PortHandle h) { return ports_[fd(h)]; }

    PortHandle refuse(const std::string& path, int error) {
        openError_ = path + ": " + std::strerror(error);
        if (error == EACCES) openError_ += " (the user needs to be in the port's group, usually dialout)";
        if (error == EBUSY) openError_ = path + " is in use by another program";
        if (error == ENOTTY) openError_ = path + " is not a serial port";
        return kNoPort;
    }

    // A kernel device that will not open: name it, and say what lets the user in.
    PortHandle refuseKernel(const std::string& deviceName, const std::string& path, int error) {
        openError_ = deviceName + " (" + path + "): " + std::strerror(error);
        if (error == EACCES || error == EPERM)
            openError_ = deviceName + ": no permission to open " + path +
                         ". Add your user to the group that owns it (video or input; ls -l " + path +
                         " shows which) and log in again, or give it a udev rule.";
        if (error == ENOENT || error == ENODEV || error == ENXIO)
            openError_ = deviceName + ": " + path + " is gone; is the receiver plugged in?";
        return kNoPort;
    }

    std::string pathOf(const std::string& deviceName) const {
        int n = ComPortNumber(deviceName);
        if (n < 1) return {};
        const bool kernel = IsLircPort(n);
        const int index = kernel ? n - kLircPortBase : n;
        std::string link = folder_ + (kernel ? "/lirc" : "/com") + std::to_string(index);
        struct stat st {};
        if (::lstat(link.c_str(), &st) == 0) return link;
        return kernel ? "/dev/lirc" + std::to_string(index) : "/dev/ttyS" + std::to_string(n - 1);
    }

    // /dev/ttyS<n> nodes exist for every possible UART; only those with a UART behind them
    // count as ports.
    static bool uartPresent(int fd, const std::string& path) {
#ifdef QUENIX_HAVE_SERIAL_INFO
        if (path.rfind("/dev/ttyS", 0) == 0) {
            serial_struct info{};
            if (::ioctl(fd, TIOCGSERIAL, &info) == 0) return info.type != PORT_UNKNOWN;
        }
#else
        (void)fd;
        (void)path;
#endif
        return true;
    }

    static bool lineIoctl(PortHandle h, unsigned long request, int bits) {
        if (::ioctl(fd(h), request, &bits) == 0) return true;
        return errno == ENOTTY || errno == EINVAL; // no modem control here: nothing to do
    }

    static bool waitFor(PortHandle h, short events, std::chrono::steady_clock::time_point deadline) {
        auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
        if (left.count() <= 0) return false;
        pollfd p{fd(h), events, 0};
        int r = ::poll(&p, 1, static_cast<int>(left.count()));
        return r > 0;
    }

    std::string folder_;
    std::map<int, PortState> ports_;
    std::string openError_;
};

} // namespace

std::unique_ptr<SerialDriver> MakeSystemSerialDriver(const std::string& programFolder) {
    return std::make_unique<PosixSerialDriver>(programFolder);
}

} // namespace quenix
