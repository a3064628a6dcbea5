#include "serpulse/system_line.h"

#include <windows.h>

namespace serpulse {

namespace {

class Win32Line final : public Line {
public:
    explicit Win32Line(HANDLE h) : h_(h) {}

    bool dcd() override {
        DWORD status = 0;
        ::GetCommModemStatus(h_, &status);
        return (status & MS_RLSD_ON) != 0;
    }

    void setDtr(bool on) override { ::EscapeCommFunction(h_, on ? SETDTR : CLRDTR); }

    bool write(const std::uint8_t* data, std::size_t size) override {
        std::size_t done = 0;
        while (done < size) {
            DWORD written = 0;
            DWORD chunk = static_cast<DWORD>(size - done > 0x10000 ? 0x10000 : size - done);
            if (!::WriteFile(h_, data + done, chunk, &written, nullptr)) return false;
            if (written == 0) return false; // the port's write time-out ran out
            done += written;
        }
        return true;
    }

    void drain() override { ::FlushFileBuffers(h_); }

private:
    HANDLE h_;
};

} // namespace

std::unique_ptr<Line> MakeSystemLine(std::intptr_t handle) {
    return std::make_unique<Win32Line>(reinterpret_cast<HANDLE>(handle));
}

} // namespace serpulse
