#include "config/atomic_file.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace quenix {

bool WriteFileAtomically(const std::string& linkOrPath, const std::string& data, std::string& error) {
    // A file kept elsewhere through a symbolic link is replaced where it lives, so the link stays.
    std::string path = linkOrPath;
    if (char* real = ::realpath(linkOrPath.c_str(), nullptr)) {
        path = real;
        std::free(real);
    }
    const std::string tmp = path + ".tmp";
    mode_t mode = 0644;
    struct stat st {};
    if (::stat(path.c_str(), &st) == 0) mode = st.st_mode & 07777;
    int fd = ::open(tmp.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, mode);
    if (fd < 0) {
        error = "Cannot write " + tmp + ": " + std::strerror(errno);
        return false;
    }
    const char* p = data.data();
    std::size_t left = data.size();
    while (left > 0) {
        ssize_t w = ::write(fd, p, left);
        if (w < 0 && errno == EINTR) continue;
        if (w <= 0) {
            // A full disk may take nothing without saying why; do not wait for room forever.
            error = "Cannot write " + tmp + ": " + std::strerror(w == 0 ? ENOSPC : errno);
            ::close(fd);
            ::unlink(tmp.c_str());
            return false;
        }
        p += w;
        left -= static_cast<std::size_t>(w);
    }
    if (::fsync(fd) != 0 || ::close(fd) != 0) {
        error = "Cannot write " + tmp + ": " + std::strerror(errno);
        ::unlink(tmp.c_str());
        return false;
    }
    if (::rename(tmp.c_str(), path.c_str()) != 0) {
        error = "Cannot replace " + path + ": " + std::strerror(errno);
        ::unlink(tmp.c_str());
        return false;
    }
    return true;
}

} // namespace quenix
