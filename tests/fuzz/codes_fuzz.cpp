// Code files of other programs: Flipper .ir, Pronto hex and ir-keytable keymaps, each reader
// fed directly, then every device found written back in each form and read again.
#include "formats/flipper_ir.h"
#include "formats/formats.h"
#include "formats/keymap_toml.h"
#include "formats/pronto.h"

#include <cstddef>
#include <cstdint>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace quenix;
    if (size == 0) return 0;
    const std::string text(reinterpret_cast<const char*>(data) + 1, size - 1);
    ForeignImport found;
    switch (data[0] % 4) {
    case 0: found = ImportFlipper(text, "fuzz"); break;
    case 1: found = ImportPronto(text, "fuzz"); break;
    case 2: found = ImportKeymap(text, "fuzz"); break;
    default: found = ImportCodes(text, "fuzz.ir"); break;
    }
    std::string notes;
    const auto config = ForeignAsConfiguration(found, notes);
    if (!config) return 0;
    for (const ImportedRemote& d : found.devices) {
        if (d.commands.empty()) __builtin_trap();
        std::string why;
        const auto stored = ReadStoredDevice(*config, d.header.name, why);
        if (!stored) __builtin_trap(); // what an importer writes must read back
        for (const char* format : {"flipper", "pronto", "lircd"}) ImportCodes(ExportDevice(*stored, format, why), "x");
    }
    return 0;
}
