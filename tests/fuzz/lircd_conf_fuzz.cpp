// A lircd.conf offered for import: read, fitted to device sections, and each section must be
// one the configuration can hold.
#include "fuzz_support.h"
#include "lirc/lirc_import.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace quenix;
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    (void)LooksLikeLircdConf(text);
    for (const ImportedRemote& r : ImportLircFile(ParseLircdConf(text))) {
        if (!r.ok) continue;
        const std::string section = r.SectionText();
        if (section.find('\0') != std::string::npos) __builtin_trap();
    }
    return 0;
}
