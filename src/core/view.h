#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace quenix {

// A passive window as the controllers see it. Controls are addressed by their object names
// ("StatusBar", "SendButton", "InfraredInMenu" ...), the window itself by its own name
// ("frmMain"); setText on a window sets its title. The Qt windows look the names up among
// their children; tests use a recording fake.
class View {
public:
    enum class ColorRole { Foreground, Background };

    virtual ~View() = default;

    virtual void setText(const std::string& control, const std::string& text) = 0;
    virtual std::string text(const std::string& control) const = 0;
    virtual void setChecked(const std::string& control, bool checked) = 0;
    virtual bool isChecked(const std::string& control) const = 0;
    virtual void setEnabled(const std::string& control, bool enabled) = 0;
    virtual bool isEnabled(const std::string& control) const = 0;
    virtual void setVisible(const std::string& control, bool visible) = 0;
    // Lists and combo boxes.
    virtual void setItems(const std::string& control, const std::vector<std::string>& items) = 0;
    virtual std::vector<std::string> items(const std::string& control) const = 0;
    virtual void setCurrentIndex(const std::string& control, int index) = 0;
    virtual int currentIndex(const std::string& control) const = 0;
    // Colours as 0xRRGGBB.
    virtual void setColor(const std::string& control, ColorRole role, std::uint32_t rgb) = 0;
    virtual std::uint32_t color(const std::string& control, ColorRole role) const = 0;
    virtual void setTimerEnabled(const std::string& timer, bool enabled) = 0;
    virtual bool isTimerEnabled(const std::string& timer) const = 0;
    // Lets pending window events run so that a progress text is painted.
    virtual void processEvents() = 0;

    void setStatus(const std::string& text) { setText("StatusBar", text); }
    std::string currentText(const std::string& control) const {
        auto list = items(control);
        int i = currentIndex(control);
        return i >= 0 && i < static_cast<int>(list.size()) ? list[static_cast<std::size_t>(i)] : std::string();
    }
};

inline constexpr std::uint32_t kRed = 0xFF0000;
inline constexpr std::uint32_t kGreen = 0x00FF00;

} // namespace quenix
