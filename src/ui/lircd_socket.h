#pragma once

// The lircd socket's I/O: a listening Unix socket and its clients, non-blocking, watched by
// socket notifiers on the window's thread. What is said on it is LircdServer's; the server's
// queued commands run one per event-loop turn, so that the window and the other clients go on.

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

    struct Place {
        std::string path;
        // Given by the user: its folder may be shared (/var/run/lirc), and the socket is open to
        // every user, as lircd's is. Otherwise the folder is the program's own, private to the user.
        bool given = false;
    };
    // $QUENIX_LIRCD_SOCKET, else $XDG_RUNTIME_DIR/quenix/lircd, else /tmp/quenix-<uid>/lircd.
    static Place DefaultPlace();
    // Serves there. Refused (false, why in error): a folder other users could write into, a socket
    // another program still answers on, anything at the path that is not a socket. A stale socket
    // is replaced.
    bool Listen(const Place& place, std::string& error);
    const std::string& path() const { return path_; }
    // Writes what the server queued for every client (after a key line).
    void Flush();

private:
    struct Client {
        QSocketNotifier* read = nullptr;
        QSocketNotifier* write = nullptr;
        bool ended = false; // it sent all it will; closed once answered
    };
    void Accept();
    void Readable(int fd);
    void Write(int fd);
    void Close(int fd);
    void Schedule();
    void Turn();

    LircdServer& server_;
    int listenFd_ = -1;
    QSocketNotifier* accept_ = nullptr;
    std::map<int, Client> clients_;
    std::string path_;
    bool turnQueued_ = false;
};

} // namespace quenix
