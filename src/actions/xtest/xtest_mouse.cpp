#include "actions/mouse.h"

#include <X11/Xlib.h>
#include <X11/extensions/XTest.h>

namespace quenix {
namespace {

// The pointer of the X display named by DISPLAY, moved and clicked through XTest so that
// applications see real input events.
class XTestMouse final : public MouseDriver {
public:
    XTestMouse() : display_(XOpenDisplay(nullptr)) {
        int event = 0, error = 0, major = 0, minor = 0;
        if (display_ && !XTestQueryExtension(display_, &event, &error, &major, &minor)) {
            XCloseDisplay(display_);
            display_ = nullptr;
        }
    }
    ~XTestMouse() override {
        if (display_) XCloseDisplay(display_);
    }
    XTestMouse(const XTestMouse&) = delete;
    XTestMouse& operator=(const XTestMouse&) = delete;

    bool cursorPos(int& x, int& y) override {
        x = y = 0;
        if (!display_) return false;
        Window root = 0, child = 0;
        int wx = 0, wy = 0;
        unsigned int mask = 0;
        return XQueryPointer(display_, DefaultRootWindow(display_), &root, &child, &x, &y, &wx, &wy, &mask);
    }

    void setCursorPos(int x, int y) override {
        if (!display_) return;
        XTestFakeMotionEvent(display_, DefaultScreen(display_), x, y, CurrentTime);
        XSync(display_, False);
    }

    void buttonEvent(std::uint32_t flag) override {
        if (!display_) return;
        unsigned int button = 0;
        bool press = false;
        switch (flag) {
        case kMouseLeftDown: button = 1, press = true; break;
        case kMouseLeftUp: button = 1; break;
        case kMouseRightDown: button = 3, press = true; break;
        case kMouseRightUp: button = 3; break;
        case kMouseMiddleDown: button = 2, press = true; break;
        case kMouseMiddleUp: button = 2; break;
        default: return;
        }
        XTestFakeButtonEvent(display_, button, press ? True : False, CurrentTime);
        XSync(display_, False);
    }

private:
    Display* display_;
};

} // namespace

} // namespace quenix

// The module's entry point, found by name by the program (mouse_linux.cpp).
extern "C" __attribute__((visibility("default"))) quenix::MouseDriver* QuenixMakeMouseDriver() {
    return new quenix::XTestMouse();
}
