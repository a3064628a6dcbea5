#include "config/browser_controller.h"

#include "config/command_lists.h"

#include "core/text.h"

#include <algorithm>

namespace quenix {
namespace {

// Devices that exist without a section of their own, in the order the list shows them.
const std::vector<std::string> kVirtualDevices = {"Recorded", "Winamp", "IR Dimmer", "Mouse", "Keyboard", "Bluetooth"};

// Controls that sending and learning need.
const std::vector<std::string> kDeviceControls = {"RecButton",       "SaveCmdButton", "SendCmd",
                                                  "FileNewMenu",     "EditMenu",      "ProtoDeleteMenu",
                                                  "CalibrationMenu", "MenuProcDelay", "SendButton"};

} // namespace

std::vector<std::string> FirmZones() {
    std::vector<std::string> zones;
    for (int z = 1; z <= 8; ++z) zones.push_back("Zone " + std::to_string(z));
    return zones;
}

DeviceKind KindOfDevice(const std::string& name) {
    const std::string n = ToLower(name);
    if (n == "none" || n.empty()) return DeviceKind::None;
    if (n == "x10") return DeviceKind::X10;
    if (n == "winamp") return DeviceKind::Winamp;
    if (n == "mouse") return DeviceKind::Mouse;
    if (n == "ir dimmer") return DeviceKind::IrDimmer;
    if (n == "application") return DeviceKind::Application;
    if (n == "bluetooth") return DeviceKind::Bluetooth;
    if (n == "keyboard") return DeviceKind::Keyboard;
    if (n == "recorded") return DeviceKind::Recorded;
    return DeviceKind::Infrared;
}

std::vector<std::string> SplitCommaList(const std::string& list) {
    std::vector<std::string> out;
    std::size_t start = 0;
    for (std::size_t comma; (comma = list.find(',', start)) != std::string::npos; start = comma + 1)
        out.push_back(list.substr(start, comma - start));
    return out;
}

BrowserController::BrowserController(Context& ctx, View& view, Hooks hooks)
    : ctx_(ctx), view_(view), hooks_(std::move(hooks)) {}

std::vector<std::string> BrowserController::DeviceNames() const {
    std::vector<std::string> names;
    const std::string& text = ctx_.config.text();
    int p = ctx_.config.Find("[General]");
    if (p != 0) {
        while (int open = ctx_.config.Find("[", p)) {
            auto close = text.find(']', static_cast<std::size_t>(open - 1));
            if (close == std::string::npos) break;
            std::string name =
                text.substr(static_cast<std::size_t>(open - 1), close - static_cast<std::size_t>(open - 1));
            std::string lower = ToLower(name);
            if (lower == "monitoring" || lower == "end") break;
            names.push_back(name);
            p = static_cast<int>(close) + 1;
        }
    }
    for (const auto& v : kVirtualDevices) {
        bool present =
            std::any_of(names.begin(), names.end(), [&](const std::string& n) { return ToLower(n) == ToLower(v); });
        if (!present) names.push_back(v);
    }
    return names;
}

std::vector<std::string> BrowserController::SectionEntries(const std::string& section) const {
    std::vector<std::string> entries;
    int g = ctx_.config.Find("[General]");
    if (g == 0) return entries;
    int h = ctx_.config.Find("[" + section + "]", g);
    if (h == 0) return entries;
    const std::string& text = ctx_.config.text();
    int end = ctx_.config.Find("[", h);
    if (end == 0) end = static_cast<int>(text.size()) + 1;
    for (int c = ctx_.config.Find(",", h); c != 0 && c < end; c = ctx_.config.Find(",", c)) {
        std::string entry;
        for (auto i = static_cast<std::size_t>(c - 1); i < text.size() && text[i] != '\r'; ++i) entry += text[i];
        entries.push_back(entry);
    }
    return entries;
}

std::vector<std::string> BrowserController::CommandsOf(const std::string& device) const {
    std::vector<std::string> list;
    switch (KindOfDevice(device)) {
    case DeviceKind::None: return list;
    case DeviceKind::X10:
        list = SplitCommaList(kX10Commands);
        for (auto& unit : SectionEntries("X10")) list.push_back(unit);
        return list;
    case DeviceKind::Winamp: return SplitCommaList(kWinampCommands);
    case DeviceKind::Mouse: return SplitCommaList(kMouseCommands);
    case DeviceKind::IrDimmer: return SplitCommaList(kDimmerCommands);
    case DeviceKind::Recorded: return {"Recorded"};
    // The keyboard performs nothing and the phone's keys are events, not commands to send.
    case DeviceKind::Keyboard:
    case DeviceKind::Bluetooth: return {"EMPTY"};
    case DeviceKind::Application:
    case DeviceKind::Infrared: list = SectionEntries(device); break;
    }
    if (list.empty()) list.push_back("EMPTY");
    return list;
}

void BrowserController::Refresh() {
    auto names = DeviceNames();
    view_.setItems("Protocol", names);
    int index = ctx_.settings().protocol;
    if (index < 0 || index >= static_cast<int>(names.size())) index = 0;
    view_.setCurrentIndex("Protocol", index);
    SelectDevice(index);
}

void BrowserController::ShowCommands(const std::vector<std::string>& commands) {
    view_.setItems("SendCmd", commands);
    if (!commands.empty()) {
        view_.setCurrentIndex("SendCmd", 0);
        ctx_.config.currentCommand = commands.front();
    } else {
        ctx_.config.currentCommand.clear();
    }
}

void BrowserController::EnableLearning(bool on) {
    for (const auto& c : kDeviceControls) view_.setEnabled(c, true);
    view_.setEnabled("RecButton", on);
    view_.setEnabled("SaveCmdButton", on);
    view_.setEnabled("CalibrationMenu", on);
    view_.setEnabled("InterfaceMenu", ctx_.settings().irInEna);
}

void BrowserController::ApplyTitle() {
    const std::string& v = ctx_.config.version();
    switch (selectedKind()) {
    case DeviceKind::None: view_.setText("frmMain", "KPL (no device selected)"); break;
    case DeviceKind::X10: view_.setText("frmMain", "X10 Remote v" + v); break;
    case DeviceKind::Winamp:
    case DeviceKind::Mouse:
    case DeviceKind::IrDimmer:
    case DeviceKind::Application:
    case DeviceKind::Bluetooth:
    case DeviceKind::Keyboard: view_.setText("frmMain", "Special Remote v" + v); break;
    case DeviceKind::Recorded:
    case DeviceKind::Infrared:
        view_.setText("frmMain", (compact_ ? "KPL Send Mgr v" : "Orvel's Quenix Remote Manager v") + v);
        break;
    }
}

void BrowserController::SetCompact(bool compact) {
    compact_ = compact;
    ApplyTitle();
}

void BrowserController::SelectDevice(int index) {
    auto names = view_.items("Protocol");
    if (index < 0 || index >= static_cast<int>(names.size())) return;
    const std::string name = names[static_cast<std::size_t>(index)];
    ctx_.config.currentDevice = name;
    const DeviceKind kind = KindOfDevice(name);
    // The level serves the IR dimmer and X10 Dim/Bri.
    const bool dimmable = kind == DeviceKind::IrDimmer || kind == DeviceKind::X10;
    view_.setVisible("DIMScroll", dimmable);
    view_.setVisible("DIMLabel", dimmable);
    if (kind == DeviceKind::None) {
        ApplyTitle();
        ShowCommands({});
        return;
    }
    StoreProtocol(index);
    ApplyTitle();
    switch (kind) {
    case DeviceKind::X10:
        view_.setStatus("X10 device selected.");
        view_.setText("SendLabel", "X10 command to be send");
        EnableLearning(false);
        break;
    case DeviceKind::Infrared:
    case DeviceKind::Recorded:
        if (hooks_.prepareInfraredDevice) hooks_.prepareInfraredDevice();
        view_.setText("SendLabel", "The IR command to be send");
        if (ctx_.settings().itypeLow == 4) {
            view_.setText("ZoneNr", "FirM Interface zone selection");
            if (view_.items("Zone").empty()) view_.setItems("Zone", FirmZones());
        }
        if (kind == DeviceKind::Infrared) {
            LoadProtocolParameters(name);
            std::string description = Trim(ctx_.config.GetDeviceDescription(name));
            view_.setStatus(description.empty() ? name + " selected." : name + ": " + description);
        } else {
            view_.setStatus("Recorded: the last code captured with Record.");
        }
        EnableLearning(true);
        break;
    default:
        view_.setStatus(name + ": a virtual device.");
        view_.setText("SendLabel", "Special command to be send");
        EnableLearning(false);
        break;
    }
    ShowCommands(CommandsOf(name));
}

void BrowserController::SelectCommand(int index) {
    auto list = view_.items("SendCmd");
    if (index >= 0 && index < static_cast<int>(list.size()))
        ctx_.config.currentCommand = list[static_cast<std::size_t>(index)];
}

void BrowserController::LoadProtocolParameters(const std::string& device) {
    ConfigStore& c = ctx_.config;
    int p = c.Find("[General]");
    if (p == 0 || (p = c.Find("[" + device + "]", p)) == 0) return;
    // Each key is searched behind the previous one; a missing key leaves every value as it was.
    ProtocolHeader h = ctx_.header;
    int* numbers[] = {&h.gproto, &h.sendpls, &h.repeat};
    const char* numberKeys[] = {"GPROTO=", "SENDPLS=", "REPEAT="};
    for (int i = 0; i < 3; ++i) {
        if ((p = c.Find(numberKeys[i], p)) == 0) return;
        *numbers[i] = LeadingInt16(c.Line(p));
    }
    std::string* patterns[] = {&h.bitg, &h.bit0, &h.bit1};
    const char* patternKeys[] = {"BITG=", "BIT0=", "BIT1="};
    for (int i = 0; i < 3; ++i) {
        if ((p = c.Find(patternKeys[i], p)) == 0) return;
        *patterns[i] = c.Line(p);
    }
    if ((p = c.Find("GREPEAT=", p)) == 0) return;
    h.grepeat = LeadingInt16(c.Line(p));
    ctx_.header = h;
    view_.setText("SendPulse", std::to_string(h.sendpls));
}

void BrowserController::FileNew() {
    if (selectedKind() != DeviceKind::Recorded) {
        ctx_.dialogs.message("Use 'Recorded' virtual device to create a new device");
        return;
    }
    OpenDeviceForm(false);
}

void BrowserController::OpenDeviceForm(bool edit) {
    if (!hooks_.deviceForm) {
        view_.setStatus("The device definition form is not available in this build.");
        return;
    }
    ctx_.editFlag = edit;
    if (!hooks_.deviceForm()) return;
    // The form leaves the saved device current; a new section moves the devices behind it.
    Reselect(ctx_.config.currentDevice);
}

void BrowserController::Reselect(const std::string& device) {
    const std::string wanted = ToLower(device);
    const auto names = DeviceNames();
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (ToLower(names[i]) != wanted) continue;
        StoreProtocol(static_cast<int>(i));
        break;
    }
    Refresh();
}

