#include "io/serial_port.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <optional>

namespace quenix {

namespace {
// A read returns at once with whatever is buffered; a write may take 1 ms a byte plus 10 ms.
} // namespace

std::string ComDeviceName(int port) {
    return IsLircPort(port) ? "LIRC" + std::to_string(port - kLircPortBase) : "COM" + std::to_string(port);
}

int ComPortNumber(std::string_view name) {
    auto number = [name](std::string_view prefix) -> std::optional<int> {
        if (name.size() <= prefix.size()) return std::nullopt;
        for (std::size_t i = 0; i < prefix.size(); ++i)
            if ((name[i] | 0x20) != prefix[i]) return std::nullopt;
        int n = 0;
        auto digits = name.substr(prefix.size());
        auto [end, ec] = std::from_chars(digits.data(), digits.data() + digits.size(), n);
        if (ec != std::errc() || end != digits.data() + digits.size()) return std::nullopt;
        return n;
    };
    if (auto n = number("com"); n && *n >= 1) return *n;
    if (auto n = number("lirc"); n && *n < kLircDevices) return kLircPortBase + *n;
    return 0;
}

SerialPort::SerialPort(SerialDriver& driver) : driver_(driver) {}

SerialDriver& SerialPort::driver() { return driver_; }

PortHandle SerialPort::OpenComPort(int port) {
    if (port < 1) return kNoPort;
    return driver_.open(ComDeviceName(port));
}

bool SerialPort::ConfigureComPort(std::uint32_t baud, int dataBits, PortHandle h) {
    if (h == kNoPort) return false;
    if (!driver_.getState(h, state_)) return false;
    state_.baudRate = baud;
    state_.byteSize = static_cast<std::uint8_t>(dataBits);
    // Binary mode and nothing else: no flow control, DTR and RTS control "disable" (the lines
    // drop when their control was another), no parity checking. Parity and stop bits stay as
    // the driver had them.
    state_.flags = kCommFlagBinary;
    if (!driver_.setState(h, state_)) return false;
    return SetComTimeouts(h);
}

bool SerialPort::SetComTimeouts(PortHandle h, const CommTimeouts& values) {
    if (h == kNoPort) return false;
    if (!driver_.getTimeouts(h, timeouts_)) return false;
    timeouts_ = values;
    return driver_.setTimeouts(h, timeouts_);
}

bool SerialPort::WriteComPort(std::string_view text, PortHandle h) {
    if (h == kNoPort) return false;
    std::size_t n = std::min(text.size(), kComTransferMax);
    std::memcpy(buffer_, text.data(), n);
    std::size_t written = 0;
    return driver_.write(h, buffer_, n, written);
}

std::string SerialPort::ReadComPort(PortHandle h) {
    if (h == kNoPort) return {};
    std::size_t got = 0;
    if (!driver_.read(h, buffer_, kComTransferMax, got) || got == 0) return {};
    return std::string(buffer_, std::min(got, kComTransferMax));
}

void SerialPort::SetDTR(PortHandle h, bool on) {
    if (h != kNoPort) driver_.escape(h, on ? CommEscape::SetDTR : CommEscape::ClrDTR);
}

void SerialPort::SetRTS(PortHandle h, bool on) {
    if (h != kNoPort) driver_.escape(h, on ? CommEscape::SetRTS : CommEscape::ClrRTS);
}

void SerialPort::SetTxDBreak(PortHandle h, bool on) {
    if (h != kNoPort) driver_.escape(h, on ? CommEscape::SetBreak : CommEscape::ClrBreak);
}

bool SerialPort::modemBit(PortHandle h, std::uint32_t bit) {
    if (h == kNoPort) return false;
    std::uint32_t status = 0;
    driver_.modemStatus(h, status); // a failed call reads as all lines off
    return (status & bit) != 0;
}

bool SerialPort::IsCTSOn(PortHandle h) { return modemBit(h, kModemCtsOn); }
bool SerialPort::IsDSROn(PortHandle h) { return modemBit(h, kModemDsrOn); }
bool SerialPort::IsDCDOn(PortHandle h) { return modemBit(h, kModemDcdOn); }

bool SerialPort::ComPortExists(int port) { return port >= 1 && driver_.defaultConfig(ComDeviceName(port)); }

void SerialPort::CloseHandle(PortHandle h) {
    if (h != kNoPort) driver_.close(h);
}

} // namespace quenix
