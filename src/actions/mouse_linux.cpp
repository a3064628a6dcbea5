#include "actions/mouse.h"

#include "core/module.h"

namespace quenix {
namespace {

// Without its module there is no pointer to move, as on a display without XTest.
class NoPointer final : public MouseDriver {
public:
    bool cursorPos(int& x, int& y) override {
        x = y = 0;
        return false;
    }
    void setCursorPos(int, int) override {}
    void buttonEvent(std::uint32_t) override {}
};

} // namespace

// XTest is a module of its own (xtest/), loaded at the first mouse action.
std::unique_ptr<MouseDriver> MakeSystemMouseDriver() {
    std::string why;
    using Make = MouseDriver* (*)();
    if (auto make = reinterpret_cast<Make>(ModuleSymbol("quenix-xtest", "QuenixMakeMouseDriver", why)))
        return std::unique_ptr<MouseDriver>(make());
    return std::make_unique<NoPointer>();
}

} // namespace quenix
