#pragma once

// A loopback port nobody listens on, for the servers the benchmarks start.

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace bench {

inline int FreePort() {
    const int s = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in a{};
    a.sin_family = AF_INET;
    a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t len = sizeof a;
    ::bind(s, reinterpret_cast<sockaddr*>(&a), len);
    ::getsockname(s, reinterpret_cast<sockaddr*>(&a), &len);
    ::close(s);
    return ntohs(a.sin_port);
}

} // namespace bench
