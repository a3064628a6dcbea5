#include "session_end.h"

#include <QSocketNotifier>

#include <csignal>
#include <sys/socket.h>
#include <unistd.h>

namespace {

// A signal handler may only write to a descriptor; the event loop reads the other end.
int wakeUp[2] = {-1, -1};

void OnSignal(int) {
    const char c = 1;
    [[maybe_unused]] ssize_t n = write(wakeUp[1], &c, 1);
}

} // namespace

void ExitWhenSessionEnds(QObject* owner, std::function<void()> exit) {
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, wakeUp) != 0) return;
    auto* notifier = new QSocketNotifier(wakeUp[0], QSocketNotifier::Read, owner);
    QObject::connect(notifier, &QSocketNotifier::activated, owner, [exit = std::move(exit)] {
        // Read, or the notifier fires again at once for as long as the exit takes.
        char pending[16];
        [[maybe_unused]] ssize_t n = read(wakeUp[0], pending, sizeof pending);
        exit();
    });
    // Installed over any handler of the sound library, which would swallow SIGTERM.
    struct sigaction action {};
    action.sa_handler = OnSignal;
    sigemptyset(&action.sa_mask);
    for (int s : {SIGTERM, SIGINT, SIGHUP}) sigaction(s, &action, nullptr);
}
