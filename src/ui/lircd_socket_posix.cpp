#include "ui/lircd_socket.h"

#include <QSocketNotifier>
#include <QTimer>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace quenix {

namespace {

constexpr int kMaxClients = 64;
constexpr std::size_t kReadChunk = 4096;
constexpr int kProbeMs = 200; // how long the start-up probe waits for a program holding the socket

bool Address(const std::string& path, sockaddr_un& a) {
    std::memset(&a, 0, sizeof a);
    a.sun_family = AF_UNIX;
    if (path.empty() || path.size() >= sizeof a.sun_path) return false;
    std::memcpy(a.sun_path, path.c_str(), path.size());
    return true;
}

std::string Owner(const struct stat& st) {
    char t[48];
    std::snprintf(t, sizeof t, "owner %u, mode %04o", static_cast<unsigned>(st.st_uid),
                  static_cast<unsigned>(st.st_mode & 07777));
    return t;
}

// Whoever can write into the socket's folder can replace the socket with his own and read what
// clients send. The program's own folder is made private, and one found there must already be:
// the user's own, not a link, mode 0700. A given folder may be shared, as /var/run/lirc is, but
// only its owner (the user or root) may write into it, or the sticky bit must keep others' hands
// off our socket.
bool SafeFolder(const std::string& dir, bool given, std::string& error) {
    struct stat st;
    if (given) {
        std::error_code ec;
        std::filesystem::create_directories(dir, ec);
        if (::stat(dir.c_str(), &st) != 0 || !S_ISDIR(st.st_mode)) {
            error = "cannot use the folder " + dir;
            return false;
        }
        if ((st.st_uid != ::geteuid() && st.st_uid != 0) || ((st.st_mode & S_IWOTH) && !(st.st_mode & S_ISVTX))) {
            error = "the folder " + dir + " is open to other users (" + Owner(st) +
                    "): it must be yours or root's, and not writable by others without the sticky bit";
            return false;
        }
        return true;
    }
    if (::mkdir(dir.c_str(), 0700) == 0) ::chmod(dir.c_str(), 0700); // whatever the umask
    if (::lstat(dir.c_str(), &st) != 0) {
        error = "cannot create the folder " + dir + ": " + std::strerror(errno);
        return false;
    }
    if (!S_ISDIR(st.st_mode) || st.st_uid != ::geteuid() || (st.st_mode & 07777) != 0700) {
        error = "the folder " + dir + (S_ISLNK(st.st_mode) ? " is a link" : " is not private (" + Owner(st) + ")") +
                ": it must be your own folder with mode 0700; remove it and start again";
        return false;
    }
    return true;
}

} // namespace

LircdSocket::LircdSocket(LircdServer& server, QObject* parent) : QObject(parent), server_(server) {}

// The server may be gone already (the window destroys its members before its children).
LircdSocket::~LircdSocket() {
    for (auto& [fd, c] : clients_) ::close(fd);
    if (listenFd_ >= 0) {
        ::close(listenFd_);
        ::unlink(path_.c_str());
    }
}

LircdSocket::Place LircdSocket::DefaultPlace() {
    if (const char* p = std::getenv("QUENIX_LIRCD_SOCKET"); p && *p) return {p, true};
    if (const char* d = std::getenv("XDG_RUNTIME_DIR"); d && *d) return {std::string(d) + "/quenix/lircd"};
    return {"/tmp/quenix-" + std::to_string(::getuid()) + "/lircd"};
}

