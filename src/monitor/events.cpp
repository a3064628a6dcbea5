#include "monitor/events.h"

#include "config/browser_controller.h"
#include "config/config_text.h"
#include "core/text.h"

namespace quenix {

namespace {

std::size_t At(int pos) { return static_cast<std::size_t>(pos - 1); }

bool StartsWith(std::string_view s, std::string_view prefix) { return s.substr(0, prefix.size()) == prefix; }

// The lines from just behind a position up to the next "[" (or the end of the text).
std::vector<std::string> LinesUntilSection(std::string_view text, int from) {
    std::vector<std::string> lines;
    int end = FindText("[", text, from);
    const std::size_t stop = end == 0 ? text.size() : At(end - 1); // the "[" itself
    std::size_t pos = text.find('\n', At(from));
    while (pos != std::string_view::npos && pos + 1 < stop) {
        std::size_t eol = text.find('\n', pos + 1);
        std::size_t last = eol == std::string_view::npos || eol > stop ? stop : eol;
        std::string line = Trim(std::string(text.substr(pos + 1, last - pos - 1)));
        if (!line.empty() && line.back() == '\r') line.pop_back();
        line = Trim(line);
        if (!line.empty()) lines.push_back(line);
        pos = eol;
    }
    return lines;
}

} // namespace

std::vector<std::string> SectionCommands(std::string_view text, std::string_view device) {
    std::vector<std::string> commands;
    int h = FindText("[" + std::string(device) + "]", text, 1);
    if (h == 0) return commands;
    for (const std::string& line : LinesUntilSection(text, h)) {
        std::size_t comma = line.find(',');
        if (comma != std::string::npos) commands.push_back(Trim(line.substr(comma + 1)));
    }
    return commands;
}

std::vector<std::string> InputCommands(std::string_view text, const std::string& device) {
    if (device == "BT") return SplitCommaList(kBtCommands);
    if (device == kWebKeypadDevice) return SplitCommaList(kWebCommands);
    return SectionCommands(text, device);
}

std::vector<std::string> OutputCommands(std::string_view text, const std::string& device) {
    const std::string lower = ToLower(device);
    if (StartsWith(lower, "x10")) return SplitCommaList(kX10Commands);
    if (StartsWith(lower, "winamp")) return SplitCommaList(kWinampCommands);
    if (StartsWith(lower, "mouse")) return SplitCommaList(kMouseCommands);
    if (lower == "ir dimmer") return SplitCommaList(kDimmerCommands);
    return SectionCommands(text, device);
}

std::vector<std::string> MonitoringLines(std::string_view text) {
    int m = FindText("[Monitoring]", text, 1);
    return m == 0 ? std::vector<std::string>{} : LinesUntilSection(text, m);
}

bool EventPartValid(std::string_view text, const std::string& part) {
    std::size_t amp = part.find('&');
    std::string device = part.substr(0, amp);
    std::string command = amp == std::string::npos ? std::string() : part.substr(amp + 1);
    const std::string lower = ToLower(device);
    if (StartsWith(lower, "bt") || lower == "web" || lower == "winamp" || lower == "ir dimmer" || lower == "mouse" ||
        lower == "keyboard")
        return true;
    if (StartsWith(lower, "x10")) {
        // "X10&" and the unit's name, then the function when the part is an output.
        device = "x10";
        command = part.size() > 4 ? part.substr(4) : std::string();
        if (std::size_t fn = command.rfind('&'); fn != std::string::npos) command.resize(fn);
    }
    // A command exists when a line of the device's section carries its name behind the comma.
    const std::string wanted = ToLower(command);
    for (const std::string& name : SectionCommands(text, device))
        if (ToLower(name) == wanted) return true;
    return false;
}

MonitorEvents::MonitorEvents(Context& ctx, View& view, std::function<void()> close)
    : ctx_(ctx), view_(view), close_(std::move(close)) {}

void MonitorEvents::Load() {
    std::vector<std::string> devices = SplitCommaList(ctx_.config.BuildMonitorDeviceList());
    view_.setItems("OutDev", devices);
    // The browser remote's keypad is an input only, always offered like the phone's keys.
    if (devices == std::vector<std::string>{"none"}) devices.clear();
    devices.push_back(kWebKeypadDevice);
    view_.setItems("IRDev", devices);
    std::vector<std::string> indexes;
    for (int i = 0; i <= 9; ++i) indexes.push_back(std::to_string(i));
    view_.setItems("BTDevListCombo", indexes);
    const int current = ctx_.config.settings().btCurrent;
    view_.setCurrentIndex("BTDevListCombo", current >= 0 && current <= 9 ? current : 0);
    if (!devices.empty()) {
        view_.setCurrentIndex("IRDev", 0);
        view_.setCurrentIndex("OutDev", 0);
    }
    OnIRDevChanged();
    OnOutDevChanged();
    RefreshEvents();
}

void MonitorEvents::RefreshEvents() { view_.setItems("MonEvent", MonitoringLines(ctx_.config.text())); }

void MonitorEvents::OnIRDevChanged() {
    const std::string device = view_.currentText("IRDev");
    auto commands = InputCommands(ctx_.config.text(), device);
    view_.setItems("IRCmd", commands);
    view_.setCurrentIndex("IRCmd", commands.empty() ? -1 : 0);
    OnIRCmdChanged();
}

void MonitorEvents::OnIRCmdChanged() {
    if (ToLower(view_.currentText("IRDev")) != "bt") {
        view_.setVisible("BTDevListCombo", false);
        view_.setVisible("BtDevLabel", false);
        return;
    }
    view_.setVisible("BtDevLabel", true);
    // Link and flip events belong to the phone itself, not to one of its devices.
    const std::string command = ToLower(view_.currentText("IRCmd"));
    if (command == "connected" || command == "disconnected" || command == "flip open" || command == "flip closed") {
        view_.setVisible("BTDevListCombo", false);
        view_.setText("BtDevLabel", "BT");
    } else {
        view_.setVisible("BTDevListCombo", true);
        OnBTDevChanged();
    }
}

void MonitorEvents::OnBTDevChanged() {
    view_.setText("BtDevLabel", "BT" + std::to_string(std::max(0, view_.currentIndex("BTDevListCombo"))));
}

void MonitorEvents::OnOutDevChanged() {
    auto commands = OutputCommands(ctx_.config.text(), view_.currentText("OutDev"));
    view_.setItems("OutCmd", commands);
    view_.setCurrentIndex("OutCmd", commands.empty() ? -1 : 0);
}

std::string MonitorEvents::BuildLine() const {
    std::string input = view_.currentText("IRDev");
    if (ToLower(input) == "bt") input = view_.text("BtDevLabel");
    return input + "&" + view_.currentText("IRCmd") + "," + view_.currentText("OutDev") + "&" +
           view_.currentText("OutCmd");
}

void MonitorEvents::OnAdMonButton() {
    // A device without commands leaves its list empty; "Lamp&" would never match a key.
    if (view_.currentText("IRCmd").empty() || view_.currentText("OutCmd").empty()) {
        ctx_.dialogs.messageBox("Choose an input command and an output command first.", "Quenix Input Event",
                                MsgIcon::Exclamation, MsgButtons::Ok);
        return;
    }
    const std::string line = BuildLine();
    int m = ctx_.config.Find("[Monitoring]");
    if (m == 0) return;
    int next = ctx_.config.Find("[", m);
    if (next == 0) return;
    // A substring test: a line that begins an existing longer one counts as existing.
    if (ctx_.config.Find(line, m) != 0) {
        ctx_.dialogs.messageBox("This event exists in the configuration file.\nPlease select another event.",
                                "Quenix Input Event", MsgIcon::Exclamation, MsgButtons::Ok);
        return;
    }
    if (ctx_.dialogs.messageBox("Do you want to add the event " + line + " to the list of the monitored events?",
                                "Infrared events", MsgIcon::Question, MsgButtons::YesNo) != MsgAnswer::Yes)
        return;
    const std::string before = ctx_.config.text();
    if (!ctx_.config.Insert(line + "\r\n", next - 1)) {
        ctx_.dialogs.message(ctx_.config.lastError());
        return;
    }
    ctx_.Commit(before); // the list shows what the file holds either way
    RefreshEvents();
}

bool MonitorEvents::DeleteEvent(const std::string& line, bool ask) {
    if (line.empty()) return true;
    if (ask && ctx_.dialogs.messageBox("You are sure that you want to delete the Event: " + line + " ?",
                                       "Delete Event", MsgIcon::Question, MsgButtons::YesNo) != MsgAnswer::Yes)
        return true;
    // Only a whole line of [Monitoring]: the same text inside a longer line, or in another
    // section, is not this event.
    const std::string& t = ctx_.config.text();
    const std::string lowerText = ToLower(t);
    const std::string wanted = ToLower(line);
    const int m = ctx_.config.Find("[Monitoring]");
    if (m == 0) return true;
    const int next = ctx_.config.Find("[", m);
    const std::size_t stop = next == 0 ? t.size() : At(next - 1);
    std::size_t at = lowerText.find(wanted, At(m));
    std::size_t first = 0, last = 0; // the line with the blanks around it, last one past it
    for (; at != std::string::npos && at < stop; at = lowerText.find(wanted, at + 1)) {
        first = t.find_last_not_of(" \t", at - 1) + 1;
        last = t.find_first_not_of(" \t", at + wanted.size());
        const bool starts = first > 0 && t[first - 1] == '\n';
        if (starts && (last == std::string::npos || t[last] == '\r' || t[last] == '\n')) break;
    }
    if (at == std::string::npos || at >= stop) return true;
    if (last == std::string::npos) last = t.size();
    // The line break goes with the line, so that no blank line is left in the section.
    if (last < t.size() && t[last] == '\r') ++last;
    if (last < t.size() && t[last] == '\n') ++last;
    const std::string before = t;
    ctx_.config.Delete(static_cast<int>(first) + 1, static_cast<int>(last));
    const bool saved = ctx_.Commit(before);
    RefreshEvents();
    return saved;
}

void MonitorEvents::OnDelete() { DeleteEvent(view_.currentText("MonEvent"), true); }

void MonitorEvents::OnCleanButton() {
    std::string report;
    for (const std::string& event : view_.items("MonEvent")) {
        std::size_t comma = event.find(',');
        std::string input = event.substr(0, comma);
        std::string output = comma == std::string::npos ? std::string() : event.substr(comma + 1);
        if (EventPartValid(ctx_.config.text(), input) && EventPartValid(ctx_.config.text(), output)) continue;
        if (!DeleteEvent(event, false)) break;
        report += event + "\n";
    }
    if (report.empty()) {
        ctx_.dialogs.message("Found no orphaned events to delete.", "Quenix Manager", MsgIcon::Information);
        return;
    }
    ctx_.dialogs.message("The followig orphaned events were deleted:\n" + report, "Quenix Manager",
                         MsgIcon::Information);
}

void MonitorEvents::OnCommand2() {
    if (close_) close_();
}

} // namespace quenix
