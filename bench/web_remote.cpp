// The browser remote of the real program, driven from outside over loopback as phones would:
//  1. a keypad press over the WebSocket and a POST /api/send, each to its answer and to its
//     action (a small script appending a line to a file);
//  2. the page's first load from the QR code's address (the pairing redirect, then the page);
//  3. 20 clients connected at once: one pressing at a time, then all pressing together.
// The server shares the window's thread, so presses that arrive together are served in turn.
//
// Run: bench/web_remote [program folder] (the build's bin folder by default)

#include "free_port.h"

#include <fcntl.h>
#include <sys/inotify.h>
#include <sys/socket.h>
#include <sys/wait.h>

#include <algorithm>
#include <arpa/inet.h>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <spawn.h>
#include <sstream>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

extern char** environ;

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;
constexpr const char* kToken = "0123456789abcdef0123456789abcdef";

double Ms(Clock::time_point from, Clock::time_point to = Clock::now()) {
    return std::chrono::duration<double, std::milli>(to - from).count();
}

int Connect(int port) {
    const int s = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in a{};
    a.sin_family = AF_INET;
    a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    a.sin_port = htons(static_cast<std::uint16_t>(port));
    const int one = 1;
    ::setsockopt(s, IPPROTO_TCP, TCP_NODELAY, &one, sizeof one);
    if (::connect(s, reinterpret_cast<sockaddr*>(&a), sizeof a) == 0) return s;
    ::close(s);
    return -1;
}

void SendAll(int fd, const std::string& bytes) {
    for (std::size_t done = 0; done < bytes.size();) {
        const ssize_t n = ::send(fd, bytes.data() + done, bytes.size() - done, MSG_NOSIGNAL);
        if (n <= 0) return;
        done += static_cast<std::size_t>(n);
    }
}

// Whole when the header block and the body its Content-Length announces have come.
bool Whole(const std::string& answer) {
    const std::size_t end = answer.find("\r\n\r\n");
    if (end == std::string::npos) return false;
    std::string head = answer.substr(0, end);
    std::transform(head.begin(), head.end(), head.begin(), ::tolower);
    const std::size_t at = head.find("content-length:");
    return answer.size() >= end + 4 + (at == std::string::npos ? 0 : std::stoul(head.substr(at + 15)));
}

// One HTTP request on a fresh connection; "" when refused.
std::string Ask(int port, const std::string& request) {
    const int s = Connect(port);
    if (s < 0) return {};
    SendAll(s, request);
    std::string out;
    char buf[16384];
    pollfd p{s, POLLIN, 0};
    for (ssize_t n; !Whole(out) && ::poll(&p, 1, 5000) > 0 && (n = ::recv(s, buf, sizeof buf, 0)) > 0;)
        out.append(buf, n);
    ::close(s);
    return out;
}

std::string Request(int port, const std::string& method, const std::string& path, const std::string& headers,
                    const std::string& body = {}) {
    std::string r = method + " " + path + " HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(port) +
                    "\r\nConnection: close\r\n" + headers;
    if (!body.empty()) r += "Content-Type: application/json\r\nContent-Length: " + std::to_string(body.size()) + "\r\n";
    return r + "\r\n" + body;
}

// A WebSocket client: masked text frames out, whole text frames in.
struct Ws {
    int fd = -1;
    std::string in;