bool LircdSocket::Listen(const Place& place, std::string& error) {
    const std::string& path = place.path;
    sockaddr_un addr;
    if (!Address(path, addr)) {
        error = "the socket path is empty or too long: " + path;
        return false;
    }
    const std::string dir = std::filesystem::path(path).parent_path().string();
    if (!SafeFolder(dir.empty() ? "." : dir, place.given, error)) return false;
    struct stat st;
    if (::lstat(path.c_str(), &st) == 0) {
        if (!S_ISSOCK(st.st_mode)) {
            error = path + " is not a socket: it is left as it is";
            return false;
        }
        // Without blocking: a program that listens but never accepts must not hang our start.
        // A full queue or no answer in time means someone holds the socket; only a refusal
        // means it is stale.
        int probe = ::socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
        bool answered = false;
        if (probe >= 0) {
            if (::connect(probe, reinterpret_cast<sockaddr*>(&addr), sizeof addr) == 0 || errno == EAGAIN) {
                answered = true;
            } else if (errno == EINPROGRESS) {
                pollfd p{probe, POLLOUT, 0};
                int err = 0;
                socklen_t len = sizeof err;
                answered = ::poll(&p, 1, kProbeMs) <= 0 ||
                           (::getsockopt(probe, SOL_SOCKET, SO_ERROR, &err, &len) == 0 && err == 0);
            }
            ::close(probe);
        }
        if (answered) {
            error = "another program serves " + path;
            return false;
        }
        ::unlink(path.c_str()); // a socket left by a program that ended
    }
    int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (fd < 0 || ::bind(fd, reinterpret_cast<sockaddr*>(&addr), sizeof addr) != 0 || ::listen(fd, 16) != 0) {
        error = "cannot serve " + path + ": " + std::strerror(errno);
        if (fd >= 0) ::close(fd);
        return false;
    }
    // Media centres run under their own accounts and lircd's socket is 0666; the private
    // default's folder already keeps other users out.
    if (place.given) ::chmod(path.c_str(), 0666);
    listenFd_ = fd;
    path_ = path;
    accept_ = new QSocketNotifier(fd, QSocketNotifier::Read, this);
    connect(accept_, &QSocketNotifier::activated, this, [this] { Accept(); });
    return true;
}

void LircdSocket::Accept() {
    for (;;) {
        int fd = ::accept4(listenFd_, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
        if (fd < 0) return;
        if (clients_.size() >= static_cast<std::size_t>(kMaxClients)) {
            ::close(fd);
            continue;
        }
        Client c;
        c.read = new QSocketNotifier(fd, QSocketNotifier::Read, this);
        c.write = new QSocketNotifier(fd, QSocketNotifier::Write, this);
        c.write->setEnabled(false);
        connect(c.read, &QSocketNotifier::activated, this, [this, fd] { Readable(fd); });
        connect(c.write, &QSocketNotifier::activated, this, [this, fd] { Write(fd); });
        clients_[fd] = c;
        server_.Connect(fd);
    }
}

void LircdSocket::Readable(int fd) {
    char buf[kReadChunk];
    ssize_t n = ::recv(fd, buf, sizeof buf, 0);
    if (n < 0 && (errno == EAGAIN || errno == EINTR)) return;
    if (n < 0) return Close(fd);
    if (n == 0) {
        // "echo LIST | socat" shuts its side after the command and still waits for the answer.
        if (auto it = clients_.find(fd); it != clients_.end()) it->second.ended = true;
    } else {
        server_.Receive(fd, std::string_view(buf, static_cast<std::size_t>(n)));
    }
    Write(fd);
    Schedule();
}

void LircdSocket::Schedule() {
    if (turnQueued_ || !server_.HasWork()) return;
    turnQueued_ = true;
    QTimer::singleShot(0, this, [this] { Turn(); });
}

void LircdSocket::Turn() {
    turnQueued_ = false;
    // False inside a send that runs the event loop: the turn that runs the send schedules the next.
    if (!server_.RunOne()) return;
    Flush();
    Schedule();
}

void LircdSocket::Write(int fd) {
    auto it = clients_.find(fd);
    if (it == clients_.end()) return;
    if (server_.Dropped(fd)) {
        Close(fd);
        return;
    }
    const std::string& out = server_.Pending(fd);
    std::size_t done = 0;
    while (done < out.size()) {
        ssize_t n = ::send(fd, out.data() + done, out.size() - done, MSG_NOSIGNAL);
        if (n > 0) {
            done += static_cast<std::size_t>(n);
        } else if (n < 0 && errno == EINTR) {
            continue;
        } else if (n < 0 && errno == EAGAIN) {
            break;
        } else {
            Close(fd);
            return;
        }
    }
    server_.Written(fd, done);
    Client& c = it->second;
    if (c.ended && server_.Pending(fd).empty() && !server_.HasWork(fd)) return Close(fd);
    c.write->setEnabled(!server_.Pending(fd).empty());
    c.read->setEnabled(!c.ended && server_.Reading(fd));
}

void LircdSocket::Flush() {
    for (int fd : server_.Clients()) Write(fd);
}

void LircdSocket::Close(int fd) {
    auto it = clients_.find(fd);
    if (it == clients_.end()) return;
    delete it->second.read;
    delete it->second.write;
    clients_.erase(it);
    server_.Disconnect(fd);
    ::close(fd);
}

} // namespace quenix
