#include "actions/x10_config.h"

#include "config/browser_controller.h"
#include "core/text.h"
#include "io/serial_port.h"

#include <algorithm>

namespace quenix {
namespace {

constexpr const char* kHouses = "HCListbox";
constexpr const char* kUnits = "DCListbox";
constexpr const char* kPorts = "X10COMList";
constexpr const char* kName = "X10DescCombo";
constexpr const char* kDisable = "DisableX10Checkbox";
constexpr const char* kDefaultPort = "Default";

} // namespace

X10ConfigController::X10ConfigController(Context& ctx, SerialPort& serial, View& form, View& mainView)
    : ctx_(ctx), serial_(serial), form_(form), main_(mainView) {}

void X10ConfigController::onLoad() {
    saved_ = false;
    names_ = X10Names::Parse(ctx_.config.text());

    std::vector<std::string> houses, units;
    for (int i = 1; i <= 16; ++i) {
        houses.emplace_back(1, static_cast<char>('A' + i - 1));
        units.push_back(std::to_string(i));
    }
    form_.setItems(kHouses, houses);
    form_.setItems(kUnits, units);
    form_.setCurrentIndex(kHouses, 0);
    form_.setCurrentIndex(kUnits, 0);

    // The infrared port is offered as "Default" only: the two never hold separate handles
    // on one port. The stored port stays offered while unplugged, so OK keeps it.
    std::vector<std::string> ports{kDefaultPort};
    int current = 0;
    for (int p = 1; p <= 30; ++p) {
        if (p == ctx_.settings().comPort || (p != ctx_.settings().x10Com && !serial_.ComPortExists(p))) continue;
        if (p == ctx_.settings().x10Com) current = static_cast<int>(ports.size());
        ports.push_back(ComDeviceName(p));
    }
    form_.setItems(kPorts, ports);
    form_.setCurrentIndex(kPorts, current);
    form_.setChecked(kDisable, !ctx_.settings().x10Ena);

    showName();
}

int X10ConfigController::house() const { return form_.currentIndex(kHouses) + 1; }
int X10ConfigController::unit() const { return form_.currentIndex(kUnits) + 1; }

int X10ConfigController::selectedPort() const {
    return ComPortNumber(form_.currentText(kPorts));
}

void X10ConfigController::showName() {
    std::vector<std::string> all;
    for (int h = 1; h <= 16; ++h)
        for (int u = 1; u <= 16; ++u)
            if (!names_.name(h, u).empty()) all.push_back(names_.name(h, u));
    form_.setItems(kName, all);
    form_.setText(kName, names_.name(house(), unit()));
}

void X10ConfigController::onHouseOrUnitSelected() { showName(); }

bool X10ConfigController::ask(const std::string& question) {
    return ctx_.dialogs.messageBox(question, "ZVK", MsgIcon::Question, MsgButtons::YesNo) == MsgAnswer::Yes;
}

void X10ConfigController::refuse(const std::string& text) { ctx_.dialogs.message(text); }

void X10ConfigController::onAdd() {
    int h = house(), u = unit();
    if (h < 1 || u < 1) return;
    std::string name = ToLower(Trim(form_.text(kName)));
    if (name.empty()) return;
    // Twenty characters pass, although the message speaks of "less than 20".
    if (static_cast<int>(name.size()) > X10Names::kMaxName) {
        refuse("The X10 device name must be less than 20 characters!");
        return;
    }
    if (name.find_first_of(",[]") != std::string::npos || HasControlCharacter(name)) {
        refuse("The X10 Device Name cannot contain the following characters: \",\", \"[\" and \"]\" !");
        return;
    }
    int fh = 0, fu = 0;
    if (names_.find(name, fh, fu) && (fh != h || fu != u)) {
        refuse("There is another device with this name!");
        return;
    }
    if (!names_.name(h, u).empty() && !ask("Do you want to modify the description for the current device?")) return;
    names_.set(h, u, name);
    showName();
}

void X10ConfigController::onDelete() {
    int h = house(), u = unit();
    if (h < 1 || u < 1) return;
    if (!ask("Do you want to delete the selected device?")) return;
    names_.set(h, u, "");
    showName();
}

std::string X10ConfigController::textWithNames() const {
    const ConfigStore& cfg = ctx_.config;
    std::string text = cfg.text();
    const std::string lines = names_.SectionLines();
    const int behind = cfg.Find("[X10]");
    if (behind == 0) {
        // A file without the section gets it where it belongs: ahead of [Application].
        for (std::string_view header : {"[Application]", "[Monitoring]", "[End]"}) {
            const int at = cfg.Find(header);
            if (at != 0) return text.insert(static_cast<std::size_t>(at - 1) - header.size(), "[X10]\r\n" + lines);
        }
        return text;
    }
    const std::size_t lf = text.find('\n', static_cast<std::size_t>(behind - 1));
    const std::size_t first = lf == std::string::npos ? text.size() : lf + 1;
    const std::size_t next = std::min(text.find('[', first), text.size());
    return text.replace(first, next - first, lines);
}

bool X10ConfigController::onOK() {
    ConfigStore& cfg = ctx_.config;
    Settings& s = ctx_.settings();
    const int port = selectedPort();
    const bool enabled = !form_.isChecked(kDisable);
    const std::string before = cfg.text();
    // The section is replaced in one splice: a refused one leaves the old names in place.
    const bool ok = cfg.SetText(textWithNames()) && cfg.SetGeneralKey("X10COM", std::to_string(port), false) &&
                    cfg.SetGeneralKey("X10ENA", enabled ? "1" : "0", false);
    if (!ctx_.Commit(before, ok)) return false; // the window stays open with the edits
    if (port != s.x10Com) {
        // Give the old port back, unless it was the shared infrared one; the next command opens the new.
        if (ctx_.x10PortHandle >= 1 && ctx_.x10PortHandle != ctx_.irPortHandle) serial_.CloseHandle(ctx_.x10PortHandle);
        ctx_.x10PortHandle = kNoPort;
    }
    s.x10Com = port;
    s.x10Ena = enabled;
    saved_ = true;
    refreshMainList();
    main_.setStatus("X10 configuration saved OK.");
    return true;
}

void X10ConfigController::refreshMainList() {
    if (KindOfDevice(ctx_.config.currentDevice) != DeviceKind::X10) return;
    const std::vector<std::string> list = BrowserController(ctx_, main_).CommandsOf(ctx_.config.currentDevice);
    if (list.empty()) return;
    const auto it = std::find(list.begin(), list.end(), ctx_.config.currentCommand);
    const int row = it == list.end() ? 0 : static_cast<int>(it - list.begin());
    main_.setItems("SendCmd", list);
    main_.setCurrentIndex("SendCmd", row);
    ctx_.config.currentCommand = list[static_cast<std::size_t>(row)];
}

void X10ConfigController::onReset() {
    if (!ResetX10(ctx_, serial_)) {
        refuse(kX10PortError);
        return;
    }
    main_.setStatus(kX10ResetDone);
}

void X10ConfigController::onClose() {
    if (!saved_) main_.setStatus("X10 configuration cancelled.");
}

} // namespace quenix
