#include "startup_warmup.h"

#include <fontconfig/fontconfig.h>

// The first configuration made is kept for the whole process, Qt's use included.
void ReadFontConfiguration() { FcInit(); }
