#include "config/import_export.h"

#include "config/atomic_file.h"
#include "config/browser_controller.h"
#include "config/command_lists.h"
#include "config/config_text.h"
#include "core/text.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>

namespace quenix {

namespace {

const std::string kCrLf = "\r\n";

std::vector<std::string> Lines(const std::string& text) {
    std::vector<std::string> lines;
    std::size_t from = 0;
    while (from < text.size()) {
        std::size_t end = text.find(kCrLf, from);
        if (end == std::string::npos) end = text.size();
        lines.push_back(text.substr(from, end - from));
        from = end + 2;
    }
    return lines;
}

std::string Unbracket(const std::string& section) {
    return section.size() >= 2 && section.front() == '[' && section.back() == ']'
               ? section.substr(1, section.size() - 2)
               : section;
}

// 0-based offset of the section's "[" and the offset just past it, or npos.
std::pair<std::size_t, std::size_t> SectionSpan(const std::string& text, const std::string& name) {
    const std::string header = "[" + name + "]";
    const std::string lowerText = ToLower(text);
    const std::string lowerHeader = ToLower(header);
    std::size_t at = 0;
    while ((at = lowerText.find(lowerHeader, at)) != std::string::npos) {
        if (at == 0 || text[at - 1] == '\n') break; // a header stands at the start of a line
        ++at;
    }
    if (at == std::string::npos) return {std::string::npos, std::string::npos};
    std::size_t next = text.find("\r\n[", at + header.size());
    return {at, next == std::string::npos ? text.size() : next + 2};
}

bool HasHeader(const std::string& text, const std::string& name) {
    return SectionSpan(text, name).first != std::string::npos;
}

} // namespace

std::string SectionText(const std::string& text, const std::string& name) {
    auto [first, last] = SectionSpan(text, name);
    return first == std::string::npos ? std::string() : text.substr(first, last - first);
}

ImportExport::ImportExport(Context& ctx) : ctx_(ctx) {}

std::string ImportExport::Instruction(Mode mode) {
    return mode == Mode::Import ? "Check the items to import and click Import"
                                : "Check the items to export and click Export";
}

std::string ImportExport::ButtonText(Mode mode) { return mode == Mode::Import ? "&Import" : "&Export"; }

bool ImportExport::IsValidConfiguration(const std::string& text) {
    for (const char* needle : {"Remote Manager", "[General]", "[End]"})
        if (FindText(needle, text, 1) == 0) return false;
    return true;
}

std::vector<ImportExport::Row> ImportExport::Rows(Mode mode) const {
    const std::string& text = mode == Mode::Import ? ctx_.config.importText() : ctx_.config.text();
    std::vector<Row> rows;
    bool started = false;
    for (const std::string& line : Lines(text)) {
        if (line.empty() || line.front() != '[') continue;
        const std::size_t close = line.find(']');
        if (close == std::string::npos) continue;
        const std::string name = line.substr(1, close - 1);
        const std::string lower = ToLower(name);
        if (lower == "general") started = true;
        if (!started) continue;
        if (lower == "end") break;
        if (lower == "general" && foreign_ && mode == Mode::Import) continue;
        // [General] has no description line; the lookup would borrow the first device's.
        rows.push_back({"[" + name + "]", lower == "general" ? std::string() : GetDeviceDescription(name, text)});
    }
    return rows;
}

bool ImportExport::ImportGeneral(std::vector<std::string>& updated) {
    const std::string& imported = ctx_.config.importText();
    const std::string ours = SectionText(ctx_.config.text(), "General");
    bool any = false;
    const auto lines = Lines(SectionText(imported, "General"));
    for (std::size_t i = 1; i < lines.size(); ++i) {
        const std::size_t eq = lines[i].find('=');
        if (eq == std::string::npos) continue;
        const std::string key = Trim(lines[i].substr(0, eq));
        const std::string value = lines[i].substr(eq + 1);
        // Only keys standing at the start of a line of our [General]: a key of a device
        // section or the tail of a longer key must not be touched.
        // Saved once with the rest of the import, not once per key.
        if (key.empty() || FindText(kCrLf + key + "=", ours, 1) == 0 || !ctx_.config.SetGeneralKey(key, value, false)) {
            ctx_.dialogs.messageBox("The parameter " + key + " is invalid." + kCrLf + "It will not be loaded.", "ZVK",
                                    MsgIcon::Information, MsgButtons::Ok);
            continue;
        }
        updated.push_back(key);
        any = true;
    }
    if (any) ctx_.config.LoadFromText(ctx_.config.text()); // the settings record follows the text
    return any;
}

bool ImportExport::ImportLines(const std::string& section) {
    const std::string name = Unbracket(section);
    if (!HasHeader(ctx_.config.text(), name)) return false;
    const auto lines = Lines(SectionText(ctx_.config.importText(), name));
    for (std::size_t i = 1; i < lines.size(); ++i) {
        const std::string line = Trim(lines[i]);
        if (line.empty()) continue;
        auto [first, last] = SectionSpan(ctx_.config.text(), name);
        std::string ours = ctx_.config.text().substr(first, last - first);
        // A line that is there already is not added twice.
        if (FindText(kCrLf + line + kCrLf, ours, 1) != 0) continue;
        // Behind the last line that is not blank, so the blank line before the next header stays.
        std::size_t end = ours.size();
        while (end >= 2 && ours.compare(end - 2, 2, kCrLf) == 0) end -= 2;
        if (!ctx_.config.Insert(kCrLf + line, static_cast<int>(first + end) + 1)) {
            ctx_.dialogs.message(ctx_.config.lastError());
            return false;
        }
    }
    return true;
}

std::optional<std::string> ImportExport::ImportDevice(const std::string& name) {
    std::string section = SectionText(ctx_.config.importText(), name);
    if (section.empty()) return std::nullopt;
    if (section.size() < 2 || section.compare(section.size() - 2, 2, kCrLf) != 0) section += kCrLf;
    std::string target = name;
    std::string text = ctx_.config.text();
    auto [first, last] = SectionSpan(text, name);
    bool replace = false;
    if (first != std::string::npos) {
        const MsgAnswer a = ctx_.dialogs.messageBox("The device " + name + " exist in the current configuration file." +
                                                        kCrLf + "Do you want to override it?",
                                                    "Device override", MsgIcon::Exclamation, MsgButtons::OkCancel);
        if (a == MsgAnswer::Ok) {
            replace = true;
        } else {
            for (;;) {
                auto answer = ctx_.dialogs.inputBox("Enter a device name for: " + name + ".", "ZVK");
                if (!answer) return std::nullopt;
                target = Trim(*answer);
                if (target.empty()) return std::nullopt;
                if (target.find_first_of("[]#,") != std::string::npos || HasControlCharacter(target)) {
                    ctx_.dialogs.message("Device name cannot contain the following characters: [ ] , # ");
                    continue;
                }
                // A name the device list would read as a virtual device or a reserved section
                // would make the imported codes unreachable.
                const std::string lowerTarget = ToLower(target);
                if (lowerTarget == "general" || lowerTarget == "end" || lowerTarget == "zvk" ||
                    lowerTarget == ToLower(kWebKeypadDevice) ||
                    KindOfDevice(target) != DeviceKind::Infrared || target.find_first_of("%&") != std::string::npos) {
                    ctx_.dialogs.message("This is a reserved name!");
                    continue;
                }
                if (target.size() < 3 || target.size() > 12) {
                    ctx_.dialogs.message("Device name must have 3 to 12 characters");
                    continue;
                }
                if (HasHeader(text, target)) {
                    ctx_.dialogs.message("There is another device named " + target);
                    continue;
                }
                break;
            }
        }
    }
    const std::string renamed = "[" + target + "]" + section.substr(section.find(kCrLf));
    if (replace) {
        // One splice, so a refused text leaves the old section in place.
        text.replace(first, last - first, renamed);
    } else {
        std::size_t at = SectionSpan(text, "X10").first;
        if (at == std::string::npos) at = SectionSpan(text, "End").first;
        if (at == std::string::npos) return std::nullopt;
        text.insert(at, renamed);
    }
    if (!ctx_.config.SetText(std::move(text))) {
        ctx_.dialogs.message(ctx_.config.lastError());
        return std::nullopt;
    }
    return target;
}

std::vector<std::string> ImportExport::Import(const std::vector<std::string>& sections) {
    std::vector<std::string> devices, updated;
    const std::string before = ctx_.config.text();
    for (const std::string& section : sections) {
        const std::string lower = ToLower(section);
        if (lower == "[general]") {
            ImportGeneral(updated);
        } else if (lower == "[x10]" || lower == "[application]" || lower == "[monitoring]") {
            if (ImportLines(section)) devices.push_back(Unbracket(section));
        } else if (auto name = ImportDevice(Unbracket(section))) {
            devices.push_back(*name);
        }
    }
    if (!ctx_.Written(ctx_.config.SaveConfiguration())) {
        // Nothing of the import stays in memory that is not on disk (a reload already took the disk's).
        if (!ctx_.config.reloaded()) ctx_.config.LoadFromText(before);
        return {};
    }
    std::string report = "The following devices has been imported successfully:";
    for (const auto& d : devices) report += kCrLf + d;
    if (!updated.empty()) {
        report += kCrLf + kCrLf + "Updated general parameters:";
        for (const auto& k : updated) report += kCrLf + k;
    }
    ctx_.dialogs.messageBox(report, "ZVK", MsgIcon::Information, MsgButtons::Ok);
    return devices;
}

bool ImportExport::Export(const std::vector<std::string>& sections, const std::string& file) {
    std::string name = file;
    if (name.size() < 4 || ToLower(name.substr(name.size() - 4)) != ".cfg") name += ".cfg";
    const std::string& text = ctx_.config.text();
    std::string out = "#Configuration file exported from Quenix Remote Manager v." + ctx_.config.version() + kCrLf +
                      "#Made by Orvel's Quenix Remote Manager; the sections below can be imported into any" + kCrLf +
                      "#configuration with File, Import. Questions and reports: support@quenix-remote.org" + kCrLf +
                      "# " + kCrLf;
    bool general = false;
    for (const auto& s : sections) general = general || ToLower(s) == "[general]";
    // An unticked [General] still gets its header, so the file passes the import check.
    out += general ? SectionText(text, "General") : "[General]" + kCrLf + kCrLf;
    std::vector<std::string> names;
    for (const auto& s : sections) {
        if (ToLower(s) == "[general]") continue;
        std::string body = SectionText(text, Unbracket(s));
        if (body.empty()) continue;
        if (body.compare(body.size() - 2, 2, kCrLf) != 0) body += kCrLf;
        out += body;
        names.push_back(Unbracket(s));
    }
    out += "[End]" + kCrLf;
    if (!WriteExport(name, out)) return false;
    std::string report = "The following devices has been exported successfully:";
    for (const auto& n : names) report += kCrLf + n;
    ctx_.dialogs.messageBox(report, "ZVK", MsgIcon::Information, MsgButtons::Ok);
    return true;
}

bool ImportExport::WriteExport(const std::string& name, const std::string& bytes) {
    std::error_code ec;
    if (std::filesystem::exists(name, ec)) {
        const MsgAnswer a =
            ctx_.dialogs.messageBox("The file " + name + " exist." + kCrLf + "Do you want to replace it?", "File exist",
                                    MsgIcon::Question, MsgButtons::YesNo);
        if (a != MsgAnswer::Yes) return false;
    }
    std::ofstream f(name, std::ios::binary | std::ios::trunc);
    f << bytes;
    f.close();
    if (!f) {
        ctx_.dialogs.message("Cannot write the file " + name + ".");
        return false;
    }
    return true;
}

std::optional<std::vector<std::string>> ImportExport::Choose(Mode mode) {
    if (!chooseRows) return std::nullopt;
    const auto rows = Rows(mode);
    auto ticked = chooseRows(mode, rows);
    if (!ticked) return std::nullopt;
    std::vector<std::string> sections;
    for (int i : *ticked)
        if (i >= 0 && i < static_cast<int>(rows.size())) sections.push_back(rows[static_cast<std::size_t>(i)].section);
    return sections;
}

void ImportExport::FileImport() {
    auto file = ctx_.dialogs.openFile("Open Configuration File",
                                      {"Configuration Files (*.cfg)", "Text Files (*.txt)", "All Files (*.*)"});
    if (!file) return;
    std::error_code ec;
    // Refused before reading: no configuration or code file comes near this size.
    if (std::filesystem::file_size(*file, ec) > (256u << 20) && !ec) {
        ctx_.dialogs.message("The file " + *file + " is too large to import.");
        return;
    }
    importFile = *file;
    std::string data, why;
    if (!ReadWholeFile(*file, data, why)) {
        ctx_.dialogs.message(why);
        return;
    }
    ctx_.config.importText() = WithCrLf(std::move(data));
    foreign_ = false;
    if (!IsValidConfiguration(ctx_.config.importText())) {
        std::string notes;
        auto converted = convertForeign ? convertForeign(ctx_.config.importText(), notes) : std::nullopt;
        if (!converted) {
            ctx_.dialogs.message("This is not a valid configuration file!");
            return;
        }
        ctx_.config.importText() = *converted;
        foreign_ = true;
        if (Rows(Mode::Import).empty()) {
            ctx_.dialogs.message("Nothing in this file can be imported." + kCrLf + notes);
            return;
        }
        if (!notes.empty()) ctx_.dialogs.message("Notes on the remotes of this file:" + kCrLf + notes);
    }
    if (auto sections = Choose(Mode::Import)) Import(*sections);
}

void ImportExport::FileExport() {
    auto sections = Choose(Mode::Export);
    if (!sections) return;
    auto file = ctx_.dialogs.saveFile("Export Configuration File", {"Configuration Files (*.cfg)"}, "cfg");
    if (!file) return;
    Export(*sections, *file);
}

void ImportExport::FileExportCodes() {
    const std::string device = ctx_.config.currentDevice;
    if (!exportCodes || KindOfDevice(device) != DeviceKind::Infrared || SectionText(ctx_.config.text(), device).empty()) {
        ctx_.dialogs.message("Select a learned device to export its codes.");
        return;
    }
    auto file = ctx_.dialogs.saveFile("Export Codes of " + device,
                                      {"Flipper IR Files (*.ir)", "LIRC Files (*.conf)", "Pronto Hex Files (*.txt)"}, "ir");
    if (!file) return;
    std::string name = *file;
    const std::string lower = ToLower(name);
    auto endsWith = [&](const std::string& ext) {
        return lower.size() > ext.size() && lower.compare(lower.size() - ext.size(), ext.size(), ext) == 0;
    };
    const char* format = endsWith(".conf") ? "lircd" : endsWith(".txt") ? "pronto" : "flipper";
    if (!endsWith(".conf") && !endsWith(".txt") && !endsWith(".ir")) name += ".ir";
    std::string why;
    const std::string out = exportCodes(device, format, why);
    if (out.empty()) {
        ctx_.dialogs.message("The codes of " + device + " cannot be exported: " + why);
        return;
    }
    if (!WriteExport(name, out)) return;
    ctx_.dialogs.messageBox("The codes of " + device + " have been exported to " + name + ".", "ZVK",
                            MsgIcon::Information, MsgButtons::Ok);
}

} // namespace quenix
