#pragma once

// The browser remote's network side as the window sees it. Qt's HTTP server, WebSockets and the
// QR encoder live in a module (web_module/) loaded when the remote is first switched on, so a
// program that never serves phones never loads the network libraries.

#include "web/web_remote.h"

#include <QImage>
#include <QString>

#include <memory>
#include <string>

namespace quenix {

class WebTransport {
public:
    virtual ~WebTransport() = default;
    // Stops any earlier server first. False, with the reason, when the address cannot be had.
    virtual bool Listen(const QString& address, quint16 port, QString& error) = 0;
    virtual void Close() = 0;
    virtual bool listening() const = 0;
    virtual quint16 port() const = 0;
    // A message to every connected phone.
    virtual void Broadcast(const std::string& json) = 0;
    // After the token was renewed: every phone must pair again.
    virtual void DropClients() = 0;
    // The address a phone on the home network reaches.
    virtual QString HomeAddress() const = 0;
};

// The module's server for remote; null, with the reason, when the module cannot be loaded.
std::unique_ptr<WebTransport> LoadWebTransport(web::Remote& remote, QString& error);

// The QR code of a text, scale pixels a module with a four-module quiet zone; null when the
// text cannot be encoded or the module is missing.
QImage QrCode(const QString& text, int scale);

} // namespace quenix
