#pragma once

// The binding to the capture and emission library, loaded at run time from the program
// folder. A library that is missing, or lacks an entry point, never crashes the program:
// the call fails and error() gives the operating system's own text for the failure.

#include "config/context.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace quenix {

class CaptureLibrary {
public:
    virtual ~CaptureLibrary() = default;

    // Each call answers the library's result, or nullopt when the library could not be
    // called (error() then says why).
    // kNoPort reaches the library as 0, its "port closed".
    virtual std::optional<std::int32_t> SetHandle(PortHandle handle) = 0;
    virtual std::optional<std::int32_t> IRRecord(std::uint8_t* buffer, int procDelay, int length) = 0;
    virtual std::optional<std::int32_t> IRRecordN(std::uint8_t* buffer, int procDelay, int length) = 0;
    // buffer holds 600 bytes.
    virtual std::optional<std::int32_t> IRMonitor(std::uint8_t* buffer, int procDelay) = 0;
    virtual std::optional<std::int32_t> IRMonitorN(std::uint8_t* buffer, int procDelay) = 0;
    // A monitoring capture into length bytes (600 or more), for a receiver that can hand a long
    // code over whole; the serial library's monitoring capture stays 600 bytes.
    virtual std::optional<std::int32_t> IRMonitorLong(std::uint8_t* buffer, int procDelay, int length) {
        (void)length;
        return IRMonitor(buffer, procDelay);
    }
    virtual std::optional<std::int32_t> IRSend(const std::uint8_t* buffer, int byteCount, int pulseLength,
                                               int txdMode) = 0;

    // Whether IRSend reaches a transmitter on the current handle.
    virtual bool CanSend() { return true; }
    // Throws away what the receiver holds from before now (a kernel device queues every key;
    // a serial line holds nothing).
    virtual void Discard() {}
    // The carrier of the following sends, where the transmitter can set one (a serial circuit
    // has its own).
    virtual void SetCarrier(int hz) { (void)hz; }
    // The silence before the last capture's first pulse in microseconds, as the receiver
    // reported it; -1 when it cannot tell (a serial line sees no gap it did not sample).
    virtual std::int64_t LastGapUs() const { return -1; }

    // Loads the library and finds every entry point; false, with error() saying why, when
    // it cannot be used.
    virtual bool Ready() = 0;

    // The system's text for the last failure to load or call the library; empty after a
    // call that reached it.
    virtual std::string error() const = 0;
};

// The library's file name in the program folder.
std::string CaptureLibraryFileName();

// Binds lazily: the library is loaded on the first call, so a program without it starts
// and only the capture and send calls fail. A handle that is a kernel infrared device rather
// than a serial port is served by the device itself (kernel_ir_device.h).
std::unique_ptr<CaptureLibrary> MakeCaptureLibrary(const std::string& programFolder);

} // namespace quenix
