// Lines from clients of the lircd-compatible socket, in pieces cut anywhere, from several clients
// at once, with keys recognised in between: every client's queue stays bounded.
#include "fuzz_support.h"
#include "lirc/lircd_server.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace quenix;
    fuzz::Input in(data, size);
    static const std::vector<LircdRemote> remotes = RemotesOfConfiguration(fuzz::Shipped());
    int sends = 0;
    LircdServer server({[] { return remotes; }, [&](const std::string&, const std::string&) { return ++sends, "ok"; }},
                       "0.10.1");
    std::int64_t now = 0;
    while (!in.empty()) {
        const std::uint8_t op = in.byte();
        const int client = op % 4;
        if (op / 4 % 8 == 0) server.Connect(client);
        if (op / 4 % 8 == 1) server.Disconnect(client);
        if (op / 4 % 8 == 2 && !remotes.empty()) server.KeyRecognised(remotes[0].name, "Power", now += in.byte() * 10);
        if (op / 4 % 8 == 3) server.Written(client, server.Pending(client).size() / 2);
        server.Receive(client, in.piece());
        if (server.Pending(client).size() > LircdServer::kMaxPending + 64 * 1024) __builtin_trap();
    }
    if (sends > 64 * LircdServer::kMaxSendCount) __builtin_trap();
    return 0;
}