void BrowserController::StoreProtocol(int index) {
    if (ctx_.settings().protocol == index) return;
    ctx_.settings().protocol = index;
    // Arrow keys through the list write on every row: one box per run of failures, not per row.
    const bool ok = ctx_.config.SetGeneralKey("PROTOCOL", std::to_string(index));
    if (!ok && !protocolWriteFailed_) ctx_.Written(false);
    protocolWriteFailed_ = !ok;
}

void BrowserController::Edit() {
    switch (selectedKind()) {
    case DeviceKind::Recorded: ctx_.dialogs.message("Recorded is a virtual device and cannot be edited!"); return;
    case DeviceKind::IrDimmer:
    case DeviceKind::Application:
    case DeviceKind::Winamp: ctx_.dialogs.message("This is a read-only device!"); return;
    case DeviceKind::Infrared: break;
    default: ctx_.dialogs.message("This is a read-only device!"); return;
    }
    OpenDeviceForm(true);
}

void BrowserController::ProtoDelete() {
    const std::string name = selectedDevice();
    const std::string lower = ToLower(name);
    if (lower == "recorded") {
        ctx_.dialogs.message("Recorded is a virtual device and cannot be deleted!");
        return;
    }
    if (lower == "x10") {
        ctx_.dialogs.message("The X10 device cannot be deleted!");
        return;
    }
    if (lower == "application" || lower == "ir dimmer" || lower == "winamp" || lower == "monitoring" ||
        KindOfDevice(name) != DeviceKind::Infrared) {
        ctx_.dialogs.message("This is a read-only device!");
        return;
    }
    auto answer =
        ctx_.dialogs.messageBox("Do you want to delete the device " + name + " from the current configuration file?",
                                "ZVK", MsgIcon::Question, MsgButtons::YesNo);
    if (answer != MsgAnswer::Yes) return;
    if (!ctx_.Written(ctx_.config.DeleteDevice())) return;
    // The list shrinks; keep the index inside it.
    if (ctx_.settings().protocol >= static_cast<int>(DeviceNames().size())) ctx_.settings().protocol = 0;
    Refresh();
}

