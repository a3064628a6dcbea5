#include "monitor/monitor_engine.h"

#include "config/config_text.h"
#include "core/text.h"
#include "io/kernel_ir_device.h"
#include "io/receiver_controller.h"
#include "ir/decoder.h"
#include "ir/long_capture.h"
#include "ir/protocols.h"
#include "ir/pulse_text.h"

#include <algorithm>

namespace quenix {

namespace {

bool Polled(int type) { return type == kDcdStd || type == kIrMouse || type == kKernelIr; }

template <class F, class... A>
auto Call(const F& f, A&&... a) {
    using R = decltype(f(std::forward<A>(a)...));
    if constexpr (std::is_void_v<R>) {
        if (f) f(std::forward<A>(a)...);
    } else {
        return f ? f(std::forward<A>(a)...) : R{};
    }
}

// The last "&" splits a part: X10 outputs carry one inside their device ("X10&Lamp&On"),
// and command names never hold one.
std::pair<std::string, std::string> SplitPart(const std::string& part) {
    std::size_t amp = part.rfind('&');
    if (amp == std::string::npos) return {part, std::string()};
    return {part.substr(0, amp), part.substr(amp + 1)};
}

// Idle rounds of the receiver check at start, and their spacing.
constexpr int kLineChecks = 3;
constexpr int kLineCheckMs = 100;
// Bytes at the start of a capture that never hold the end of a key by themselves.
constexpr std::size_t kLeadBytes = 39;

} // namespace

namespace {

// m: the position behind the [Monitoring] header.
std::vector<std::string> ActionsBehind(std::string_view text, int m, std::string_view key) {
    std::vector<std::string> actions;
    if (m == 0) return actions;
    int end = FindText("[", text, m);
    const std::size_t stop = end == 0 ? text.size() : static_cast<std::size_t>(end - 2); // the "[" itself
    const std::string wanted = ToLower(std::string(key));
    std::size_t pos = static_cast<std::size_t>(m - 1);
    while (pos < stop) {
        std::size_t eol = text.find('\n', pos);
        if (eol == std::string_view::npos || eol > stop) eol = stop;
        std::string_view raw = text.substr(pos, eol - pos);
        if (!raw.empty() && raw.back() == '\r') raw.remove_suffix(1);
        std::string line = Trim(raw);
        pos = eol + 1;
        std::size_t comma = line.find(',');
        if (comma == std::string::npos) continue;
        if (ToLower(line.substr(0, comma)) == wanted) actions.push_back(line.substr(comma + 1));
    }
    return actions;
}

} // namespace

std::vector<std::string> MonitoredActions(std::string_view text, std::string_view key) {
    return ActionsBehind(text, FindText("[Monitoring]", text, 1), key);
}

std::vector<std::string> MonitoredActions(const ConfigStore& config, std::string_view key) {
    return ActionsBehind(config.text(), config.FindMonitoring(), key);
}

MonitorEngine::MonitorEngine(Context& ctx, View& view, SerialPort& port, CaptureLibrary& library, Hooks hooks)
    : ctx_(ctx), view_(view), port_(port), library_(library), hooks_(std::move(hooks)),
      irPort_(ctx, view, port, library, [this] { CheckInterface(); }) {}

bool MonitorEngine::IrInput() const { return ctx_.config.settings().irInEna; }
bool MonitorEngine::BtInput() const { return ctx_.config.settings().btEna; }

void MonitorEngine::CheckInterface() {
    const PortHandle h = ctx_.irPortHandle;
    switch (ctx_.interfaceType) {
    case kDcdStd:
        port_.SetRTS(h, true);
        break;
    case kIrMouse:
        port_.SetRTS(h, true);
        port_.SetDTR(h, true);
        port_.SetTxDBreak(h, false);
        break;
    case kKernelIr: return; // no lines to set or check
    case kIrMan:
        view_.setStatus("IR Man interface is not yet supported for monitoring!");
        return;
    case kCreative:
        view_.setStatus("Creative Infra interface is not yet supported for monitoring!");
        return;
    case kFirM:
        view_.setStatus("FirM interface is not yet supported for monitoring!");
        return;
    default:
        view_.setStatus("No Record interface selected!");
        return;
    }
    for (int round = 0; round < kLineChecks; ++round) {
        // The standard receiver idles with DCD on. The IRMouse check compares a line read
        // with 1, which a read never answers, so that receiver always passes.
        const bool bad = ctx_.interfaceType == kDcdStd && !port_.IsDCDOn(h);
        if (bad) {
            view_.setStatus("Rec Interface invalid. Cannot start monitoring");
            break;
        }
        if (round + 1 < kLineChecks) ctx_.clock.sleep(kLineCheckMs);
    }
}

void MonitorEngine::Start() {
    view_.setStatus("");
    if (!IrInput() && !BtInput()) {
        view_.setStatus("There is no input plugin available to monitor!");
        return;
    }
    Call(hooks_.bluetoothStart);
    // The warnings leave monitoring running with whatever input works.
    bool irTicks = IrInput();
    if (IrInput()) CheckInterface();
    if (IrInput() && Polled(ctx_.interfaceType) && !library_.Ready()) {
        view_.setStatus(LibraryFailure());
        irTicks = false;
    }

    view_.setChecked("MonitoringStopMenu", false);
    view_.setChecked("MonitoringStartMenu", true);
    // The compact window is left while the monitoring flag is still off.
    if (!Call(hooks_.minimised) && Call(hooks_.compact)) Call(hooks_.minButton);
    view_.setText("frmMain", "Quenix Monitor v" + ctx_.config.version());
    view_.setText("Label111", "IN");
    view_.setText("Label112", "OUT");
    view_.setEnabled("RecCmd", true);
    view_.setEnabled("ExecCmd", true);
    view_.setVisible("SendCmd", false);
    view_.setVisible("Zone", false);
    view_.setVisible("Protocol", false);
    view_.setEnabled("SendButton", false);

    // X10 unit names are read from the text on every action, so there is nothing to reload.
    ctx_.monitoring = true;
    ctx_.config.settings().monitor = true;
    ctx_.Written(ctx_.config.SetGeneralKey("MONITOR", " 1"));
    TrayItems();

    // Keys pressed while nobody listened are not this session's.
    if (irTicks) library_.Discard();
    press_.Reset();
    irPort_.Started();
    if (irTicks) view_.setTimerEnabled("IRMonTimer", true);
    if (BtInput()) view_.setTimerEnabled("BTAutoTimer", true);
    if (view_.text("StatusBar").empty()) view_.setStatus("Monitoring started OK.");
}

void MonitorEngine::Stop() {
    view_.setTimerEnabled("IRMonTimer", false);
    view_.setTimerEnabled("BTMonTimer", false);
    ctx_.monitoring = false;
    press_.Reset();

    view_.setChecked("MonitoringStopMenu", true);
    view_.setChecked("MonitoringStartMenu", false);
    view_.setText("Label111", "Dev.");
    view_.setText("Label112", "Cmd.");
    view_.setEnabled("RecCmd", false);
    view_.setEnabled("ExecCmd", false);
    view_.setVisible("SendCmd", true);
    view_.setVisible("Protocol", true);
    view_.setVisible("Zone", ctx_.interfaceType == kFirM);
    view_.setEnabled("SendButton", true);

    ctx_.config.settings().monitor = false;
    ctx_.Written(ctx_.config.SetGeneralKey("MONITOR", " 0"));

    view_.setTimerEnabled("BTAutoTimer", false);
    Call(hooks_.bluetoothStop);
    if (ctx_.btPortHandle != kNoPort) {
        port_.CloseHandle(ctx_.btPortHandle);
        ctx_.btPortHandle = kNoPort;
    }
    view_.setStatus("Monitoring is stopped.");
    if (!Call(hooks_.minimised)) Call(hooks_.refreshProtocol);
    TrayItems();
}

void MonitorEngine::InputChanged() {
    if (!ctx_.monitoring || !Polled(ctx_.interfaceType)) return;
    if (IrInput()) {
        library_.Discard();
        press_.Reset();
    }
    view_.setTimerEnabled("IRMonTimer", IrInput());
}

void MonitorEngine::Restart() {
    Stop();
    Start();
}

void MonitorEngine::Configure() {
    if (!IrInput() && !BtInput()) {
        view_.setStatus("No input device available to monitor!");
        return;
    }
    Call(hooks_.showEditor);
}

// Whichever menu started or stopped monitoring, the tray offers the other.
void MonitorEngine::TrayItems() {
    view_.setEnabled("mnuStartMonitor", !ctx_.monitoring);
    view_.setEnabled("mnuStopMonitor", ctx_.monitoring);
    Call(hooks_.refreshIcon);
}

std::string MonitorEngine::LibraryFailure() const {
    return "The capture library cannot be used: " + library_.error();
}

bool MonitorEngine::FrameByFrame() const { return ctx_.interfaceType == kKernelIr; }

void MonitorEngine::OnIRMonTimer() {
    lineIdle_ = false;
    if (!IrInput()) {
        library_.Discard(); // nothing queued now may fire once input is back
        return;
    }
    // Only these receivers are polled; for them an idle tick is one line read. The standard
    // receiver pulls DCD off for carrier, the IRMouse raises it, and a kernel device reads DCD
    // on while it holds words: the capture is called only while a key is on the air, never
    // to wait on an idle line.
    const int type = ctx_.interfaceType;
    if (!Polled(type)) return;
    bool dcd = false;
    if (!irPort_.ReadDcd(dcd)) return;
    if (dcd == (type == kDcdStd)) {
        lineIdle_ = type != kKernelIr;
        return;
    }

    // A kernel device hands a frame over as long as it goes on (an air conditioner's takes up
    // to ~900 ms); the capture is then cut behind it, so an ordinary key is read from 600 bytes.
    const bool frameByFrame = FrameByFrame();
    std::vector<std::uint8_t>& buffer = ctx_.captureBuffer;
    buffer.assign(frameByFrame ? kLongCaptureBytes : kCaptureBytes, 0);
    const int procDelay = ctx_.config.settings().procDelay;
    const std::int64_t started = ctx_.clock.nowMs();
    auto result = frameByFrame       ? library_.IRMonitorLong(buffer.data(), procDelay, static_cast<int>(buffer.size()))
                  : type == kDcdStd ? library_.IRMonitor(buffer.data(), procDelay)
                                    : library_.IRMonitorN(buffer.data(), procDelay);
    if (!result) {
        // A library that cannot be called will not recover by itself: stop asking it.
        view_.setTimerEnabled("IRMonTimer", false);
        view_.setStatus(LibraryFailure());
        return;
    }
    if (*result == 0) return;
    TrimCapture(buffer);
    const std::int64_t now = ctx_.clock.nowMs();
    // The signal's own gap tells a held key from a new press even when frames waited for an
    // action to finish.
    const std::int64_t gapUs = library_.LastGapUs();
    const std::int64_t gapMs = gapUs < 0 ? -1 : gapUs / 1000;
    KeyPress::Step step;
    if (frameByFrame && IsNecRepeatBurst(buffer, procDelay)) {
        if (press_.Burst(now, HoldGapMs(kProtoNec), step, gapMs)) Received(press_.key(), step);
        return;
    }
    // A kernel device hands over whole frames, however short; the sampler's first bytes may
    // hold nothing but a glitch.
    if (!frameByFrame &&
        std::all_of(buffer.begin() + kLeadBytes, buffer.end(), [](std::uint8_t b) { return b == 0; }))
        return;

    const DecodedFrame f = DecodeMonitorFrame(buffer);
    if (f.literal.analysis.ok && f.literal.analysis.protocol != 99) {
        view_.setText("plen1", f.literal.quantised.plen1);
        view_.setText("plen0", f.literal.quantised.plen0);
    }
    if (f.frame.empty()) return;

    // A serial capture is one key; a held key's next frame begins within its period of the
    // pause after it, which the capture starts with.
    const std::string key = LookupKey(ctx_.config, f);
    Call(hooks_.frameDecoded, f, key);
    Received(key, press_.Frame(key, f.frame, frameByFrame ? now : started, HoldGapMs(f.protocol), gapMs));
    if (!frameByFrame) {
        ctx_.clock.sleep(kKeyPauseMs);
        press_.Deaf(ctx_.clock.nowMs());
    }
}

void MonitorEngine::Received(const std::string& key, const KeyPress::Step& step) {
    view_.setText("RecCmd", key);
    view_.setStatus("Command received");
    if (key == "UNKNOWN") {
        view_.setText("ExecCmd", "none");
        return;
    }
    if (!step.continues) {
        lastRepeatMs_.clear();
        std::string done = HandleEvent(key);
        view_.setText("ExecCmd", done.empty() ? "none" : done);
        return;
    }
    std::string done = HandleHeld(key, step);
    if (!done.empty()) view_.setText("ExecCmd", done);
}

std::string MonitorEngine::HandleHeld(const std::string& key, const KeyPress::Step& step) {
    if (hooks_.keyRecognised) hooks_.keyRecognised(key, step.repeat);
    if (step.heldMs < kRepeatDelayMs) return {};
    const std::int64_t now = ctx_.clock.nowMs();
    std::string done;
    for (const std::string& action : MonitoredActions(ctx_.config, key)) {
        auto [device, command] = SplitPart(action);
        const HeldAction held = HeldActionOf(device, command);
        if (!held.repeats) continue;
        auto last = lastRepeatMs_.find(action);
        if (last != lastRepeatMs_.end() && now - last->second < held.periodMs) continue;
        lastRepeatMs_[action] = now;
        ctx_.config.currentDevice = device;
        ctx_.config.currentCommand = command;
        std::string result = Call(hooks_.execute, device, command);
        if (result.empty()) continue;
        if (!done.empty()) done += "; ";
        done += result;
    }
    return done;
}

std::string MonitorEngine::HandleEvent(const std::string& key) {
    if (hooks_.keyRecognised) hooks_.keyRecognised(key, 0);
    std::string done;
    for (const std::string& action : MonitoredActions(ctx_.config, key)) {
        auto [device, command] = SplitPart(action);
        ctx_.config.currentDevice = device;
        ctx_.config.currentCommand = command;
        std::string result = Call(hooks_.execute, device, command);
        if (result.empty()) continue;
        if (BtInput()) Call(hooks_.showOnPhone, result);
        if (!done.empty()) done += "; ";
        done += result;
    }
    return done;
}

} // namespace quenix
