#pragma once

// The memory a bench process holds, as the kernel counts it.

#include <cstdio>
#include <unistd.h>

inline long ResidentKb() {
    long pages = 0, resident = 0;
    if (std::FILE* f = std::fopen("/proc/self/statm", "r")) {
        if (std::fscanf(f, "%ld %ld", &pages, &resident) != 2) resident = 0;
        std::fclose(f);
    }
    return resident * (sysconf(_SC_PAGESIZE) / 1024);
}
