// Lines from clients of the lircd-compatible socket, in pieces cut anywhere, from several clients
// at once, with keys recognised and queued commands run in between: every client's queue stays
// bounded, a step sends at most once, and the queues drain.
#include "fuzz_support.h"
#include "lirc/lircd_server.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace quenix;
    fuzz::Input in(data, size);
    static const std::vector<LircdRemote> remotes = RemotesOfConfiguration(fuzz::Shipped());
    int sends = 0, steps = 0;
    auto send = [&](const std::string&, const std::string&) { return LircdServer::SendResult{++sends % 3 != 0, "ok"}; };
    LircdServer server({[] { return remotes; }, send}, "0.10.1"); // every third send fails
    while (!in.empty()) {
        const std::uint8_t op = in.byte();
        const int client = op % 4;
        if (op / 4 % 8 == 0) server.Connect(client);
        if (op / 4 % 8 == 1) server.Disconnect(client);
        if (op / 4 % 8 == 2 && !remotes.empty()) server.KeyRecognised(remotes[0].name, "Power", in.byte());
        if (op / 4 % 8 == 3) server.Written(client, server.Pending(client).size() / 2);
        if (op / 4 % 8 >= 4) steps += server.RunOne();
        server.Receive(client, in.piece());
        if (server.Pending(client).size() > LircdServer::kMaxPending + 64 * 1024) __builtin_trap();
    }
    while (server.RunOne()) ++steps;
    if (sends > steps || server.HasWork()) __builtin_trap();
    return 0;
}
