// Idle monitoring on this machine: what one infrared poll tick costs while no key arrives.
// The receiver port is a pseudo-terminal (its DCD reads on, as an idle standard receiver's
// does), opened through the real serial driver by the com1 link in a scratch program folder.
//
// Run from the source tree: bench/idle_monitor [path to telvorin.cfg]

#include "config/context.h"
#include "io/capture_library.h"
#include "io/serial_port.h"
#include "monitor/monitor_engine.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <pty.h>
#include <sstream>
#include <sys/resource.h>
#include <unistd.h>

using namespace quenix;

namespace {

class NoDialogs final : public Dialogs {
public:
    MsgAnswer messageBox(const std::string&, const std::string&, MsgIcon, MsgButtons) override { return MsgAnswer::Ok; }
    std::optional<std::string> inputBox(const std::string&, const std::string&, const std::string&) override {
        return std::nullopt;
    }
    std::optional<std::string> openFile(const std::string&, const std::vector<std::string>&) override {
        return std::nullopt;
    }
    std::optional<std::string> saveFile(const std::string&, const std::vector<std::string>&,
                                        const std::string&) override {
        return std::nullopt;
    }
};

class Silent final : public Beeper {
public:
    void beep(int, int) override {}
};

// The view's texts are not read back by the tick, so nothing needs keeping.
class NullView final : public View {
public:
    void setText(const std::string&, const std::string&) override {}
    std::string text(const std::string&) const override { return {}; }
    void setChecked(const std::string&, bool) override {}
    bool isChecked(const std::string&) const override { return false; }
    void setEnabled(const std::string&, bool) override {}
    bool isEnabled(const std::string&) const override { return true; }
    void setVisible(const std::string&, bool) override {}
    void setItems(const std::string&, const std::vector<std::string>&) override {}
    std::vector<std::string> items(const std::string&) const override { return {}; }
    void setCurrentIndex(const std::string&, int) override {}
    int currentIndex(const std::string&) const override { return -1; }
    void setColor(const std::string&, ColorRole, std::uint32_t) override {}
    std::uint32_t color(const std::string&, ColorRole) const override { return 0; }
    void setTimerEnabled(const std::string&, bool) override {}
    bool isTimerEnabled(const std::string&) const override { return false; }
    void processEvents() override {}
};

double CpuSeconds() {
    rusage u{};
    getrusage(RUSAGE_SELF, &u);
    return static_cast<double>(u.ru_utime.tv_sec + u.ru_stime.tv_sec) +
           static_cast<double>(u.ru_utime.tv_usec + u.ru_stime.tv_usec) / 1e6;
}

} // namespace

int main(int argc, char** argv) {
    const std::string source = argc > 1 ? argv[1] : "data/telvorin.cfg";
    std::ifstream in(source, std::ios::binary);
    if (!in) {
        std::fprintf(stderr, "cannot read %s\n", source.c_str());
        return 1;
    }
    std::stringstream bytes;
    bytes << in.rdbuf();

    int master = -1, slave = -1;
    char name[256] = {};
    if (openpty(&master, &slave, name, nullptr, nullptr) != 0) {
        std::perror("openpty");
        return 1;
    }
    const auto folder = std::filesystem::temp_directory_path() / ("quenix-idle-" + std::to_string(getpid()));
    std::filesystem::create_directories(folder);
    std::filesystem::create_symlink(name, folder / "com1");

    ConfigStore store(folder.string());
    SystemClock clock;
    NoDialogs dialogs;
    Silent beeper;
    Context ctx(store, clock, dialogs, beeper);
    if (!store.LoadFromText(bytes.str())) {
        std::fprintf(stderr, "bad configuration: %s\n", store.lastError().c_str());
        return 1;
    }
    store.settings().irInEna = true;
    auto driver = MakeSystemSerialDriver(folder.string());
    SerialPort port(*driver);
    // The real library, from the program folder beside the benchmarks.
    auto library = MakeCaptureLibrary((std::filesystem::canonical("/proc/self/exe").parent_path() / "../bin").string());
    NullView view;
    MonitorEngine engine(ctx, view, port, *library);
    ctx.interfaceType = 0;
    ctx.irPortHandle = port.OpenComPort(1);
    if (ctx.irPortHandle == kNoPort) {
        std::fprintf(stderr, "cannot open %s\n", name);
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
    close(slave);
    close(master);
    std::filesystem::remove_all(folder);
    return 0;
}
