#pragma once

// The browser remote's settings: a small file of its own beside telvorin.cfg, and the
// environment variables that services and tests set instead.

#include <string>
#include <string_view>

namespace quenix::web {

inline constexpr const char* kSettingsFile = "web.cfg";
inline constexpr int kDefaultPort = 8470;

struct WebSettings {
    bool enabled = false;
    bool homeNetwork = false; // listen on every address instead of 127.0.0.1
    int port = kDefaultPort;
    std::string token;        // empty until the first start makes one
};

// Where the server listens.
struct ListenAt {
    std::string address;
    int port = 0;
};

// KEY=value lines; unknown keys are ignored so an older program reads a newer file.
WebSettings ReadWebSettings(std::string_view text);
std::string WriteWebSettings(const WebSettings& s);

ListenAt ListenOf(const WebSettings& s);
// QUENIX_WEB ("127.0.0.1:8470", "[::1]:8470", "0.0.0.0:8470" or ":8470" for every address)
// switches the server on there; QUENIX_WEB_TOKEN fixes the token. Null or empty values leave the
// file's settings. False, with the reason, when QUENIX_WEB cannot be read.
bool ApplyWebEnvironment(WebSettings& s, ListenAt& at, const char* web, const char* token, std::string& error);

// 128 random bits as 32 hexadecimal digits.
std::string NewToken();
// Compares in a time that does not tell how much of a guess was right.
bool SameToken(std::string_view a, std::string_view b);

} // namespace quenix::web
