#include "config/atomic_file.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace quenix {

bool ReadWholeFile(const std::string& path, std::string& out, std::string& error) {
    std::FILE* f = std::fopen(path.c_str(), "rb");
    if (!f) {
        error = "Cannot open " + path + ": " + std::strerror(errno);
        return false;
    }
    std::string data;
    char buf[8192];
    std::size_t n;
    while ((n = std::fread(buf, 1, sizeof buf, f)) > 0) data.append(buf, n);
    bool bad = std::ferror(f) != 0;
    int err = errno;
    std::fclose(f);
    if (bad) {
        error = "Cannot read " + path + ": " + std::strerror(err);
        return false;
    }
    out = std::move(data);
    return true;
}

} // namespace quenix
