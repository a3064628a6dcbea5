#include "monitor/bt_config.h"

#include "config/config_text.h"
#include "core/text.h"

#include <string>
#include <vector>

namespace quenix {

namespace {
constexpr int kMaxComPort = 30;
}

std::string PhoneDeviceName(const Settings& s, int index) {
    if (index < 0 || index > 9) return {};
    const std::string& name = s.bt[static_cast<std::size_t>(index)];
    return name.empty() ? "Device " + std::to_string(index) : name;
}

BtConfig::BtConfig(Context& ctx, View& view, SerialPort& port, std::function<void()> phoneChanged)
    : ctx_(ctx), view_(view), port_(port), phoneChanged_(std::move(phoneChanged)) {}

void BtConfig::enableControls(bool on) {
    for (const char* c : {"Frame1", "BTModeOption0", "BTModeOption1", "BtComListbox"}) view_.setEnabled(c, on);
}

void BtConfig::refuse(const std::string& text) {
    ctx_.dialogs.messageBox(text, "ZVK", MsgIcon::Critical, MsgButtons::Ok);
}

void BtConfig::showPort() {
    const std::vector<std::string> ports = view_.items("BtComListbox");
    int selected = -1;
    for (std::size_t i = 0; i < ports.size(); ++i)
        if (ComPortNumber(ports[i]) == ctx_.settings().btCom) selected = static_cast<int>(i);
    view_.setCurrentIndex("BtComListbox", selected);
}

void BtConfig::Open() {
    const Settings& s = ctx_.settings();
    view_.setChecked("BTCheckbox", s.btEna);
    enableControls(s.btEna);

    std::vector<std::string> ports;
    for (int n = 1; n <= kMaxComPort; ++n)
        if (port_.ComPortExists(n)) ports.push_back(ComDeviceName(n));
    view_.setItems("BtComListbox", ports);
    showPort();

    view_.setChecked("BTModeOption0", s.btMode != 1);
    view_.setChecked("BTModeOption1", s.btMode == 1);

    std::vector<std::string> indices;
    for (int i = 0; i < 10; ++i) indices.push_back(std::to_string(i));
    view_.setItems("BTDevNrCombo", indices);
    const int current = s.btCurrent >= 0 && s.btCurrent <= 9 ? s.btCurrent : 0;
    view_.setCurrentIndex("BTDevNrCombo", current);
    OnBTDevNrCombo();
}

void BtConfig::OnBTCheckbox(bool checked) {
    Settings& s = ctx_.settings();
    // The box shows what the file holds.
    if (!ctx_.Written(ctx_.config.SetGeneralKey("BTENA", checked ? "1" : "0"))) {
        view_.setChecked("BTCheckbox", s.btEna);
        return;
    }
    s.btEna = checked;
    enableControls(checked);
    if (ctx_.monitoring && phoneChanged_) phoneChanged_();
}

void BtConfig::OnBtComListbox() {
    Settings& s = ctx_.settings();
    const int n = ComPortNumber(view_.currentText("BtComListbox"));
    if (n == 0 || (n == s.btCom && ctx_.btPortHandle != kNoPort)) return;
    // The receiver and the X10 interface hold their ports for themselves.
    if (n == s.comPort || n == s.x10Com) {
        refuse(ComDeviceName(n) +
               (n == s.comPort ? " is the infrared receiver's port." : " is the X10 interface's port."));
        showPort();
        return;
    }
    if (!ctx_.Written(ctx_.config.SetGeneralKey("BTCOM", std::to_string(n)))) {
        showPort();
        return;
    }
    s.btCom = n;
    if (ctx_.monitoring && s.btEna && phoneChanged_) {
        phoneChanged_(); // the phone remote lets go of the old port and starts on the new one
        return;
    }
    if (ctx_.btPortHandle != kNoPort) {
        port_.CloseHandle(ctx_.btPortHandle);
        ctx_.btPortHandle = kNoPort;
    }
    if (s.btMode == 0) {
        ctx_.btPortHandle = port_.OpenComPort(n);
        if (ctx_.btPortHandle == kNoPort) refuse("Cannot open " + ComDeviceName(n) + ": " + port_.OpenError());
    }
}

void BtConfig::OnBTModeOption(int index) {
    Settings& s = ctx_.settings();
    if (!ctx_.Written(ctx_.config.SetGeneralKey("BTMODE", std::to_string(index)))) {
        view_.setChecked("BTModeOption0", s.btMode != 1);
        view_.setChecked("BTModeOption1", s.btMode == 1);
        return;
    }
    s.btMode = index;
}

void BtConfig::OnBTDevNrCombo() {
    const int i = view_.currentIndex("BTDevNrCombo");
    if (i < 0 || i > 9) return;
    view_.setText(kNameBox, PhoneDeviceName(ctx_.settings(), i));
}

void BtConfig::OnButtonChange() {
    const int index = view_.currentIndex("BTDevNrCombo");
    if (index < 0 || index > 9) return;
    std::string name = view_.text(kNameBox);
    // The name travels in quotes to the phone's display.
    if (!IsValidName(name) || name.empty() || name.size() > kMaxName || name.find('"') != std::string::npos) {
        refuse("Invalid device name!");
        return;
    }
    Settings& s = ctx_.settings();
    // The index being renamed is compared too, so a change of capitals only is refused.
    const std::string lower = ToLower(name);
    for (int i = 0; i < 10; ++i) {
        if (ToLower(PhoneDeviceName(s, i)) == lower) {
            refuse("This name is in use for device " + std::to_string(i) + " !");
            return;
        }
    }
    if (!ctx_.Written(ctx_.config.SetGeneralKey("BT" + std::to_string(index), name))) {
        OnBTDevNrCombo();
        return;
    }
    s.bt[static_cast<std::size_t>(index)] = name;
    ctx_.dialogs.messageBox("Current device name was changed.", "ZVK", MsgIcon::Information, MsgButtons::Ok);
}

} // namespace quenix
