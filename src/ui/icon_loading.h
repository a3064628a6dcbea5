#pragma once

#include <QIcon>
#include <QProxyStyle>

namespace quenix {

// An icon from a file: Windows icon files are read here, anything else by Qt's image readers.
// A file that cannot be read gives a null icon.
QIcon IconFromFile(const QString& path);

// Qt loads a picture by asking every image plugin whether it can read it, and the menu bar asks
// the style for its overflow button's icon as it is made, which costs each start several shared
// libraries. Under this style those icons load when they are first drawn.
class DeferredIconStyle : public QProxyStyle {
public:
    explicit DeferredIconStyle(QStyle* base) : QProxyStyle(base) {}
    QIcon standardIcon(StandardPixmap icon, const QStyleOption* option, const QWidget* widget) const override;
};

} // namespace quenix
