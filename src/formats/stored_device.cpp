#include "formats/stored_device.h"

#include "core/text.h"
#include "formats/foreign.h"
#include "ir/codec.h"
#include "ir/protocols.h"

#include <cmath>
#include <cstdlib>

namespace quenix {

namespace {

std::vector<PulseRun> RunsOf(std::string_view cells, int unit) {
    const std::size_t first = cells.find('1');
    if (first == std::string_view::npos) return {};
    return CellsToRuns(cells.substr(first), unit);
}

ProtocolHeader Transmit(const HeaderFields& h) {
    return {h.gproto, h.sendpls, h.repeat, h.grepeat, h.bitg, h.bit0, h.bit1};
}

} // namespace

std::optional<StoredDevice> ReadStoredDevice(std::string_view text, std::string_view name, std::string& why) {
    const std::string header = ToLower("[" + Strip(name) + "]");
    bool inside = false, found = false;
    StoredDevice d;
    HeaderFields& h = d.header;
    h.name = Strip(name);
    int keys = 0;
    for (std::string_view raw : SplitLines(text)) {
        const std::string line = Strip(raw);
        if (!line.empty() && line.front() == '[') {
            if (inside) break;
            inside = ToLower(line) == header;
            found = found || inside;
            continue;
        }
        if (!inside || line.empty()) continue;
        const std::string lower = ToLower(line);
        auto value = [&](std::string_view key) { return Strip(line.substr(key.size())); };
        if (line.front() == '#') {
            h.description = Strip(line.substr(1));
        } else if (lower.rfind("gproto=", 0) == 0) {
            h.gproto = LeadingInt16(value("gproto=")), ++keys;
        } else if (lower.rfind("sendpls=", 0) == 0) {
            h.sendpls = LeadingInt16(value("sendpls=")), ++keys;
        } else if (lower.rfind("repeat=", 0) == 0) {
            h.repeat = LeadingInt16(value("repeat=")), ++keys;
        } else if (lower.rfind("grepeat=", 0) == 0) {
            h.grepeat = LeadingInt16(value("grepeat=")), ++keys;
        } else if (lower.rfind("bitg=", 0) == 0) {
            h.bitg = value("bitg="), ++keys;
        } else if (lower.rfind("bit0=", 0) == 0) {
            h.bit0 = value("bit0="), ++keys;
        } else if (lower.rfind("bit1=", 0) == 0) {
            h.bit1 = value("bit1="), ++keys;
        } else if (const std::size_t comma = line.find(','); comma != std::string::npos) {
            d.commands.emplace_back(Strip(line.substr(comma + 1)), Strip(line.substr(0, comma)));
        }
    }
    if (!found) why = "no device " + std::string(name);
    else if (keys < 7 || h.sendpls < 1 || h.bit0.empty() || h.bit1.empty())
        why = "the device " + std::string(name) + " has no complete protocol header";
    else if (d.commands.empty())
        why = "the device " + std::string(name) + " has no commands";
    else
        return d;
    return std::nullopt;
}

std::vector<PulseRun> FirstSequence(const HeaderFields& h, const std::string& code) {
    ProtocolHeader once = Transmit(h);
    once.repeat = 0;
    once.grepeat = 0;
    std::string c = code;
    bool toggle = true; // the stored form: toggle bits stay 0
    return RunsOf(EncodeCommand(c, once, toggle), h.sendpls);
}

std::vector<PulseRun> RepeatSequence(const HeaderFields& h, const std::string& code, double& pauseUs) {
    ProtocolHeader full = Transmit(h), once = Transmit(h);
    once.repeat = 0;
    once.grepeat = 0;
    std::string c1 = code, c2 = code;
    bool t1 = true, t2 = true;
    const std::string all = EncodeCommand(c1, full, t1);
    const std::string first = EncodeCommand(c2, once, t2);
    pauseUs = 0;
    if (all.size() <= first.size()) return {};
    const std::string rest = all.substr(first.size()); // four times a pause and a frame
    const std::size_t pause = std::min(rest.find('1'), rest.size());
    pauseUs = static_cast<double>(pause) * h.sendpls;
    if (pause >= rest.size() / 4) return {};
    return RunsOf(std::string_view(rest).substr(pause, rest.size() / 4 - pause), h.sendpls);
}

bool HasPresetTimings(const HeaderFields& h) {
    const ProtocolPreset* p = FindPreset(h.gproto);
    if (!p || h.gproto == kProtoCustom) return false;
    const int unit = LeadingInt16(p->sendpls);
    const bool bitg = h.bitg == p->bitg || (p->bitg.empty() && h.bitg == "0");
    return bitg && h.bit0 == p->bit0 && h.bit1 == p->bit1 && std::abs(h.sendpls - unit) * 10 <= unit;
}

} // namespace quenix
