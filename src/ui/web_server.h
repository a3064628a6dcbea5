#pragma once

// The browser remote's transport: Qt's HTTP server and its WebSockets on the window's event
// loop, around the Qt-free web::Remote that decides every answer. The TCP side counts
// connections and measures each request before the HTTP server reads it.

#include "web/web_remote.h"

#include <QObject>
#include <QString>

#include <map>
#include <string>

class QWebSocket;

namespace quenix {

class WebServer : public QObject {
    Q_OBJECT
public:
    explicit WebServer(web::Remote& remote, QObject* parent = nullptr);
    ~WebServer() override;

    // Stops any earlier server first. False, with the reason, when the address cannot be had.
    bool Listen(const QString& address, quint16 port, QString& error);
    void Close();
    bool listening() const { return http_ != nullptr; }
    quint16 port() const;
    // A message to every connected phone.
    void Broadcast(const std::string& json);
    // After the token was renewed: every phone must pair again.
    void DropClients();
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
