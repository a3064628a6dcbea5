// The words a kernel infrared device or a FIFO hands over, in reads cut anywhere, laid onto a
// capture buffer at any sample period.
#include "fuzz_support.h"
#include "io/kernel_ir.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace quenix;
    fuzz::Input in(data, size);
    const std::int64_t periodNs = 1000 + in.byte() * 500;
    std::vector<std::uint8_t> capture(600, 0);
    SampleWriter writer(capture.data(), capture.size(), periodNs);
    std::string pending;
    while (!in.empty()) {
        pending += in.piece();
        std::vector<Mode2Event> events;
        const std::size_t used =
            DecodeMode2(reinterpret_cast<const std::uint8_t*>(pending.data()), pending.size(), events);
        if (used > pending.size() || pending.size() - used >= 4) __builtin_trap();
        pending.erase(0, used);
        for (const Mode2Event& e : events)
            if (e.kind == Mode2Event::Kind::Pulse || e.kind == Mode2Event::Kind::Space)
                writer.add(e.kind == Mode2Event::Kind::Pulse, e.value);
    }
    return 0;
}
