#include "actions/executor.h"

#include "actions/desktop_actions.h"
#include "actions/section_lines.h"
#include "actions/x10.h"
#include "core/text.h"
#include "core/view.h"
#include "io/capture_library.h"
#include "io/serial_port.h"
#include "ir/codec.h"
#include "ir/protocols.h"

#include <exception>

namespace quenix {

namespace {

// The TxD software carrier: 6 data bits at 115200 baud make one carrier period per frame.
constexpr std::uint32_t kTxdBaud = 115200;
constexpr int kTxdDataBits = 6;

// The dimmer listens for long alternating bursts, not for a protocol.
constexpr std::uint8_t kDimmerByte = 0x55;
constexpr int kDimmerPulseUs = 2000;
constexpr int kDimmerFirstBurst = 150;

// The shortest code worth sending: the marker and five bits.
constexpr std::size_t kMinCodeLength = 6;

bool StartsWithNoCase(std::string_view line, std::string_view key) {
    return line.size() >= key.size() && ToLower(line.substr(0, key.size())) == ToLower(key);
}

} // namespace

ActionBackends BackendsOf(DesktopActions& actions) {
    ActionBackends b;
    b.x10 = [&actions](const std::string& u, const std::string& c, int f, int level) {
        return actions.x10(u, c, f, level);
    };
    b.mouse = [&actions](const std::string& c) { return actions.mouse(c); };
    b.keyboard = [&actions](const std::string& c) { return actions.keyboard(c); };
    b.application = [&actions](const std::string& c) { return actions.application(c); };
    b.winamp = [&actions](const std::string& c) { return actions.winamp(c); };
    return b;
}

std::string StoredCode(const std::string& configText, const std::string& device, const std::string& command) {
    const std::string wanted = ToLower(Trim(command));
    for (const std::string& line : SectionLinesOf(configText, "[" + device + "]")) {
        std::size_t comma = line.find(',');
        if (comma == std::string::npos) continue;
        if (ToLower(Trim(std::string_view(line).substr(comma + 1))) == wanted) return Trim(line.substr(0, comma));
    }
    return {};
}

ProtocolHeader DeviceHeader(const std::string& configText, const std::string& device) {
    ProtocolHeader h;
    for (const std::string& line : SectionLinesOf(configText, "[" + device + "]")) {
        std::string_view l = line;
        auto value = [&](std::string_view key) { return std::string(l.substr(key.size())); };
        if (StartsWithNoCase(l, "GPROTO=")) h.gproto = LeadingInt16(value("GPROTO="));
        else if (StartsWithNoCase(l, "SENDPLS=")) h.sendpls = LeadingInt16(value("SENDPLS="));
        else if (StartsWithNoCase(l, "REPEAT=")) h.repeat = LeadingInt16(value("REPEAT="));
        else if (StartsWithNoCase(l, "GREPEAT=")) h.grepeat = LeadingInt16(value("GREPEAT="));
        else if (StartsWithNoCase(l, "BITG=")) h.bitg = Trim(value("BITG="));
        else if (StartsWithNoCase(l, "BIT0=")) h.bit0 = Trim(value("BIT0="));
        else if (StartsWithNoCase(l, "BIT1=")) h.bit1 = Trim(value("BIT1="));
    }
    return h;
}

CommandExecutor::CommandExecutor(Context& ctx, SerialPort& serial, CaptureLibrary& library, View& view,
                                 ActionBackends backends)
    : ctx_(ctx), serial_(serial), library_(library), view_(view), backends_(std::move(backends)) {}

std::string CommandExecutor::Execute(const std::string& device, const std::string& command) {
    ctx_.config.currentDevice = device;
    ctx_.config.currentCommand = command;
    return ExecuteCommand();
}

void CommandExecutor::NoteX10Command(const std::string& command) {
    const int function = X10FunctionIndex(command);
    if (function >= 0) {
        x10Function_ = function;
    } else if (!Trim(command).empty()) {
        x10Unit_ = Trim(command);
    }
}

std::string CommandExecutor::ExecuteCommand() {
    const std::string device = ctx_.config.currentDevice;
    const std::string command = ctx_.config.currentCommand;
    const Settings& s = ctx_.settings();
    lastCells_.clear();
    lastPulseLength_ = 0;
    lastBitCount_ = 0;
    lastOk_ = false;

    // The TxD carrier needs its line settings back whatever ran on the port since.
    if (ctx_.txdOutput == 1) serial_.ConfigureComPort(kTxdBaud, kTxdDataBits, ctx_.irPortHandle);

    // Name and flag are one test: a special device whose control is off is tried as an
    // infrared device of that name.
    const std::string lower = ToLower(device);
    if (lower.compare(0, 3, "x10") == 0 && s.x10Ena && backends_.x10) {
        const int dim = view_.currentIndex("DIMScroll");
        if (lower == "x10") {
            NoteX10Command(command);
            return Backend(backends_.x10(x10Unit_, X10FunctionName(x10Function_), x10Function_, dim));
        }
        // Monitored outputs name the unit in the device: "X10&lamp" (or "X10-lamp").
        const int function = X10FunctionIndex(command);
        return Backend(backends_.x10(device.size() > 4 ? device.substr(4) : std::string(), command,
                                     function < 0 ? kX10On : function, dim));
    }
    if (lower == "mouse" && s.mouseEna && backends_.mouse) return Backend(backends_.mouse(command));
    if (lower == "keyboard" && s.keyboardEna) return Backend(backends_.keyboard ? backends_.keyboard(command) : "");
    if (lower == "application" && s.applicationEna && backends_.application)
        return Backend(backends_.application(command));
    if (lower == "winamp" && s.winampEna && backends_.winamp) return Backend(backends_.winamp(command));

    if (!s.irOutEna) return kIrOutputDisabled;
    try {
        return Infrared(device, command);
    } catch (const std::exception&) {
        return kIrSendError;
    }
}

std::string CommandExecutor::Infrared(const std::string& device, const std::string& command) {
    ProtocolHeader header;
    std::string code;
    if (ToLower(Trim(command)) == "recorded") {
        // The command just captured: its protocol and code stand in the record panel.
        const std::string protocol = ToLower(Trim(view_.text("ProtocolName")));
        code = Trim(view_.text("CodeStr"));
        if (protocol.empty() || code.empty()) return kRecordedIncomplete;
        // Any protocol the recorder names; "Custom" is never a recognised one.
        const int index = ProtocolIndex(protocol);
        if (index < 0 || index == kProtoCustom) return kRecordedUnknown;
        header = HeaderFromPreset(index);
        int measured = LeadingInt16(view_.text("SendPulse"));
        if (measured > 0) header.sendpls = measured;
    } else {
        header = DeviceHeader(ctx_.config.text(), device);
        if (ToLower(device) == "ir dimmer" && ctx_.settings().irDimEna) return Dimmer(command);
        code = StoredCode(ctx_.config.text(), device, command);
    }

    if (code.empty()) return kNoCode;
    if (code.size() < kMinCodeLength) return kInvalidCode;
    if (code.find_first_not_of("01", 1) != std::string::npos) return kNotBinaryCode;

    std::string cells = EncodeCommand(code, header, ctx_.rc5Toggle);
    cells.append((8 - cells.size() % 8) % 8, '0');

    ctx_.beepIfOn(5000, 50);
    library_.SetCarrier(CarrierHz(header.gproto));
    if (!Send(cells, header.sendpls)) return SendError();
    ctx_.beepIfOn(2000, 50);
    lastCells_ = cells;
    lastPulseLength_ = header.sendpls;
    lastBitCount_ = static_cast<int>(code.size() - 1);
    lastOk_ = true;
    return device + " " + command + " executed.";
}

std::string CommandExecutor::Dimmer(const std::string& command) {
    const bool g1 = ToLower(Trim(command)) == "g1";
    const int pauseMs = g1 ? 500 : 1000;
    const int secondBurst = g1 ? 20 : 200;

    ctx_.beepIfOn(5000, 50);
    auto burst = [this](int bytes) {
        ctx_.sendBuffer.assign(static_cast<std::size_t>(bytes), static_cast<char>(kDimmerByte));
        const auto* data = reinterpret_cast<const std::uint8_t*>(ctx_.sendBuffer.data());
        return library_.IRSend(data, bytes, kDimmerPulseUs, ctx_.txdOutput).has_value();
    };
    if (!burst(kDimmerFirstBurst)) return SendError();
    ctx_.clock.sleep(pauseMs);
    if (!burst(secondBurst)) return SendError();
    ctx_.beepIfOn(2000, 50);
    lastOk_ = true;
    return kDimmerDone;
}

std::string CommandExecutor::Backend(std::string result) {
    lastOk_ = !result.empty() && result.back() != '!';
    return result;
}

std::string CommandExecutor::SendError() const {
    const std::string why = library_.error();
    return why.empty() ? std::string(kIrSendError) : std::string(kIrSendError) + " " + why;
}

bool CommandExecutor::Send(const std::string& cells, int pulseLength) {
    const std::vector<std::uint8_t> packed = PackCells(cells);
    ctx_.sendBuffer.assign(packed.begin(), packed.end());
    return library_.IRSend(packed.data(), static_cast<int>(packed.size()), pulseLength, ctx_.txdOutput).has_value();
}

} // namespace quenix
