// quenix-ir import and export: the code formats others share.
#include "codes.h"

#include "formats/flipper_ir.h"
#include "formats/formats.h"
#include "formats/keymap_toml.h"
#include "formats/pronto.h"
#include "lirc_import.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>

namespace {

namespace fs = std::filesystem;

bool ReadSmallFile(const std::string& path, std::string& text, std::string& why) {
    std::error_code ec;
    const auto size = fs::file_size(path, ec);
    // Refused before reading: a huge file would take long to fail.
    if (!ec && size > quenix::kMaxImportBytes) {
        why = path + " has " + std::to_string(size >> 20) + " MB; codes files are far smaller";
        return false;
    }
    std::ifstream in(path, std::ios::binary);
    try {
        if (in) text.assign(std::istreambuf_iterator<char>(in), {});
    } catch (const std::exception&) {
        in.setstate(std::ios::badbit);
    }
    if (!in || in.bad()) {
        why = "cannot read " + path;
        return false;
    }
    return true;
}

int Fail(const std::string& why) {
    std::string line = why;
    for (char& c : line)
        if (static_cast<unsigned char>(c) < 0x20) c = '?';
    std::fprintf(stderr, "quenix-ir: %s\n", line.c_str());
    return 2;
}

} // namespace

int ImportCommand(int argc, char** argv) {
    if (argc != 3) {
        std::fputs("quenix-ir: usage: quenix-ir import FILE|FOLDER\n", stderr);
        return 2;
    }
    std::error_code ec;
    if (fs::is_directory(argv[2], ec)) return LircImportCommand(argc, argv);
    std::string text, why;
    if (!ReadSmallFile(argv[2], text, why)) return Fail(why);
    if (why = quenix::RefuseBytes(text); !why.empty()) return Fail(std::string(argv[2]) + ": " + why);
    // A lircd.conf keeps the messages lirc-import always gave.
    if (!quenix::LooksLikeFlipper(text) && !quenix::LooksLikeKeymap(text) &&
        (text.find("begin remote") != std::string::npos || !quenix::LooksLikePronto(text)))
        return LircImportCommand(argc, argv);
    const quenix::ForeignImport found = quenix::ImportCodes(text, argv[2]);
    if (!found.error.empty()) return Fail(std::string(argv[2]) + ": " + found.error);
    for (const std::string& r : found.refused) std::fprintf(stderr, "quenix-ir: %s: %s\n", argv[2], r.c_str());
    for (const quenix::ImportedRemote& d : found.devices) std::cout << d.SectionText();
    return found.devices.empty() ? 1 : 0;
}

int ExportCommand(int argc, char** argv) {
    std::string format, config, device;
    for (int i = 2; i + 1 < argc; i += 2) {
        const std::string option = argv[i];
        if (option == "--format") format = argv[i + 1];
        else if (option == "--config") config = argv[i + 1];
        else if (option == "--device") device = argv[i + 1];
        else return Fail("unknown option " + option);
    }
    if (argc % 2 != 0 || format.empty() || config.empty() || device.empty()) {
        std::fputs("quenix-ir: usage: quenix-ir export --format flipper|pronto|lircd --config FILE --device NAME\n",
                   stderr);
        return 2;
    }
    std::string text, why;
    if (!ReadSmallFile(config, text, why)) return Fail(why);
    const auto stored = quenix::ReadStoredDevice(text, device, why);
    if (!stored) return Fail(why + " in " + config);
    const std::string out = quenix::ExportDevice(*stored, format, why);
    if (out.empty()) return Fail(why);
    std::cout << out;
    return 0;
}
