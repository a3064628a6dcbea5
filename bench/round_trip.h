#pragma once
// Encode a code with its protocol's preset, play it through a jittery sampler, decode it as the
// monitor would.

#include "ir/analysis.h"
#include "ir/codec.h"
#include "ir/protocols.h"
#include "ir/pulse_text.h"

#include <random>
#include <string>

namespace quenix::roundtrip {

// Random data bits for a protocol. An RC5 frame always opens with start bit 1, which the
// decoder takes as read; the rest, the second start bit included, is random.
inline std::string RandomBits(std::mt19937& rng, int protocol, int bits) {
    std::string s;
    for (int i = 0; i < bits; ++i) s += (rng() & 1) || (i == 0 && protocol == kProtoRc5) ? '1' : '0';
    return s;
}

struct Trial {
    std::string sent;   // the data bits as transmitted (RC5: toggle set by the first press)
    MonitorFrame frame; // what the monitoring path made of it
};

// Every mark and space is stretched or shrunk by its own factor in [1 - jitter, 1 + jitter].
inline Trial Run(int protocol, const std::string& bits, double periodUs, double jitter, std::mt19937& rng) {
    ProtocolHeader h = HeaderFromPreset(protocol);
    std::string code = "G" + bits;
    bool toggle = false;
    std::vector<PulseRun> runs = CellsToRuns(EncodeCommand(code, h, toggle), h.sendpls);
    std::uniform_real_distribution<double> factor(1.0 - jitter, 1.0 + jitter);
    for (PulseRun& r : runs) r.us *= factor(rng);
    return {code.substr(1), ExtractFrame(SampleRuns(runs, periodUs))};
}

} // namespace quenix::roundtrip
