#include "ui/lircd_socket.h"

// Windows builds serve no lircd socket: LIRC's clients are Unix programs. Listen says so once,
// in the status bar, and the rest of monitoring is unchanged.

namespace quenix {

LircdSocket::LircdSocket(LircdServer& server, QObject* parent) : QObject(parent), server_(server) {}

LircdSocket::~LircdSocket() = default;

LircdSocket::Place LircdSocket::DefaultPlace() { return {}; }

bool LircdSocket::Listen(const Place&, std::string& error) {
    error = "not served on Windows";
    return false;
}

void LircdSocket::Flush() {}

} // namespace quenix
