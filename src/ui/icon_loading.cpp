#include "ui/icon_loading.h"

#include "core/ico_image.h"

#include <QBuffer>
#include <QFile>
#include <QIconEngine>
#include <QImage>
#include <QImageReader>
#include <QPixmap>

#include <functional>
#include <optional>

namespace quenix {

QIcon IconFromFile(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) return {};
    const QByteArray bytes = file.readAll();
    const std::vector<IcoImage> pictures = ReadIco(bytes.toStdString());
    if (pictures.empty()) {
        const QImage other = QImage::fromData(bytes);
        return other.isNull() ? QIcon() : QIcon(QPixmap::fromImage(other));
    }
    QIcon icon;
    for (const IcoImage& p : pictures) {
        QImage image;
        if (p.png.empty()) {
            image = QImage(reinterpret_cast<const uchar*>(p.argb.data()), p.width, p.height, QImage::Format_ARGB32).copy();
        } else {
            QByteArray png = QByteArray::fromStdString(p.png);
            QBuffer buffer(&png);
            // Named, not guessed: guessing asks every image plugin first.
            QImageReader reader(&buffer, "png");
            reader.setAutoDetectImageFormat(false);
            image = reader.read();
        }
        if (!image.isNull()) icon.addPixmap(QPixmap::fromImage(image));
    }
    return icon;
}

namespace {

// Stands for an icon that is made the first time it is drawn or measured.
class DeferredIconEngine : public QIconEngine {
public:
    explicit DeferredIconEngine(std::function<QIcon()> make) : make_(std::move(make)) {}

    void paint(QPainter* painter, const QRect& rect, QIcon::Mode mode, QIcon::State state) override {
        icon().paint(painter, rect, Qt::AlignCenter, mode, state);
    }
    QSize actualSize(const QSize& size, QIcon::Mode mode, QIcon::State state) override {
        return icon().actualSize(size, mode, state);
    }
    QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State state) override {
        return icon().pixmap(size, mode, state);
    }
    QPixmap scaledPixmap(const QSize& size, QIcon::Mode mode, QIcon::State state, qreal scale) override {
        return icon().pixmap(size, scale, mode, state);
    }
    QList<QSize> availableSizes(QIcon::Mode mode, QIcon::State state) override {
        return icon().availableSizes(mode, state);
    }
    // Only icons every style draws are deferred, so asking does not load one.
    bool isNull() override { return false; }
    QIconEngine* clone() const override { return new DeferredIconEngine(*this); }

private:
    const QIcon& icon() {
        if (!icon_) icon_ = make_();
        return *icon_;
    }

    std::function<QIcon()> make_;
    std::optional<QIcon> icon_;
};

} // namespace

QIcon DeferredIconStyle::standardIcon(StandardPixmap icon, const QStyleOption* option, const QWidget* widget) const {
    if (icon != SP_ToolBarHorizontalExtensionButton && icon != SP_ToolBarVerticalExtensionButton)
        return QProxyStyle::standardIcon(icon, option, widget);
    // The menu bar's button lives as long as the window, the style longer.
    QStyle* base = baseStyle();
    return QIcon(new DeferredIconEngine([base, icon] { return base->standardIcon(icon); }));
}

} // namespace quenix
