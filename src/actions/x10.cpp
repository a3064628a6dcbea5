#include "actions/x10.h"

#include "actions/section_lines.h"
#include "core/clock.h"
#include "core/text.h"
#include "io/serial_port.h"

namespace quenix {
namespace {

constexpr int kPollMs = 200;
constexpr int kAnswerPolls = 10;        // 2 s for an acknowledgement
constexpr int kTransmissionPolls = 20;  // 4 s: the power line is slow
constexpr char kGoAhead = '\x00';
constexpr char kReady = '\x55';

// Polls until something arrives or the polls run out.
std::string WaitAnswer(SerialPort& serial, PortHandle h, Clock& clock, int polls) {
    std::string answer;
    for (int i = 0; i < polls && answer.empty(); ++i) {
        clock.sleep(kPollMs);
        answer = serial.ReadComPort(h);
    }
    return answer;
}

std::string Bytes(std::uint8_t a, std::uint8_t b) { return {static_cast<char>(a), static_cast<char>(b)}; }
std::string Byte(std::uint8_t a) { return std::string(1, static_cast<char>(a)); }

bool AttemptX10(SerialPort& serial, PortHandle h, Clock& clock, const X10Bytes& b) {
    serial.WriteComPort(Bytes(b.header, b.address), h);
    // An answer is judged whole: two bytes in one read lose the attempt.
    if (WaitAnswer(serial, h, clock, kAnswerPolls) != Byte(b.addressSum)) return false;
    serial.WriteComPort(std::string(1, kGoAhead), h);
    if (WaitAnswer(serial, h, clock, kAnswerPolls) != std::string(1, kReady)) return false;
    serial.WriteComPort(Bytes(b.functionHeader, b.function), h);
    if (WaitAnswer(serial, h, clock, kAnswerPolls) != Byte(b.functionSum)) return false;
    serial.WriteComPort(std::string(1, kGoAhead), h);
    return WaitAnswer(serial, h, clock, kTransmissionPolls) == std::string(1, kReady);
}

// Opens the X10 port on first use, or shares the infrared one when no port of its own is set.
bool EnsureX10Port(Context& ctx, SerialPort& serial, bool irTimeouts) {
    if (ctx.x10PortHandle >= 1) return true;
    int port = ctx.settings().x10Com;
    if (port <= 0) {
        ctx.x10PortHandle = ctx.irPortHandle;
        return true;
    }
    PortHandle h = serial.OpenComPort(port);
    if (h == kNoPort) return false;
    ctx.x10PortHandle = h;
    // The reset prepares the time-outs on the infrared handle, and only the reset minds a
    // failure there; the system has always done so. Reads return at once, writes never time out.
    if (irTimeouts) return serial.SetComTimeouts(ctx.irPortHandle, CommTimeouts{0xFFFFFFFFu, 0, 0, 0, 0});
    serial.SetComTimeouts(h);
    return true;
}

} // namespace

std::string X10Nibble(int index) {
    static const char* const kNibbles[16] = {"0110", "1110", "0010", "1010", "0001", "1001", "0101", "1101",
                                             "0111", "1111", "0011", "1011", "0000", "1000", "0100", "1100"};
    return index >= 1 && index <= 16 ? kNibbles[index - 1] : "";
}

int BinaryValue(std::string_view bits) {
    int value = 0;
    for (char c : bits) value = value * 2 + (c == '1' ? 1 : 0);
    return value;
}

int X10FunctionIndex(std::string_view word) {
    const std::string wanted = ToLower(Trim(word));
    for (int f = kX10AllUnitsOff; f <= kX10AllLightsOff; ++f)
        if (ToLower(X10FunctionName(f)) == wanted) return f;
    return -1;
}

std::string X10FunctionName(int function) {
    if (function < kX10AllUnitsOff || function > kX10AllLightsOff) return {};
    std::string_view list = kX10FunctionList;
    std::size_t start = 0;
    for (int i = 0; i < function; ++i) start = list.find(',', start) + 1;
    return std::string(list.substr(start, list.find(',', start) - start));
}

X10Bytes MakeX10Bytes(int house, int unit, int function, int dimLevel) {
    X10Bytes b;
    int header = 4;
    if (function == kX10Dim || function == kX10Bright) header = (dimLevel * 22 / 100) * 8 + 4;
    int houseCode = BinaryValue(X10Nibble(house));
    b.header = static_cast<std::uint8_t>(header);
    b.address = static_cast<std::uint8_t>(houseCode * 16 + BinaryValue(X10Nibble(unit)));
    b.addressSum = static_cast<std::uint8_t>((b.header + b.address) & 0xFF);
    b.functionHeader = static_cast<std::uint8_t>(header + 2);
    b.function = static_cast<std::uint8_t>(houseCode * 16 + function);
    b.functionSum = static_cast<std::uint8_t>((b.functionHeader + b.function) & 0xFF);
    return b;
}

bool X10Send(SerialPort& serial, PortHandle h, Clock& clock, int house, int unit, int function, int dimLevel) {
    X10Bytes b = MakeX10Bytes(house, unit, function, dimLevel);
    for (int attempt = 0; attempt < 2; ++attempt) {
        if (AttemptX10(serial, h, clock, b)) return true;
    }
    return false;
}

const std::string& X10Names::name(int house, int unit) const {
    static const std::string kNone;
    if (house < 1 || house > 16 || unit < 1 || unit > 16) return kNone;
    return names_[static_cast<std::size_t>(house - 1)][static_cast<std::size_t>(unit - 1)];
}

void X10Names::set(int house, int unit, std::string name) {
    if (house < 1 || house > 16 || unit < 1 || unit > 16) return;
    names_[static_cast<std::size_t>(house - 1)][static_cast<std::size_t>(unit - 1)] = Trim(name);
}

bool X10Names::find(std::string_view wanted, int& house, int& unit) const {
    std::string key = ToLower(Trim(wanted));
    if (key.empty()) return false;
    for (int h = 1; h <= 16; ++h) {
        for (int u = 1; u <= 16; ++u) {
            if (ToLower(name(h, u)) == key) {
                house = h;
                unit = u;
                return true;
            }
        }
    }
    return false;
}

X10Names X10Names::Parse(std::string_view text) {
    X10Names names;
    constexpr std::string_view kTag = "/x10/*";
    for (const std::string& line : SectionLinesOf(text, "[X10]")) {
        std::size_t comma = line.find(',');
        if (line.size() < kTag.size() + 3 || ToLower(line.substr(0, kTag.size())) != kTag || comma == std::string::npos)
            continue;
        int house = static_cast<unsigned char>(ToLower(line.substr(kTag.size(), 1))[0]) - 'a' + 1;
        int unit = static_cast<int>(LeadingNumber(line.substr(kTag.size() + 1, comma - kTag.size() - 1)));
        names.set(house, unit, line.substr(comma + 1));
    }
    return names;
}

std::string X10Names::SectionLines() const {
    std::string out;
    for (int h = 1; h <= 16; ++h) {
        for (int u = 1; u <= 16; ++u) {
            const std::string& n = name(h, u);
            if (n.empty()) continue;
            out += "/X10/*";
            out += static_cast<char>('a' + h - 1);
            out += std::to_string(u) + "," + n + "\r\n";
        }
    }
    return out;
}

std::string X10Action(Context& ctx, SerialPort& serial, const std::string& unitName, const std::string& command,
                      int function, int dimLevel) {
    if (!EnsureX10Port(ctx, serial, false)) return kX10PortError;
    ctx.beepIfOn(5000, 50);
    PortHandle h = ctx.x10PortHandle;
    serial.ConfigureComPort(4800, 8, h);

    int house = 0, unit = 0;
    if (!X10Names::Parse(ctx.config.text()).find(unitName, house, unit)) return kX10SendError;

    bool ok;
    if (function == kX10Dim || function == kX10Bright) {
        int level = dimLevel;
        while (level > kX10DimStep) {
            X10Send(serial, h, ctx.clock, house, unit, function, kX10DimStep);
            level -= kX10DimStep;
        }
        ok = X10Send(serial, h, ctx.clock, house, unit, function, level);
    } else {
        ok = X10Send(serial, h, ctx.clock, house, unit, function, dimLevel);
    }
    if (!ok) return kX10SendError;
    ctx.beepIfOn(2000, 50);
    return "X10-" + Trim(unitName) + " " + command + ".";
}

bool ResetX10(Context& ctx, SerialPort& serial) {
    if (!EnsureX10Port(ctx, serial, true)) return false;
    serial.ConfigureComPort(4800, 8, ctx.x10PortHandle);
    serial.WriteComPort(kX10ClockSetRecord, ctx.x10PortHandle);
    return true;
}

} // namespace quenix
