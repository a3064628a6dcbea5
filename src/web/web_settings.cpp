#include "web/web_settings.h"

#include <charconv>
#include <random>

namespace quenix::web {
namespace {

int PortOf(std::string_view text) {
    int port = 0;
    auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), port);
    if (ec != std::errc() || end != text.data() + text.size() || port < 1 || port > 65535) return 0;
    return port;
}

} // namespace

WebSettings ReadWebSettings(std::string_view text) {
    WebSettings s;
    while (!text.empty()) {
        std::size_t eol = text.find('\n');
        std::string_view line = text.substr(0, eol);
        text = eol == std::string_view::npos ? std::string_view() : text.substr(eol + 1);
        if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
        std::size_t eq = line.find('=');
        if (eq == std::string_view::npos) continue;
        std::string_view key = line.substr(0, eq), value = line.substr(eq + 1);
        if (key == "ENABLED") s.enabled = value == "1";
        else if (key == "HOMENETWORK") s.homeNetwork = value == "1";
        else if (key == "PORT") s.port = PortOf(value) ? PortOf(value) : kDefaultPort;
        else if (key == "TOKEN") s.token = value;
    }
    return s;
}

std::string WriteWebSettings(const WebSettings& s) {
    return "ENABLED=" + std::string(s.enabled ? "1" : "0") + "\nHOMENETWORK=" + (s.homeNetwork ? "1" : "0") +
           "\nPORT=" + std::to_string(s.port) + "\nTOKEN=" + s.token + "\n";
}

ListenAt ListenOf(const WebSettings& s) { return {s.homeNetwork ? "0.0.0.0" : "127.0.0.1", s.port}; }

bool ApplyWebEnvironment(WebSettings& s, ListenAt& at, const char* web, const char* token, std::string& error) {
    if (token && *token) s.token = token;
    if (!web || !*web) return true;
    std::string_view v(web);
    std::size_t colon = v.rfind(':');
    std::string_view host = colon == std::string_view::npos ? std::string_view() : v.substr(0, colon);
    const int port = colon == std::string_view::npos ? 0 : PortOf(v.substr(colon + 1));
    if (host.size() >= 2 && host.front() == '[' && host.back() == ']') host = host.substr(1, host.size() - 2);
    if (port == 0) {
        error = "QUENIX_WEB must be address:port, for example 127.0.0.1:" + std::to_string(kDefaultPort) + ".";
        return false;
    }
    s.enabled = true;
    at = {host.empty() ? "0.0.0.0" : std::string(host), port};
    return true;
}

std::string NewToken() {
    std::random_device random;
    static const char* kHex = "0123456789abcdef";
    std::string token;
    for (int i = 0; i < 4; ++i) {
        const unsigned word = random();
        for (int shift = 28; shift >= 0; shift -= 4) token += kHex[(word >> shift) & 15];
    }
    return token;
}

bool SameToken(std::string_view a, std::string_view b) {
    if (a.empty() || a.size() != b.size()) return false;
    unsigned char diff = 0;
    for (std::size_t i = 0; i < a.size(); ++i) diff |= static_cast<unsigned char>(a[i] ^ b[i]);
    return diff == 0;
}

} // namespace quenix::web
