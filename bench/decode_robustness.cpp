// Share of received frames decoded to the exact code, by sample period and timing jitter.
// Each key is encoded with its protocol's preset, every mark and space stretched by its own
// random factor in [1 - jitter, 1 + jitter], sampled at the period as the capture library
// samples, and decoded as the monitoring path decodes it. Random codes, fixed seed.
//
//   build/<dir>/bench/decode_robustness [codes-per-cell]
#include "round_trip.h"

#include <cstdio>
#include <cstdlib>

using namespace quenix;

int main(int argc, char** argv) {
    int codes = argc > 1 ? std::atoi(argv[1]) : 1000;
    if (codes < 1) codes = 1000;
    const int periods[] = {45, 50, 55, 60, 65};
    const int jitters[] = {0, 10, 20, 30};
    struct Kind {
        const char* name;
        int protocol;
        int bits;
    };
    const Kind kinds[] = {{"NEC 32", kProtoNec, 32}, {"SONY 12", kProtoSony, 12}, {"SONY 15", kProtoSony, 15},
                          {"RC5 14", kProtoRc5, 14}};

    std::printf("exact decodes, %d random codes per cell (monitoring path, first press)\n\n", codes);
    for (const Kind& k : kinds) {
        std::printf("%-8s  jitter:", k.name);
        for (int j : jitters) std::printf("  %5d%%", j);
        std::printf("\n");
        for (int p : periods) {
            std::printf("  %2d us         ", p);
            for (int j : jitters) {
                std::mt19937 rng(static_cast<unsigned>(k.protocol * 7919 + k.bits * 131 + p * 17 + j));
                int exact = 0;
                for (int i = 0; i < codes; ++i) {
                    std::string data = roundtrip::RandomBits(rng, k.protocol, k.bits);
                    roundtrip::Trial t = roundtrip::Run(k.protocol, data, p, j / 100.0, rng);
                    if (t.frame.frame == t.sent) ++exact;
                }
                std::printf("  %5.1f%%", 100.0 * exact / codes);
            }
            std::printf("\n");
        }
        std::printf("\n");
    }
    return 0;
}
