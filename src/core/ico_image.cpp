#include "core/ico_image.h"

#include <algorithm>
#include <cstdlib>

namespace quenix {
namespace {

constexpr int kLargest = 1024; // far above any icon; a bigger figure is a damaged file

std::uint32_t U16(const std::string& b, std::size_t at) {
    return static_cast<std::uint8_t>(b[at]) | static_cast<std::uint32_t>(static_cast<std::uint8_t>(b[at + 1])) << 8;
}

std::uint32_t U32(const std::string& b, std::size_t at) { return U16(b, at) | U16(b, at + 2) << 16; }

bool Fail(std::string* error, const std::string& why) {
    if (error) *error = why;
    return false;
}

// A device-independent bitmap as icons keep it: its height counts the colour rows and the
// transparency mask below them.
bool ReadBitmap(const std::string& d, IcoImage& out, std::string* error) {
    if (d.size() < 40) return Fail(error, "an entry is too short for its bitmap header");
    const std::uint32_t header = U32(d, 0);
    const auto width = static_cast<std::int32_t>(U32(d, 4));
    const auto rawHeight = static_cast<std::int32_t>(U32(d, 8));
    const std::uint32_t bits = U16(d, 14), compression = U32(d, 16);
    std::uint32_t colours = U32(d, 32);
    if (header < 40 || header > d.size()) return Fail(error, "an entry has a bitmap header of unknown size");
    if (bits != 1 && bits != 4 && bits != 8 && bits != 24 && bits != 32)
        return Fail(error, "an entry has " + std::to_string(bits) + " bits per pixel");
    // Bit fields on 32 bits are the plain BGRA order in every icon writer's hands.
    if (compression != 0 && !(compression == 3 && bits == 32)) return Fail(error, "an entry is compressed");
    const bool bottomUp = rawHeight > 0;
    const std::int64_t height = std::llabs(static_cast<std::int64_t>(rawHeight)) / 2;
    if (width <= 0 || width > kLargest || height <= 0 || height > kLargest)
        return Fail(error, "an entry is " + std::to_string(width) + " by " + std::to_string(height) + " pixels");
    if (bits <= 8 && (colours == 0 || colours > (1u << bits))) colours = 1u << bits;
    if (bits > 8) colours = 0;
    std::size_t at = header + (compression == 3 ? 12 : 0);
    if (header >= 52) at = header; // V4 and V5 headers carry the masks inside
    const std::size_t palette = at;
    at += std::size_t{colours} * 4;
    const std::size_t w = static_cast<std::size_t>(width), h = static_cast<std::size_t>(height);
    const std::size_t stride = (w * bits + 31) / 32 * 4, maskStride = (w + 31) / 32 * 4;
    const std::size_t colourBytes = stride * h, maskBytes = maskStride * h;
    if (at > d.size() || d.size() - at < colourBytes) return Fail(error, "an entry's pixels are cut short");
    // A 32-bit picture carries its own transparency; some writers leave its mask out.
    const bool hasMask = d.size() - at - colourBytes >= maskBytes;
    if (!hasMask && bits != 32) return Fail(error, "an entry's transparency mask is cut short");

    out.width = width;
    out.height = static_cast<int>(height);
    out.argb.assign(w * h, 0);
    bool anyAlpha = false;
    for (std::size_t y = 0; y < h; ++y) {
        const std::size_t row = bottomUp ? h - 1 - y : y;
        const std::size_t line = at + row * stride;
        for (std::size_t x = 0; x < w; ++x) {
            std::uint32_t pixel;
            if (bits == 32) {
                pixel = U32(d, line + x * 4);
                anyAlpha = anyAlpha || (pixel >> 24) != 0;
            } else if (bits == 24) {
                pixel = U16(d, line + x * 3) | static_cast<std::uint32_t>(static_cast<std::uint8_t>(d[line + x * 3 + 2])) << 16;
            } else {
                const std::size_t bit = x * bits;
                const auto byte = static_cast<std::uint8_t>(d[line + bit / 8]);
                const std::uint32_t index = (byte >> (8 - bits - bit % 8)) & ((1u << bits) - 1);
                pixel = index < colours ? U32(d, palette + index * 4) & 0xFFFFFFu : 0;
            }
            out.argb[y * w + x] = bits == 32 ? pixel : pixel | 0xFF000000u;
        }
    }
    if (hasMask && (bits != 32 || !anyAlpha)) {
        const std::size_t mask = at + colourBytes;
        for (std::size_t y = 0; y < h; ++y) {
            const std::size_t line = mask + (bottomUp ? h - 1 - y : y) * maskStride;
            for (std::size_t x = 0; x < w; ++x) {
                const bool clear = (static_cast<std::uint8_t>(d[line + x / 8]) >> (7 - x % 8)) & 1;
                std::uint32_t& p = out.argb[y * w + x];
                p = clear ? 0 : (p | 0xFF000000u);
            }
        }
    } else if (bits == 32 && !anyAlpha) {
        for (std::uint32_t& p : out.argb) p |= 0xFF000000u;
    }
    return true;
}

} // namespace

std::vector<IcoImage> ReadIco(const std::string& bytes, std::string* error) {
    std::vector<IcoImage> images;
    if (bytes.size() < 6 || U16(bytes, 0) != 0 || (U16(bytes, 2) != 1 && U16(bytes, 2) != 2)) {
        Fail(error, "not an icon file");
        return {};
    }
    const std::size_t count = U16(bytes, 4);
    if (count == 0 || bytes.size() < 6 + count * 16) {
        Fail(error, count == 0 ? "the icon file holds no pictures" : "the icon file's list of pictures is cut short");
        return {};
    }
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t entry = 6 + i * 16;
        const std::size_t size = U32(bytes, entry + 8), offset = U32(bytes, entry + 12);
        if (offset > bytes.size() || size > bytes.size() - offset) {
            Fail(error, "picture " + std::to_string(i + 1) + " lies beyond the end of the file");
            return {};
        }
        const std::string data = bytes.substr(offset, size);
        IcoImage image;
        if (data.compare(0, 8, "\x89PNG\r\n\x1a\n") == 0) {
            // The directory's figures are one byte each; 0 means 256.
            image.width = bytes[entry] ? static_cast<std::uint8_t>(bytes[entry]) : 256;
            image.height = bytes[entry + 1] ? static_cast<std::uint8_t>(bytes[entry + 1]) : 256;
            image.png = data;
        } else if (!ReadBitmap(data, image, error)) {
            if (error) *error = "picture " + std::to_string(i + 1) + ": " + *error;
            return {};
        }
        images.push_back(std::move(image));
    }
    return images;
}

} // namespace quenix
