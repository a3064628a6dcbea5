// Arbitrary bytes as a configuration text: load, search, read lines, set keys, list devices.
#include "config/config_store.h"

#include <cstddef>
#include <cstdint>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string bytes(reinterpret_cast<const char*>(data), size);
    // The first bytes choose a needle and a start; the rest is the text.
    std::size_t cut = size > 0 ? data[0] % 16 : 0;
    std::string needle = bytes.substr(size > 0 ? 1 : 0, cut);
    int start = size > 1 ? static_cast<int>(data[1]) - 8 : 1;

    quenix::ConfigStore store("/nonexistent-quenix-fuzz");
    store.LoadFromText(bytes);
    int p = quenix::FindText(needle, store.text(), start);
    if (p > 0) (void)quenix::ReadLine(store.text(), p);
    (void)quenix::ReadLine(store.text(), start);
    (void)quenix::FindSectionHeader(needle, store.text());
    (void)store.GetDeviceDescription(needle);
    (void)store.BuildMonitorDeviceList();
    // The save fails (no such folder); the key setter must still leave the text as it was.
    std::string before = store.text();
    store.SetGeneralKey(needle, "42");
    if (store.text() != before) __builtin_trap();
    store.currentDevice = needle;
    store.currentCommand = needle;
    store.DeleteCommand();
    store.DeleteDevice();
    return 0;
}
