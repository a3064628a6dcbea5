#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace quenix {

// One picture of a Windows icon file. Bitmap entries are decoded here, so the notification-area
// icons load without the window system's image plugins; a PNG entry is handed on as it stands.
struct IcoImage {
    int width = 0;
    int height = 0;
    std::vector<std::uint32_t> argb; // rows top to bottom, 0xAARRGGBB, not premultiplied
    std::string png;                 // the entry's bytes when it is a PNG
};

// Every picture of the file, or none with the reason in `error`. An entry that cannot be read
// makes the whole file unreadable: a half-read icon would show as a blank square.
std::vector<IcoImage> ReadIco(const std::string& bytes, std::string* error = nullptr);

} // namespace quenix
