#include "ir/learning.h"

#include "config/config_text.h"
#include "core/text.h"
#include "ir/codec.h"
#include "ir/decoder.h"
#include "ir/protocols.h"

namespace quenix {

namespace {

constexpr int kCalibrationBytes = 100;
constexpr int kMaxCalibratedDelay = 70;

// The section of a device in 1-based text positions: just behind its header line's "]",
// and where the next section's "[" is (one past the end of the text when it is the last).
struct Section {
    int body = 0;
    int next = 0;
};

Section FindSection(const ConfigStore& config, const std::string& device) {
    Section s;
    s.body = config.Find("[" + device + "]");
    if (s.body == 0) return s;
    s.next = config.Find("\n[", s.body);
    s.next = s.next == 0 ? static_cast<int>(config.text().size()) + 1 : s.next - 1;
    return s;
}

} // namespace

Learning::Learning(Context& ctx, View& view, CaptureSource& source, RefreshCommands refresh)
    : ctx_(ctx), view_(view), source_(source), refresh_(std::move(refresh)) {}

void Learning::onSaveCmdButton() {
    const std::string& device = ctx_.config.currentDevice;
    const std::string lower = ToLower(device);
    if (lower == "ir dimmer" || lower == "winamp" || lower == "recorded" || device.rfind("x10", 0) == 0) {
        view_.setStatus("This is a read-only device!");
        return;
    }
    if (!ctx_.validated) {
        view_.setStatus("The command is not yet validated! Pres again Record button to validate.");
        return;
    }
    std::string code = Trim(view_.text("CodeStr"));
    if (!IsValidCode(code)) {
        view_.setStatus("The code you want to save is invalid.");
        return;
    }
    // The lookup forces an RC5 or MCE toggle to 0, so that is how the code is stored; an older
    // file may hold RC5's other form, and a code is stored once in the whole file whichever
    // device holds it.
    const int protocol = ProtocolIndex(Trim(view_.text("ProtocolName")));
    const bool rc5 = protocol == kProtoRc5;
    code = NormalisedCode(code, protocol);
    for (const std::string& form : rc5 ? std::vector{code, WithRc5Toggle(code, '1')} : std::vector{code}) {
        if (int at = ctx_.config.Find("\n" + form + ","); at != 0) {
            view_.setStatus("This command exist as " + ctx_.config.Line(at));
            return;
        }
    }
    const std::string name = askCommandName();
    if (name.empty()) return;
    const std::string before = ctx_.config.text();
    if (!ctx_.Commit(before, insertCommandLine(code + "," + name + "\r\n"))) return;
    if (refresh_) refresh_(name);
}

std::string Learning::askCommandName() {
    for (;;) {
        auto answer = ctx_.dialogs.inputBox(
            "Enter the name for the new command.\nDo not use '[' ']' ',' '%' '&' characters", "Input new command name");
        std::string name = answer ? *answer : std::string();
        if (Trim(name).empty()) return {};
        if (!IsValidName(name)) {
            view_.setStatus("Do not use [ ] , #  characters!");
            continue;
        }
        if (nameInCurrentDevice(name)) {
            view_.setStatus("This command name is in use for the current device!");
            continue;
        }
        return name;
    }
}

bool Learning::nameInCurrentDevice(const std::string& name) const {
    Section s = FindSection(ctx_.config, ctx_.config.currentDevice);
    if (s.body == 0) return false;
    int at = ctx_.config.Find("," + name + "\r", s.body);
    return at != 0 && at < s.next;
}

// Behind the section's last line, before the blank lines that part it from the next one.
bool Learning::insertCommandLine(const std::string& line) {
    Section s = FindSection(ctx_.config, ctx_.config.currentDevice);
    if (s.body == 0) return true; // the device went away: nothing to store it in
    const std::string& text = ctx_.config.text();
    auto at = [&](std::size_t i) { return text[i]; };
    std::size_t end = static_cast<std::size_t>(s.next - 1); // 0-based: the next "[" or the text's end
    const std::size_t body = static_cast<std::size_t>(s.body - 1);
    while (end >= body + 3 && at(end - 1) == '\n' && at(end - 2) == '\r' && at(end - 3) == '\n') end -= 2;
    const bool openLine = end > 0 && at(end - 1) != '\n'; // a last line without its CR LF
    return ctx_.config.Insert(openLine ? "\r\n" + line : line, static_cast<int>(end) + 1);
}

void Learning::onDeleteCmdButton() {
    const std::string& device = ctx_.config.currentDevice;
    // Compared as written: "Winamp" may lose commands here although it cannot gain any.
    if (device == "recorded") {
        view_.setStatus("This is a virtual read-only device!");
        return;
    }
    if (device.rfind("x10", 0) == 0 || device == "ir dimmer") {
        view_.setStatus("This is a read-only device!");
        return;
    }
    const std::string name = view_.currentText("SendCmd");
    if (ToLower(name) == "empty") { // the list's entry for a device without commands
        view_.setStatus("There are no more commands to delete for the current device!");
        return;
    }
    if (ctx_.dialogs.messageBox("Do you want to delete the command " + name + " from the current device?", "ZVK",
                                MsgIcon::Question, MsgButtons::YesNo) != MsgAnswer::Yes)
        return;
    const std::string before = ctx_.config.text();
    ctx_.config.currentCommand = name;
    ctx_.config.DeleteCommand();
    if (!ctx_.Commit(before)) return;
    // After the refresh, which shows the device's description in the status bar.
    if (refresh_) refresh_("");
    view_.setStatus("Command " + name + " deleted successfully.");
}

bool Learning::storeProcDelay(int value) {
    if (!ctx_.Written(ctx_.config.SetGeneralKey("PROCDELAY", std::to_string(value)))) return false;
    ctx_.settings().procDelay = value;
    view_.setText("ProcDelayparameter", std::to_string(value));
    return true;
}

void Learning::onMenuProcDelay() {
    for (;;) {
        auto answer = ctx_.dialogs.inputBox("Enter the new ProcDelay value", "Procdelay value");
        std::string text = answer ? Trim(*answer) : std::string();
        if (text.empty()) return;
        long value = LeadingNumber(text);
        if (value < 0 || value > 100) {
            ctx_.dialogs.messageBox("The value must be between 0 and 100", "ZVK", MsgIcon::Exclamation, MsgButtons::Ok);
            continue;
        }
        storeProcDelay(LeadingInt16(text));
        return;
    }
}

void Learning::onCalibrationMenu() {
    if (ctx_.dialogs.messageBox(
            "Keep the '1' button on the SONY remote pressed and click OK.\nKeep pressed till you will receive a message.",
            "Record a command", MsgIcon::Information, MsgButtons::OkCancel) != MsgAnswer::Ok)
        return;
    // Captures run at the delay being tried; a calibration that does not finish leaves the
    // delay that was in use (and is on disk).
    const int previous = ctx_.settings().procDelay;
    auto end = [&](const std::string& status) {
        ctx_.settings().procDelay = previous;
        view_.setStatus(status);
    };
    int delay = 0;
    ctx_.settings().procDelay = 0;
    view_.setText("SendPulse", "");
    std::vector<std::uint8_t> buffer;
    int first10 = 0; // the first delay that measured 10 samples
    int unit = 0;
    for (;;) {
        ctx_.beeper.beep(5000, 50);
        const int type = ctx_.interfaceType;
        if (type != 0 && type != 1 && type != 4) return end("No need to calibrate for the current IR input interface");
        buffer.assign(kCalibrationBytes, 0);
        if (!source_.record(type, buffer, delay, kCalibrationBytes)) {
            ctx_.beeper.beep(600, 1000);
            const std::string why = source_.failure();
            return end(why.empty() ? "Autocalibration aborted!" : why);
        }
        ctx_.beeper.beep(4000, 20);
        unit = MeasuredUnit(buffer);
        if (delay > kMaxCalibratedDelay) return end("Calibration procedure failed!");
        if (unit == 10 && first10 == 0) first10 = delay;
        if (unit != 9) {
            ctx_.settings().procDelay = ++delay;
            continue;
        }
        // Still on 9 before any 10: wait for the key to be let go (the capture then times out).
        if (first10 != 0) break;
    }
    // The middle of the delays from the first 10-sample unit to the first 9-sample one.
    const int value = first10 + (delay - first10) / 2;
    ctx_.settings().procDelay = previous;
    if (!storeProcDelay(value)) return;
    view_.setStatus("Calibration succeeded.  PROCDELAY=" + std::to_string(value));
    view_.setText("SendPulse", std::to_string(unit * kSampleUs));
}

} // namespace quenix
