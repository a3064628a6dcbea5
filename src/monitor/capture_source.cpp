#include "monitor/capture_source.h"

#include "io/receiver_controller.h"

namespace quenix {

namespace {
constexpr int kIRManPolls = 50;
constexpr int kIRManPollMs = 100;
constexpr std::size_t kIRManCodeBytes = 6;
} // namespace

bool PortCaptureSource::record(int interfaceType, std::vector<std::uint8_t>& buffer, int procDelay, int length) {
    failure_.clear();
    if (length <= 0 || buffer.size() < static_cast<std::size_t>(length)) return false;
    const PortHandle h = ctx_.irPortHandle;
    std::optional<std::int32_t> r;
    // The receiver is powered from the lines; set them again in case something else moved them.
    switch (interfaceType) {
    case 0:
        port_.SetRTS(h, true);
        r = library_.IRRecord(buffer.data(), procDelay, length);
        break;
    case 1:
        port_.SetDTR(h, true);
        port_.SetRTS(h, true);
        port_.SetTxDBreak(h, false);
        r = library_.IRRecordN(buffer.data(), procDelay, length);
        break;
    case 4:
    case kKernelIr: r = library_.IRRecord(buffer.data(), procDelay, length); break;
    default: return false;
    }
    if (!r) failure_ = library_.error();
    return r && *r != 0;
}

std::string PortCaptureSource::readIRMan() {
    const PortHandle h = ctx_.irPortHandle;
    port_.ConfigureComPort(9600, 8, h);
    std::string got;
    for (int i = 0; i < kIRManPolls && got.size() < kIRManCodeBytes; ++i) {
        ctx_.clock.sleep(kIRManPollMs);
        got += port_.ReadComPort(h);
    }
    return got.substr(0, kIRManCodeBytes);
}

} // namespace quenix
