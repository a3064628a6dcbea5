#include "web/web_limits.h"

#include "core/text.h"

#include <algorithm>
#include <charconv>

namespace quenix::web {
namespace {

// The value of a header in a block of header lines (names in lower case), or empty when absent.
std::string HeaderValue(std::string_view head, std::string_view name) {
    std::size_t pos = head.find('\n');
    while (pos != std::string_view::npos && pos + 1 < head.size()) {
        const std::size_t eol = head.find('\n', pos + 1);
        std::string_view line = head.substr(pos + 1, (eol == std::string_view::npos ? head.size() : eol) - pos - 1);
        if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
        const std::size_t colon = line.find(':');
        if (colon != std::string_view::npos && ToLower(std::string(line.substr(0, colon))) == name)
            return Trim(std::string(line.substr(colon + 1)));
        pos = eol;
    }
    return {};
}

} // namespace

int RequestMeter::Refuse(int status) {
    state_ = State::Refused;
    refused_ = status;
    head_.clear();
    return status;
}

int RequestMeter::Feed(std::string_view bytes) {
    while (!bytes.empty()) {
        switch (state_) {
        case State::Refused: return refused_;
        case State::Upgraded: return 0;
        case State::Body: {
            const std::size_t n = std::min(bodyLeft_, bytes.size());
            bodyLeft_ -= n;
            bytes.remove_prefix(n);
            if (bodyLeft_ == 0) state_ = State::Headers;
            break;
        }
        case State::Headers: {
            const std::size_t before = head_.size();
            head_.append(bytes.substr(0, kMaxHeaderBytes + 4 - std::min(head_.size(), kMaxHeaderBytes + 4)));
            const std::size_t end = head_.find("\r\n\r\n");
            if (end == std::string::npos) {
                if (head_.size() > kMaxHeaderBytes) return Refuse(431);
                bytes = {};
                break;
            }
            if (end + 4 > kMaxHeaderBytes) return Refuse(431);
            bytes.remove_prefix(end + 4 - before);
            const std::string head = ToLower(head_.substr(0, end + 2));
            head_.clear();
            if (ToLower(HeaderValue(head, "upgrade")) == "websocket") {
                state_ = State::Upgraded;
                return 0;
            }
            if (!HeaderValue(head, "transfer-encoding").empty()) return Refuse(411);
            const std::string length = HeaderValue(head, "content-length");
            std::size_t n = 0;
            if (!length.empty()) {
                auto [end2, ec] = std::from_chars(length.data(), length.data() + length.size(), n);
                if (ec != std::errc() || end2 != length.data() + length.size() || n > kMaxBodyBytes) return Refuse(413);
            }
            bodyLeft_ = n;
            if (n > 0) state_ = State::Body;
            break;
        }
        }
    }
    return state_ == State::Refused ? refused_ : 0;
}

bool Bucket::Take(std::int64_t nowMs, double rate, double burst) {
    if (tokens_ < 0) tokens_ = burst;
    tokens_ = std::min(burst, tokens_ + static_cast<double>(nowMs - lastMs_) * rate / 1000.0);
    lastMs_ = nowMs;
    if (tokens_ < 1) return false;
    tokens_ -= 1;
    return true;
}

bool PeerLimits::Take(const std::string& peer, std::int64_t nowMs) {
    if (buckets_.size() > 512 && buckets_.find(peer) == buckets_.end()) buckets_.clear();
    return buckets_[peer].Take(nowMs, rate_, burst_);
}

} // namespace quenix::web
