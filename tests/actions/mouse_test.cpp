#include "actions/desktop_actions.h"
#include "actions/mouse.h"
#include "io/serial_port.h"
#include "support/rig.h"
#include "support/peers.h"

#include <gtest/gtest.h>

#include <X11/Xlib.h>

#include <chrono>
#include <cstdlib>
#include <thread>

namespace quenix::testing {
namespace {

// A plain window on its own connection, listening for button events.
class TestWindow {
public:
    explicit TestWindow(const std::string& display) : dpy_(XOpenDisplay(display.c_str())) {
        if (!dpy_) return;
        Window w = XCreateSimpleWindow(dpy_, DefaultRootWindow(dpy_), 0, 0, 400, 300, 0, 0, 0xFFFFFF);
        XSelectInput(dpy_, w, ButtonPressMask | ButtonReleaseMask | StructureNotifyMask);
        XMapWindow(dpy_, w);
        for (XEvent e{}; e.type != MapNotify;) XNextEvent(dpy_, &e);
    }
    ~TestWindow() { if (dpy_) XCloseDisplay(dpy_); }
    bool ok() const { return dpy_ != nullptr; }

    // The button events that arrived, as "+1" (press of button 1) and "-1" (release). Waits
    // until the expected number came; when none is expected, a short while for strays.
    std::vector<std::string> events(std::size_t expected) {
        std::vector<std::string> out;
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(expected ? 2000 : 200);
        while (std::chrono::steady_clock::now() < deadline && (expected == 0 || out.size() < expected)) {
            XSync(dpy_, False);
            for (XEvent e; XPending(dpy_);) {
                XNextEvent(dpy_, &e);
                if (e.type == ButtonPress || e.type == ButtonRelease)
                    out.push_back((e.type == ButtonPress ? "+" : "-") + std::to_string(e.xbutton.button));
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
        return out;
    }

private:
    Display* dpy_;
};

// Moves and clicks on an X server of the test's own, seen by a window under the pointer.
TEST(Mouse, MovesAndClicksOnARealDisplayAndNoneWithout) {
    XvfbServer server;
    ASSERT_FALSE(server.display().empty()) << "Xvfb did not start";
    setenv("DISPLAY", server.display().c_str(), 1);
    TestWindow window(server.display());
    ASSERT_TRUE(window.ok());
    auto driver = MakeSystemMouseDriver();
    clsMouse mouse(*driver);
    struct Move {
        const char* word;
        int x, y;
    } moves[] = {
        {"left", 95, 100},     {"LEFTUP", 95, 95},   {"up", 100, 95},     {"rightup", 105, 95},
        {"right", 105, 100}, {"rightdown", 105, 105}, {"down", 100, 105}, {"leftdown", 95, 105},
    };
    for (const Move& m : moves) {
        mouse.MoveTo(100, 100);
        EXPECT_EQ(MouseAction(mouse, m.word), "Mouse LEFT") << m.word; // one text for every direction
        EXPECT_EQ(std::make_pair(mouse.CurrentX(), mouse.CurrentY()), std::make_pair(m.x, m.y)) << m.word;
    }
    mouse.CurrentX(30);
    mouse.CurrentY(40);
    EXPECT_EQ(MouseAction(mouse, "sideways"), "");
    EXPECT_EQ(std::make_pair(mouse.CurrentX(), mouse.CurrentY()), std::make_pair(30, 40));

    mouse.MoveTo(100, 100);
    struct Click {
        const char* word;
        const char* text;
        std::vector<std::string> events;
    } clicks[] = {
        {"left click", "Mouse left click", {"+1", "-1"}},
        {"Right Click", "Mouse right click", {"+3", "-3"}},
        {"doubleclick", "Mouse double click", {"+1", "-1", "+1", "-1"}},
    };
    for (const Click& c : clicks) {
        EXPECT_EQ(MouseAction(mouse, c.word), c.text);
        EXPECT_EQ(window.events(c.events.size()), c.events) << c.word;
    }
    mouse.Click(4);
    EXPECT_EQ(window.events(2), (std::vector<std::string>{"+2", "-2"}));
    mouse.MouseDown(3); // not a button number: nothing happens
    mouse.MouseUp(3);
    EXPECT_TRUE(window.events(0).empty());

    // Without an X display the pointer cannot move: no word claims it did, and none beeps.
    unsetenv("DISPLAY");
    Rig rig;
    auto serialDriver = MakeSystemSerialDriver(rig.dir.str());
    SerialPort serial(*serialDriver);
    auto audio = MakeSystemAudio(QUENIX_PROGRAM_DIR);
    rig.store.settings().beepOn = true;
    DesktopActions actions(rig.ctx, serial, *audio);
    for (const char* word : {"down", "left click", "doubleclick"})
        EXPECT_EQ(actions.mouse(word), "No mouse to control: there is no X display!") << word;
    EXPECT_EQ(actions.keyboard("Enter"), "");
    EXPECT_TRUE(rig.beeper.beeps.empty());
}

} // namespace
} // namespace quenix::testing
