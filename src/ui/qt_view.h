#pragma once

#include "core/view.h"

class QObject;
class QWidget;

namespace quenix {

// A Qt window seen through the core's View: controls are found by objectName among the
// root's children (widgets, menus, actions and timers). Text crosses as Latin-1, since the
// configuration text is 8-bit. Unknown names are ignored, so a controller can address controls
// a particular window does not carry.
class QtView : public View {
public:
    explicit QtView(QWidget* root);

    void setText(const std::string& control, const std::string& text) override;
    std::string text(const std::string& control) const override;
    void setChecked(const std::string& control, bool checked) override;
    bool isChecked(const std::string& control) const override;
    void setEnabled(const std::string& control, bool enabled) override;
    bool isEnabled(const std::string& control) const override;
    void setVisible(const std::string& control, bool visible) override;
    void setItems(const std::string& control, const std::vector<std::string>& items) override;
    std::vector<std::string> items(const std::string& control) const override;
    void setCurrentIndex(const std::string& control, int index) override;
    int currentIndex(const std::string& control) const override;
    void setColor(const std::string& control, ColorRole role, std::uint32_t rgb) override;
    std::uint32_t color(const std::string& control, ColorRole role) const override;
    void setTimerEnabled(const std::string& timer, bool enabled) override;
    bool isTimerEnabled(const std::string& timer) const override;
    void processEvents() override;

    QWidget* root() const { return root_; }
    // The control with that object name (the root itself for its own name), or null.
    QObject* find(const std::string& control) const;

private:
    QWidget* root_;
};

} // namespace quenix
