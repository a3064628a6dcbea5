#include "serpulse/serpulse.h"

// Entry points; the sampler and the emitter come with the capture work.

namespace {
intptr_t g_handle = 0;
}

extern "C" {

SERPULSE_API int32_t SERPULSE_CALL SetHandle(intptr_t handle) {
    g_handle = handle;
    return 1;
}

SERPULSE_API int32_t SERPULSE_CALL IRRecord(uint8_t*, int32_t, int32_t) { return 0; }
SERPULSE_API int32_t SERPULSE_CALL IRRecordN(uint8_t*, int32_t, int32_t) { return 0; }
SERPULSE_API int32_t SERPULSE_CALL IRMonitor(uint8_t*, int32_t) { return 0; }
SERPULSE_API int32_t SERPULSE_CALL IRMonitorN(uint8_t*, int32_t) { return 0; }
SERPULSE_API int32_t SERPULSE_CALL IRSend(const uint8_t*, int32_t, int32_t, int32_t) { return 0; }
}
