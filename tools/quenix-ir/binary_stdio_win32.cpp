// Standard input and output carry bytes on Windows as on Linux: no CR is added before each LF,
// so the tool's output is the same file on both, and a packed capture reads unchanged.

#include <cstdio>
#include <fcntl.h>
#include <initializer_list>
#include <io.h>

namespace {
const bool binaryStdio = [] {
    for (std::FILE* f : {stdin, stdout, stderr}) _setmode(_fileno(f), _O_BINARY);
    return true;
}();
} // namespace
