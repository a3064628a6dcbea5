#pragma once

// The lircd socket protocol without the socket: clients are numbers, bytes go in, replies and
// key lines queue up per client for the wiring to write. Key lines are lircd's
// "<16 hex code> <2 hex repeat> <key> <remote>"; commands are VERSION, LIST, SEND_ONCE and
// the others lircd answers, in BEGIN ... END blocks.
//
// A send blocks the window, so commands do not run as they arrive: each client's lines wait in
// its queue and RunOne runs one step (one command, or one send of a SEND_ONCE with a count) for
// one client, taking the clients in turn. The wiring calls it once per event-loop turn.

#include <cstdint>
#include <deque>
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
    struct SendResult {
        bool ok = false;
        std::string text;
    };
    struct Backend {
        std::function<std::vector<LircdRemote>()> remotes;
        // Runs the command once through the executor: whether it was sent, and its result text.
        std::function<SendResult(const std::string& device, const std::string& command)> send;
    };

    static constexpr std::size_t kMaxLine = 1024;          // longer lines are refused
    static constexpr std::size_t kMaxPending = 256 * 1024; // a client that reads nothing is dropped
    static constexpr std::size_t kMaxQueued = 16;          // command lines before Reading says stop
    static constexpr int kMaxSendCount = 10;

    LircdServer(Backend backend, std::string version);

    void Connect(int client);
    void Disconnect(int client);
    // Bytes from a client: its complete lines join its queue.
    void Receive(int client, std::string_view bytes);
    // Whether to read more from a client: false while its queue is full, so that a flood waits in
    // the client's own socket buffer, and nothing it said is refused or lost. One that sends on
    // regardless is dropped at kMaxPending queued bytes.
    bool Reading(int client) const;
    // Runs one step for the next client with work; false when there was none, or when a step is
    // running already (a send that runs the event loop must not start another).
    bool RunOne();
    bool HasWork() const;
    bool HasWork(int client) const;
    // A frame of a key recognised while monitoring, with the frames of its press before it:
    // its line goes to every client.
    void KeyRecognised(const std::string& device, const std::string& command, int repeat);

    // What is waiting to be written to a client, and how much of it was written.
    const std::string& Pending(int client) const;
    void Written(int client, std::size_t bytes);
    // True when the client broke a limit; the wiring closes it.
    bool Dropped(int client) const;
    std::vector<int> Clients() const;

private:
    // A SEND_ONCE whose sends have not all run.
    struct Sending {
        std::string command, device, key;
        int left = 0;
    };
    struct Client {
        std::string in, out;
        std::deque<std::string> lines; // commands waiting for their turn
        std::size_t queuedBytes = 0;
        Sending sending;
        bool skipping = false; // inside an over-long line
        bool dropped = false;
        bool Waiting() const;
    };
    void Queue(Client& c, const std::string& text);
    static void Drop(Client& c);
    // The reply to one command line, or "" with sending filled in for a SEND_ONCE to run.
    std::string Answer(std::string_view line, Sending& sending);
    void SendStep(int client);

    Backend backend_;
    std::string version_;
    std::map<int, Client> clients_;
    int lastServed_ = -1;
    bool running_ = false;
};

} // namespace quenix
