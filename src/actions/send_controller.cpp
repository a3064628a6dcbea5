#include "actions/send_controller.h"

#include "actions/executor.h"
#include "core/text.h"
#include "core/view.h"
#include "io/serial_port.h"

namespace quenix {

namespace {

// The IRMan receiver is powered from DTR.
constexpr int kIrManInterface = 2;

bool IsX10Device(const std::string& device) { return ToLower(device) == "x10"; }

} // namespace

bool IsSpecialSendDevice(const std::string& device) {
    const std::string n = ToLower(device);
    return n.compare(0, 3, "x10") == 0 || n == "ir dimmer" || n == "application" || n == "winamp" ||
           n == "bluetooth";
}

std::string SentSamples(const std::string& cells, int pulseLengthUs) {
    const auto per = static_cast<std::size_t>(static_cast<double>(pulseLengthUs) / kDisplaySampleUs + 0.5);
    std::string samples;
    samples.reserve((cells.size() + 1) * per);
    for (char c : cells) samples.append(per, c == '1' ? '1' : '0');
    samples.append(per, '0');
    return samples;
}

SendController::SendController(Context& ctx, View& view, SerialPort& serial, CommandExecutor& executor, Hooks hooks)
    : ctx_(ctx), view_(view), serial_(serial), executor_(executor), hooks_(std::move(hooks)) {}

void SendController::onSendButton() {
    // With DTR as the output the line must idle low before the first cell.
    serial_.SetDTR(ctx_.irPortHandle, false);

    const std::string device = ctx_.config.currentDevice;
    const std::string command = ctx_.config.currentCommand;
    const bool special = IsSpecialSendDevice(device);
    if (const char* refusal = special ? x10Refusal() : codeRefusal()) {
        view_.setStatus(refusal);
        return;
    }

    view_.setEnabled("SendButton", false);
    view_.setTimerEnabled("IRMonTimer", false);
    view_.setStatus(executor_.ExecuteCommand());

    // A refused send keeps the last picture.
    if (!special && !executor_.lastCells().empty()) {
        const std::string samples = SentSamples(executor_.lastCells(), executor_.lastPulseLength());
        view_.setCurrentIndex("HScroll1", 0);
        if (hooks_.drawWaveform) hooks_.drawWaveform(samples);
    }
    view_.setText("IRCommand", device + "&&" + command);
    view_.setText("BitNr", std::to_string(executor_.lastBitCount()));

    if (ctx_.interfaceType == kIrManInterface) serial_.SetDTR(ctx_.irPortHandle, true);
    view_.setEnabled("SendButton", true);
    if (ctx_.monitoring) view_.setTimerEnabled("IRMonTimer", true);
}

const char* SendController::codeRefusal() const {
    const std::string& device = ctx_.config.currentDevice;
    const std::string c = ToLower(Trim(ctx_.config.currentCommand));
    if (c.empty() || c == "empty") return kNoCommandSelected;
    // The checks look at the code that will go out: the record panel's for the recorded
    // command, the file's for a stored one; the mouse and the keyboard need none.
    if (c == "recorded") {
        if (view_.color("CodeStr", View::ColorRole::Background) == kRed) return kNotValidated;
        if (Trim(view_.text("CodeStr")).empty()) return kNothingToSend;
        return nullptr;
    }
    const std::string d = ToLower(device);
    if (d == "mouse" || d == "keyboard") return nullptr;
    return StoredCode(ctx_.config.text(), device, ctx_.config.currentCommand).empty() ? kNothingToSend : nullptr;
}

const char* SendController::x10Refusal() {
    if (!IsX10Device(ctx_.config.currentDevice) || !ctx_.settings().x10Ena) return nullptr;
    executor_.NoteX10Command(ctx_.config.currentCommand);
    return executor_.x10Unit().empty() ? kX10NoUnit : nullptr;
}

void SendController::onCommandSelected() {
    if (!IsX10Device(ctx_.config.currentDevice)) return;
    executor_.NoteX10Command(ctx_.config.currentCommand);
    const std::string function = X10FunctionName(executor_.x10Function());
    const std::string& unit = executor_.x10Unit();
    view_.setStatus(unit.empty() ? "X10 " + function + ": select the unit too."
                                 : "X10 unit " + unit + ", function " + function + ".");
}

void SendController::showDimLevel() {
    view_.setText("DIMLabel", std::to_string(view_.currentIndex("DIMScroll")) + "%");
}

} // namespace quenix
