#pragma once

#include <thread>

// Work that start-up needs later, begun early on another core: the system's font configuration
// (dozens of XML files, the largest cost of a window's first words) before the window system's
// connection, and the image plugins Qt asks about every picture it loads while the window is
// being built.
class StartupWarmup {
public:
    StartupWarmup();
    ~StartupWarmup();
    StartupWarmup(const StartupWarmup&) = delete;
    StartupWarmup& operator=(const StartupWarmup&) = delete;

    // Once the application object exists, before the first widget that measures text.
    void ApplicationReady();
    // Before the application object goes: the plugin loader lives in it.
    void Finish();

private:
    std::thread fonts_;
    std::thread plugins_;
};

// Reads the font configuration where the system has one to read.
void ReadFontConfiguration();
