#include "ir/protocols.h"

#include "core/text.h"

namespace quenix {

const ProtocolPreset& PresetFor(int index) {
    if (index < 0 || index >= static_cast<int>(kProtocolPresets.size())) return kProtocolPresets[0];
    return kProtocolPresets[static_cast<std::size_t>(index)];
}

ProtocolHeader HeaderFromPreset(int index) {
    const ProtocolPreset& p = PresetFor(index);
    ProtocolHeader h;
    h.gproto = p.index;
    h.sendpls = LeadingInt16(p.sendpls);
    h.repeat = LeadingInt16(p.repeat);
    h.grepeat = LeadingInt16(p.grepeat);
    h.bitg = std::string(p.bitg);
    h.bit0 = std::string(p.bit0);
    h.bit1 = std::string(p.bit1);
    return h;
}

} // namespace quenix
