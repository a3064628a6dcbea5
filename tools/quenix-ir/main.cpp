#include <cstdio>
#include <cstring>

// quenix-ir: encode and decode infrared codes from the command line.
int main(int argc, char** argv) {
    if (argc < 2 || (std::strcmp(argv[1], "encode") != 0 && std::strcmp(argv[1], "decode") != 0)) {
        std::fprintf(stderr, "usage: quenix-ir decode|encode ...\n");
        return 2;
    }
    std::fprintf(stderr, "quenix-ir: %s is not available in this build\n", argv[1]);
    return 2;
}
