// quenix-ir: the codec on the command line, for scripts and for LIRC's pulse/space text.
#include "ir/codec.h"
#include "ir/decoder.h"
#include "ir/long_capture.h"
#include "ir/protocols.h"
#include "ir/pulse_text.h"
#include "ir/scancode.h"
#include "config/config_text.h"
#include "core/text.h"
#include "codes.h"
#include "lirc_import.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <iterator>
#include <map>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

namespace {

using namespace quenix;

struct BadInput {
    std::string what;
};

const char* kUsage = "quenix-ir: usage: quenix-ir decode [--period US] [--packed] [FILE|-] | quenix-ir encode "
                     "--protocol NAME [--sendpls US] [--bitg CELLS] [--bit0 CELLS] [--bit1 CELLS] "
                     "[--repeat N] [--grepeat N] --code CODE [--format cells|packed|mode2] | quenix-ir encode "
                     "--config FILE --device NAME --command KEY [--format cells|packed|mode2] | quenix-ir import FILE | "
                     "quenix-ir export --format flipper|pronto|lircd --config FILE --device NAME\n";

int ParseInt(const std::string& option, const std::string& text, int low, int high) {
    std::size_t used = 0;
    long v = 0;
    try {
        v = std::stol(text, &used);
    } catch (const std::exception&) {
        used = 0;
    }
    if (used == 0 || used != text.size() || v < low || v > high)
        throw BadInput{option + " needs a whole number from " + std::to_string(low) + " to " + std::to_string(high) +
                       ", not \"" + text + "\""};
    return static_cast<int>(v);
}

std::string BinaryOption(const std::string& option, const std::string& text, bool mayBeEmpty) {
    if (text.empty() && !mayBeEmpty) throw BadInput{option + " must not be empty"};
    if (text.find_first_not_of("01") != std::string::npos)
        throw BadInput{option + " must hold only 0 and 1, not \"" + text + "\""};
    return text;
}

// Options as "--name value" pairs and flags; the rest are positional.
struct Args {
    std::map<std::string, std::string> values;
    std::vector<std::string> flags;
    std::vector<std::string> positional;
};

Args ParseArgs(int argc, char** argv, const std::vector<std::string>& valued, const std::vector<std::string>& flagNames) {
    Args a;
    for (int i = 2; i < argc; ++i) {
        std::string arg = argv[i];
        auto isIn = [&](const std::vector<std::string>& list) {
            for (const auto& n : list)
                if (n == arg) return true;
            return false;
        };
        if (isIn(valued)) {
            if (i + 1 >= argc) throw BadInput{arg + " needs a value"};
            a.values[arg] = argv[++i];
        } else if (isIn(flagNames)) {
            a.flags.push_back(arg);
        } else if (arg.size() > 1 && arg[0] == '-' && arg != "-") {
            throw BadInput{"unknown option " + arg};
        } else {
            a.positional.push_back(arg);
        }
    }
    return a;
}

std::string ReadAll(const std::string& file) {
    if (file == "-") return std::string(std::istreambuf_iterator<char>(std::cin), {});
    std::ifstream in(file, std::ios::binary);
    if (!in) throw BadInput{"cannot read " + file};
    try {
        // A folder opens and then fails its first read, by an exception of the library.
        std::string data((std::istreambuf_iterator<char>(in)), {});
        if (!in.bad()) return data;
    } catch (const std::exception&) {
    }
    throw BadInput{"cannot read " + file};
}

std::string ProtocolName(int protocol) {
    return protocol == kProtoUnknown ? "UNK" : std::string(PresetFor(protocol).name);
}

// A device's header and a command's code, read from a configuration file as the program reads
// them: the section runs from its "[name]" line to the next "[".
struct StoredCommand {
    ProtocolHeader header;
    std::string code;
};

StoredCommand ReadStoredCommand(const std::string& file, const std::string& device, const std::string& command) {
    const std::string text = ReadAll(file);
    const int at = FindText("[" + device + "]", text, 1);
    if (at == 0) throw BadInput{"no device " + device + " in " + file};
    const std::size_t end = std::min(text.find('[', static_cast<std::size_t>(at)), text.size());
    std::istringstream lines(text.substr(static_cast<std::size_t>(at), end - static_cast<std::size_t>(at)));
    StoredCommand s;
    ProtocolHeader& h = s.header;
    const std::pair<const char*, int*> numbers[] = {
        {"gproto=", &h.gproto}, {"sendpls=", &h.sendpls}, {"repeat=", &h.repeat}, {"grepeat=", &h.grepeat}};
    const std::pair<const char*, std::string*> patterns[] = {{"bitg=", &h.bitg}, {"bit0=", &h.bit0}, {"bit1=", &h.bit1}};
    for (std::string line; std::getline(lines, line);) {
        if (!line.empty() && line.back() == '\r') line.pop_back(); // the file's CR LF
        line = Trim(line);
        const std::string lower = ToLower(line);
        for (const auto& [key, value] : numbers)
            if (lower.rfind(key, 0) == 0) *value = LeadingInt16(line.substr(std::strlen(key)));
        for (const auto& [key, value] : patterns)
            if (lower.rfind(key, 0) == 0) *value = Trim(line.substr(std::strlen(key)));
        const std::size_t comma = line.find(',');
        if (comma != std::string::npos && ToLower(Trim(line.substr(comma + 1))) == ToLower(Trim(command)))
            s.code = Trim(line.substr(0, comma));
    }
    if (s.code.empty()) throw BadInput{"no command " + command + " in device " + device};
    return s;
}

int Decode(int argc, char** argv) {
    Args a = ParseArgs(argc, argv, {"--period"}, {"--packed"});
    if (a.positional.size() > 1) throw BadInput{"decode reads one file, not " + std::to_string(a.positional.size())};
    int period = a.values.count("--period") ? ParseInt("--period", a.values["--period"], 1, 100000) : 55;
    std::string input = ReadAll(a.positional.empty() ? "-" : a.positional[0]);

    std::vector<std::uint8_t> capture;
    if (!a.flags.empty()) {
        if (input.size() < kCaptureBytes || input.size() > kLongCaptureBytes)
            throw BadInput{"a packed capture has " + std::to_string(kCaptureBytes) + " to " +
                           std::to_string(kLongCaptureBytes) + " bytes, this one " + std::to_string(input.size())};
        capture.assign(input.begin(), input.end());
    } else {
        // Control characters other than line ends and blanks: a capture or some other file.
        for (unsigned char c : input)
            if ((c < 0x20 && !std::isspace(c)) || c == 0x7F) throw BadInput{"binary data, not pulse/space text"};
        std::string error;
        auto runs = ParseMode2(input, error);
        if (!runs) throw BadInput{error};
        if (runs->empty()) throw BadInput{"no pulse or space lines"};
        capture = SampleRuns(*runs, period, CaptureBytesFor(*runs, period));
    }

    const DecodedRecording decoded = DecodeCapture(capture);
    const RecordedSignal& rec = decoded.signal;
    const DecodedFrame mon = DecodeMonitorFrame(capture);
    std::cout << "protocol: " << ProtocolName(rec.protocol) << "\n"
              << "unit_us: " << std::lround(decoded.unit * period) << "\n"
              << "bits: " << rec.verdict.bits << "\n"
              << "code: " << rec.code << "\n"
              << "verdict: " << rec.status << "\n"
              << "frame: " << mon.frame << "\n"
              << "reading: " << ReadingName(decoded.reading) << "\n";
    if (const std::string scancode = ScancodeText(rec.protocol, rec.code); !scancode.empty())
        std::cout << "scancode: " << scancode << "\n";
    return 0;
}

int Encode(int argc, char** argv) {
    Args a = ParseArgs(argc, argv,
                       {"--protocol", "--sendpls", "--bitg", "--bit0", "--bit1", "--repeat", "--grepeat", "--code",
                        "--format", "--config", "--device", "--command"},
                       {});
    if (!a.positional.empty()) throw BadInput{"unexpected argument " + a.positional[0]};
    ProtocolHeader h;
    std::string code;
    if (a.values.count("--config")) {
        if (!a.values.count("--device") || !a.values.count("--command"))
            throw BadInput{"--config needs --device and --command"};
        StoredCommand stored = ReadStoredCommand(a.values["--config"], a.values["--device"], a.values["--command"]);
        h = stored.header;
        code = stored.code;
    } else {
        if (!a.values.count("--protocol")) throw BadInput{"--protocol is required"};
        if (!a.values.count("--code")) throw BadInput{"--code is required"};
        const int index = ProtocolIndex(a.values["--protocol"]);
        if (index < 0) throw BadInput{"unknown protocol " + a.values["--protocol"]};
        h = HeaderFromPreset(index);
        code = a.values["--code"];
    }
    if (a.values.count("--sendpls")) h.sendpls = ParseInt("--sendpls", a.values["--sendpls"], 1, 32767);
    if (a.values.count("--repeat")) h.repeat = ParseInt("--repeat", a.values["--repeat"], 0, 32767);
    if (a.values.count("--grepeat")) h.grepeat = ParseInt("--grepeat", a.values["--grepeat"], -32768, 32767);
    if (a.values.count("--bitg")) h.bitg = BinaryOption("--bitg", a.values["--bitg"], true);
    if (a.values.count("--bit0")) h.bit0 = BinaryOption("--bit0", a.values["--bit0"], false);
    if (a.values.count("--bit1")) h.bit1 = BinaryOption("--bit1", a.values["--bit1"], false);
    std::string format = a.values.count("--format") ? a.values["--format"] : "cells";
    if (format != "cells" && format != "packed" && format != "mode2") throw BadInput{"unknown format " + format};

    const std::string given = code;
    if (!IsValidCode(code)) throw BadInput{"not a valid code: \"" + given + "\""};

    bool toggle = false;
    std::string cells = EncodeCommand(code, h, toggle);
    if (format == "cells") {
        std::cout << cells << "\n";
    } else if (format == "packed") {
        static const char* hex = "0123456789abcdef";
        std::string line;
        for (std::uint8_t b : PackCells(cells)) {
            line += hex[b >> 4];
            line += hex[b & 15];
        }
        std::cout << line << "\n";
    } else {
        std::cout << FormatMode2(CellsToRuns(cells, h.sendpls));
    }
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    std::string command = argc >= 2 ? argv[1] : "";
    if (command == "import" || command == "lirc-import") return ImportCommand(argc, argv);
    if (command == "export") return ExportCommand(argc, argv);
    if (command != "decode" && command != "encode") {
        std::fputs(kUsage, stderr);
        return 2;
    }
    try {
        return command == "decode" ? Decode(argc, argv) : Encode(argc, argv);
    } catch (const BadInput& e) {
        // One line, whatever the argument it quotes holds.
        std::string line = e.what;
        for (char& c : line)
            if (static_cast<unsigned char>(c) < 0x20) c = '?';
        std::fprintf(stderr, "quenix-ir: %s\n", line.c_str());
        return 2;
    } catch (const std::exception& e) {
        std::fprintf(stderr, "quenix-ir: %s\n", e.what());
        return 2;
    }
}
