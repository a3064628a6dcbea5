#pragma once

// Waits for a receiver's modem line on a thread of its own, so that an idle serial receiver
// costs nothing between keys instead of a line read every millisecond. The window's loop
// watches fd(), which turns readable once the line changed; the tick then samples as before.

#include "io/serial_port.h"

#include <atomic>
#include <thread>

namespace quenix {

class LineWatch {
public:
    explicit LineWatch(SerialDriver& driver);
    ~LineWatch();
    LineWatch(const LineWatch&) = delete;
    LineWatch& operator=(const LineWatch&) = delete;

    // Starts waiting for a change of the lines in mask on h; false when the port cannot be
    // waited on (the caller keeps polling).
    bool Start(PortHandle h, std::uint32_t mask);
    // Ends the wait, if any, and empties fd().
    void Stop();
    bool waiting() const { return thread_.joinable(); }
    PortHandle handle() const { return handle_; }
    // Readable once the line changed (or the wait failed: the caller polls again).
    int fd() const { return pipe_[0]; }

private:
    SerialDriver& driver_;
    std::thread thread_;
    std::atomic<bool> stop_{false}, done_{false};
    PortHandle handle_ = kNoPort;
    PortHandle failed_ = kNoPort; // a port whose wait failed is polled from then on
    std::atomic<bool> failing_{false};
    int pipe_[2] = {-1, -1};
};

} // namespace quenix
