// A collection as large as a code database: 1,000 devices of 40 NEC keys, each imported from a
// generated Flipper .ir file and put into the shipped configuration (about 2 MB). Prints load
// with the device browser's lists, a monitoring lookup, a toggle's save, the import of 100
// Flipper files and the memory held, against the shipped file where that is the measure.
//
// Run from the source tree: bench/collection [devices]

#include "actions/executor.h"
#include "config/browser_controller.h"
#include "formats/formats.h"
#include "ir/codec.h"
#include "ir/decoder.h"
#include "ir/pulse_text.h"
#include "monitor/monitor_engine.h"
#include "resident.h"
#include "support/fakes.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <unistd.h>

using namespace quenix;
using namespace quenix::testing;

namespace {

constexpr int kKeys = 40;

double Ms(std::chrono::steady_clock::time_point since) {
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - since).count();
}

std::string Hex(int byte) {
    char b[16];
    std::snprintf(b, sizeof b, "%02X 00 00 00", byte);
    return b;
}

// NEC keys whose address and command together differ from every other device's.
std::string FlipperFile(int device) {
    std::string f = "Filetype: IR signals file\nVersion: 1\n";
    for (int k = 0; k < kKeys; ++k)
        f += "#\nname: Key" + std::to_string(k) + "\ntype: parsed\nprotocol: NEC\naddress: " + Hex(device % 256) +
             "\ncommand: " + Hex(device / 256 * kKeys + k) + "\n";
    return f;
}

std::string DeviceName(int device) {
    char b[16];
    std::snprintf(b, sizeof b, "TV%04d", device);
    return b;
}

std::string ReadFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

struct Opened {
    double ms = 0;
    std::size_t devices = 0;
};

// Start-up's share that grows with the file: the load, and the lists the window fills.
Opened Open(ConfigStore& store) {
    FakeClock clock;
    FakeDialogs dialogs;
    FakeBeeper beeper;
    FakeView view;
    Context ctx{store, clock, dialogs, beeper};
    BrowserController browser(ctx, view);
    const auto t = std::chrono::steady_clock::now();
    if (!store.LoadConfiguration()) {
        std::fprintf(stderr, "collection: %s\n", store.lastError().c_str());
        std::exit(1);
    }
    browser.Refresh();
    (void)store.BuildMonitorDeviceList();
    return {Ms(t), view.items("Protocol").size()};
}

} // namespace

