#include "startup_warmup.h"

#include <QImageReader>

StartupWarmup::StartupWarmup() : fonts_(ReadFontConfiguration) {}

StartupWarmup::~StartupWarmup() {
    if (fonts_.joinable()) fonts_.join();
    Finish();
}

void StartupWarmup::Finish() {
    if (plugins_.joinable()) plugins_.join();
}

void StartupWarmup::ApplicationReady() {
    // Qt reads the same process-wide configuration on first use; waiting here keeps it from
    // being read twice at once.
    if (fonts_.joinable()) fonts_.join();
    plugins_ = std::thread([] { QImageReader::supportedImageFormats(); });
}
