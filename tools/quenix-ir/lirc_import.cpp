// quenix-ir lirc-import: LIRC remote descriptions as device sections.
#include "lirc/lirc_import.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

bool ReadFile(const fs::path& path, std::string& text) {
    std::ifstream in(path, std::ios::binary);
    if (!in) return false;
    try {
        text.assign(std::istreambuf_iterator<char>(in), {});
        return !in.bad();
    } catch (const std::exception&) { // a read error surfaces as an exception of the library
        return false;
    }
}

// The files to read: the one named, or every file under a folder in name order (LIRC's remote
// database is a tree of lircd.conf files, with pictures and notes beside them).
std::vector<fs::path> Inputs(const fs::path& named, bool& folder) {
    std::error_code ec;
    folder = fs::is_directory(named, ec);
    if (!folder) return {named};
    std::vector<fs::path> files;
    for (auto it = fs::recursive_directory_iterator(named, fs::directory_options::skip_permission_denied, ec);
         !ec && it != fs::recursive_directory_iterator(); it.increment(ec))
        if (it->is_regular_file(ec)) files.push_back(it->path());
    std::sort(files.begin(), files.end());
    return files;
}

} // namespace

int LircImportCommand(int argc, char** argv) {
    if (argc != 3) {
        std::fputs("quenix-ir: usage: quenix-ir lirc-import FILE.conf|FOLDER\n", stderr);
        return 2;
    }
    bool folder = false;
    // All remotes in one file, so that device names stay unique across the files of a folder.
    quenix::LircFile all;
    for (const fs::path& path : Inputs(argv[2], folder)) {
        std::string text;
        if (!ReadFile(path, text)) {
            if (folder) continue;
            std::fprintf(stderr, "quenix-ir: cannot read %s\n", argv[2]);
            return 2;
        }
        quenix::LircFile file = quenix::ParseLircdConf(text);
        if (file.remotes.empty()) {
            if (folder) continue; // a picture or a note beside the remotes
            // Not a remote description at all: one line and status 2, as for every malformed input.
            std::fprintf(stderr, "quenix-ir: %s holds no LIRC remote%s%s\n", argv[2], file.errors.empty() ? "" : ": ",
                         file.errors.empty() ? "" : file.errors.front().c_str());
            return 2;
        }
        for (const std::string& e : file.errors) all.errors.push_back(path.string() + ": " + e);
        std::move(file.remotes.begin(), file.remotes.end(), std::back_inserter(all.remotes));
    }
    if (all.remotes.empty()) {
        std::fprintf(stderr, "quenix-ir: %s holds no LIRC remote\n", argv[2]);
        return 2;
    }
    for (const std::string& e : all.errors) std::fprintf(stderr, "quenix-ir: %s\n", e.c_str());
    int imported = 0;
    for (const quenix::ImportedRemote& m : quenix::ImportLircFile(all)) {
        if (!m.ok) {
            std::fprintf(stderr, "quenix-ir: remote %s not imported: %s\n", m.lircName.c_str(), m.why.c_str());
            continue;
        }
        for (const std::string& k : m.duplicates)
            std::fprintf(stderr, "quenix-ir: remote %s: key %s comes twice; the second is left out\n",
                         m.lircName.c_str(), k.c_str());
        if (!m.unreadable.empty())
            std::fprintf(stderr, "quenix-ir: remote %s: monitoring will not recognise all its keys: %s\n",
                         m.lircName.c_str(), m.unreadable.c_str());
        std::cout << m.SectionText();
        ++imported;
    }
    return imported > 0 ? 0 : 1;
}
