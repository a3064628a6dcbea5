#include "actions/mouse.h"

#include "core/text.h"

namespace quenix {

clsMouse::Point clsMouse::Position() {
    Point p;
    driver_.cursorPos(p.x, p.y);
    return p;
}

bool clsMouse::Available() {
    int x = 0, y = 0;
    return driver_.cursorPos(x, y);
}

int clsMouse::CurrentX() { return Position().x; }

void clsMouse::CurrentX(int x) { driver_.setCursorPos(x, Position().y); }

int clsMouse::CurrentY() { return Position().y; }

void clsMouse::CurrentY(int y) { driver_.setCursorPos(Position().x, y); }

void clsMouse::MoveTo(int x, int y) { driver_.setCursorPos(x, y); }

void clsMouse::MoveRelative(int dx, int dy) {
    Point p = Position();
    driver_.setCursorPos(p.x + dx, p.y + dy);
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
    if (!mouse.Available()) return kMouseUnavailable;
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
