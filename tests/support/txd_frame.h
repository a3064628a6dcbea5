#pragma once

// One SONY frame for the software carrier: its packed cells, and the character stream that
// IRSend in TxD mode puts on the port for them.

#include "ir/codec.h"
#include "ir/protocols.h"
#include "serpulse/pulse_engine.h"

#include <cstdint>
#include <string>
#include <vector>

namespace quenix::testing {

struct TxdFrame {
    std::vector<std::uint8_t> packed;
    std::string stream;
};

inline TxdFrame SonyTxdFrame() {
    std::string code = "G101010010000";
    bool toggle = false;
    TxdFrame f{PackCells(EncodeCommand(code, HeaderFromPreset(kProtoSony), toggle)), {}};
    const std::vector<std::uint8_t> s = serpulse::TxdStream(f.packed.data(), static_cast<int>(f.packed.size()), 550);
    f.stream.assign(s.begin(), s.end());
    return f;
}

} // namespace quenix::testing
