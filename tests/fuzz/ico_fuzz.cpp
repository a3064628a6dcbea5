// Icon files: any bytes give pictures whose pixels fill their size, or a reason and none.
#include "core/ico_image.h"

#include <cstdint>
#include <cstdlib>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string error;
    const auto pictures = quenix::ReadIco(std::string(reinterpret_cast<const char*>(data), size), &error);
    if (pictures.empty() == error.empty()) std::abort();
    for (const quenix::IcoImage& p : pictures) {
        if (p.width <= 0 || p.height <= 0) std::abort();
        if (p.png.empty() && p.argb.size() != static_cast<std::size_t>(p.width) * static_cast<std::size_t>(p.height))
            std::abort();
    }
    return 0;
}
