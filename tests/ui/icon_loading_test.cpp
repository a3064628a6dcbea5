// Icon files read without Qt's image plugins, judged against the plugin Qt ships for them.

#include "ui_support.h"

#include "core/ico_image.h"
#include "ui/icon_loading.h"

#include <QBuffer>
#include <QImageReader>
#include <QMenuBar>
#include <QStyleFactory>

#include <cstdint>
#include <fstream>

namespace quenix::testing {
namespace {

void Put16(std::string& s, std::uint32_t v) {
    s += static_cast<char>(v & 0xFF);
    s += static_cast<char>(v >> 8 & 0xFF);
}
void Put32(std::string& s, std::uint32_t v) {
    Put16(s, v & 0xFFFF);
    Put16(s, v >> 16);
}

// A colour for each pixel, and a transparency mask with some pixels clear.
std::uint32_t Colour(int x, int y) { return 0xFF000000u | (x * 37 % 256) << 16 | (y * 59 % 256) << 8 | ((x + y) * 23 % 256); }
bool Clear(int x, int y) { return (x * 3 + y) % 5 == 0; }

// One bitmap entry as icon writers lay it out: bottom-up rows padded to 32 bits, then the mask.
std::string Bitmap(int w, int h, int bits, bool alpha) {
    std::string d;
    Put32(d, 40), Put32(d, static_cast<std::uint32_t>(w)), Put32(d, static_cast<std::uint32_t>(2 * h));
    Put16(d, 1), Put16(d, static_cast<std::uint32_t>(bits)), Put32(d, 0), Put32(d, 0);
    Put32(d, 0), Put32(d, 0), Put32(d, bits <= 8 ? 1u << bits : 0), Put32(d, 0);
    const int colours = bits <= 8 ? 1 << bits : 0;
    for (int i = 0; i < colours; ++i) Put32(d, Colour(i, i * 7) & 0xFFFFFF);
    const int stride = (w * bits + 31) / 32 * 4, maskStride = (w + 31) / 32 * 4;
    for (int y = h - 1; y >= 0; --y) {
        std::string row(static_cast<std::size_t>(stride), '\0');
        for (int x = 0; x < w; ++x) {
            const std::uint32_t c = Colour(x, y);
            if (bits == 32) {
                const std::uint32_t a = alpha ? (Clear(x, y) ? 0u : static_cast<std::uint32_t>(x * 40 % 256)) : 0u;
                for (int b = 0; b < 4; ++b) row[x * 4 + b] = static_cast<char>(((c & 0xFFFFFF) | a << 24) >> (8 * b));
            } else if (bits == 24) {
                for (int b = 0; b < 3; ++b) row[x * 3 + b] = static_cast<char>(c >> (8 * b));
            } else {
                const int index = (x + 2 * y) % colours, bit = x * bits;
                row[bit / 8] = static_cast<char>(row[bit / 8] | index << (8 - bits - bit % 8));
            }
        }
        d += row;
    }
    for (int y = h - 1; y >= 0; --y) {
        std::string row(static_cast<std::size_t>(maskStride), '\0');
        for (int x = 0; x < w; ++x)
            if (Clear(x, y)) row[x / 8] = static_cast<char>(row[x / 8] | 0x80 >> (x % 8));
        d += row;
    }
    return d;
}

struct Entry {
    int w, h, bits;
    std::string data;
};

std::string Icon(const std::vector<Entry>& entries) {
    std::string f;
    Put16(f, 0), Put16(f, 1), Put16(f, static_cast<std::uint32_t>(entries.size()));
    std::uint32_t offset = 6 + 16 * static_cast<std::uint32_t>(entries.size());
    for (const Entry& e : entries) {
        f += static_cast<char>(e.w % 256), f += static_cast<char>(e.h % 256);
        f += static_cast<char>(e.bits <= 8 ? (1 << e.bits) % 256 : 0), f += '\0';
        Put16(f, 1), Put16(f, static_cast<std::uint32_t>(e.bits)), Put32(f, static_cast<std::uint32_t>(e.data.size()));
        Put32(f, offset);
        offset += static_cast<std::uint32_t>(e.data.size());
    }
    for (const Entry& e : entries) f += e.data;
    return f;
}

// Every picture as Qt's own icon plugin reads it.
std::vector<QImage> QtReads(const std::string& bytes) {
    QByteArray data = QByteArray::fromStdString(bytes);
    QBuffer buffer(&data);
    QImageReader reader(&buffer, "ico");
    std::vector<QImage> images;
    for (int i = 0; i < reader.imageCount(); ++i) {
        if (i > 0) reader.jumpToNextImage();
        images.push_back(reader.read().convertToFormat(QImage::Format_ARGB32));
    }
    return images;
}

// Pixels the same as shown, premultiplied as Qt keeps them; where both are clear the colour does
// not count. Qt's plugin differs from Windows on two kinds of picture: it leaves a 24-bit
// picture opaque under its mask, and a 32-bit one whose alpha is all zero clear. Those are judged
// against the pixels written and their mask.
void ExpectSamePixels(const IcoImage& ours, const QImage& qt, const std::string& what, bool qtFollowsMask = true) {
    ASSERT_EQ(ours.width, qt.width()) << what;
    ASSERT_EQ(ours.height, qt.height()) << what;
    const QImage shown = qt.convertToFormat(QImage::Format_ARGB32_Premultiplied);
    int differ = 0;
    for (int y = 0; y < qt.height(); ++y)
        for (int x = 0; x < qt.width(); ++x) {
            const QRgb a = ours.argb[static_cast<std::size_t>(y * ours.width + x)];
            if (!qtFollowsMask) {
                differ += qAlpha(a) != (Clear(x, y) ? 0 : 255) || (!Clear(x, y) && (a & 0xFFFFFF) != (Colour(x, y) & 0xFFFFFF));
                continue;
            }
            const QRgb b = reinterpret_cast<const QRgb*>(shown.constScanLine(y))[x];
            if (qPremultiply(a) != b && (qAlpha(a) != 0 || qAlpha(b) != 0)) ++differ;
        }
    EXPECT_EQ(differ, 0) << what;
}

TEST(IcoImage, EveryDepthReadsAsQtsIconPluginReadsIt) {
    if (!QImageReader::supportedImageFormats().contains("ico")) GTEST_SKIP() << "Qt's icon plugin is not installed";
    struct Row {
        int bits;
        bool alpha;
        int w, h;
    };
    // Odd widths pad every row; 32 bits without alpha falls back to the mask.
    for (const Row& r : {Row{1, false, 16, 16}, Row{1, false, 13, 5}, Row{4, false, 16, 16}, Row{4, false, 7, 3},
                         Row{8, false, 32, 32}, Row{8, false, 9, 4}, Row{24, false, 16, 16}, Row{24, false, 5, 5},
                         Row{32, true, 48, 48}, Row{32, true, 3, 7}, Row{32, false, 16, 16}}) {
        const std::string what = std::to_string(r.bits) + " bits " + std::to_string(r.w) + "x" + std::to_string(r.h);
        const std::string file = Icon({{r.w, r.h, r.bits, Bitmap(r.w, r.h, r.bits, r.alpha)}});
        std::string error;
        const std::vector<IcoImage> ours = ReadIco(file, &error);
        const std::vector<QImage> qt = QtReads(file);
        ASSERT_EQ(ours.size(), 1u) << what << ": " << error;
        ASSERT_EQ(qt.size(), 1u) << what;
        ExpectSamePixels(ours[0], qt[0], what, r.bits != 24 && (r.bits != 32 || r.alpha));
    }
    for (const char* name : {"zvkmon.ico", "zvknomon.ico", "zvkbtmon.ico"}) {
        std::ifstream in(std::string(QUENIX_SOURCE_DIR) + "/data/icons/" + name, std::ios::binary);
        const std::string file{std::istreambuf_iterator<char>(in), {}};
        const std::vector<IcoImage> ours = ReadIco(file);
        const std::vector<QImage> qt = QtReads(file);
        ASSERT_EQ(ours.size(), qt.size()) << name;
        for (std::size_t i = 0; i < ours.size(); ++i) ExpectSamePixels(ours[i], qt[i], name);
    }
}

TEST(IcoImage, DamagedFilesAreRefusedWithTheirReason) {
    const std::string good = Bitmap(16, 16, 8, false);
    std::string wide = good, deep = good, packed = good;
    wide[4] = '\0', wide[5] = '\x10'; // 4096 pixels wide
    deep[14] = 16;
    packed[16] = 1;
    struct Row {
        std::string file, reason;
    };
    const Row rows[] = {
        {"", "not an icon file"},
        {"\x89PNG\r\n\x1a\n", "not an icon file"},
        {std::string("\0\0\1\0\0\0", 6), "holds no pictures"},
        {std::string("\0\0\1\0\2\0", 6) + std::string(16, '\0'), "list of pictures is cut short"},
        {Icon({{16, 16, 8, good}}).substr(0, 6 + 16 + 100), "beyond the end of the file"},
        {Icon({{16, 16, 8, good.substr(0, 30)}}), "too short for its bitmap header"},
        {Icon({{16, 16, 8, wide}}), "4096 by 16 pixels"},
        {Icon({{16, 16, 8, deep}}), "16 bits per pixel"},
        {Icon({{16, 16, 8, packed}}), "compressed"},
        {Icon({{16, 16, 8, good.substr(0, 40 + 1024 + 100)}}), "pixels are cut short"},
        {Icon({{16, 16, 8, good.substr(0, good.size() - 10)}}), "transparency mask is cut short"},
        {Icon({{16, 16, 8, good}, {16, 16, 8, good.substr(0, 20)}}), "picture 2:"},
    };
    for (const Row& r : rows) {
        std::string error;
        EXPECT_TRUE(ReadIco(r.file, &error).empty()) << r.reason;
        EXPECT_NE(error.find(r.reason), std::string::npos) << error;
    }
}

TEST(IcoImage, IconFilesOfEveryKindMakeIcons) {
    QImage picture(24, 24, QImage::Format_ARGB32);
    picture.fill(QColor(10, 200, 30));
    QByteArray png;
    QBuffer buffer(&png);
    buffer.open(QIODevice::WriteOnly);
    picture.save(&buffer, "PNG");
    TempDir dir;
    // A modern icon keeps its large pictures as PNG; a PNG renamed .ico is read for what it is.
    dir.write("mixed.ico", Icon({{24, 24, 32, png.toStdString()}, {16, 16, 32, Bitmap(16, 16, 32, true)}}));
    dir.write("renamed.ico", png.toStdString());
    for (const char* name : {"mixed.ico", "renamed.ico"}) {
        const QIcon icon = IconFromFile(QString::fromStdString(dir.file(name)));
        ASSERT_FALSE(icon.isNull()) << name;
        EXPECT_EQ(icon.pixmap(24).toImage().convertToFormat(QImage::Format_ARGB32).pixel(5, 5), picture.pixel(5, 5)) << name;
    }
    EXPECT_EQ(IconFromFile(QString::fromStdString(dir.file("mixed.ico"))).availableSizes().size(), 2);
    EXPECT_TRUE(IconFromFile(QString::fromStdString(dir.file("missing.ico"))).isNull());
    dir.write("text.ico", "not a picture");
    EXPECT_TRUE(IconFromFile(QString::fromStdString(dir.file("text.ico"))).isNull());
}

// The menu bar's overflow icon, loaded late, draws as the style's own.
TEST(IcoImage, DeferredStandardIconsDrawAsTheStylesOwn) {
    QStyle* base = QStyleFactory::create("Fusion");
    DeferredIconStyle style(base);
    for (auto which : {QStyle::SP_ToolBarHorizontalExtensionButton, QStyle::SP_ToolBarVerticalExtensionButton,
                       QStyle::SP_MessageBoxCritical}) {
        const QIcon deferred = style.standardIcon(which, nullptr, nullptr);
        EXPECT_FALSE(deferred.isNull());
        EXPECT_EQ(deferred.pixmap(16).toImage(), base->standardIcon(which).pixmap(16).toImage()) << which;
    }
}

} // namespace
} // namespace quenix::testing
