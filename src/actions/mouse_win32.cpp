#include "actions/mouse.h"

#include <windows.h>

namespace quenix {
namespace {

class User32Mouse final : public MouseDriver {
public:
    bool cursorPos(int& x, int& y) override {
        POINT p{};
        if (!GetCursorPos(&p)) {
            x = y = 0;
            return false;
        }
        x = p.x;
        y = p.y;
        return true;
    }
    void setCursorPos(int x, int y) override { SetCursorPos(x, y); }
    void buttonEvent(std::uint32_t flag) override { mouse_event(flag, 0, 0, 0, 0); }
};

} // namespace

std::unique_ptr<MouseDriver> MakeSystemMouseDriver() { return std::make_unique<User32Mouse>(); }

} // namespace quenix
