#include "io/line_watch.h"

namespace quenix {

// Windows keeps the 1 ms poll of the receiver line.
LineWatch::LineWatch(SerialDriver& driver) : driver_(driver) {}
LineWatch::~LineWatch() = default;
bool LineWatch::Start(PortHandle, std::uint32_t) { return false; }
void LineWatch::Stop() {}

} // namespace quenix
