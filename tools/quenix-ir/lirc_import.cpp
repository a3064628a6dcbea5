// quenix-ir lirc-import: LIRC remote descriptions as device sections.
#include "lirc/lirc_import.h"

#include <cstdio>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>

int LircImportCommand(int argc, char** argv) {
    if (argc != 3) {
        std::fputs("quenix-ir: usage: quenix-ir lirc-import FILE.conf\n", stderr);
        return 2;
    }
    std::ifstream in(argv[2], std::ios::binary);
    if (!in) {
        std::fprintf(stderr, "quenix-ir: cannot read %s\n", argv[2]);
        return 2;
    }
    std::string text((std::istreambuf_iterator<char>(in)), {});
    quenix::LircFile file = quenix::ParseLircdConf(text);
    // Not a remote description at all: one line and status 2, as for every malformed input.
    if (file.remotes.empty()) {
        std::fprintf(stderr, "quenix-ir: %s holds no LIRC remote%s%s\n", argv[2], file.errors.empty() ? "" : ": ",
                     file.errors.empty() ? "" : file.errors.front().c_str());
        return 2;
    }
    for (const std::string& e : file.errors) std::fprintf(stderr, "quenix-ir: %s: %s\n", argv[2], e.c_str());
    int imported = 0;
    for (const quenix::ImportedRemote& m : quenix::ImportLircFile(file)) {
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
