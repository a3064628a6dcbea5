#pragma once

// The lircd socket protocol without the socket: clients are numbers, bytes go in, replies and
// key lines queue up per client for the wiring to write. Key lines are lircd's
// "<16 hex code> <2 hex repeat> <key> <remote>"; commands are VERSION, LIST, SEND_ONCE and
// the others lircd answers, in BEGIN ... END blocks.

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace quenix {

struct LircdKey {
    std::string name;
    std::uint64_t code = 0;
};

struct LircdRemote {
    std::string name;
    std::vector<LircdKey> keys;
};

// The infrared devices of a configuration text and their commands, in file order.
std::vector<LircdRemote> RemotesOfConfiguration(std::string_view configText);

// A name as lircd clients see it: blanks become "_".
std::string LircdName(std::string_view name);

class LircdServer {
public:
    struct Backend {
        std::function<std::vector<LircdRemote>()> remotes;
        // Runs the command once through the executor; its result text.
        std::function<std::string(const std::string& device, const std::string& command)> send;
    };

    static constexpr std::size_t kMaxLine = 1024;          // longer lines are refused
    static constexpr std::size_t kMaxPending = 256 * 1024; // a client that reads nothing is dropped
    static constexpr int kMaxSendCount = 10;               // each send blocks the window
    static constexpr int kRepeatWindowMs = 750;            // a key again within this is a repeat

    LircdServer(Backend backend, std::string version);

    void Connect(int client);
    void Disconnect(int client);
    // Bytes from a client: every complete line is answered into its pending output.
    void Receive(int client, std::string_view bytes);
    // A key recognised while monitoring: its line goes to every client.
    void KeyRecognised(const std::string& device, const std::string& command, std::int64_t nowMs);

    // What is waiting to be written to a client, and how much of it was written.
    const std::string& Pending(int client) const;
    void Written(int client, std::size_t bytes);
    // True when the client broke a limit; the wiring closes it.
    bool Dropped(int client) const;
    std::vector<int> Clients() const;

    // The reply block to one command line.
    std::string Answer(std::string_view line);

private:
    struct Client {
        std::string in, out;
        bool skipping = false; // inside an over-long line
        bool dropped = false;
    };
    void Queue(Client& c, const std::string& text);
    std::string Answer(std::string_view line, std::vector<LircdRemote>& remotes, bool& fetched);

    Backend backend_;
    std::string version_;
    std::map<int, Client> clients_;
    std::string lastKey_;
    std::int64_t lastKeyMs_ = 0;
    int repeat_ = 0;
};

// Whether an executor result text tells of a failure.
bool IsFailedResult(std::string_view result);

} // namespace quenix
