#include "actions/mouse.h"

#include "core/text.h"

namespace quenix {

int clsMouse::CurrentX() {
    int x = 0, y = 0;
    driver_.cursorPos(x, y);
    return x;
}

void clsMouse::CurrentX(int x) {
    int cx = 0, cy = 0;
    driver_.cursorPos(cx, cy);
    driver_.setCursorPos(x, cy);
}

int clsMouse::CurrentY() {
    int x = 0, y = 0;
    driver_.cursorPos(x, y);
    return y;
}

void clsMouse::CurrentY(int y) {
    int cx = 0, cy = 0;
    driver_.cursorPos(cx, cy);
    driver_.setCursorPos(cx, y);
}

void clsMouse::MoveTo(int x, int y) { driver_.setCursorPos(x, y); }

void clsMouse::MoveRelative(int dx, int dy) {
    int x = 0, y = 0;
    driver_.cursorPos(x, y);
    driver_.setCursorPos(x + dx, y + dy);
}

void clsMouse::DblClick(int button) {
    Click(button);
    Click(button);
}

void clsMouse::Click(int button) {
    MouseDown(button);
    MouseUp(button);
}

void clsMouse::MouseDown(int button) {
    switch (button) {
    case 1: driver_.buttonEvent(kMouseLeftDown); break;
    case 2: driver_.buttonEvent(kMouseRightDown); break;
    case 4: driver_.buttonEvent(kMouseMiddleDown); break;
    default: break;
    }
}

void clsMouse::MouseUp(int button) {
    switch (button) {
    case 1: driver_.buttonEvent(kMouseLeftUp); break;
    case 2: driver_.buttonEvent(kMouseRightUp); break;
    case 4: driver_.buttonEvent(kMouseMiddleUp); break;
    default: break;
    }
}

std::string MouseAction(clsMouse& mouse, const std::string& command) {
    std::string word = ToLower(command);
    if (word == "left click") {
        mouse.Click(1);
        return "Mouse left click";
    }
    if (word == "right click") {
        mouse.Click(2);
        return "Mouse right click";
    }
    if (word == "doubleclick") {
        mouse.DblClick(1);
        return "Mouse double click";
    }
    struct Move {
        const char* word;
        int dx, dy;
    };
    static const Move kMoves[] = {
        {"left", -kMouseStep, 0},         {"leftup", -kMouseStep, -kMouseStep}, {"up", 0, -kMouseStep},
        {"rightup", kMouseStep, -kMouseStep}, {"right", kMouseStep, 0},       {"rightdown", kMouseStep, kMouseStep},
        {"down", 0, kMouseStep},          {"leftdown", -kMouseStep, kMouseStep},
    };
    for (const Move& m : kMoves) {
        if (word == m.word) {
            mouse.MoveRelative(m.dx, m.dy);
            return "Mouse LEFT"; // one text for every direction
        }
    }
    return {};
}

std::string KeyboardAction(const std::string&) { return {}; }

} // namespace quenix
