// The module's entry points, found by name by the window (web_transport.cpp).

#include "ui/web_module/web_server.h"

#include <QHostAddress>
#include <QNetworkInterface>
#include <QPainter>

#include <qrencode.h>

namespace quenix {

// The first private IPv4 address of an interface that is up.
QString WebServer::HomeAddress() const {
    for (const QNetworkInterface& i : QNetworkInterface::allInterfaces()) {
        if (!(i.flags() & QNetworkInterface::IsUp) || (i.flags() & QNetworkInterface::IsLoopBack)) continue;
        for (const QNetworkAddressEntry& e : i.addressEntries())
            if (e.ip().protocol() == QAbstractSocket::IPv4Protocol) {
                const quint32 a = e.ip().toIPv4Address();
                if ((a >> 24) == 10 || (a >> 20) == 0xAC1 || (a >> 16) == 0xC0A8) return e.ip().toString();
            }
    }
    return "127.0.0.1";
}

} // namespace quenix

extern "C" Q_DECL_EXPORT quenix::WebTransport* QuenixMakeWebTransport(quenix::web::Remote* remote) {
    return new quenix::WebServer(*remote);
}

extern "C" Q_DECL_EXPORT void QuenixQrCode(const QString* text, int scale, QImage* out) {
    const QByteArray bytes = text->toUtf8();
    QRcode* code = QRcode_encodeString8bit(bytes.constData(), 0, QR_ECLEVEL_M);
    if (!code) return;
    const int quiet = 4, side = (code->width + 2 * quiet) * scale;
    QImage image(side, side, QImage::Format_RGB32);
    image.fill(Qt::white);
    QPainter p(&image);
    for (int y = 0; y < code->width; ++y)
        for (int x = 0; x < code->width; ++x)
            if (code->data[y * code->width + x] & 1)
                p.fillRect((x + quiet) * scale, (y + quiet) * scale, scale, scale, Qt::black);
    p.end();
    QRcode_free(code);
    *out = image;
}