int main(int argc, char** argv) {
    const int devices = argc > 1 ? std::atoi(argv[1]) : 1000;
    const std::string shipped = DefaultConfiguration();
    TempDir files, small, large;

    // The Flipper files, and the import of the first 100 as File > Import reads them.
    for (int d = 0; d < devices; ++d) {
        std::ofstream(files.str() + "/" + DeviceName(d) + ".ir", std::ios::binary) << FlipperFile(d);
    }
    auto t = std::chrono::steady_clock::now();
    std::size_t imported = 0;
    for (int d = 0; d < std::min(devices, 100); ++d) {
        const std::string name = DeviceName(d) + ".ir";
        const ForeignImport found = ImportCodes(ReadFile(files.str() + "/" + name), name);
        for (const ImportedRemote& r : found.devices) imported += r.SectionText().empty() ? 0 : r.commands.size();
    }
    const double importMs = Ms(t);

    // The collection: every device imported, ahead of [X10], and an event for the last key.
    std::string sections;
    for (int d = 0; d < devices; ++d) {
        const std::string name = DeviceName(d) + ".ir";
        for (const ImportedRemote& r : ImportCodes(ReadFile(files.str() + "/" + name), name).devices)
            sections += r.SectionText();
    }
    std::string collection = shipped;
    collection.insert(collection.find("[X10]"), sections);
    const std::string lastDevice = DeviceName(devices - 1), lastKey = "Key" + std::to_string(kKeys - 1);
    collection.insert(collection.find("[End]"), lastDevice + "&" + lastKey + ",winamp&Play\r\n");
    std::ofstream(small.str() + "/telvorin.cfg", std::ios::binary) << shipped;
    std::ofstream(large.str() + "/telvorin.cfg", std::ios::binary) << collection;
    const std::size_t bytes = collection.size();
    collection = std::string();
    sections = std::string();

    ConfigStore shippedStore(small.str());
    const Opened before = Open(shippedStore);
    const long baselineKb = ResidentKb();
    ConfigStore store(large.str());
    const Opened after = Open(store);

    // A received frame of the last device's last key, as the decoder hands it over.
    const ProtocolHeader h = DeviceHeader(store.text(), lastDevice);
    std::string code = StoredCode(store.text(), lastDevice, lastKey);
    bool toggle = false;
    const DecodedFrame f = DecodeMonitorFrame(SampleRuns(CellsToRuns(EncodeCommand(code, h, toggle), h.sendpls), 55));
    t = std::chrono::steady_clock::now();
    const std::string first = LookupKey(store, f);
    const double firstLookupMs = Ms(t);
    constexpr int kLookups = 10'000;
    std::size_t actions = 0;
    t = std::chrono::steady_clock::now();
    for (int i = 0; i < kLookups; ++i) actions += MonitoredActions(store, LookupKey(store, f)).size();
    const double lookupMs = Ms(t) / kLookups;
    DecodedFrame noise = f;
    noise.frame.back() = noise.frame.back() == '1' ? '0' : '1';
    noise.literal.frame.clear();
    t = std::chrono::steady_clock::now();
    for (int i = 0; i < kLookups; ++i) actions += MonitoredActions(store, LookupKey(store, noise)).size();
    const double unknownMs = Ms(t) / kLookups;
    const long heldKb = ResidentKb() - baselineKb;

    constexpr int kToggles = 20;
    double worstSaveMs = 0, saveMs = 0;
    for (int i = 0; i < kToggles; ++i) {
        t = std::chrono::steady_clock::now();
        if (!store.SetGeneralKey("BEEPON", i % 2 ? "0" : "1")) return std::fprintf(stderr, "save failed\n"), 1;
        const double ms = Ms(t);
        saveMs += ms / kToggles;
        worstSaveMs = std::max(worstSaveMs, ms);
    }

    const bool ok = first == lastDevice + "&" + lastKey && actions == kLookups && imported == 100u * kKeys;
    std::printf("collection: %d devices x %d keys, %.2f MB (shipped file %zu bytes)\n", devices, kKeys, bytes / 1e6,
                shipped.size());
    std::printf("%-40s %12s %12s\n", "figure", "value", "goal");
    std::printf("%-40s %12.2f %12s\n", "load + lists, shipped file (ms)", before.ms, "");
    std::printf("%-40s %12.2f %12s\n", "load + lists, collection (ms)", after.ms, "");
    std::printf("%-40s %12zu %12s\n", "devices in the list", after.devices, "");
    std::printf("%-40s %12.4f %12s\n", "lookup + actions, learned key (ms)", lookupMs, "<= 0.2");
    std::printf("%-40s %12.4f %12s\n", "lookup + actions, unknown code (ms)", unknownMs, "<= 0.2");
    std::printf("%-40s %12.2f %12s\n", "first lookup after a change (ms)", firstLookupMs, "");
    std::printf("%-40s %12.2f %12s\n", "toggle save, mean (ms)", saveMs, "<= 30");
    std::printf("%-40s %12.2f %12s\n", "toggle save, worst of 20 (ms)", worstSaveMs, "<= 30");
    std::printf("%-40s %12.1f %12s\n", "import 100 Flipper files (ms)", importMs, "<= 1000");
    std::printf("%-40s %12ld %12.0f\n", "memory over the shipped file (KB)", heldKb, 3 * bytes / 1024.0);
    std::printf("%-40s %12s\n", "every lookup found its key", ok ? "yes" : "NO");
    return ok ? 0 : 1;
}
