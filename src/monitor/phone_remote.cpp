#include "monitor/phone_remote.h"

#include "config/config_text.h"
#include "core/text.h"

#include <utility>

namespace quenix {

namespace {

constexpr int kReplyTicks = 5; // 0.8 to 1 s of SecondTimer
constexpr int kReplyGuardMs = 2000;
const std::string kCrLf = "\r\n";
const std::string kMenuName = "Quenix Manager";

bool Contains(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

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

std::string PhoneRemote::DeviceName(int index) const {
    const auto& names = ctx_.settings().bt;
    return index >= 0 && index < static_cast<int>(names.size()) ? names[static_cast<std::size_t>(index)] : std::string();
}

std::string PhoneRemote::ReplyWait(const std::string& expected) {
    std::string reply;
    const std::string wanted = expected + kCrLf;
    Busy busy(busy_);
    ctx_.secondTicks = 0;
    // The ticks measure the wait; the clock only guards against a SecondTimer that is not running.
    const std::int64_t giveUp = ctx_.clock.nowMs() + kReplyGuardMs;
    while (ctx_.secondTicks < kReplyTicks && ctx_.clock.nowMs() < giveUp) {
        if (portOpen()) reply += port_.ReadComPort(ctx_.btPortHandle);
        if (Contains(reply, "*,0")) shift_.clear();
        if (Contains(reply, wanted)) return reply;
        view_.processEvents();
        ctx_.clock.sleep(1); // keeps the wait from spinning a core
    }
    return {};
}

std::string PhoneRemote::AtExchange(const std::string& command, const std::string& expected) {
    if (portOpen()) port_.WriteComPort(command + kCrLf, ctx_.btPortHandle);
    return ReplyWait(expected);
}

void PhoneRemote::Drain() {
    if (portOpen()) port_.ReadComPort(ctx_.btPortHandle);
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

bool PhoneRemote::Initialise() {
    if (!ctx_.settings().btEna) return false;
    Busy busy(busy_);
    view_.setStatus("Initialize bluetooth...");
    view_.processEvents();
    if (ctx_.btPortHandle < 1) {
        ctx_.btPortHandle = port_.OpenComPort(ctx_.settings().btCom);
        stale_ = false;
    }
    if (ctx_.btPortHandle < 1) return Fail();
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
    ctx_.clock.sleep(2000);
    ShowOnPhone("Current device is " + DeviceName(ctx_.settings().btCurrent));
    if (AtExchange("AT+CMER=3,2,0,0").empty()) return Fail();
    view_.setTimerEnabled("BTMonTimer", true);
    ConnectedEvent();
    connected_ = true;
    active_ = true;
    view_.setText(kLabel, model_ + " is now connected.");
    view_.setColor(kLabel, View::ColorRole::Background, kCyan);
    view_.setStatus("");
    return true;
}

bool PhoneRemote::Fail() {
    if (ctx_.btPortHandle > 0) {
        if (!stale_) port_.CloseHandle(ctx_.btPortHandle);
        ctx_.btPortHandle = kNoPort;
        stale_ = false;
    }
    view_.setText(kLabel, "Bluetoth unavailable!");
    view_.setStatus("");
    return false;
}

void PhoneRemote::Close() {
    view_.setTimerEnabled("BTMonTimer", false);
    view_.setTimerEnabled("BTAutoTimer", false);
    if (ctx_.btPortHandle > 0 && !stale_) port_.CloseHandle(ctx_.btPortHandle);
    ctx_.btPortHandle = kNoPort;
    stale_ = false;
    active_ = false;
    connected_ = false; // the next start announces the phone again
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

void PhoneRemote::OnBTMonTimer() {
    if (busy_ || !ctx_.settings().btEna || !active_ || !portOpen()) return;
    Busy busy(busy_);
    if (!port_.IsCTSOn(ctx_.btPortHandle)) return;
    std::string text = port_.ReadComPort(ctx_.btPortHandle);
    if (text.empty()) return;
    if (!Contains(text, kCrLf)) text += ReplyWait("");

    if (Contains(text, "*EAAI")) {
        // Our entry chosen in the phone's accessory menu: show our name, keys on again.
        if (AtExchange("AT*EAID=1,2,\"" + kMenuName + "\"").empty() || AtExchange("AT+CMER =3,2,0,0").empty()) {
            DisconnectedEvent();
            shift_.clear();
            view_.setText(kLabel, "BT disconnected!");
            view_.setColor(kLabel, View::ColorRole::Background, kYellow);
            return;
        }
        shift_.clear();
    }
    if (Contains(text, "*,0")) shift_.clear();
    if (Contains(text, "#,1") && shift_ == "SHIFT") {
        ShowOnPhone("Quenix Remote Disabled");
        AtExchange("AT*EAID=0");
        AtExchange("AT+CMER =0,0,0,0");
        shift_.clear();
        Drain();
        ctx_.clock.sleep(1000);
        return;
    }

    // The three characters behind "ckev: ". Without "ckev" the search gives 0 and the
    // characters taken are those at positions 2 to 4, which rarely end in "1".
    const int behind = FindText("ckev", text, 1);
    const std::size_t from = static_cast<std::size_t>(behind + 2 - 1);
    const std::string report = from < text.size() ? ToLower(text.substr(from, 3)) : std::string();
    if (report == "*,1") {
        shift_ = "SHIFT";
        ShowOnPhone(DeviceName(ctx_.settings().btCurrent));
        return;
    }
    const std::string key = KeyName(report);
    if (key.empty()) return;

    Settings& s = ctx_.settings();
    if (shift_ == "SHIFT") {
        const int digit = static_cast<unsigned char>(key.back()) - 48;
        if (digit < 0 || digit > 9) return;
        s.btCurrent = digit;
        ShowOnPhone("Selected device is " + DeviceName(digit));
        ctx_.config.SetGeneralKey("BTCURRENT", std::to_string(digit));
        return;
    }
    RunEvent("BT" + std::to_string(s.btCurrent) + "&" + key);
}

void PhoneRemote::OnBTAutoTimer() {
    const Settings& s = ctx_.settings();
    if (busy_ || !s.btEna || active_ || s.btMode == 1 || !ctx_.monitoring) return;
    if (portOpen() && (port_.IsCTSOn(ctx_.btPortHandle) || port_.IsDSROn(ctx_.btPortHandle))) return;
    view_.setTimerEnabled("BTMonTimer", false);
    if (ctx_.btPortHandle > 0 && !stale_) {
        port_.CloseHandle(ctx_.btPortHandle);
        stale_ = true; // this round fails; the next one opens the port afresh
    }
    if (ctx_.monitoring) {
        Initialise();
        std::string result = handleEvent ? handleEvent("BT&CONNECTED") : std::string();
        view_.setText("ExecCmd", result.empty() ? "none" : result);
    }
    if (refreshTray) refreshTray();
}

} // namespace quenix
