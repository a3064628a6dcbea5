#include "startup_warmup.h"

// The system's own font service has nothing to read ahead.
void ReadFontConfiguration() {}