    bool Open(int port) {
        fd = Connect(port);
        if (fd < 0) return false;
        SendAll(fd, "GET /ws HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(port) +
                        "\r\nUpgrade: websocket\r\nConnection: Upgrade\r\nSec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\n"
                        "Sec-WebSocket-Version: 13\r\nAuthorization: Bearer " + kToken + "\r\n\r\n");
        while (in.find("\r\n\r\n") == std::string::npos)
            if (!Fill(5000)) return false;
        const bool ok = in.rfind("HTTP/1.1 101", 0) == 0;
        in.erase(0, in.find("\r\n\r\n") + 4);
        return ok && Next(5000).find("\"hello\"") != std::string::npos;
    }
    void Send(const std::string& text) {
        std::string f(1, '\x81');
        f += static_cast<char>(0x80 | text.size()); // keypad messages are under 126 bytes
        f += std::string("\x12\x34\x56\x78", 4);
        for (std::size_t i = 0; i < text.size(); ++i) f += static_cast<char>(text[i] ^ f[2 + i % 4]);
        SendAll(fd, f);
    }
    bool Fill(int timeoutMs) {
        pollfd p{fd, POLLIN, 0};
        char buf[16384];
        if (::poll(&p, 1, timeoutMs) <= 0) return false;
        const ssize_t n = ::recv(fd, buf, sizeof buf, 0);
        if (n > 0) in.append(buf, n);
        return n > 0;
    }
    // The next complete text frame already received, or "".
    std::string Take() {
        if (in.size() < 2) return {};
        std::size_t len = in[1] & 0x7F, at = 2;
        if (len == 126) {
            if (in.size() < 4) return {};
            len = (std::uint8_t(in[2]) << 8) | std::uint8_t(in[3]), at = 4;
        } else if (len == 127) {
            if (in.size() < 10) return {};
            len = 0, at = 10;
            for (int i = 2; i < 10; ++i) len = (len << 8) | std::uint8_t(in[i]);
        }
        if (in.size() < at + len) return {};
        std::string text = in.substr(at, len);
        in.erase(0, at + len);
        return text.empty() ? " " : text;
    }
    std::string Next(int timeoutMs) {
        for (std::string t;; )
            if (!(t = Take()).empty()) return t;
            else if (!Fill(timeoutMs)) return {};
    }
    // Until the answer to a press; other messages (what monitoring received) pass by.
    bool AwaitPressed() {
        for (std::string t; !(t = Next(5000)).empty();)
            if (t.find("\"type\":\"pressed\"") != std::string::npos) return t.find("\"ok\":true") != std::string::npos;
        return false;
    }
};

// Lines the action script appended, woken by inotify.
struct Ran {
    std::string path;
    int watch = ::inotify_init1(IN_NONBLOCK);
    explicit Ran(std::string p) : path(std::move(p)) { ::inotify_add_watch(watch, path.c_str(), IN_MODIFY); }
    std::size_t Lines() const {
        std::ifstream f(path);
        return static_cast<std::size_t>(std::count(std::istreambuf_iterator<char>(f), {}, '\n'));
    }
    bool AwaitLines(std::size_t n) {
        const auto start = Clock::now();
        while (Lines() < n) {
            pollfd p{watch, POLLIN, 0};
            if (Ms(start) > 5000) return false;
            if (::poll(&p, 1, 50) > 0) {
                char buf[4096];
                while (::read(watch, buf, sizeof buf) > 0) {
                }
            }
        }
        return true;
    }
};

struct Figures {
    std::vector<double> v;
    double median() {
        if (v.empty()) return 0;
        std::sort(v.begin(), v.end());
        return v[v.size() / 2];
    }
    double max() const { return v.empty() ? 0 : *std::max_element(v.begin(), v.end()); }
};

void Row(const char* what, Figures& f, const char* goal) {
    std::printf("  %-48s %8.2f %8.2f   %s\n", what, f.median(), f.max(), goal);
}

void Pace(int ms) { std::this_thread::sleep_for(std::chrono::milliseconds(ms)); }

} // namespace

