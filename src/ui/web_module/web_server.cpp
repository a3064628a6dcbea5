#include "ui/web_module/web_server.h"

#include <QAbstractHttpServer>
#include <QHttpServerRequest>
#include <QHttpServerResponder>
#include <QPointer>
#include <QTcpServer>
#include <QTcpSocket>
#include <QUrlQuery>
#include <QWebSocket>

#include <memory>
#include <vector>

namespace quenix {
namespace {

std::string Method(QHttpServerRequest::Method m) {
    switch (m) {
    case QHttpServerRequest::Method::Get: return "GET";
    case QHttpServerRequest::Method::Post: return "POST";
    case QHttpServerRequest::Method::Head: return "HEAD";
    default: return "OTHER";
    }
}

const char* Reason(int status) {
    switch (status) {
    case 411: return "Length Required";
    case 413: return "Payload Too Large";
    case 431: return "Request Header Fields Too Large";
    default: return "Service Unavailable";
    }
}

// Answers at the TCP level, before the HTTP server has a request: the connection closes after it.
void Refuse(QTcpSocket* socket, int status) {
    socket->write("HTTP/1.1 " + QByteArray::number(status) + " " + Reason(status) +
                  "\r\nConnection: close\r\nContent-Length: 0\r\n\r\n");
    socket->disconnectFromHost();
}

} // namespace

class WebServer::Http : public QAbstractHttpServer {
public:
    Http(web::Remote& remote, QObject* parent) : QAbstractHttpServer(parent), remote_(remote) {}

protected:
    bool handleRequest(const QHttpServerRequest& request, QTcpSocket* socket) override {
        // An upgrade is answered by the WebSocket server, provided nothing is written here; the
        // new socket is admitted or closed with the reason once it is open.
        if (request.value("upgrade").compare("websocket", Qt::CaseInsensitive) == 0) return true;
        web::Request r;
        r.method = Method(request.method());
        r.path = request.url().path().toStdString();
        r.token = request.query().queryItemValue("t").toStdString();
        for (const auto& [name, value] : request.headers())
            r.headers[name.toLower().toStdString()] = value.toStdString();
        r.body = request.body().toStdString();
        r.peer = request.remoteAddress().toString().toStdString();
        const web::Response a = remote_.Http(r);
        QHttpServerResponder responder = makeResponder(request, socket);
        responder.writeStatusLine(static_cast<QHttpServerResponder::StatusCode>(a.status));
        responder.writeHeader("Content-Type", QByteArray::fromStdString(a.contentType));
        responder.writeHeader("Content-Length", QByteArray::number(static_cast<qsizetype>(a.body.size())));
        responder.writeHeader("Cache-Control", "no-store");
        responder.writeHeader("X-Content-Type-Options", "nosniff");
        responder.writeHeader("Referrer-Policy", "no-referrer");
        for (const auto& [name, value] : a.headers)
            responder.writeHeader(QByteArray::fromStdString(name), QByteArray::fromStdString(value));
        responder.writeBody(QByteArray::fromStdString(a.body));
        return true;
    }
    void missingHandler(const QHttpServerRequest&, QTcpSocket*) override {}

private:
    web::Remote& remote_;
};

// Counts the connections, in all and per peer, and measures each request's bytes before the
// HTTP server reads them (its slots are connected after ours).
class WebServer::Tcp : public QTcpServer {
public:
    using QTcpServer::QTcpServer;

protected:
    void incomingConnection(qintptr descriptor) override {
        auto* socket = new QTcpSocket(this);
        if (!socket->setSocketDescriptor(descriptor)) {
            delete socket;
            return;
        }
        std::erase_if(open_, [](const QPointer<QTcpSocket>& s) { return !s || s->state() != QAbstractSocket::ConnectedState; });
        const QHostAddress peer = socket->peerAddress();
        const auto fromPeer = std::count_if(open_.begin(), open_.end(), [&](const auto& s) { return s->peerAddress() == peer; });
        if (open_.size() >= static_cast<std::size_t>(web::kMaxConnections) || fromPeer >= web::kMaxConnectionsPerPeer) {
            connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
            Refuse(socket, 503);
            return;
        }
        open_.emplace_back(socket);
        auto meter = std::make_shared<web::RequestMeter>();
        connect(socket, &QTcpSocket::readyRead, this, [socket, meter] {
            if (meter->upgraded() || !socket->isOpen()) return;
            const QByteArray bytes = socket->peek(socket->bytesAvailable());
            if (const int status = meter->Feed(std::string_view(bytes.constData(), static_cast<std::size_t>(bytes.size())))) {
                socket->readAll(); // nothing of it reaches the HTTP server
                if (socket->state() == QAbstractSocket::ConnectedState) Refuse(socket, status);
            }
        });
        addPendingConnection(socket);
    }

private:
    std::vector<QPointer<QTcpSocket>> open_;
};

WebServer::WebServer(web::Remote& remote, QObject* parent) : QObject(parent), remote_(remote) {}

WebServer::~WebServer() { Close(); }

bool WebServer::Listen(const QString& address, quint16 port, QString& error) {
    Close();
    auto http = std::make_unique<Http>(remote_, this);
    auto* tcp = new Tcp(http.get());
    if (!tcp->listen(QHostAddress(address), port)) {
        error = tcp->errorString();
        return false;
    }
    http->bind(tcp);
    connect(http.get(), &QAbstractHttpServer::newWebSocketConnection, this, &WebServer::NewWebSocket);
    http_ = http.release();
    tcp_ = tcp;
    return true;
}

void WebServer::Close() {
    DropClients();
    delete http_;
    http_ = nullptr;
    tcp_ = nullptr;
}

quint16 WebServer::port() const { return tcp_ ? tcp_->serverPort() : 0; }

void WebServer::Broadcast(const std::string& json) {
    const QString text = QString::fromStdString(json);
    for (auto& [id, ws] : sockets_) ws->sendTextMessage(text);
}

void WebServer::DropClients() {
    auto sockets = std::move(sockets_);
    sockets_.clear();
    for (auto& [id, ws] : sockets) {
        remote_.Close(id);
        ws->disconnect(this);
        ws->close(QWebSocketProtocol::CloseCodePolicyViolated, "Pair again.");
        ws->deleteLater();
    }
}

void WebServer::NewWebSocket() {
    while (http_ && http_->hasPendingWebSocketConnections()) {
        QWebSocket* ws = http_->nextPendingWebSocketConnection().release();
        const QNetworkRequest& request = ws->request();
        web::Request r;
        r.method = "GET";
        r.path = request.url().path().toStdString();
        r.token = QUrlQuery(request.url()).queryItemValue("t").toStdString();
        for (const QByteArray& name : request.rawHeaderList())
            r.headers[name.toLower().toStdString()] = request.rawHeader(name).toStdString();
        r.headers["origin"] = ws->origin().toStdString();
        r.peer = ws->peerAddress().toString().toStdString();
        const std::string refused = remote_.Admit(r);
        if (!refused.empty()) {
            ws->close(QWebSocketProtocol::CloseCodePolicyViolated, QString::fromStdString(refused));
            ws->deleteLater();
            continue;
        }
        ws->setParent(this);
        ws->setMaxAllowedIncomingFrameSize(web::kMaxMessageBytes);
        ws->setMaxAllowedIncomingMessageSize(web::kMaxMessageBytes);
        const int id = nextId_++;
        sockets_[id] = ws;
        connect(ws, &QWebSocket::textMessageReceived, this, [this, ws, id](const QString& text) {
            for (const std::string& reply : remote_.Message(id, text.toStdString()))
                ws->sendTextMessage(QString::fromStdString(reply));
        });
        connect(ws, &QWebSocket::disconnected, this, [this, ws, id] {
            remote_.Close(id);
            sockets_.erase(id);
            ws->deleteLater();
        });
        ws->sendTextMessage(QString::fromStdString(remote_.Open(id)));
    }
}

} // namespace quenix
