#include "ui/web_transport.h"

#include "core/module.h"

namespace quenix {
namespace {

constexpr const char* kModule = "quenix-web";

} // namespace

std::unique_ptr<WebTransport> LoadWebTransport(web::Remote& remote, QString& error) {
    std::string why;
    using Make = WebTransport* (*)(web::Remote*);
    auto make = reinterpret_cast<Make>(ModuleSymbol(kModule, "QuenixMakeWebTransport", why));
    if (!make) error = QString::fromStdString(why);
    return std::unique_ptr<WebTransport>(make ? make(&remote) : nullptr);
}

QImage QrCode(const QString& text, int scale) {
    std::string why;
    using Encode = void (*)(const QString*, int, QImage*);
    QImage image;
    if (auto encode = reinterpret_cast<Encode>(ModuleSymbol(kModule, "QuenixQrCode", why))) encode(&text, scale, &image);
    return image;
}

} // namespace quenix
