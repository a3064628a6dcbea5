#include "monitor/phone_remote.h"

#include "config/config_text.h"
#include "core/text.h"
#include "monitor/bt_config.h"

#include <algorithm>
#include <utility>

namespace quenix {

namespace {

constexpr int kReplyTicks = 5; // 0.8 to 1 s of SecondTimer
constexpr int kReplyGuardMs = 2000;
const std::string kCrLf = "\r\n";
const std::string kMenuName = "Quenix Manager";

bool Contains(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

// The lines of a text that report a key other than "*", whose press and release belong to
// the exchange that saw them.
std::string KeyLines(const std::string& text) {
    std::string kept;
    const std::string lower = ToLower(text);
    for (std::size_t at = lower.find("+ckev: "); at != std::string::npos; at = lower.find("+ckev: ", at + 1)) {
        const std::size_t end = text.find(kCrLf, at);
        if (end == std::string::npos || text.compare(at + 7, 1, "*") == 0) continue;
        kept += text.substr(at, end - at) + kCrLf;
    }
    return kept;
}

// The key name of a report such as "u,1" (key character, comma, press flag), or empty for
// reports that raise nothing.
std::string KeyName(const std::string& report) {
    static const std::pair<const char*, const char*> named[] = {
        {"l,0", "FLIP OPEN"}, {"l,1", "FLIP CLOSED"}, {"u,1", "UP"},   {"d,1", "DOWN"}, {"s,1", "YES"},
        {"e,1", "NO"},        {"c,1", "C"},           {"<,1", "LEFT"}, {">,1", "RIGHT"}};
    for (auto [r, name] : named)
        if (report == r) return name;
    if (report.size() == 3 && report.substr(1) == ",1") return report.substr(0, 1);
    return {};
}

// Marks a dialogue with the phone: its waits let timers run, and a poll inside one would
// take the reply off the port.
struct Busy {
    bool& flag;
    bool was;
    explicit Busy(bool& f) : flag(f), was(f) { flag = true; }
    ~Busy() { flag = was; }
};

} // namespace

PhoneRemote::PhoneRemote(Context& ctx, View& view, SerialPort& port) : ctx_(ctx), view_(view), port_(port) {}

std::string PhoneRemote::DeviceName(int index) const { return PhoneDeviceName(ctx_.settings(), index); }

std::string PhoneRemote::ReplyWait(const std::string& expected, bool keepKeys) {
    std::string reply;
    const std::string wanted = expected + kCrLf;
    Busy busy(busy_);
    ctx_.secondTicks = 0;
    // The ticks measure the wait; the clock only guards against a SecondTimer that is not running.
    const std::int64_t giveUp = ctx_.clock.nowMs() + kReplyGuardMs;
    while (ctx_.secondTicks < kReplyTicks && ctx_.clock.nowMs() < giveUp) {
        if (portOpen()) reply += port_.ReadComPort(ctx_.btPortHandle);
        if (Contains(reply, "*,0")) shift_.clear();
        if (Contains(reply, wanted)) break;
        view_.processEvents();
        ctx_.clock.sleep(1); // keeps the wait from spinning a core
    }
    // Keys pressed meanwhile wait for the next poll instead of going with the reply.
    if (keepKeys) pending_ += KeyLines(reply);
    return Contains(reply, wanted) ? reply : std::string();
}

std::string PhoneRemote::AtExchange(const std::string& command, const std::string& expected) {
    // One write moves at most 100 bytes; a longer text must not lose its line end.
    const std::string line = command + kCrLf;
    for (std::size_t at = 0; at < line.size() && portOpen(); at += kComTransferMax)
        port_.WriteComPort(std::string_view(line).substr(at, kComTransferMax), ctx_.btPortHandle);
    return ReplyWait(expected);
}

void PhoneRemote::Drain() {
    if (portOpen()) pending_ += KeyLines(port_.ReadComPort(ctx_.btPortHandle));
}

void PhoneRemote::Show(const std::string& text) {
    // Inside a reply wait, a second exchange would take the first one's reply.
    if (busy_) {
        deferred_.push_back(text);
        return;
    }
    ShowOnPhone(text);
}

void PhoneRemote::ShowOnPhone(const std::string& text) {
    Busy busy(busy_);
    std::string reply = AtExchange("AT*EAID=1,2,\"" + text + "\"");
    if (Contains(reply, "*,1")) {
        // "*" pressed while the text was up: wait for its release, then put our name back.
        if (!Contains(reply, "*,0")) ReplyWait("*,0");
        AtExchange("AT*EAID=1,2,\"" + kMenuName + "\"");
        shift_.clear();
    }
    Drain();
}

void PhoneRemote::Pause(int ms) {
    // The window keeps answering while the phone shows a text; busy_ keeps the port ours.
    constexpr int kStepMs = 50;
    for (int waited = 0; waited < ms; waited += kStepMs) {
        ctx_.clock.sleep(std::min(kStepMs, ms - waited));
        view_.processEvents();
    }
}

bool PhoneRemote::Initialise() {
    if (!ctx_.settings().btEna) return false;
    Busy busy(busy_);
    // The progress note goes again afterwards, giving back what the status bar said.
    statusBefore_ = view_.text("StatusBar");
    view_.setStatus(kProgress);
    view_.processEvents();
    if (ctx_.btPortHandle == kNoPort) {
        ctx_.btPortHandle = port_.OpenComPort(ctx_.settings().btCom);
        stale_ = false;
    }
    if (ctx_.btPortHandle == kNoPort) return Fail();
    if (!stale_) {
        port_.SetRTS(ctx_.btPortHandle, true);
        port_.SetDTR(ctx_.btPortHandle, true);
        port_.ConfigureComPort(115200, 8, ctx_.btPortHandle);
    }
    if (AtExchange("ATZ").empty()) return Fail();
    const std::string cgmm = ToLower(AtExchange("AT+CGMM"));
    if (!cgmm.empty()) {
        // Longer names first: a T39m is no T39.
        static const std::pair<const char*, const char*> models[] = {{"t39m", "Ericsson T39m"},
                                                                     {"t39", "Ericsson T39"},
                                                                     {"t68i", "Ericsson T68i"},
                                                                     {"t68", "Ericsson T68"},
                                                                     {"r520", "Ericsson R520"}};
        model_ = "Unknown";
        for (auto [needle, name] : models)
            if (Contains(cgmm, needle)) {
                model_ = name;
                break;
            }
    }
    if (AtExchange("AT+CSCS=\"8859-1\"").empty()) return Fail();
    if (AtExchange("AT*EAM=\"" + kMenuName + "\"").empty()) return Fail();
    if (AtExchange("AT+CMER=0,0,0,0").empty()) return Fail();
    ShowOnPhone("Welcome to Orvel's Quenix Manager");
    Pause(2000);
    ShowOnPhone("Current device is " + DeviceName(ctx_.settings().btCurrent));
    if (AtExchange("AT+CMER=3,2,0,0").empty()) return Fail();
    view_.setTimerEnabled("BTMonTimer", true);
    ConnectedEvent();
    connected_ = true;
    active_ = true;
    view_.setText(kLabel, model_ + " is now connected.");
    view_.setColor(kLabel, View::ColorRole::Background, kCyan);
    RestoreStatus();
    return true;
}

void PhoneRemote::RestoreStatus() {
    if (view_.text("StatusBar") == kProgress) view_.setStatus(statusBefore_);
}

bool PhoneRemote::Fail() {
    if (ctx_.btPortHandle != kNoPort) {
        if (!stale_) port_.CloseHandle(ctx_.btPortHandle);
        ctx_.btPortHandle = kNoPort;
        stale_ = false;
    }
    view_.setText(kLabel, "Bluetoth unavailable!");
    RestoreStatus();
    return false;
}

void PhoneRemote::Close() {
    view_.setTimerEnabled("BTMonTimer", false);
    view_.setTimerEnabled("BTAutoTimer", false);
    if (ctx_.btPortHandle != kNoPort && !stale_) port_.CloseHandle(ctx_.btPortHandle);
    ctx_.btPortHandle = kNoPort;
    stale_ = false;
    active_ = false;
    connected_ = false; // the next start announces the phone again
    pending_.clear();
    deferred_.clear();
}

void PhoneRemote::RunEvent(const std::string& key) {
    view_.setText("RecCmd", key);
    std::string result = handleEvent ? handleEvent(key) : std::string();
    view_.setText("ExecCmd", result.empty() ? "none" : result);
}

void PhoneRemote::ConnectedEvent() {
    if (connected_) return;
    RunEvent("BT&CONNECTED");
    connected_ = true;
    active_ = true;
    disconnectAnnounced_ = false;
}

void PhoneRemote::DisconnectedEvent() {
    if (disconnectAnnounced_) return;
    RunEvent("BT&DISCONNECTED");
    disconnectAnnounced_ = true;
    connected_ = false;
    active_ = false;
}

void PhoneRemote::LinkLost() {
    DisconnectedEvent();
    shift_.clear();
    view_.setText(kLabel, "BT disconnected!");
    view_.setColor(kLabel, View::ColorRole::Background, kYellow);
}

void PhoneRemote::OnBTMonTimer() {
    if (busy_ || !ctx_.settings().btEna || !active_ || !portOpen()) return;
    {
        Busy busy(busy_);
        Poll();
    }
    while (!deferred_.empty() && active_ && !busy_) {
        const std::string text = deferred_.front();
        deferred_.erase(deferred_.begin());
        ShowOnPhone(text);
    }
}

void PhoneRemote::Poll() {
    const PortHandle h = ctx_.btPortHandle;
    if (!port_.IsCTSOn(h)) {
        // A phone gone out of range says nothing; its link drops both handshake lines.
        if (!port_.IsDSROn(h)) LinkLost();
        return;
    }
    std::string text = pending_ + port_.ReadComPort(h);
    pending_.clear();
    if (text.empty()) return;
    if (!Contains(text, kCrLf)) text += ReplyWait("", false);

    if (Contains(text, "*EAAI")) {
        // Our entry chosen in the phone's accessory menu: show our name, keys on again.
        if (AtExchange("AT*EAID=1,2,\"" + kMenuName + "\"").empty() || AtExchange("AT+CMER =3,2,0,0").empty()) {
            LinkLost();
            return;
        }
        shift_.clear();
    }
    // Every report of the text in turn: quick taps arrive several to a read. Without "ckev"
    // the characters taken are those at positions 2 to 4, which rarely end in "1".
    const std::string lower = ToLower(text);
    std::size_t at = lower.find("ckev");
    if (at == std::string::npos) {
        Report(lower.substr(std::min<std::size_t>(1, lower.size()), 3));
        return;
    }
    for (; at != std::string::npos; at = lower.find("ckev", at + 4))
        if (at + 6 >= lower.size() || !Report(lower.substr(at + 6, 3))) break;
}

bool PhoneRemote::Report(const std::string& report) {
    Settings& s = ctx_.settings();
    if (report == "*,0") {
        shift_.clear();
        return true;
    }
    if (report == "#,1" && shift_ == "SHIFT") {
        ShowOnPhone("Quenix Remote Disabled");
        AtExchange("AT*EAID=0");
        AtExchange("AT+CMER =0,0,0,0");
        shift_.clear();
        pending_.clear(); // key reporting is off: what is left is not for us
        Pause(1000);
        return false;
    }
    if (report == "*,1") {
        shift_ = "SHIFT";
        ShowOnPhone(DeviceName(s.btCurrent));
        return true;
    }
    const std::string key = KeyName(report);
    if (key.empty()) return true;
    if (shift_ == "SHIFT") {
        const int digit = static_cast<unsigned char>(key.back()) - 48;
        if (digit < 0 || digit > 9) return true;
        s.btCurrent = digit;
        ShowOnPhone("Selected device is " + DeviceName(digit));
        ctx_.Written(ctx_.config.SetGeneralKey("BTCURRENT", std::to_string(digit)));
        return true;
    }
    RunEvent("BT" + std::to_string(s.btCurrent) + "&" + key);
    return true;
}

void PhoneRemote::OnBTAutoTimer() {
    const Settings& s = ctx_.settings();
    if (busy_ || !s.btEna || active_ || s.btMode == 1 || !ctx_.monitoring) return;
    if (portOpen() && (port_.IsCTSOn(ctx_.btPortHandle) || port_.IsDSROn(ctx_.btPortHandle))) return;
    view_.setTimerEnabled("BTMonTimer", false);
    if (ctx_.btPortHandle != kNoPort && !stale_) {
        port_.CloseHandle(ctx_.btPortHandle);
        stale_ = true; // this round fails; the next one opens the port afresh
    }
    // A round that connects raises BT&CONNECTED itself; one that fails raises nothing, so the
    // actions of the event do not repeat every two seconds while the phone is away.
    Initialise();
    if (refreshTray) refreshTray();
}

} // namespace quenix
