#include "web/web_remote.h"

#include "config/browser_controller.h"
#include "config/command_lists.h"
#include "core/text.h"
#include "web/web_json.h"
#include "web/web_settings.h"

namespace quenix::web {
namespace {

constexpr const char* kJson = "application/json";
constexpr const char* kText = "text/plain; charset=utf-8";

const char* kPairPage =
    "<!doctype html><html lang=en><meta charset=utf-8>"
    "<meta name=viewport content=\"width=device-width,initial-scale=1\"><meta name=color-scheme content=\"light dark\">"
    "<title>Quenix remote: pair first</title><body style=\"font:1.2rem system-ui,sans-serif;margin:2rem\">"
    "<h1>Pair first</h1><p>This phone is not paired with Quenix. On the PC, open Settings &gt; Web remote and scan "
    "its QR code, or open the address it shows.</p></body></html>\n";

std::string Header(const Request& r, const std::string& name) {
    auto it = r.headers.find(name);
    return it == r.headers.end() ? std::string() : it->second;
}

std::string CookieToken(const std::string& cookies) {
    const std::string wanted = std::string(kCookieName) + "=";
    std::size_t pos = 0;
    while (pos < cookies.size()) {
        std::size_t end = cookies.find(';', pos);
        if (end == std::string::npos) end = cookies.size();
        const std::string one = Trim(cookies.substr(pos, end - pos));
        if (one.rfind(wanted, 0) == 0) return one.substr(wanted.size());
        pos = end + 1;
    }
    return {};
}

std::string NoCommand(const std::string& device, const std::string& command) {
    return "No command \"" + command + "\" of device \"" + device + "\".";
}

Response Json(int status, std::string body) { return {status, kJson, std::move(body), {}}; }

std::string OutcomeJson(const Outcome& o) {
    return std::string("{\"ok\":") + (o.ok ? "true" : "false") + ",\"text\":" + Quoted(o.text) + "}";
}

// A page with the cookie can still be reached from another site's page in the same browser: a
// change asked by a page must come from our own origin.
bool ForeignOrigin(const Request& r) {
    const std::string origin = Header(r, "origin");
    return !origin.empty() && origin != "http://" + Header(r, "host");
}

bool Member(const std::vector<std::string>& list, const std::string& name, std::string& found) {
    for (const std::string& item : list)
        if (ToLower(item) == ToLower(name)) {
            found = item;
            return true;
        }
    return false;
}

} // namespace

std::vector<Device> SendableDevices(const std::vector<std::string>& names,
                                    const std::function<std::vector<std::string>(const std::string&)>& commandsOf,
                                    const Settings& flags) {
    std::vector<Device> devices;
    for (const std::string& name : names) {
        bool on = true;
        switch (KindOfDevice(name)) {
        case DeviceKind::X10: on = flags.x10Ena; break;
        case DeviceKind::Winamp: on = flags.winampEna; break;
        case DeviceKind::Mouse: on = flags.mouseEna; break;
        case DeviceKind::IrDimmer: on = flags.irDimEna; break;
        case DeviceKind::Application: on = flags.applicationEna; break;
        case DeviceKind::Infrared: break;
        default: on = false; // the phone, the keyboard and the last recording send nothing of their own
        }
        if (!on) continue;
        Device d{name, commandsOf(name)};
        if (!d.commands.empty()) devices.push_back(std::move(d));
    }
    return devices;
}

std::vector<std::string> KeypadKeys() { return SplitCommaList(kWebCommands); }

Remote::Remote(Backend backend, std::string page) : backend_(std::move(backend)), page_(std::move(page)) {}

Remote::Auth Remote::Authorised(const Request& r) {
    const std::string authorization = Header(r, "authorization");
    const std::string cookie = CookieToken(Header(r, "cookie"));
    Auth auth = Auth::None;
    bool wrong = false;
    if (authorization.rfind("Bearer ", 0) == 0) {
        if (SameToken(Trim(authorization.substr(7)), token_)) auth = Auth::Bearer;
        else wrong = true;
    }
    if (auth == Auth::None && !cookie.empty()) {
        if (SameToken(cookie, token_)) auth = Auth::Cookie;
        else wrong = true; // a phone paired before the token was renewed
    }
    if (auth == Auth::None && wrong && !failures_.Take(r.peer, backend_.nowMs())) return Auth::Refused;
    return auth;
}

Response Remote::Http(const Request& r) {
    if (!requests_.Take(r.peer, backend_.nowMs()))
        return {429, kText, "Too many requests.\n", {{"Retry-After", "1"}}};
    const bool get = r.method == "GET", post = r.method == "POST";
    if (r.path == "/" || r.path == "/api/devices" || r.path == "/api/send") {
        const bool allowed = r.path == "/api/send" ? post : get;
        if (!allowed) return {405, kText, "Method not allowed.\n", {{"Allow", r.path == "/api/send" ? "POST" : "GET"}}};
    } else {
        return {404, kText, "Not found.\n", {}};
    }
    if (r.path == "/") return Page(r);
    if (r.path == "/api/send") return Send(r);
    switch (Authorised(r)) {
    case Auth::Refused: return Json(429, OutcomeJson({false, "Too many wrong tokens."}));
    case Auth::None: return {401, kJson, OutcomeJson({false, "Pair first."}), {{"WWW-Authenticate", "Bearer"}}};
    default: return Json(200, DevicesJson());
    }
}

Response Remote::Page(const Request& r) {
    Response pair{403, "text/html; charset=utf-8", kPairPage, {}};
    if (!r.token.empty()) {
        if (!SameToken(r.token, token_)) return failures_.Take(r.peer, backend_.nowMs()) ? pair : Response{429, kText, "Too many wrong tokens.\n", {}};
        // The token leaves the address bar and the history at once.
        const std::string cookie =
            std::string(kCookieName) + "=" + token_ + "; Path=/; HttpOnly; SameSite=Strict; Max-Age=31536000";
        return {303, kText, "Paired.\n", {{"Location", "/"}, {"Set-Cookie", cookie}}};
    }
    const Auth auth = Authorised(r);
    if (auth == Auth::Refused) return {429, kText, "Too many wrong tokens.\n", {}};
    if (auth == Auth::None) return pair;
    return {200,
            "text/html; charset=utf-8",
            page_,
            {{"Content-Security-Policy", "default-src 'none'; script-src 'unsafe-inline'; style-src 'unsafe-inline'; "
                                         "connect-src 'self'; img-src data:; base-uri 'none'; form-action 'none'; "
                                         "frame-ancestors 'none'"}}};
}

Response Remote::Send(const Request& r) {
    const Auth auth = Authorised(r);
    if (auth == Auth::Refused) return Json(429, OutcomeJson({false, "Too many wrong tokens."}));
    if (auth == Auth::None) return {401, kJson, OutcomeJson({false, "Pair first."}), {{"WWW-Authenticate", "Bearer"}}};
    if (auth == Auth::Cookie && ForeignOrigin(r)) return Json(403, OutcomeJson({false, "Another site's page may not send."}));
    if (ToLower(Header(r, "content-type")).rfind(kJson, 0) != 0)
        return Json(415, OutcomeJson({false, "Send application/json."}));
    const auto fields = ReadFlatObject(r.body);
    if (!fields || !fields->count("device") || !fields->count("command"))
        return Json(400, OutcomeJson({false, "Send {\"device\": ..., \"command\": ...}."}));
    const auto o = SendChecked(fields->at("device"), fields->at("command"));
    if (!o) return Json(404, OutcomeJson({false, NoCommand(fields->at("device"), fields->at("command"))}));
    return Json(200, OutcomeJson(*o));
}

std::optional<Outcome> Remote::SendChecked(const std::string& device, const std::string& command) {
    for (const Device& d : backend_.devices()) {
        std::string name;
        if (ToLower(d.name) != ToLower(device) || !Member(d.commands, command, name)) continue;
        return backend_.send(d.name, name);
    }
    return std::nullopt;
}

std::string Remote::Admit(const Request& r) {
    const Auth auth = Authorised(r);
    if (auth == Auth::Refused) return "Too many wrong tokens.";
    if (auth == Auth::None) return "Pair first.";
    if (auth == Auth::Cookie && ForeignOrigin(r)) return "Another site's page may not connect.";
    if (r.path != "/ws") return "Not found.";
    return {};
}

std::string Remote::DevicesJson() const {
    std::string out = "{\"devices\":[";
    bool first = true;
    for (const Device& d : backend_.devices()) {
        out += (first ? "" : ",") + std::string("{\"name\":") + Quoted(d.name) + ",\"commands\":" + QuotedList(d.commands) + "}";
        first = false;
    }
    return out + "],\"keys\":" + QuotedList(KeypadKeys()) + "}";
}

std::string Remote::Open(int client) {
    clients_[client] = Client{};
    std::string hello = DevicesJson();
    return "{\"type\":\"hello\"," + hello.substr(1);
}

void Remote::Close(int client) { clients_.erase(client); }

std::vector<std::string> Remote::Message(int client, const std::string& text) {
    auto it = clients_.find(client);
    if (it == clients_.end()) return {};
    Client& c = it->second;
    const std::int64_t now = backend_.nowMs();
    auto error = [](const std::string& why) { return std::vector<std::string>{"{\"type\":\"error\",\"text\":" + Quoted(why) + "}"}; };
    if (!c.messages.Take(now, 30, 60)) return error("Too many messages.");
    const auto m = ReadFlatObject(text);
    const std::string type = m && m->count("type") ? m->at("type") : "";
    if (type == "send" && m->count("device") && m->count("command")) {
        const auto o = SendChecked(m->at("device"), m->at("command"));
        if (!o) return error(NoCommand(m->at("device"), m->at("command")));
        return {"{\"type\":\"sent\"," + OutcomeJson(*o).substr(1)};
    }
    if (type != "key" || !m->count("key")) return error("Unknown message.");
    std::string name;
    if (!Member(KeypadKeys(), m->at("key"), name)) return error("No key \"" + m->at("key") + "\" on the keypad.");
    const std::string key = std::string(kKeyDevice) + "&" + name;
    const std::string state = m->count("state") ? m->at("state") : "down";
    if (state == "down") {
        c.press.Reset();
        c.press.Frame(key, key, now, kHoldGapMs);
        c.holding = true;
        const Outcome o = backend_.press(key);
        return {"{\"type\":\"pressed\",\"key\":" + Quoted(key) + "," + OutcomeJson(o).substr(1)};
    }
    if (state == "held" && c.holding && c.press.key() == key) {
        const KeyPress::Step step = c.press.Frame(key, key, now, kHoldGapMs);
        if (step.continues) backend_.held(key, step);
        else c.holding = false; // silent too long: the press is over
        return {};
    }
    if (state == "up" || state == "held") {
        c.holding = false;
        c.press.Reset();
        return {};
    }
    return error("Unknown message.");
}

std::string Remote::Received(const std::string& key, int repeat) {
    return "{\"type\":\"received\",\"key\":" + Quoted(key) + ",\"repeat\":" + std::to_string(repeat) + "}";
}

} // namespace quenix::web
