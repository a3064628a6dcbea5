#pragma once

// The capture and emission library. The program loads it at run time from its program
// folder; these are its C entry points.

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
