#include "actions/desktop_actions.h"
#include "actions/mouse.h"
#include "io/serial_port.h"
#include "support/rig.h"
#include "peers.h"

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
        win_ = XCreateSimpleWindow(dpy_, DefaultRootWindow(dpy_), 0, 0, 400, 300, 0, 0, 0xFFFFFF);
        XSelectInput(dpy_, win_, ButtonPressMask | ButtonReleaseMask | StructureNotifyMask);
        XMapWindow(dpy_, win_);
        XEvent e;
        do XNextEvent(dpy_, &e);
        while (e.type != MapNotify);
    }
    ~TestWindow() {
        if (dpy_) XCloseDisplay(dpy_);
    }
    bool ok() const { return dpy_ != nullptr; }

    // The button events that arrived, as "+1" (press of button 1) and "-1" (release). Waits
    // until the expected number came; when none is expected, a short while for strays.
    std::vector<std::string> events(std::size_t expected) {
        std::vector<std::string> out;
        auto wait = std::chrono::milliseconds(expected == 0 ? 200 : 2000);
        auto deadline = std::chrono::steady_clock::now() + wait;
        while (std::chrono::steady_clock::now() < deadline && (expected == 0 || out.size() < expected)) {
            XSync(dpy_, False);
            while (XPending(dpy_)) {
                XEvent e;
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
    Window win_ = 0;
};

class MouseOnX : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        server_ = new XvfbServer;
        if (!server_->display().empty()) setenv("DISPLAY", server_->display().c_str(), 1);
    }
    static void TearDownTestSuite() {
        delete server_;
        server_ = nullptr;
        unsetenv("DISPLAY");
    }
    void SetUp() override { ASSERT_FALSE(server_->display().empty()) << "Xvfb did not start"; }
    static XvfbServer* server_;
};
XvfbServer* MouseOnX::server_ = nullptr;

TEST_F(MouseOnX, MovesByFivePixelsWithOneText) {
    auto driver = MakeSystemMouseDriver();
    clsMouse mouse(*driver);
    struct Row {
        const char* word;
        int x, y;
    } rows[] = {
        {"left", 95, 100},     {"LEFTUP", 95, 95},   {"up", 100, 95},     {"rightup", 105, 95},
        {"right", 105, 100}, {"rightdown", 105, 105}, {"down", 100, 105}, {"leftdown", 95, 105},
    };
    for (const Row& r : rows) {
        SCOPED_TRACE(r.word);
        mouse.MoveTo(100, 100);
        EXPECT_EQ(MouseAction(mouse, r.word), "Mouse LEFT");
        EXPECT_EQ(mouse.CurrentX(), r.x);
        EXPECT_EQ(mouse.CurrentY(), r.y);
    }
    mouse.CurrentX(30);
    mouse.CurrentY(40);
    EXPECT_EQ(std::make_pair(mouse.CurrentX(), mouse.CurrentY()), std::make_pair(30, 40));
    EXPECT_EQ(MouseAction(mouse, "sideways"), "");
    EXPECT_EQ(std::make_pair(mouse.CurrentX(), mouse.CurrentY()), std::make_pair(30, 40));
}

TEST_F(MouseOnX, ClicksArriveAtTheWindowUnderThePointer) {
    TestWindow window(server_->display());
    ASSERT_TRUE(window.ok());
    auto driver = MakeSystemMouseDriver();
    clsMouse mouse(*driver);
    mouse.MoveTo(100, 100);
    struct Row {
        const char* word;
        const char* text;
        std::vector<std::string> events;
    } rows[] = {
        {"left click", "Mouse left click", {"+1", "-1"}},
        {"Right Click", "Mouse right click", {"+3", "-3"}},
        {"doubleclick", "Mouse double click", {"+1", "-1", "+1", "-1"}},
    };
    for (const Row& r : rows) {
        SCOPED_TRACE(r.word);
        EXPECT_EQ(MouseAction(mouse, r.word), r.text);
        EXPECT_EQ(window.events(r.events.size()), r.events);
    }
    mouse.Click(4);
    EXPECT_EQ(window.events(2), (std::vector<std::string>{"+2", "-2"}));
    mouse.MouseDown(3); // not a button number: nothing happens
    mouse.MouseUp(3);
    EXPECT_TRUE(window.events(0).empty());
}

// Without an X display the pointer cannot move: no word claims it did.
TEST(Mouse, WithoutADisplayNothingClaimsSuccess) {
    Rig rig;
    auto driver = MakeSystemSerialDriver(rig.dir.str());
    SerialPort serial(*driver);
    auto audio = MakeSystemAudio();
    rig.store.settings().beepOn = true;
    const char* display = std::getenv("DISPLAY");
    const std::string saved = display ? display : "";
    unsetenv("DISPLAY");
    DesktopActions actions(rig.ctx, serial, *audio);
    for (const char* word : {"down", "left click", "doubleclick"})
        EXPECT_EQ(actions.mouse(word), "No mouse to control: there is no X display!") << word;
    EXPECT_EQ(actions.keyboard("Enter"), "");
    EXPECT_TRUE(rig.beeper.beeps.empty()); // mouse and keyboard never beep
    if (display) setenv("DISPLAY", saved.c_str(), 1);
}

} // namespace
} // namespace quenix::testing
