#pragma once

// The browser remote's transport: Qt's HTTP server and its WebSockets on the window's event
// loop, around the Qt-free web::Remote that decides every answer. The TCP side counts
// connections and measures each request before the HTTP server reads it.

#include "ui/web_transport.h"
#include "web/web_remote.h"

#include <QObject>
#include <QString>

#include <map>
#include <string>

class QWebSocket;

namespace quenix {

class WebServer final : public QObject, public WebTransport {
    Q_OBJECT
public:
    explicit WebServer(web::Remote& remote, QObject* parent = nullptr);
    ~WebServer() override;

    bool Listen(const QString& address, quint16 port, QString& error) override;
    void Close() override;
    bool listening() const override { return http_ != nullptr; }
    quint16 port() const override;
    void Broadcast(const std::string& json) override;
    void DropClients() override;
    QString HomeAddress() const override;
    int clients() const { return static_cast<int>(sockets_.size()); }

private:
    class Http;
    class Tcp;
    void NewWebSocket();

    web::Remote& remote_;
    Http* http_ = nullptr;
    Tcp* tcp_ = nullptr;
    std::map<int, QWebSocket*> sockets_;
    int nextId_ = 1;
};

} // namespace quenix
