// The [Monitoring] section as another editor may leave it, and the event editor's operations
// on it: choose lists, add, delete, clean, and the lookup of a key's actions.
#include "fuzz_support.h"
#include "monitor/events.h"
#include "monitor/monitor_engine.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace quenix;
    fuzz::Input in(data, size);
    static testing::Rig rig;
    std::string text = fuzz::Shipped();
    const std::size_t m = text.find("[Monitoring]\r\n") + 14;
    text.insert(m, in.piece());
    if (!rig.Load(text) || !rig.store.SaveConfiguration()) return 0; // the save writes CR LF everywhere
    testing::FakeView view;
    MonitorEvents editor(rig.ctx, view);
    editor.Load();
    rig.dialogs.answers.assign(16, MsgAnswer::Yes);
    for (int step = 0; step < 16 && !in.empty(); ++step) {
        const std::uint8_t op = in.byte();
        const char* lists[] = {"IRDev", "IRCmd", "OutDev", "OutCmd", "BTDevListCombo", "MonEvent"};
        view.setCurrentIndex(lists[op % 6], in.byte() % 8 - 1);
        switch (op / 6 % 6) {
        case 0: editor.OnIRDevChanged(); break;
        case 1: editor.OnOutDevChanged(); break;
        case 2: editor.OnAdMonButton(); break;
        case 3: editor.OnDelete(); break;
        case 4: editor.OnCleanButton(); break;
        default: (void)MonitoredActions(rig.store.text(), in.piece()); break;
        }
        if (rig.store.text() != rig.OnDisk()) __builtin_trap();
    }
    rig.dialogs.messages.clear();
    return 0;
}
