// A save that meets the file size limit (as a full disk would stop it) keeps the old file whole.
#include "support/rig.h"

#include <gtest/gtest.h>

#include <csignal>
#include <sys/resource.h>

namespace quenix {
namespace {

TEST(SaveLimits, FileSizeLimitKeepsTheOldFileAndTheTextAndTellsOnce) {
    Rig rig;
    const std::string before = rig.OnDisk();
    auto* old = std::signal(SIGXFSZ, SIG_IGN);
    rlimit limit{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &limit), 0);
    const rlimit small{before.size() / 2, limit.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
    const bool saved = rig.ctx.Written(rig.store.SetGeneralKey("BEEPON", "1"));
    setrlimit(RLIMIT_FSIZE, &limit);
    std::signal(SIGXFSZ, old);

    EXPECT_FALSE(saved);
    EXPECT_EQ(rig.OnDisk(), before);
    EXPECT_EQ(rig.store.text(), before);
    EXPECT_EQ(rig.dialogs.texts(),
              std::vector<std::string>{"The configuration file could not be written.\r\nCannot write " + rig.dir.str() +
                                       "/telvorin.cfg.tmp: File too large"});
    EXPECT_FALSE(std::filesystem::exists(rig.dir.file("telvorin.cfg.tmp")));
}

} // namespace
} // namespace quenix