void BrowserController::AddApplication() {
    Dialogs& d = ctx_.dialogs;
    auto file = d.openFile("Select file to run", {"Executable Files (*.exe;*.com)", "Batch Files (*.bat;*.cmd)",
                                                  "Sound Files (*.wav;*.mp3)"});
    if (!file) return;
    std::string commandLine = *file;
    if (!IsValidName(commandLine)) {
        d.message("The name of the file contains invalid characters!");
        return;
    }
    if (commandLine.empty()) return;
    int header = ctx_.config.Find("[Application]");
    if (header == 0) {
        d.message("The [Application] section is missing from the configuration file.");
        return;
    }
    int end = ctx_.config.Find("[", header);
    // Each line of [Application] is command line, ",", name; a leading "@" is not part of the
    // command line when comparing.
    std::vector<std::pair<std::string, std::string>> lines;
    {
        const std::string& text = ctx_.config.text();
        std::size_t from = static_cast<std::size_t>(header - 1);
        std::size_t to = end != 0 ? static_cast<std::size_t>(end - 1) : text.size();
        std::size_t start = text.find('\n', from);
        while (start != std::string::npos && start + 1 < to) {
            std::size_t eol = text.find('\r', start + 1);
            if (eol == std::string::npos || eol > to) eol = to;
            std::string line = text.substr(start + 1, eol - start - 1);
            if (auto comma = line.rfind(','); comma != std::string::npos) {
                std::string cmd = line.substr(0, comma);
                if (!cmd.empty() && cmd[0] == '@') cmd.erase(0, 1);
                lines.emplace_back(ToLower(Trim(cmd)), ToLower(Trim(line.substr(comma + 1))));
            }
            start = text.find('\n', eol);
        }
    }
    for (const auto& [cmd, n] : lines) {
        if (cmd == ToLower(commandLine)) {
            d.message("This command line exist in the configuration file.");
            return;
        }
    }
    auto name = d.inputBox("Enter the command name", "ZVK");
    std::string entry = name ? Trim(*name) : std::string();
    if (entry.empty()) {
        d.message("No new command defined");
        return;
    }
    if (!IsValidName(entry)) {
        d.message("Do not use '[' ']' ',' '%' '&' characters");
        return;
    }
    for (const auto& [cmd, n] : lines) {
        if (n == ToLower(entry)) {
            d.message("This command name exist in the configuration file.");
            return;
        }
    }
    // Sounds are played, never shown; a program may run in a window of its own.
    const std::string ext = ToLower(commandLine.size() >= 4 ? commandLine.substr(commandLine.size() - 4) : "");
    if (ext != ".wav" && ext != ".mp3") {
        if (d.messageBox("Display ON?", "ZVK", MsgIcon::Question, MsgButtons::YesNo) == MsgAnswer::Yes)
            commandLine = "@" + commandLine;
    }
    // Insert at the start of the next section's header line, i.e. at the end of [Application].
    int insertAt = end != 0 ? end - 1 : static_cast<int>(ctx_.config.text().size()) + 1;
    const std::string before = ctx_.config.text();
    if (!ctx_.config.Insert(commandLine + "," + entry + "\r\n", insertAt)) {
        d.message(ctx_.config.lastError());
        return;
    }
    if (!ctx_.Commit(before)) return;
    if (selectedKind() == DeviceKind::Application) ShowCommands(CommandsOf(selectedDevice()));
    view_.setStatus("Command " + entry + " added.");
}

} // namespace quenix
