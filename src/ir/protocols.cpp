#include "ir/protocols.h"

#include "core/text.h"

namespace quenix {

const ProtocolPreset* FindPreset(int index) {
    if (index < 0 || index >= static_cast<int>(kProtocolPresets.size())) return nullptr;
    return &kProtocolPresets[static_cast<std::size_t>(index)];
}

const ProtocolPreset& PresetFor(int index) {
    const ProtocolPreset* p = FindPreset(index);
    return p ? *p : kProtocolPresets[0];
}

int ProtocolIndex(std::string_view name) {
    const std::string lower = ToLower(std::string(name));
    for (const ProtocolPreset& p : kProtocolPresets)
        if (ToLower(std::string(p.name)) == lower) return p.index;
    return -1;
}

int CarrierHz(int index) {
    switch (index) {
    case kProtoRc5: case kProtoRc5x: case kProtoStreamZap: case kProtoRc6: case kProtoRc6A: return 36000;
    case kProtoSony: case kProtoPioneer: return 40000;
    case kProtoKaseikyo: return 37000;
    case kProtoRca: return 56000;
    default: return 38000;
    }
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
