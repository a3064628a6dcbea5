#pragma once

// The capture and emission library. The program loads it at run time from its program
// folder; these are its C entry points.
//
// Sampling: one sample every 45 us + 0.5 us x procDelay (procDelay clamped to 0..100), so
// 55 us at procDelay 20; samples are paced by the monotonic clock. IRRecord and IRMonitor read
// a receiver that pulls DCD off during carrier, the N variants one that raises it. A capture
// starts on the first carrier and stops 35 ms after the last one once two frames are in, or
// 140 ms after it with one frame; the rest of the buffer stays zero.
//
// Sending: DTR mode holds DTR on for each "1" cell (the transmitter adds its 38 kHz carrier).
// TxD mode needs the port at 115200 baud, 6 data bits, one stop bit, and lights a transmitter
// that shines while TxD is at space: each "1" cell is a run of 0x1B characters, three 8.7 us
// pulses per 69.4 us character, 43.2 kHz on average at 37.5 % duty; each "0" cell a run of 0x3F
// characters, whose lone start bit (14.4 kHz, 12.5 %) a 38 kHz receiver does not pass. Cell
// edges fall on the nearest character, 69.4 us apart, without adding up.

#include <stdint.h>

#if defined(_WIN32)
#define SERPULSE_CALL __stdcall
#if defined(SERPULSE_BUILD)
#define SERPULSE_API __declspec(dllexport)
#else
#define SERPULSE_API __declspec(dllimport)
#endif
#else
#define SERPULSE_CALL
#define SERPULSE_API __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
extern "C" {
#endif

// The port whose DCD line the capture calls read and whose DTR/TxD the send call drives;
// 0 after the port has been closed.
SERPULSE_API int32_t SERPULSE_CALL SetHandle(intptr_t handle);
// Fill buffer (zeroed by the caller, length bytes) with samples, 8 a byte, earliest in the
// top bit. Wait for the first edge at most 5 s. Non-zero when a signal was captured.
SERPULSE_API int32_t SERPULSE_CALL IRRecord(uint8_t* buffer, int32_t procDelay, int32_t length);
SERPULSE_API int32_t SERPULSE_CALL IRRecordN(uint8_t* buffer, int32_t procDelay, int32_t length);
// The same for a 600-byte buffer, without a time-out; the caller has seen the line active.
SERPULSE_API int32_t SERPULSE_CALL IRMonitor(uint8_t* buffer, int32_t procDelay);
SERPULSE_API int32_t SERPULSE_CALL IRMonitorN(uint8_t* buffer, int32_t procDelay);
// Sends byteCount packed cells, most significant bit first, each pulseLength microseconds,
// carrier on for a 1. txdMode 0 keys DTR, 1 makes a software carrier on TxD.
SERPULSE_API int32_t SERPULSE_CALL IRSend(const uint8_t* buffer, int32_t byteCount, int32_t pulseLength,
                                          int32_t txdMode);

#ifdef __cplusplus
}
#endif
