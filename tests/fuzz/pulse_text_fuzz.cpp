// Pulse/space text as quenix-ir reads it: what parses must write back and parse to the same runs.
#include "fuzz_support.h"
#include "ir/pulse_text.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace quenix;
    std::string error;
    const auto runs = ParseMode2(std::string_view(reinterpret_cast<const char*>(data), size), error);
    if (!runs) return 0;
    const auto again = ParseMode2(FormatMode2(*runs), error);
    if (!again || again->size() != runs->size()) __builtin_trap();
    for (std::size_t i = 0; i < runs->size(); ++i)
        if ((*again)[i].mark != (*runs)[i].mark || (*again)[i].us != (*runs)[i].us) __builtin_trap();
    (void)SampleRuns(*runs, 55);
    return 0;
}
