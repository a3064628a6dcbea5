#pragma once

// The lircd socket's I/O: a listening Unix socket and its clients, non-blocking, watched by
// socket notifiers on the window's thread. What is said on it is LircdServer's.

#include "lirc/lircd_server.h"

#include <QObject>

#include <map>
#include <string>

class QSocketNotifier;

namespace quenix {

class LircdSocket : public QObject {
    Q_OBJECT
public:
    LircdSocket(LircdServer& server, QObject* parent = nullptr);
    ~LircdSocket() override;

    // $QUENIX_LIRCD_SOCKET, else $XDG_RUNTIME_DIR/quenix/lircd, else /tmp/quenix-<uid>/lircd.
    static std::string DefaultPath();
    // Serves at path. A socket another program still answers on is left alone (false, why in
    // error); a stale one is replaced.
    bool Listen(const std::string& path, std::string& error);
    const std::string& path() const { return path_; }
    // Writes what the server queued for every client (after a key line).
    void Flush();

private:
    struct Client {
        QSocketNotifier* read = nullptr;
        QSocketNotifier* write = nullptr;
    };
    void Accept();
    void Readable(int fd);
    void Write(int fd);
    void Close(int fd);

    LircdServer& server_;
    int listenFd_ = -1;
    QSocketNotifier* accept_ = nullptr;
    std::map<int, Client> clients_;
    std::string path_;
};

} // namespace quenix
