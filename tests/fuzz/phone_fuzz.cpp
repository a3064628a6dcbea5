// The phone's AT replies and unsolicited key lines, through the phone remote on the simulated
// port: start-up dialogue, key polls, reconnect rounds. Every wait must end on the virtual clock.
#include "fuzz_support.h"
#include "monitor/phone_remote.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace quenix;
    fuzz::Input in(data, size);
    static testing::Rig rig;
    rig.ctx.settings().btEna = true;
    rig.ctx.settings().btCom = 5;
    testing::SimSerialDriver driver(rig.clock);
    SerialPort port(driver);
    fuzz::ScriptedPeer phone(in);
    driver.port(5).peer = &phone;
    fuzz::TickingView view(rig.clock, rig.ctx.secondTicks);
    PhoneRemote remote(rig.ctx, view, port);
    remote.handleEvent = [&](const std::string& key) { return key.size() % 2 ? "done " + key : std::string(); };
    const std::int64_t start = rig.clock.nowMs();
    remote.Initialise();
    for (int round = 0; round < 64 && !in.empty(); ++round) {
        const std::uint8_t what = in.byte();
        if (what % 8 == 0) driver.port(5).present = what & 8;
        if (what % 8 == 1) remote.OnBTAutoTimer();
        if (what % 8 == 2) remote.Show(in.piece());
        driver.port(5).rx += in.piece();
        remote.OnBTMonTimer();
    }
    remote.Close();
    fuzz::Within(start, rig.clock.nowMs(), 3'600'000);
    return 0;
}
