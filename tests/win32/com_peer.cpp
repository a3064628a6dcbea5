// Far ends of the COM ports under Wine: COM1 the CM11 simulator, COM2 an IRMan, COM3/COM4 loopbacks.
//   com_peer DOSDEVICES [--cm11 HEX] -- COMMAND...   (fails too if the CM11 heard other bytes)

#include "support/cm11_sim.h"

#include <chrono>
#include <cstdio>
#include <spawn.h>
#include <sys/wait.h>

extern char** environ;

using namespace quenix::testing;

namespace {
std::string Hex(const std::string& bytes) {
    std::string out;
    char b[4];
    for (unsigned char c : bytes) std::snprintf(b, sizeof b, "%02x", c), out += b;
    return out;
}
} // namespace

int main(int argc, char** argv) {
    if (argc < 4) return 2;
    const std::filesystem::path dosdevices = argv[1];
    std::string cm11Expected;
    int i = 2;
    if (std::string(argv[i]) == "--cm11") cm11Expected = argv[i + 1], i += 2;
    if (std::string(argv[i++]) != "--") return 2;

    Cm11Sim cm11;
    PtyPair irman, loops[2];
    for (const char* name : {"com1", "com2", "com3", "com4"}) std::filesystem::remove(dosdevices / name);
    std::filesystem::create_symlink(std::filesystem::read_symlink(cm11.slavePath()), dosdevices / "com1");
    irman.linkAs(dosdevices, 2);
    loops[0].linkAs(dosdevices, 3);
    loops[1].linkAs(dosdevices, 4);

    pid_t child = -1;
    if (::posix_spawnp(&child, argv[i], nullptr, nullptr, argv + i, environ) != 0) return 2;
    const auto start = std::chrono::steady_clock::now();
    std::string heard;
    int status = 0;
    while (::waitpid(child, &status, WNOHANG) == 0) {
        cm11.service(
            std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - start).count());
        heard += irman.receive(0, 0);
        if (heard.size() >= 2 && heard.compare(heard.size() - 2, 2, "IR") == 0) irman.send("OK"), heard.clear();
        for (PtyPair& loop : loops)
            if (std::string echo = loop.receive(0, 0); !echo.empty()) loop.send(echo);
    }
    bool ok = WIFEXITED(status) && WEXITSTATUS(status) == 0;
    for (const std::string& c : cm11.complaints) std::printf("CM11 complains: %s\n", c.c_str()), ok = false;
    if (!cm11Expected.empty() && Hex(cm11.received) != cm11Expected) {
        std::printf("CM11 heard %s, expected %s\n", Hex(cm11.received).c_str(), cm11Expected.c_str());
        ok = false;
    }
    return ok ? 0 : 1;
}
