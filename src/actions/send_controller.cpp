#include "actions/send_controller.h"

#include "actions/executor.h"
#include "core/text.h"
#include "core/view.h"
#include "io/serial_port.h"

namespace quenix {

namespace {

// The IRMan receiver is powered from DTR.
constexpr int kIrManInterface = 2;
constexpr std::uint32_t kNormalField = 0xFFFFFF;

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
    if (!special) {
        const std::string c = ToLower(Trim(command));
        if (c.empty() || c == "empty") {
            view_.setStatus(kNoCommandSelected);
            return;
        }
        if (view_.color("CodeStr", View::ColorRole::Background) == kRed) {
            view_.setStatus(kNotValidated);
            return;
        }
        if (Trim(view_.text("CodeStr")).empty()) {
            view_.setStatus(kNothingToSend);
            return;
        }
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

void SendController::onCommandSelected() {
    const std::string device = ctx_.config.currentDevice;
    const std::string lower = ToLower(device);
    if (IsSpecialSendDevice(device) || lower == "recorded" || lower == "mouse" || lower == "keyboard") return;
    std::string code = StoredCode(ctx_.config.text(), device, ctx_.config.currentCommand);
    if (code.empty()) return;
    // A stored code was validated when it was learned.
    view_.setText("CodeStr", code);
    view_.setColor("CodeStr", View::ColorRole::Background, kNormalField);
}

} // namespace quenix
