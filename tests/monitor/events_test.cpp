#include "monitor/events.h"

#include "config/config_text.h"
#include "support/rig.h"

#include <gtest/gtest.h>

namespace quenix {
namespace {

struct EventsRig : Rig {
    FakeView view;
    MonitorEvents events{ctx, view};

    explicit EventsRig(const std::string& config = DefaultConfiguration()) {
        EXPECT_TRUE(Load(config));
        store.settings().btEna = true;
        events.Load();
    }
    void choose(const std::string& list, const std::string& item) {
        auto items = view.items(list);
        auto it = std::find(items.begin(), items.end(), item);
        ASSERT_NE(it, items.end()) << list << " lacks " << item;
        view.setCurrentIndex(list, static_cast<int>(it - items.begin()));
    }
    // Picks the four lists the way the user does, each choice refilling the next list.
    void pick(const std::string& in, const std::string& inCmd, const std::string& out, const std::string& outCmd) {
        choose("IRDev", in);
        events.OnIRDevChanged();
        choose("IRCmd", inCmd);
        events.OnIRCmdChanged();
        choose("OutDev", out);
        events.OnOutDevChanged();
        choose("OutCmd", outCmd);
    }
};

TEST(MonitorEvents, AddEvent) {
    struct Case {
        const char* name;
        std::vector<std::string> pick;
        MsgAnswer answer;
        const char* question; // the box shown
        bool added;
    };
    const std::string ask = "Do you want to add the event Sony TV&Power,Mouse&LEFT CLICK to the list of the monitored "
                            "events?";
    const char* exists = "This event exists in the configuration file.\nPlease select another event.";
    const std::vector<std::string> power = {"Sony TV", "Power", "Mouse", "LEFT CLICK"};
    const Case cases[] = {
        {"new event", power, MsgAnswer::Yes, ask.c_str(), true},
        {"user says no", power, MsgAnswer::No, ask.c_str(), false},
        {"same line", {"Sony TV", "Ch+", "Winamp", "NEXT"}, MsgAnswer::Yes, exists, false},
        {"prefix of a longer line", {"Sony TV", "Mute", "Winamp", "PLAY"}, MsgAnswer::Yes, exists, false},
        {"no output command", {"Sony TV", "Power", "Winamp", ""}, MsgAnswer::Yes,
         "Choose an input command and an output command first.", false},
    };
    std::string config = DefaultConfiguration();
    config.insert(config.find("[End]"), "Sony TV&Mute,Winamp&PLAYLIST\r\n");
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        EventsRig rig(config);
        rig.pick(c.pick[0], c.pick[1], c.pick[2], c.pick[3].empty() ? "PLAY" : c.pick[3]);
        if (c.pick[3].empty()) rig.view.setCurrentIndex("OutCmd", -1);
        rig.dialogs.answers.push_back(c.answer);
        const std::string line = rig.events.BuildLine();
        const std::size_t before = rig.view.items("MonEvent").size();
        rig.events.OnAdMonButton();

        EXPECT_EQ(rig.dialogs.texts(), std::vector<std::string>{c.question});
        EXPECT_EQ(rig.OnDisk().find(line + "\r\n[End]") != std::string::npos, c.added);
        EXPECT_EQ(rig.view.items("MonEvent").size(), before + (c.added ? 1 : 0));
    }
}

TEST(MonitorEvents, DeleteAsksAndTakesOnlyTheWholeLine) {
    std::string config = DefaultConfiguration();
    // Hand-edited: the event stands first inside a longer line.
    config.insert(config.find("Sony TV&Ch+"), "Sony TV&Ch-,winamp&PREVIOUS\r\n");
    EventsRig rig(config);
    rig.choose("MonEvent", "Sony TV&Ch-,winamp&PREV");
    const std::string before = rig.store.text();
    rig.events.OnDelete(); // unanswered: No
    EXPECT_EQ(rig.dialogs.texts(), std::vector<std::string>{"You are sure that you want to delete the Event: "
                                                             "Sony TV&Ch-,winamp&PREV ?"});

    // A file that cannot be written keeps the event, in the list and in memory.
    rig.BlockSaves();
    rig.dialogs.answers.push_back(MsgAnswer::Yes);
    rig.events.OnDelete();
    EXPECT_EQ(rig.store.text(), before);
    EXPECT_EQ(rig.dialogs.messages.back().text.rfind("The configuration file could not be written.", 0), 0u);
    std::filesystem::remove(rig.dir.file("telvorin.cfg.tmp"));

    rig.choose("MonEvent", "Sony TV&Ch-,winamp&PREV");
    rig.dialogs.answers.push_back(MsgAnswer::Yes);
    rig.events.OnDelete();
    EXPECT_NE(rig.OnDisk().find("winamp&PREVIOUS\r\nSony TV&Ch+,winamp&NEXT\r\nSony TV&Mute,winamp&PAUSE\r\n"),
              std::string::npos);
    EXPECT_EQ(rig.view.items("MonEvent").size(), 4u);
}

TEST(MonitorEvents, CleanRemovesOnlyOrphans) {
    std::string config = DefaultConfiguration();
    const std::string kept = "BT3&UP,winamp&NOSUCH\r\nPhilips Amp&Mute,Mouse&ANY\r\nBT&CONNECTED,keyboard&x\r\n"
                             "Sony TV&Power,X10&Desk Lamp&On\r\nSony TV&Power,ir dimmer&50\r\n";
    const std::string orphans = "Gone Box&Power,winamp&PLAY\nSony TV&NoKey,winamp&PLAY\n"
                                "Sony TV&Power,X10&Attic&On\nBT1&UP,Gone Box&Power\n";
    config.insert(config.find("[End]"), kept + WithCrLf(orphans));
    EventsRig rig(config);
    rig.events.OnCleanButton();
    EXPECT_EQ(rig.dialogs.texts(), std::vector<std::string>{"The followig orphaned events were deleted:\n" + orphans});
    EXPECT_EQ(rig.dialogs.messages[0].caption, "Quenix Manager");
    EXPECT_NE(rig.OnDisk().find(kept + "[End]"), std::string::npos);
}

} // namespace
} // namespace quenix
