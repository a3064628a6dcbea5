#include "formats/formats.h"

#include "core/text.h"
#include "formats/flipper_ir.h"
#include "formats/keymap_toml.h"
#include "formats/lircd_export.h"
#include "formats/pronto.h"
#include "lirc/lircd_conf.h"

namespace quenix {

namespace {

std::string Stem(std::string_view path) {
    const std::size_t slash = path.find_last_of("/\\");
    if (slash != std::string_view::npos) path.remove_prefix(slash + 1);
    const std::size_t dot = path.rfind('.');
    if (dot != std::string_view::npos && dot > 0) path = path.substr(0, dot);
    return std::string(path);
}

ForeignImport FromLirc(std::string_view text) {
    ForeignImport out;
    const LircFile file = ParseLircdConf(text);
    if (file.remotes.empty()) {
        out.error = file.errors.empty() ? "no codes of a known kind: not a Flipper .ir file, an ir-keytable keymap, "
                                          "Pronto hex or a lircd.conf"
                                        : "no LIRC remote: " + file.errors.front();
        return out;
    }
    for (const std::string& e : file.errors) out.refused.push_back(e);
    std::size_t i = 0;
    for (ImportedRemote& m : ImportLircFile(file)) {
        const std::string where = "line " + std::to_string(file.remotes[i++].line) + ": remote " + m.lircName + ": ";
        if (!m.ok) {
            out.refused.push_back(where + m.why);
            continue;
        }
        for (const std::string& k : m.duplicates) out.refused.push_back(where + "the key " + k + " comes twice");
        if (!m.unreadable.empty()) out.refused.push_back(where + "sends, but monitoring will not recognise " + m.unreadable);
        out.devices.push_back(std::move(m));
    }
    return out;
}

} // namespace

ForeignImport ImportCodes(std::string_view bytes, std::string_view fileName) {
    if (std::string why = RefuseBytes(bytes); !why.empty()) {
        ForeignImport r;
        r.error = why;
        return r;
    }
    const std::string base = Stem(fileName);
    if (LooksLikeFlipper(bytes)) return ImportFlipper(bytes, base);
    if (LooksLikeKeymap(bytes)) return ImportKeymap(bytes, base);
    if (bytes.find("begin remote") == std::string_view::npos && LooksLikePronto(bytes)) return ImportPronto(bytes, base);
    return FromLirc(bytes);
}

std::optional<std::string> CodesAsConfiguration(std::string_view bytes, std::string_view fileName,
                                                std::string& notes) {
    return ForeignAsConfiguration(ImportCodes(bytes, fileName), notes);
}

std::string ExportDevice(const StoredDevice& device, std::string_view format, std::string& why) {
    const std::string f = ToLower(format);
    if (f == "flipper") return ExportFlipper(device);
    if (f == "pronto") return ExportPronto(device);
    if (f == "lircd") return ExportLircd(device);
    why = "unknown format " + std::string(format) + " (flipper, pronto or lircd)";
    return {};
}

} // namespace quenix
