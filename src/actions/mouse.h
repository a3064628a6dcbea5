#pragma once

// The mouse device: pointer moves in steps of 5 pixels and clicks where the pointer is.

#include <cstdint>
#include <memory>
#include <string>

namespace quenix {

// Button event flags, numbered as the Windows mouse_event call numbers them.
inline constexpr std::uint32_t kMouseLeftDown = 0x0002;
inline constexpr std::uint32_t kMouseLeftUp = 0x0004;
inline constexpr std::uint32_t kMouseRightDown = 0x0008;
inline constexpr std::uint32_t kMouseRightUp = 0x0010;
inline constexpr std::uint32_t kMouseMiddleDown = 0x0020;
inline constexpr std::uint32_t kMouseMiddleUp = 0x0040;

// The desktop's pointer: XTest on X11, user32 on Windows.
class MouseDriver {
public:
    virtual ~MouseDriver() = default;
    // False when there is no pointer to ask (no display); x and y are then 0.
    virtual bool cursorPos(int& x, int& y) = 0;
    virtual void setCursorPos(int x, int y) = 0;
    // One button event at the pointer, no movement.
    virtual void buttonEvent(std::uint32_t flag) = 0;
};

std::unique_ptr<MouseDriver> MakeSystemMouseDriver();

// Buttons are 1 (left), 2 (right) and 4 (middle).
class clsMouse {
public:
    explicit clsMouse(MouseDriver& driver) : driver_(driver) {}

    // False when there is no pointer to move (no X display).
    bool Available();

    int CurrentX();
    void CurrentX(int x);
    int CurrentY();
    void CurrentY(int y);
    void MoveTo(int x, int y);
    void MoveRelative(int dx, int dy);
    void DblClick(int button);
    void Click(int button);
    void MouseDown(int button);
    void MouseUp(int button);

private:
    struct Point {
        int x = 0, y = 0;
    };
    Point Position();

    MouseDriver& driver_;
};

inline constexpr int kMouseStep = 5;
inline constexpr const char* kMouseUnavailable = "No mouse to control: there is no X display!";

// The mouse device's commands; the result text, empty for an unknown word.
std::string MouseAction(clsMouse& mouse, const std::string& command);

// The keyboard device does nothing; its result is always empty.
std::string KeyboardAction(const std::string& command);

} // namespace quenix
