// A file offered for import, merged into the shipped configuration with every row ticked. The
// result must still load, and what is in memory must be what is on disk.
#include "config/import_export.h"
#include "fuzz_support.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace quenix;
    static testing::Rig rig;
    if (!rig.Load(fuzz::Shipped())) __builtin_trap();
    const std::string offered(reinterpret_cast<const char*>(data), size);
    if (!ImportExport::IsValidConfiguration(offered)) return 0;
    rig.store.importText() = WithCrLf(offered);
    rig.dialogs.answers.assign(64, MsgAnswer::Yes); // every override, every question
    ImportExport io(rig.ctx);
    std::vector<std::string> sections;
    for (const auto& row : io.Rows(ImportExport::Mode::Import)) sections.push_back(row.section);
    io.Import(sections);
    if (rig.store.text() != rig.OnDisk()) __builtin_trap();
    ConfigStore reread(rig.dir.str());
    if (!reread.LoadConfiguration()) __builtin_trap();
    rig.dialogs.messages.clear();
    return 0;
}
