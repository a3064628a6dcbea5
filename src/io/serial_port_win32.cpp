// The serial driver on Windows: the kernel32 communications calls, one for one.

#include "io/serial_port.h"

#include <windows.h>

namespace quenix {
namespace {

static_assert(static_cast<DWORD>(CommEscape::SetRTS) == SETRTS && static_cast<DWORD>(CommEscape::ClrRTS) == CLRRTS &&
              static_cast<DWORD>(CommEscape::SetDTR) == SETDTR && static_cast<DWORD>(CommEscape::ClrDTR) == CLRDTR &&
              static_cast<DWORD>(CommEscape::SetBreak) == SETBREAK &&
              static_cast<DWORD>(CommEscape::ClrBreak) == CLRBREAK);
static_assert(kModemCtsOn == MS_CTS_ON && kModemDsrOn == MS_DSR_ON && kModemDcdOn == MS_RLSD_ON);

HANDLE H(PortHandle h) { return reinterpret_cast<HANDLE>(h); }

class Win32SerialDriver final : public SerialDriver {
public:
    PortHandle open(const std::string& deviceName) override {
        // The \\.\ prefix lets COM10 and above open; COM1..COM9 open with it too.
        std::string path = "\\\\.\\" + deviceName;
        HANDLE h = ::CreateFileA(path.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0,
                                 nullptr);
        openError_.clear();
        if (h == INVALID_HANDLE_VALUE) {
            char text[256] = {};
            ::FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, ::GetLastError(), 0,
                             text, sizeof text, nullptr);
            openError_ = deviceName + ": " + text;
            while (!openError_.empty() && (openError_.back() == '\n' || openError_.back() == '\r'))
                openError_.pop_back();
        }
        return reinterpret_cast<PortHandle>(h); // INVALID_HANDLE_VALUE is -1
    }

    std::string openError() const override { return openError_; }

    bool getState(PortHandle h, CommState& s) override {
        dcb_.DCBlength = sizeof dcb_;
        if (!::GetCommState(H(h), &dcb_)) return false;
        s.baudRate = dcb_.BaudRate;
        s.byteSize = dcb_.ByteSize;
        s.parity = dcb_.Parity;
        s.stopBits = dcb_.StopBits;
        s.flags = FlagWord(dcb_);
        return true;
    }

    bool setState(PortHandle h, const CommState& s) override {
        // dcb_ still holds what GetCommState gave; only the three fields change.
        dcb_.DCBlength = sizeof dcb_;
        dcb_.BaudRate = s.baudRate;
        dcb_.ByteSize = s.byteSize;
        SetFlagWord(dcb_, s.flags);
        return ::SetCommState(H(h), &dcb_) != 0;
    }

    bool getTimeouts(PortHandle h, CommTimeouts& t) override {
        COMMTIMEOUTS c{};
        if (!::GetCommTimeouts(H(h), &c)) return false;
        t = {c.ReadIntervalTimeout, c.ReadTotalTimeoutMultiplier, c.ReadTotalTimeoutConstant,
             c.WriteTotalTimeoutMultiplier, c.WriteTotalTimeoutConstant};
        return true;
    }

    bool setTimeouts(PortHandle h, const CommTimeouts& t) override {
        COMMTIMEOUTS c{t.readIntervalTimeout, t.readTotalTimeoutMultiplier, t.readTotalTimeoutConstant,
                       t.writeTotalTimeoutMultiplier, t.writeTotalTimeoutConstant};
        return ::SetCommTimeouts(H(h), &c) != 0;
    }

    bool read(PortHandle h, char* buffer, std::size_t max, std::size_t& got) override {
        DWORD n = 0;
        BOOL ok = ::ReadFile(H(h), buffer, static_cast<DWORD>(max), &n, nullptr);
        got = ok ? n : 0;
        return ok != 0;
    }

    bool write(PortHandle h, const char* data, std::size_t size, std::size_t& written) override {
        DWORD n = 0;
        BOOL ok = ::WriteFile(H(h), data, static_cast<DWORD>(size), &n, nullptr);
        written = n;
        return ok != 0;
    }

    bool escape(PortHandle h, CommEscape function) override {
        return ::EscapeCommFunction(H(h), static_cast<DWORD>(function)) != 0;
    }

    bool modemStatus(PortHandle h, std::uint32_t& status) override {
        DWORD s = 0;
        BOOL ok = ::GetCommModemStatus(H(h), &s);
        status = ok ? s : 0;
        return ok != 0;
    }

    bool defaultConfig(const std::string& deviceName) override {
        // A 52-byte configuration buffer, as the port probe has always used.
        alignas(COMMCONFIG) unsigned char buffer[52] = {};
        DWORD size = sizeof buffer;
        return ::GetDefaultCommConfigA(deviceName.c_str(), reinterpret_cast<COMMCONFIG*>(buffer), &size) != 0;
    }

    void close(PortHandle h) override { ::CloseHandle(H(h)); }

private:
    // The DCB's bit fields as one 32-bit word, bit 0 first.
    static std::uint32_t FlagWord(const DCB& d) {
        return static_cast<std::uint32_t>(d.fBinary) | static_cast<std::uint32_t>(d.fParity) << 1 |
               static_cast<std::uint32_t>(d.fOutxCtsFlow) << 2 | static_cast<std::uint32_t>(d.fOutxDsrFlow) << 3 |
               static_cast<std::uint32_t>(d.fDtrControl) << 4 | static_cast<std::uint32_t>(d.fDsrSensitivity) << 6 |
               static_cast<std::uint32_t>(d.fTXContinueOnXoff) << 7 | static_cast<std::uint32_t>(d.fOutX) << 8 |
               static_cast<std::uint32_t>(d.fInX) << 9 | static_cast<std::uint32_t>(d.fErrorChar) << 10 |
               static_cast<std::uint32_t>(d.fNull) << 11 | static_cast<std::uint32_t>(d.fRtsControl) << 12 |
               static_cast<std::uint32_t>(d.fAbortOnError) << 14;
    }
    static void SetFlagWord(DCB& d, std::uint32_t w) {
        d.fBinary = w & 1;
        d.fParity = (w >> 1) & 1;
        d.fOutxCtsFlow = (w >> 2) & 1;
        d.fOutxDsrFlow = (w >> 3) & 1;
        d.fDtrControl = (w >> 4) & 3;
        d.fDsrSensitivity = (w >> 6) & 1;
        d.fTXContinueOnXoff = (w >> 7) & 1;
        d.fOutX = (w >> 8) & 1;
        d.fInX = (w >> 9) & 1;
        d.fErrorChar = (w >> 10) & 1;
        d.fNull = (w >> 11) & 1;
        d.fRtsControl = (w >> 12) & 3;
        d.fAbortOnError = (w >> 14) & 1;
    }

    DCB dcb_{};
    std::string openError_;
};

} // namespace

std::unique_ptr<SerialDriver> MakeSystemSerialDriver(const std::string&) {
    return std::make_unique<Win32SerialDriver>();
}

} // namespace quenix
