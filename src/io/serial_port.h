#pragma once

// The serial port layer: the few operations every part of the program uses on a COM port,
// over a driver that makes the operating system's calls. The operations carry the Windows
// semantics (handles of -1, the shared state and time-out records, 100-byte transfers,
// reads that never wait); each driver maps them onto its own system.

#include "config/context.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace quenix {

// The device-control record as far as the layer uses it. The layer writes only baudRate,
// byteSize and flags; parity and stopBits go back to the driver as they came.
struct CommState {
    std::uint32_t baudRate = 9600;
    std::uint8_t byteSize = 8;
    std::uint8_t parity = 0;   // 0 none, 1 odd, 2 even, 3 mark, 4 space
    std::uint8_t stopBits = 0; // 0 one, 1 one and a half, 2 two
    // Bit 0 binary mode; bit 2 CTS output flow; bit 3 DSR output flow; bits 4-5 DTR control
    // (0 disable, 1 enable, 2 handshake); bits 12-13 RTS control (0 disable, 1 enable, ...).
    std::uint32_t flags = 0;
};

inline constexpr std::uint32_t kCommFlagBinary = 0x1;
inline constexpr std::uint32_t kCommFlagOutxCtsFlow = 0x4;
inline constexpr std::uint32_t kCommFlagOutxDsrFlow = 0x8;
inline constexpr std::uint32_t kCommFlagDtrControlMask = 0x30;
inline constexpr std::uint32_t kCommFlagRtsControlMask = 0x3000;

struct CommTimeouts {
    std::uint32_t readIntervalTimeout = 0;
    std::uint32_t readTotalTimeoutMultiplier = 0;
    std::uint32_t readTotalTimeoutConstant = 0;
    std::uint32_t writeTotalTimeoutMultiplier = 0;
    std::uint32_t writeTotalTimeoutConstant = 0;
};

// Reads return at once with what is there; writes wait a little per byte.
inline constexpr CommTimeouts kPortTimeouts{0xFFFFFFFFu, 0, 0, 1, 10};

// The escape functions, numbered as the Windows call numbers them.
enum class CommEscape : std::uint32_t { SetRTS = 3, ClrRTS = 4, SetDTR = 5, ClrDTR = 6, SetBreak = 8, ClrBreak = 9 };

// Modem status bits.
inline constexpr std::uint32_t kModemCtsOn = 0x10;
inline constexpr std::uint32_t kModemDsrOn = 0x20;
inline constexpr std::uint32_t kModemRingOn = 0x40;
inline constexpr std::uint32_t kModemDcdOn = 0x80;

// The transfer buffer of one read or write.
inline constexpr std::size_t kComTransferMax = 100;

// The OS calls behind the layer: POSIX (termios/ioctl), Win32 (kernel32), simulated (tests).
// Device names are "COM1" ... "COM30". Every call gets a handle that the driver itself
// returned from open(), never -1 (the layer filters those).
class SerialDriver {
public:
    virtual ~SerialDriver() = default;
    // kNoPort when the port is missing or busy.
    virtual PortHandle open(const std::string& deviceName) = 0;
    // Why the last open failed, in the system's words; empty when the driver cannot tell.
    virtual std::string openError() const { return {}; }
    virtual bool getState(PortHandle h, CommState& state) = 0;
    virtual bool setState(PortHandle h, const CommState& state) = 0;
    virtual bool getTimeouts(PortHandle h, CommTimeouts& timeouts) = 0;
    virtual bool setTimeouts(PortHandle h, const CommTimeouts& timeouts) = 0;
    // Reads up to max bytes within the handle's read time-outs.
    virtual bool read(PortHandle h, char* buffer, std::size_t max, std::size_t& got) = 0;
    // Writes within the handle's write time-outs; written may fall short of size.
    virtual bool write(PortHandle h, const char* data, std::size_t size, std::size_t& written) = 0;
    virtual bool escape(PortHandle h, CommEscape function) = 0;
    virtual bool modemStatus(PortHandle h, std::uint32_t& status) = 0;
    // Whether waitLineChange can be used on the handle: a UART can wait for a modem line; a
    // pseudo-terminal, a kernel infrared device or a USB adapter without line interrupts cannot.
    virtual bool canWaitForLines(PortHandle) { return false; }
    // Blocks until one of the modem lines of mask (kModem...) changes: 1 when one did, 0 when the
    // wait was interrupted, -1 when it cannot be made. Safe to call from another thread.
    virtual int waitLineChange(PortHandle, std::uint32_t /*mask*/) { return -1; }
    // True when the system knows a default configuration for the device (it exists).
    virtual bool defaultConfig(const std::string& deviceName) = 0;
    virtual void close(PortHandle h) = 0;
};

class SerialPort { // the operations the rest of the system calls; -1 handles make every operation a no-op
public:
    explicit SerialPort(SerialDriver& driver);
    PortHandle OpenComPort(int port); // -1 when missing or busy
    std::string OpenError() const { return driver_.openError(); }
    bool ConfigureComPort(std::uint32_t baud, int dataBits, PortHandle h);
    bool SetComTimeouts(PortHandle h, const CommTimeouts& values = kPortTimeouts);
    bool WriteComPort(std::string_view text, PortHandle h); // at most 100 bytes
    std::string ReadComPort(PortHandle h);                  // never waits; at most 100 bytes
    void SetDTR(PortHandle h, bool on);
    void SetRTS(PortHandle h, bool on);
    void SetTxDBreak(PortHandle h, bool on);
    bool IsCTSOn(PortHandle h);
    bool IsDSROn(PortHandle h);
    bool IsDCDOn(PortHandle h);
    bool ComPortExists(int port);
    void CloseHandle(PortHandle h);
    SerialDriver& driver();

private:
    bool modemBit(PortHandle h, std::uint32_t bit);

    SerialDriver& driver_;
    // The records of the last configuration call; the system is single-threaded.
    CommState state_;
    CommTimeouts timeouts_;
    char buffer_[kComTransferMax] = {};
};

// Kernel infrared devices share the port numbers: LIRC<n> is port kLircPortBase + n, far
// above the COM ports, so COMPORT= can name one and older files read as before.
inline constexpr int kLircPortBase = 100;
inline constexpr int kLircDevices = 10;
inline constexpr bool IsLircPort(int port) { return port >= kLircPortBase && port < kLircPortBase + kLircDevices; }

// "COM" and the number, as the system names its ports ("LIRC" and the device's number for
// kernel infrared devices).
std::string ComDeviceName(int port);
// The port number of a device name, 0 when it is not one.
int ComPortNumber(std::string_view deviceName);

// The real driver of this OS. On Linux COMn opens the target of a link named com<n> in
// programFolder if there is one, else /dev/ttyS<n-1>; LIRCn a link lirc<n>, else /dev/lirc<n>.
std::unique_ptr<SerialDriver> MakeSystemSerialDriver(const std::string& programFolder);

} // namespace quenix
