#include "ui/lircd_socket.h"

#include <QSocketNotifier>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace quenix {

namespace {

constexpr int kMaxClients = 64;
constexpr std::size_t kReadChunk = 4096;

bool Address(const std::string& path, sockaddr_un& a) {
    std::memset(&a, 0, sizeof a);
    a.sun_family = AF_UNIX;
    if (path.empty() || path.size() >= sizeof a.sun_path) return false;
    std::memcpy(a.sun_path, path.c_str(), path.size());
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

std::string LircdSocket::DefaultPath() {
    if (const char* p = std::getenv("QUENIX_LIRCD_SOCKET"); p && *p) return p;
    if (const char* d = std::getenv("XDG_RUNTIME_DIR"); d && *d) return std::string(d) + "/quenix/lircd";
    return "/tmp/quenix-" + std::to_string(::getuid()) + "/lircd";
}

bool LircdSocket::Listen(const std::string& path, std::string& error) {
    sockaddr_un addr;
    if (!Address(path, addr)) {
        error = "the socket path is empty or too long: " + path;
        return false;
    }
    std::error_code ec;
    std::filesystem::path dir = std::filesystem::path(path).parent_path();
    if (!dir.empty() && !std::filesystem::exists(dir, ec)) {
        std::filesystem::create_directories(dir, ec);
        ::chmod(dir.c_str(), 0700); // only its owner talks to the program
    }
    int probe = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    bool answered = probe >= 0 && ::connect(probe, reinterpret_cast<sockaddr*>(&addr), sizeof addr) == 0;
    if (probe >= 0) ::close(probe);
    if (answered) {
        error = "another program serves " + path;
        return false;
    }
    ::unlink(path.c_str()); // a socket left by a program that ended
    int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (fd < 0 || ::bind(fd, reinterpret_cast<sockaddr*>(&addr), sizeof addr) != 0 || ::listen(fd, 16) != 0) {
        error = "cannot serve " + path + ": " + std::strerror(errno);
        if (fd >= 0) ::close(fd);
        return false;
    }
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
    if (n == 0 || (n < 0 && errno != EAGAIN && errno != EINTR)) {
        Close(fd);
        return;
    }
    if (n < 0) return;
    server_.Receive(fd, std::string_view(buf, static_cast<std::size_t>(n)));
    if (clients_.count(fd)) Write(fd);
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
    it->second.write->setEnabled(!server_.Pending(fd).empty());
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
