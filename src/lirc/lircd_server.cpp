#include "lirc/lircd_server.h"

#include "core/text.h"

#include <algorithm>
#include <cstdio>

namespace quenix {

namespace {

std::vector<std::string> Words(std::string_view line) {
    std::vector<std::string> w;
    std::size_t i = 0;
    while (i < line.size()) {
        while (i < line.size() && (line[i] == ' ' || line[i] == '\t')) ++i;
        std::size_t from = i;
        while (i < line.size() && line[i] != ' ' && line[i] != '\t') ++i;
        if (i > from) w.emplace_back(line.substr(from, i - from));
    }
    return w;
}

std::string Hex16(std::uint64_t v) {
    char buf[17];
    std::snprintf(buf, sizeof buf, "%016llx", static_cast<unsigned long long>(v));
    return buf;
}

std::uint64_t CodeValue(std::string_view bits) {
    std::uint64_t v = 0;
    for (char c : bits) v = (v << 1) | (c == '1' ? 1u : 0u);
    return v;
}

// What a queued line holds in memory: a flood of short lines costs more than its bytes.
std::size_t Cost(const std::string& line) { return sizeof line + line.size(); }

std::string Block(std::string_view command, bool ok, const std::vector<std::string>& data) {
    std::string t = "BEGIN\n" + std::string(command) + "\n" + (ok ? "SUCCESS\n" : "ERROR\n");
    if (!data.empty()) {
        t += "DATA\n" + std::to_string(data.size()) + "\n";
        for (const std::string& d : data) t += d + "\n";
    }
    return t + "END\n";
}

const LircdRemote* FindRemote(const std::vector<LircdRemote>& remotes, const std::string& name) {
    for (const LircdRemote& r : remotes)
        if (LircdName(r.name) == name) return &r;
    for (const LircdRemote& r : remotes)
        if (ToLower(LircdName(r.name)) == ToLower(name)) return &r;
    return nullptr;
}

const LircdKey* FindKey(const LircdRemote& r, const std::string& name) {
    for (const LircdKey& k : r.keys)
        if (LircdName(k.name) == name) return &k;
    for (const LircdKey& k : r.keys)
        if (ToLower(LircdName(k.name)) == ToLower(name)) return &k;
    return nullptr;
}

} // namespace

std::string LircdName(std::string_view name) {
    std::string n = Trim(name);
    for (char& c : n)
        if (c == ' ' || c == '\t') c = '_';
    return n.empty() ? "_" : n;
}

std::vector<LircdRemote> RemotesOfConfiguration(std::string_view text) {
    std::vector<LircdRemote> out;
    LircdRemote current;
    bool isDevice = false;
    auto flush = [&] {
        if (isDevice) out.push_back(std::move(current));
        current = {};
        isDevice = false;
    };
    for (std::string_view line : SplitLines(text)) {
        if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
        if (!line.empty() && line.front() == '[') {
            flush();
            std::size_t close = line.find(']');
            current.name = Trim(line.substr(1, close == std::string_view::npos ? std::string_view::npos : close - 1));
            continue;
        }
        if (ToLower(line.substr(0, 7)) == "gproto=") isDevice = true;
        std::size_t comma = line.find(',');
        if (comma == std::string_view::npos || line.empty() || (line[0] != 'G' && line[0] != 'g')) continue;
        std::string_view bits = line.substr(1, comma - 1);
        if (bits.empty() || bits.find_first_not_of("01") != std::string_view::npos) continue;
        current.keys.push_back({Trim(line.substr(comma + 1)), CodeValue(bits)});
    }
    flush();
    return out;
}

LircdServer::LircdServer(Backend backend, std::string version)
    : backend_(std::move(backend)), version_(std::move(version)) {}

void LircdServer::Connect(int client) { clients_[client] = Client{}; }
void LircdServer::Disconnect(int client) { clients_.erase(client); }

void LircdServer::Queue(Client& c, const std::string& text) {
    if (c.dropped || text.empty()) return;
    if (c.out.size() + text.size() > kMaxPending) {
        Drop(c);
        return;
    }
    c.out += text;
}

void LircdServer::Drop(Client& c) {
    c.dropped = true;
    c.out.clear();
    c.lines.clear();
    c.sending = {};
}

void LircdServer::Receive(int client, std::string_view bytes) {
    auto found = clients_.find(client);
    if (found == clients_.end()) return;
    Client& c = found->second;
    auto enqueue = [&c](std::string line) {
        c.queuedBytes += Cost(line);
        if (c.queuedBytes > kMaxPending) return Drop(c);
        c.lines.push_back(std::move(line));
    };
    for (char ch : bytes) {
        if (c.dropped) return;
        if (ch != '\n') {
            if (c.skipping) continue;
            if (c.in.size() >= kMaxLine) {
                c.in.clear();
                c.skipping = true;
                enqueue({}); // stands for the long line, so that the replies keep their order
                continue;
            }
            c.in += ch;
            continue;
        }
        std::string line = std::move(c.in);
        c.in.clear();
        if (c.skipping) {
            c.skipping = false;
            continue;
        }
        if (!line.empty() && line.back() == '\r') line.pop_back();
        if (!Words(line).empty()) enqueue(std::move(line));
    }
}

bool LircdServer::Reading(int client) const {
    auto it = clients_.find(client);
    return it != clients_.end() && !it->second.dropped && it->second.lines.size() < kMaxQueued;
}

bool LircdServer::Client::Waiting() const { return !dropped && (sending.left > 0 || !lines.empty()); }

bool LircdServer::HasWork(int client) const {
    auto it = clients_.find(client);
    return it != clients_.end() && it->second.Waiting();
}

bool LircdServer::HasWork() const {
    return std::any_of(clients_.begin(), clients_.end(), [](const auto& c) { return c.second.Waiting(); });
}

bool LircdServer::RunOne() {
    if (running_) return false;
    // From the client after the one served last, so that a flood cannot starve the others.
    auto it = clients_.upper_bound(lastServed_);
    std::size_t looked = 0;
    for (; looked < clients_.size(); ++looked, ++it) {
        if (it == clients_.end()) it = clients_.begin();
        if (it->second.Waiting()) break;
    }
    if (looked == clients_.size()) return false;
    const int id = lastServed_ = it->first;
    Client& c = it->second;
    running_ = true;
    if (c.sending.left == 0) {
        const std::string line = std::move(c.lines.front());
        c.lines.pop_front();
        c.queuedBytes -= Cost(line);
        Queue(c, line.empty() ? Block("", false, {"line too long"}) : Answer(line, c.sending));
    }
    if (c.sending.left > 0) SendStep(id);
    running_ = false;
    return true;
}

void LircdServer::SendStep(int client) {
    const Sending s = clients_.at(client).sending; // the send may end the client (or change the devices)
    const SendResult r = backend_.send ? backend_.send(s.device, s.key) : SendResult{false, "sending is not available"};
    auto it = clients_.find(client);
    if (it == clients_.end() || it->second.dropped) return;
    Client& c = it->second;
    if (!r.ok) {
        c.sending = {};
        Queue(c, Block(s.command, false, {r.text.empty() ? "nothing was sent" : r.text}));
    } else if (--c.sending.left == 0) {
        Queue(c, Block(s.command, true, {r.text}));
    }
}

std::string LircdServer::Answer(std::string_view line, Sending& sending) {
    std::vector<std::string> w = Words(line);
    // Clients match the reply by the command exactly as they sent it.
    std::string command(line);
    for (char c : command)
        if (static_cast<unsigned char>(c) < 32 && c != '\t')
            return Block("", false, {"control characters in the command"});
    std::string verb = w.empty() ? "" : w[0];
    for (char& c : verb) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    auto error = [&](const std::string& why) { return Block(command, false, {why}); };
    std::vector<LircdRemote> remotes;
    if ((verb == "LIST" || verb == "SEND_ONCE") && backend_.remotes) remotes = backend_.remotes();

    if (verb == "VERSION") {
        if (w.size() != 1) return error("bad send packet");
        return Block(command, true, {version_});
    }
    if (verb == "LIST") {
        if (w.size() == 1) {
            std::vector<std::string> names;
            for (const LircdRemote& r : remotes) names.push_back(LircdName(r.name));
            return Block(command, true, names);
        }
        const LircdRemote* r = FindRemote(remotes, w[1]);
        if (!r) return error("unknown remote: \"" + w[1] + "\"");
        std::vector<std::string> keys;
        for (const LircdKey& k : r->keys)
            if (w.size() == 2 || LircdName(k.name) == w[2]) keys.push_back(Hex16(k.code) + " " + LircdName(k.name));
        if (w.size() == 3 && keys.empty()) return error("unknown command: \"" + w[2] + "\"");
        if (w.size() > 3) return error("bad send packet");
        return Block(command, true, keys);
    }
    if (verb == "SEND_ONCE") {
        if (w.size() < 3 || w.size() > 4) return error("bad send packet: SEND_ONCE remote key [count]");
        int count = 1;
        if (w.size() == 4) {
            const std::string& n = w[3];
            if (n.empty() || n.size() > 3 || n.find_first_not_of("0123456789") != std::string::npos ||
                std::stoi(n) > kMaxSendCount)
                return error("bad count \"" + n + "\": a number from 0 to " + std::to_string(kMaxSendCount));
            count = std::max(1, std::stoi(n));
        }
        const LircdRemote* r = FindRemote(remotes, w[1]);
        if (!r) return error("unknown remote: \"" + w[1] + "\"");
        const LircdKey* k = FindKey(*r, w[2]);
        if (!k) return error("unknown command: \"" + w[2] + "\"");
        sending = {command, r->name, k->name, count};
        return {};
    }
    if (verb == "SEND_START" || verb == "SEND_STOP")
        return error("this transmitter sends whole key presses: use SEND_ONCE remote key [count]");
    if (verb == "SET_TRANSMITTERS" || verb == "SIMULATE" || verb == "SET_INPUTLOG" || verb == "DRV_OPTION")
        return error(verb + " is not supported here");
    return error("unknown command: \"" + (w.empty() ? std::string() : w[0]) + "\"");
}

void LircdServer::KeyRecognised(const std::string& device, const std::string& command, int repeat) {
    std::uint64_t code = 0;
    for (const LircdRemote& r : backend_.remotes ? backend_.remotes() : std::vector<LircdRemote>{})
        if (ToLower(r.name) == ToLower(device))
            for (const LircdKey& k : r.keys)
                if (ToLower(k.name) == ToLower(command)) code = k.code;
    char count[3];
    std::snprintf(count, sizeof count, "%02x", std::clamp(repeat, 0, 255));
    const std::string line = Hex16(code) + " " + count + " " + LircdName(command) + " " + LircdName(device) + "\n";
    for (auto& [id, c] : clients_) Queue(c, line);
}

const std::string& LircdServer::Pending(int client) const {
    static const std::string none;
    auto it = clients_.find(client);
    return it == clients_.end() ? none : it->second.out;
}

void LircdServer::Written(int client, std::size_t bytes) {
    auto it = clients_.find(client);
    if (it != clients_.end()) it->second.out.erase(0, bytes);
}

bool LircdServer::Dropped(int client) const {
    auto it = clients_.find(client);
    return it != clients_.end() && it->second.dropped;
}

std::vector<int> LircdServer::Clients() const {
    std::vector<int> ids;
    for (const auto& [id, c] : clients_) ids.push_back(id);
    return ids;
}

} // namespace quenix
