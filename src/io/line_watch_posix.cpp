#include "io/line_watch.h"

#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <pthread.h>
#include <unistd.h>

namespace quenix {

namespace {

// The signal that ends a wait in the kernel: its handler does nothing, the wait returns EINTR.
constexpr int kWakeSignal = SIGUSR2;

void InstallWakeHandler() {
    static const bool installed = [] {
        struct sigaction a {};
        a.sa_handler = [](int) {};
        sigemptyset(&a.sa_mask);
        a.sa_flags = 0; // no SA_RESTART: the wait must return
        return ::sigaction(kWakeSignal, &a, nullptr) == 0;
    }();
    (void)installed;
}

} // namespace

LineWatch::LineWatch(SerialDriver& driver) : driver_(driver) {
    if (::pipe2(pipe_, O_CLOEXEC | O_NONBLOCK) != 0) pipe_[0] = pipe_[1] = -1;
}

LineWatch::~LineWatch() {
    Stop();
    for (int fd : pipe_)
        if (fd >= 0) ::close(fd);
}

bool LineWatch::Start(PortHandle h, std::uint32_t mask) {
    if (waiting() && handle_ == h) return true;
    Stop();
    if (failing_.exchange(false)) failed_ = handle_;
    if (pipe_[0] < 0 || h == kNoPort || h == failed_ || !driver_.canWaitForLines(h)) return false;
    InstallWakeHandler();
    handle_ = h;
    stop_ = false;
    done_ = false;
    thread_ = std::thread([this, h, mask] {
        int r = 0;
        while (!stop_ && (r = driver_.waitLineChange(h, mask)) == 0) {
        }
        if (r < 0) failing_ = true;
        if (!stop_) (void)!::write(pipe_[1], "!", 1);
        done_ = true;
    });
    return true;
}

void LineWatch::Stop() {
    if (thread_.joinable()) {
        stop_ = true;
        // The signal may come just before the thread enters the wait: repeat until it is out.
        while (!done_) {
            ::pthread_kill(thread_.native_handle(), kWakeSignal);
            std::this_thread::sleep_for(std::chrono::microseconds(200));
        }
        thread_.join();
    }
    char sink[16];
    while (pipe_[0] >= 0 && ::read(pipe_[0], sink, sizeof sink) > 0) {
    }
}

} // namespace quenix
