// Idle monitoring on this machine: what one infrared poll tick costs while no key arrives.
// The receiver port is a pseudo-terminal (its DCD reads on, as an idle standard receiver's
// does), opened through the real serial driver by the com1 link in a scratch program folder.
//
// Run from the source tree: bench/idle_monitor [path to telvorin.cfg]

#include "config/context.h"
#include "io/capture_library.h"
#include "io/pty_pair.h"
#include "io/serial_port.h"
#include "monitor/monitor_engine.h"
#include "support/fakes.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <sys/resource.h>

using namespace quenix;
using namespace quenix::testing;

namespace {

double CpuSeconds() {
    rusage u{};
    getrusage(RUSAGE_SELF, &u);
    return static_cast<double>(u.ru_utime.tv_sec + u.ru_stime.tv_sec) +
           static_cast<double>(u.ru_utime.tv_usec + u.ru_stime.tv_usec) / 1e6;
}

} // namespace

int main(int argc, char** argv) {
    const std::string source = argc > 1 ? argv[1] : "data/telvorin.cfg";
    const std::string bytes = TempDir::ReadFile(source);
    if (bytes.empty()) {
        std::fprintf(stderr, "cannot read %s\n", source.c_str());
        return 1;
    }
    TempDir folder;
    PtyPair pty;
    pty.linkAs(folder.path(), 1);

    ConfigStore store(folder.str());
    SystemClock clock;
    FakeDialogs dialogs;
    FakeBeeper beeper;
    Context ctx(store, clock, dialogs, beeper);
    if (!store.LoadFromText(bytes)) {
        std::fprintf(stderr, "bad configuration: %s\n", store.lastError().c_str());
        return 1;
    }
    store.settings().irInEna = true;
    auto driver = MakeSystemSerialDriver(folder.str());
    SerialPort port(*driver);
    // The real library, from the program folder beside the benchmarks.
    auto library = MakeCaptureLibrary((std::filesystem::canonical("/proc/self/exe").parent_path() / "../bin").string());
    FakeView view;
    MonitorEngine engine(ctx, view, port, *library);
    ctx.interfaceType = 0;
    ctx.irPortHandle = port.OpenComPort(1);
    if (ctx.irPortHandle == kNoPort) {
        std::fprintf(stderr, "cannot open the pty as com1\n");
        return 1;
    }

    std::printf("%-28s %12s %14s %14s\n", "idle ticks", "count", "wall us/tick", "CPU us/tick");
    double lastCpu = 0;
    // The pty's DCD reads on: idle for the standard receiver, a line stuck active for the
    // IRMouse one, which the library gives up on once and then answers at once.
    for (int type : {0, 1}) {
        ctx.interfaceType = type;
        library->SetHandle(ctx.irPortHandle);
        for (int n : {10'000, 100'000}) {
            const double cpu0 = CpuSeconds();
            const auto t0 = std::chrono::steady_clock::now();
            for (int i = 0; i < n; ++i) engine.OnIRMonTimer();
            const double wall =
                std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - t0).count();
            const double cpu = (CpuSeconds() - cpu0) * 1e6;
            std::printf("%-28s %12d %14.3f %14.3f\n",
                        type == 0 ? "DCD standard, pty, no key" : "IRMouse, pty, stuck line", n, wall / n, cpu / n);
            if (type == 0) lastCpu = cpu / n;
        }
    }
    // The timer fires at most every millisecond.
    std::printf("share of one core at one tick a millisecond: %.2f %%\n", lastCpu / 1000.0 * 100.0);
    port.CloseHandle(ctx.irPortHandle);
    return 0;
}
