// CM11 answers, through X10Send on the simulated port: any answer ends in success or the
// failure of two attempts, within the time the polls allow.
#include "actions/x10.h"
#include "fuzz_support.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace quenix;
    fuzz::Input in(data, size);
    testing::FakeClock clock;
    testing::SimSerialDriver driver(clock);
    SerialPort port(driver);
    fuzz::ScriptedPeer cm11(in);
    driver.port(3).peer = &cm11;
    const PortHandle h = port.OpenComPort(3);
    const int house = in.byte() % 18, unit = in.byte() % 18, function = in.byte() % 16, dim = in.byte() % 120;
    const std::int64_t start = clock.nowMs();
    X10Send(port, h, clock, house, unit, function, dim);
    fuzz::Within(start, clock.nowMs(), 2 * (3 * 10 + 20) * 200);
    return 0;
}
