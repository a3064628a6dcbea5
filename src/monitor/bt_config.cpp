#include "monitor/bt_config.h"

#include "config/config_text.h"
#include "core/text.h"

#include <string>
#include <vector>

namespace quenix {

namespace {
constexpr int kMaxComPort = 30;
}

BtConfig::BtConfig(Context& ctx, View& view, SerialPort& port) : ctx_(ctx), view_(view), port_(port) {}

void BtConfig::enableControls(bool on) {
    for (const char* c : {"Frame1", "BTModeOption0", "BTModeOption1", "BtComListbox"}) view_.setEnabled(c, on);
}

void BtConfig::Open() {
    const Settings& s = ctx_.settings();
    view_.setChecked("BTCheckbox", s.btEna);
    enableControls(s.btEna);

    std::vector<std::string> ports;
    int selected = -1;
    for (int n = 1; n <= kMaxComPort; ++n) {
        if (!port_.ComPortExists(n)) continue;
        if (n == s.btCom) selected = static_cast<int>(ports.size());
        ports.push_back(ComDeviceName(n));
    }
    view_.setItems("BtComListbox", ports);
    if (selected >= 0) view_.setCurrentIndex("BtComListbox", selected);

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
    ctx_.settings().btEna = checked;
    ctx_.config.SetGeneralKey("BTENA", checked ? "1" : "0");
    enableControls(checked);
}

void BtConfig::OnBtComListbox() {
    const std::string item = view_.currentText("BtComListbox");
    if (item.size() <= 3) return;
    Settings& s = ctx_.settings();
    if (ctx_.btPortHandle > 0) {
        port_.CloseHandle(ctx_.btPortHandle);
        ctx_.btPortHandle = kNoPort;
    }
    s.btCom = LeadingInt16(item.substr(3));
    ctx_.config.SetGeneralKey("BTCOM", std::to_string(s.btCom));
    if (s.btMode == 0) ctx_.btPortHandle = port_.OpenComPort(s.btCom);
    ctx_.config.SaveConfiguration();
}

void BtConfig::OnBTModeOption(int index) {
    ctx_.settings().btMode = index;
    ctx_.config.SetGeneralKey("BTMODE", std::to_string(index));
    ctx_.config.SaveConfiguration();
}

void BtConfig::OnBTDevNrCombo() {
    const int i = view_.currentIndex("BTDevNrCombo");
    if (i < 0 || i > 9) return;
    view_.setText(kNameBox, ctx_.settings().bt[static_cast<std::size_t>(i)]);
}

void BtConfig::OnButtonChange() {
    const int index = view_.currentIndex("BTDevNrCombo");
    if (index < 0 || index > 9) return;
    std::string name = view_.text(kNameBox);
    if (!IsValidName(name)) {
        ctx_.dialogs.messageBox("Invalid device name!", "ZVK", MsgIcon::Critical, MsgButtons::Ok);
        return;
    }
    Settings& s = ctx_.settings();
    // The index being renamed is compared too, so a change of capitals only is refused.
    const std::string lower = ToLower(name);
    for (int i = 0; i < 10; ++i) {
        if (ToLower(s.bt[static_cast<std::size_t>(i)]) == lower) {
            ctx_.dialogs.messageBox("This name is in use for device " + std::to_string(i) + " !", "ZVK",
                                    MsgIcon::Critical, MsgButtons::Ok);
            return;
        }
    }
    s.bt[static_cast<std::size_t>(index)] = name;
    ctx_.config.SetGeneralKey("BT" + std::to_string(index), name);
    ctx_.dialogs.messageBox("Current device name was changed.", "ZVK", MsgIcon::Information, MsgButtons::Ok);
}

} // namespace quenix
