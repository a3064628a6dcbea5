#include "ir/device_editor.h"

#include "config/command_lists.h"
#include "core/text.h"
#include "ir/protocols.h"

#include <vector>

namespace quenix {

namespace {

const char* kCrLf = "\r\n";

// Boxes of the form, in the order they are trimmed.
const char* const kValueBoxes[] = {"ProtDesc", "SendPlsIn", "RepeatIn", "GRepeatIn", "BitGIn", "Bit0In", "Bit1In"};

bool IsBinary(const std::string& s) { return s.find_first_not_of("01") == std::string::npos; }

} // namespace

std::string BuildHeaderText(const HeaderFields& h, bool forEdit) {
    std::string t;
    if (!forEdit) t += kCrLf;
    t += "[" + h.name + "]" + kCrLf;
    t += "# " + h.description + kCrLf;
    t += "GPROTO=" + std::to_string(h.gproto) + kCrLf;
    t += "SENDPLS=" + std::to_string(h.sendpls) + kCrLf;
    t += "REPEAT=" + std::to_string(h.repeat) + kCrLf;
    // The pattern keys carry a blank after "="; the reader trims it.
    t += "BITG= " + h.bitg + kCrLf;
    t += "BIT0= " + h.bit0 + kCrLf;
    t += "BIT1= " + h.bit1 + kCrLf;
    t += "GREPEAT=" + std::to_string(h.grepeat);
    if (!forEdit) t += std::string(kCrLf) + kCrLf;
    return t;
}

DeviceEditor::DeviceEditor(Context& ctx, View& form, View& mainView) : ctx_(ctx), form_(form), main_(mainView) {}

bool DeviceEditor::Open() {
    std::vector<std::string> names;
    for (const ProtocolPreset& p : kProtocolPresets) names.emplace_back(p.name);
    form_.setItems("GProtoIn", names);
    editing_ = ctx_.editFlag;
    if (editing_) return LoadForEdit();
    if (ToLower(ctx_.config.currentDevice) == "recorded") FillFromRecording();
    return true;
}

bool DeviceEditor::LoadForEdit() {
    device_ = ctx_.config.currentDevice;
    const char* keys[] = {"#", "GPROTO=", "SENDPLS=", "REPEAT=", "BITG=", "BIT0=", "BIT1=", "GREPEAT="};
    std::string values[8];
    int pos = ctx_.config.Find("[" + device_ + "]");
    // A header that misses a key must not borrow the next device's: saving would then cut from
    // this header to that key and merge the two devices.
    const int next = pos != 0 ? ctx_.config.Find("[", pos) : 0;
    for (int i = 0; i < 8 && pos != 0; ++i) {
        pos = ctx_.config.Find(keys[i], pos);
        if (next != 0 && pos > next) pos = 0;
        if (pos != 0) values[i] = ctx_.config.Line(pos);
    }
    if (pos == 0) {
        ctx_.dialogs.messageBox(std::string("Error in the configuration file") + kCrLf + "The Device Form can not be opened",
                                "Critical Error", MsgIcon::Critical, MsgButtons::Ok);
        return false;
    }
    form_.setText("CProtIn", device_);
    form_.setEnabled("CProtIn", false); // the section is found by its name; renaming is not offered
    form_.setText("ProtDesc", values[0]);
    loadedGproto_ = LeadingInt16(values[1]);
    form_.setCurrentIndex("GProtoIn", loadedGproto_);
    form_.setText("SendPlsIn", std::to_string(LeadingNumber(values[2])));
    form_.setText("RepeatIn", std::to_string(LeadingNumber(values[3])));
    form_.setText("BitGIn", values[4]);
    form_.setText("Bit0In", values[5]);
    form_.setText("Bit1In", values[6]);
    form_.setText("GRepeatIn", std::to_string(LeadingInt16(values[7])));
    return true;
}

void DeviceEditor::FillFromRecording() {
    std::string protocol = Trim(main_.text("ProtocolName"));
    std::string unit = Trim(main_.text("SendPulse"));
    if (protocol.empty() || unit.empty()) return;

    int repeat = ToLower(Trim(main_.text("MultiSeq"))) == "y" ? 50 : 0;
    int gtype = LeadingInt16(main_.text("GType"));
    int grepeat = gtype == 0 ? 0 : gtype == 1 ? 1 : 50;

    int index = kProtoCustom;
    for (const ProtocolPreset& p : kProtocolPresets)
        if (p.index != kProtoCustom && p.name == protocol) index = p.index;
    form_.setCurrentIndex("GProtoIn", index);
    if (index != kProtoCustom) {
        const ProtocolPreset& p = PresetFor(index);
        form_.setText("BitGIn", std::string(p.bitg));
        form_.setText("Bit0In", std::string(p.bit0));
        form_.setText("Bit1In", std::string(p.bit1));
        form_.setText("RepeatIn", std::string(p.recordedRepeat));
    } else {
        form_.setText("RepeatIn", std::to_string(repeat)); // the patterns stay as they are
    }
    form_.setText("GRepeatIn", std::to_string(grepeat));
    form_.setText("SendPlsIn", unit);
}

void DeviceEditor::OnProtocolChanged() {
    const ProtocolPreset& p = PresetFor(form_.currentIndex("GProtoIn"));
    form_.setText("SendPlsIn", std::string(p.sendpls));
    form_.setText("RepeatIn", std::string(p.repeat));
    form_.setText("GRepeatIn", std::string(p.grepeat));
    form_.setText("Bit0In", std::string(p.bit0));
    form_.setText("Bit1In", std::string(p.bit1));
    form_.setText("BitGIn", std::string(p.bitg));
}

bool DeviceEditor::Refuse(const std::string& message) {
    ctx_.dialogs.message(message);
    return false;
}

bool DeviceEditor::OnCreate() {
    HeaderFields h;
    h.name = Trim(form_.text("CProtIn"));
    form_.setText("CProtIn", h.name);
    std::string lower = ToLower(h.name);
    if (lower == "end" || lower == "general" || lower == ToLower(kWebKeypadDevice))
        return Refuse("This is a reserved name!");

    for (const char* box : kValueBoxes) form_.setText(box, Trim(form_.text(box)));
    h.description = form_.text("ProtDesc");
    h.bitg = form_.text("BitGIn");
    h.bit0 = form_.text("Bit0In");
    h.bit1 = form_.text("Bit1In");

    if (!editing_) {
        if (!IsValidName(h.name)) return Refuse("Device name cannot contain the following chars: [ ] , # ");
        for (const std::string& existing : main_.items("Protocol"))
            if (ToLower(existing) == lower) return Refuse("The new device name is in use");
        if (h.name.size() < 3 || h.name.size() > 12) return Refuse("Device name must have 3 to 12 characters");
    } else {
        h.name = device_;
    }

    h.sendpls = LeadingInt16(form_.text("SendPlsIn"));
    h.repeat = LeadingInt16(form_.text("RepeatIn"));
    h.grepeat = LeadingInt16(form_.text("GRepeatIn"));
    if (h.sendpls < 1) return Refuse("SENDPLS must have an integer value greater than 0");
    // 16 itself passes although the messages say "greater than 16".
    if (h.repeat != 0 && h.repeat < 16) return Refuse("REPEAT must have an integer value greater than 16 (or 0)");
    if (h.grepeat >= 2 && h.grepeat <= 15)
        return Refuse("GREPEAT must have an integer value greater than 16 (or 0 or 1)");
    if (h.repeat > 16 && h.grepeat > 16) {
        h.grepeat = h.repeat;
        form_.setText("GRepeatIn", std::to_string(h.grepeat));
    }
    if (h.bit0.empty() || h.bit1.empty() || h.bitg.empty())
        return Refuse("BITx must not be empty, if no BITG, then BITG=0");
    if (!IsValidName(h.description)) return Refuse("Description cannot contain the following chars: [ ] , # ");
    if (!IsBinary(h.bit0)) return Refuse("BIT0 must have a binary value");
    if (!IsBinary(h.bitg)) return Refuse("BITG must have a binary value");
    if (!IsBinary(h.bit1)) return Refuse("BIT1 must have a binary value");

    // With no entry chosen an edited device keeps the GPROTO it has, even one the list does
    // not show; a new device is NEC.
    int index = form_.currentIndex("GProtoIn");
    if (index >= 0 && index < static_cast<int>(kProtocolPresets.size())) h.gproto = index;
    else h.gproto = editing_ ? loadedGproto_ : kProtoNec;

    std::string header = BuildHeaderText(h, editing_);
    std::string question = std::string(editing_ ? "The edited device is:" : "A new device with the following parameters will be created:") +
                           kCrLf + header + kCrLf + "Do you want to save it?";
    if (ctx_.dialogs.messageBox(question, "ZVK", MsgIcon::Question, MsgButtons::YesNo) != MsgAnswer::Yes) return false;
    return Apply(h.name, header);
}

bool DeviceEditor::Apply(const std::string& name, const std::string& header) {
    ConfigStore& cfg = ctx_.config;
    std::string before = cfg.text();
    bool ok = false;
    if (editing_) {
        std::string section = "[" + device_ + "]";
        int behind = cfg.Find(section);
        int start = behind - static_cast<int>(section.size());
        int grepeat = behind != 0 ? cfg.Find("GREPEAT", behind) : 0;
        if (grepeat == 0) return Refuse("Error in the configuration file");
        std::size_t cr = cfg.text().find('\r', static_cast<std::size_t>(grepeat - 1));
        int lineEnd = cr == std::string::npos ? static_cast<int>(cfg.text().size()) : static_cast<int>(cr);
        ok = cfg.Delete(start, lineEnd) && cfg.Insert(header, start);
    } else {
        // New devices go after the existing ones, before the X10 section (or [End] when a
        // hand-edited file has no X10 section).
        int at = cfg.Find("[X10]");
        if (at != 0) at -= 5;
        else if ((at = cfg.Find("[End]")) != 0) at -= 5;
        else at = static_cast<int>(cfg.text().size()) + 1;
        ok = cfg.Insert(header, at);
    }
    if (!ctx_.Commit(before, ok)) return false; // the form stays open on what the user typed
    cfg.currentDevice = name; // the browser selects it again when the form closes
    return true;
}

} // namespace quenix
