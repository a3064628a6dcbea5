#pragma once

// What one phone or script may ask of the server: how large a request, how many requests and
// messages a second. The transport feeds the bytes and asks before it answers.

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>

namespace quenix::web {

inline constexpr std::size_t kMaxHeaderBytes = 8 * 1024;
inline constexpr std::size_t kMaxBodyBytes = 16 * 1024;
inline constexpr std::size_t kMaxMessageBytes = 4 * 1024; // one WebSocket message
inline constexpr int kMaxConnections = 96;
inline constexpr int kMaxConnectionsPerPeer = 32;

// Watches the bytes of one HTTP connection as they arrive, before the server reads them:
// header blocks, bodies by their Content-Length, and nothing after a WebSocket upgrade.
class RequestMeter {
public:
    // 0 while the bytes are within limits, else the status to refuse with: 431 headers too
    // large, 413 body too large, 411 a body without a length (chunked). Refused stays refused.
    int Feed(std::string_view bytes);
    bool upgraded() const { return state_ == State::Upgraded; }

private:
    enum class State { Headers, Body, Upgraded, Refused };
    int Refuse(int status);
    State state_ = State::Headers;
    std::string head_;
    std::size_t bodyLeft_ = 0;
    int refused_ = 0;
};

// A token bucket: rate a second, up to burst at once.
class Bucket {
public:
    bool Take(std::int64_t nowMs, double rate, double burst);

private:
    double tokens_ = -1;
    std::int64_t lastMs_ = 0;
};

// Buckets by peer address; the oldest are forgotten past a few hundred peers.
class PeerLimits {
public:
    PeerLimits(double rate, double burst) : rate_(rate), burst_(burst) {}
    bool Take(const std::string& peer, std::int64_t nowMs);

private:
    double rate_, burst_;
    std::map<std::string, Bucket> buckets_;
};

} // namespace quenix::web
