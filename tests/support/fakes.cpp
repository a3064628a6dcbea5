#include "support/fakes.h"

namespace quenix::testing {

std::string DefaultConfiguration() {
    std::string bytes = TempDir::ReadFile(std::string(QUENIX_SOURCE_DIR) + "/data/telvorin.cfg");
    if (bytes.empty()) throw std::runtime_error("data/telvorin.cfg not found");
    return bytes;
}

} // namespace quenix::testing