int main(int argc, char** argv) {
    const fs::path program = fs::path(argc > 1 ? argv[1] : QUENIX_PROGRAM_DIR) / "quenix";
    char tmpl[] = "/tmp/quenix-web-bench-XXXXXX";
    const fs::path dir = ::mkdtemp(tmpl);
    for (const auto& e : fs::directory_iterator(program.parent_path()))
        if (e.is_regular_file()) fs::copy_file(e.path(), dir / e.path().filename());
    const std::string ran = (dir / "ran").string();
    std::ofstream(dir / "count.sh") << "#!/bin/sh\necho \"$1\" >> " << ran << "\n";
    fs::permissions(dir / "count.sh", fs::perms::owner_all);
    std::ofstream(ran).close();

    std::stringstream text;
    text << std::ifstream(dir / "telvorin.cfg", std::ios::binary).rdbuf();
    std::string cfg = text.str();
    if (auto at = cfg.find("MONITOR= 0"); at != std::string::npos) cfg.replace(at, 10, "MONITOR= 1");
    const std::string script = (dir / "count.sh").string();
    cfg.replace(cfg.find("[Monitoring]\r\n"), 14,
                script + " play,Count play\r\n" + script + " sent,Count sent\r\n[Monitoring]\r\nWeb&Play,application&Count play\r\n");
    std::ofstream(dir / "telvorin.cfg", std::ios::binary) << cfg;

    const int port = bench::FreePort();
    std::vector<std::string> env;
    for (char** e = environ; *e; ++e) env.emplace_back(*e);
    for (const std::string& s : {std::string("QT_QPA_PLATFORM=offscreen"), std::string("ASAN_OPTIONS=detect_leaks=0"),
                                 std::string("SDL_AUDIODRIVER=dummy"), "XDG_RUNTIME_DIR=" + dir.string(),
                                 "QUENIX_WEB=127.0.0.1:" + std::to_string(port), std::string("QUENIX_WEB_TOKEN=") + kToken})
        env.push_back(s);
    std::vector<char*> envp;
    for (std::string& s : env) envp.push_back(s.data());
    envp.push_back(nullptr);
    const std::string exe = (dir / "quenix").string(), log = (dir / "log").string();
    char* args[] = {const_cast<char*>(exe.c_str()), nullptr};
    posix_spawn_file_actions_t io;
    posix_spawn_file_actions_init(&io);
    posix_spawn_file_actions_addopen(&io, 1, log.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    posix_spawn_file_actions_adddup2(&io, 1, 2);
    pid_t pid = 0;
    const int spawned = ::posix_spawn(&pid, exe.c_str(), &io, nullptr, args, envp.data());
    posix_spawn_file_actions_destroy(&io);
    if (spawned != 0) return std::perror("spawn"), 1;

    const auto started = Clock::now();
    while (Ask(port, Request(port, "GET", "/", "")).rfind("HTTP/1.1 403", 0) != 0) {
        if (Ms(started) > 30000) return std::fprintf(stderr, "the web remote did not listen; see %s\n", log.c_str()), 1;
        Pace(50);
    }
    Ran lines(ran);
    int failures = 0;

    // The first load as a phone makes it from the QR code: the redirect that sets the cookie, then the page.
    Figures load;
    std::size_t pageBytes = 0;
    for (int i = 0; i < 10; ++i, Pace(60)) {
        const auto t0 = Clock::now();
        const std::string pair = Ask(port, Request(port, "GET", std::string("/?t=") + kToken, ""));
        const std::string page = Ask(port, Request(port, "GET", "/", std::string("Cookie: quenix=") + kToken + "\r\n"));
        load.v.push_back(Ms(t0));
        failures += pair.rfind("HTTP/1.1 303", 0) != 0 || page.rfind("HTTP/1.1 200", 0) != 0;
        pageBytes = pair.size() + page.size();
    }

    Figures postAnswer, postAction;
    for (int i = 0; i < 30; ++i, Pace(60)) {
        const std::size_t before = lines.Lines();
        const auto t0 = Clock::now();
        const std::string a = Ask(port, Request(port, "POST", "/api/send", std::string("Authorization: Bearer ") + kToken + "\r\n",
                                                R"({"device":"Application","command":"Count sent"})"));
        postAnswer.v.push_back(Ms(t0));
        failures += a.find("\"ok\":true") == std::string::npos || !lines.AwaitLines(before + 1);
        postAction.v.push_back(Ms(t0));
    }

    const std::string down = R"({"type":"key","key":"Play","state":"down"})", up = R"({"type":"key","key":"Play","state":"up"})";
    const std::string quiet = R"({"type":"key","key":"Stop","state":"down"})", quietUp = R"({"type":"key","key":"Stop","state":"up"})";
    std::vector<Ws> phones(20);
    for (Ws& w : phones) failures += !w.Open(port), Pace(30);

    Figures keyAnswer, keyAction;
    for (int i = 0; i < 50; ++i, Pace(80)) {
        const std::size_t before = lines.Lines();
        const auto t0 = Clock::now();
        phones[0].Send(down);
        failures += !phones[0].AwaitPressed();
        keyAnswer.v.push_back(Ms(t0));
        failures += !lines.AwaitLines(before + 1);
        keyAction.v.push_back(Ms(t0));
        phones[0].Send(up);
    }

    Figures oneAnswer, oneAction;
    for (int round = 0; round < 3; ++round)
        for (Ws& w : phones) {
            const std::size_t before = lines.Lines();
            const auto t0 = Clock::now();
            w.Send(down);
            failures += !w.AwaitPressed();
            oneAnswer.v.push_back(Ms(t0));
            failures += !lines.AwaitLines(before + 1);
            oneAction.v.push_back(Ms(t0));
            w.Send(up);
            Pace(20);
        }

    // All at once: every phone's press is written, then every answer awaited together. A key
    // without an event shows what the server costs; the rest is the action's start.
    auto together = [&](const std::string& press, bool acts, Figures& answers, Figures& actions) {
        for (int round = 0; round < 5; ++round, Pace(500)) {
            const std::size_t before = lines.Lines();
            const auto t0 = Clock::now();
            for (Ws& w : phones) w.Send(press);
            std::vector<bool> done(phones.size());
            for (std::size_t left = phones.size(); left > 0 && Ms(t0) < 10000;) {
                std::vector<pollfd> p;
                for (const Ws& w : phones) p.push_back({w.fd, POLLIN, 0});
                ::poll(p.data(), p.size(), 100);
                for (std::size_t i = 0; i < phones.size(); ++i) {
                    if (done[i] || !(p[i].revents & POLLIN)) continue;
                    phones[i].Fill(0);
                    for (std::string t; !done[i] && !(t = phones[i].Take()).empty();)
                        if (t.find("\"type\":\"pressed\"") != std::string::npos) {
                            done[i] = true, --left;
                            answers.v.push_back(Ms(t0));
                        }
                }
            }
            failures += static_cast<int>(std::count(done.begin(), done.end(), false));
            if (acts) failures += !lines.AwaitLines(before + phones.size());
            actions.v.push_back(Ms(t0));
            for (Ws& w : phones) w.Send(press == down ? up : quietUp);
        }
    };
    Figures allAnswer, allActions, quietAnswer, quietAll;
    together(down, true, allAnswer, allActions);
    together(quiet, false, quietAnswer, quietAll);

    ::kill(pid, SIGTERM);
    ::waitpid(pid, nullptr, 0);
    fs::remove_all(dir);

    std::printf("browser remote of %s, over loopback (ms)\n", program.c_str());
    std::printf("  %-48s %8s %8s   %s\n", "", "median", "max", "goal");
    Row("keypad press (WebSocket) -> answer", keyAnswer, "");
    Row("keypad press (WebSocket) -> action ran", keyAction, "<= 30");
    Row("POST /api/send -> answer", postAnswer, "");
    Row("POST /api/send -> action ran", postAction, "<= 30");
    char what[96];
    std::snprintf(what, sizeof what, "first load: pairing + page, %zu bytes", pageBytes);
    Row(what, load, "<= 200, <= 100 KB");
    Row("20 connected, one pressing at a time -> answer", oneAnswer, "");
    Row("20 connected, one pressing at a time -> action", oneAction, "<= 30");
    Row("20 pressing together -> each answer", allAnswer, "");
    Row("20 pressing together -> all 20 actions ran", allActions, "");
    Row("20 pressing a key without event -> each answer", quietAnswer, "");
    std::printf("  failures (refused, missing answers or actions): %d\n", failures);
    return failures ? 1 : 0;
}
