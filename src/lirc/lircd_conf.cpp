#include "lirc/lircd_conf.h"

#include "core/text.h"

#include <cctype>
#include <cmath>

namespace quenix {

namespace {

std::string Upper(std::string s) {
    for (char& c : s) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return s;
}

// The words of a line up to a "#" that begins a word.
std::vector<std::string> Words(std::string_view line) {
    std::vector<std::string> w;
    std::size_t i = 0;
    while (i < line.size()) {
        while (i < line.size() && std::isspace(static_cast<unsigned char>(line[i]))) ++i;
        if (i >= line.size() || line[i] == '#') break;
        std::size_t from = i;
        while (i < line.size() && !std::isspace(static_cast<unsigned char>(line[i]))) ++i;
        w.emplace_back(line.substr(from, i - from));
    }
    return w;
}

// A code: "0x" hexadecimal or decimal, at most 64 bits.
bool ParseCode(const std::string& s, std::uint64_t& v) {
    std::size_t i = 0;
    int base = 10;
    if (s.size() > 2 && s[0] == '0' && (s[1] == 'x' || s[1] == 'X')) {
        base = 16;
        i = 2;
    }
    if (i >= s.size()) return false;
    v = 0;
    for (; i < s.size(); ++i) {
        int d;
        char c = static_cast<char>(std::tolower(static_cast<unsigned char>(s[i])));
        if (c >= '0' && c <= '9')
            d = c - '0';
        else if (base == 16 && c >= 'a' && c <= 'f')
            d = c - 'a' + 10;
        else
            return false;
        if (v > (UINT64_MAX - static_cast<unsigned>(d)) / static_cast<unsigned>(base)) return false;
        v = v * static_cast<unsigned>(base) + static_cast<unsigned>(d);
    }
    return true;
}

// A duration or count: a whole number; durations beyond an hour are nonsense.
bool ParseNumber(const std::string& s, double& v) {
    std::uint64_t n = 0;
    if (!ParseCode(s, n) || n > 3600000000ull) return false;
    v = static_cast<double>(n);
    return true;
}

} // namespace

bool LircRemote::hasFlag(std::string_view flag) const {
    for (const std::string& f : flags)
        if (f == flag) return true;
    return false;
}

LircFile ParseLircdConf(std::string_view text) {
    LircFile file;
    enum class In { Nothing, Remote, Codes, Raw } in = In::Nothing;
    LircRemote r;
    int lineNo = 0;
    auto error = [&](const std::string& what) {
        file.errors.push_back("line " + std::to_string(lineNo) + ": " + what);
    };

    for (std::string_view line : SplitLines(text)) {
        ++lineNo;
        std::vector<std::string> w = Words(line);
        if (w.empty()) continue;
        std::string key = ToLower(w[0]);

        std::string what = w.size() > 1 ? ToLower(w[1]) : "";
        // A key may be called "End"; only the block words make a line a keyword.
        bool block = what == "remote" || what == "codes" || what == "raw_codes";
        if ((key == "begin" || key == "end") && (block || in == In::Nothing || in == In::Remote)) {
            if (key == "begin" && what == "remote") {
                if (in != In::Nothing) error("\"begin remote\" inside a remote; the open one is dropped");
                r = LircRemote{};
                r.line = lineNo;
                in = In::Remote;
            } else if (key == "end" && what == "remote" && in == In::Remote) {
                if (r.name.empty())
                    error("a remote without a name is dropped");
                else {
                    r.endLine = lineNo;
                    file.remotes.push_back(std::move(r));
                }
                in = In::Nothing;
            } else if (key == "begin" && what == "codes" && in == In::Remote) {
                in = In::Codes;
            } else if (key == "begin" && what == "raw_codes" && in == In::Remote) {
                in = In::Raw;
            } else if (key == "end" && (what == "codes" || what == "raw_codes") &&
                       in == (what == "codes" ? In::Codes : In::Raw)) {
                in = In::Remote;
            } else {
                error("unexpected \"" + w[0] + " " + what + "\"");
            }
            continue;
        }

        if (in == In::Nothing) continue; // text between remotes is ignored, as lircd does
        if (in == In::Codes) {
            LircKey k;
            k.name = w[0];
            if (w.size() < 2 || !ParseCode(w[1], k.code))
                error("key " + w[0] + " has no readable code");
            else
                r.keys.push_back(std::move(k));
            continue;
        }
        if (in == In::Raw) {
            if (key == "name" && w.size() > 1) r.rawKeys.push_back(w[1]);
            continue;
        }

        // A parameter of the remote.
        std::vector<double> n;
        for (std::size_t i = 1; i < w.size(); ++i) {
            double v = 0;
            if (!ParseNumber(w[i], v)) break;
            n.push_back(v);
        }
        auto pair = [&](LircPair& p) {
            if (n.size() < 2) return error(w[0] + " needs two durations");
            p = {n[0], n[1]};
        };
        auto one = [&](double& v) {
            if (n.empty()) return error(w[0] + " needs a number");
            v = n[0];
        };
        auto whole = [&](int& v) {
            double d = 0;
            one(d);
            v = static_cast<int>(std::min(d, 1e6));
        };
        if (key == "name") {
            if (w.size() > 1) r.name = w[1];
        } else if (key == "flags") {
            std::string all;
            for (std::size_t i = 1; i < w.size(); ++i) all += w[i];
            std::size_t from = 0;
            while (from <= all.size()) {
                std::size_t bar = all.find('|', from);
                if (bar == std::string::npos) bar = all.size();
                if (bar > from) r.flags.push_back(Upper(all.substr(from, bar - from)));
                from = bar + 1;
            }
        } else if (key == "bits") {
            whole(r.bits);
        } else if (key == "header") {
            pair(r.header);
        } else if (key == "one") {
            pair(r.one);
        } else if (key == "zero") {
            pair(r.zero);
        } else if (key == "two") {
            pair(r.two);
        } else if (key == "three") {
            pair(r.three);
        } else if (key == "pre") {
            pair(r.pre);
        } else if (key == "post") {
            pair(r.post);
        } else if (key == "foot") {
            pair(r.foot);
        } else if (key == "repeat") {
            pair(r.repeat);
        } else if (key == "plead") {
            one(r.plead);
        } else if (key == "ptrail") {
            one(r.ptrail);
        } else if (key == "pre_data_bits") {
            whole(r.preDataBits);
        } else if (key == "post_data_bits") {
            whole(r.postDataBits);
        } else if (key == "pre_data" || key == "post_data" || key == "toggle_bit_mask" || key == "rc6_mask" ||
                   key == "repeat_mask") {
            std::uint64_t v = 0;
            if (w.size() < 2 || !ParseCode(w[1], v)) error(w[0] + " needs a code");
            (key == "pre_data"          ? r.preData
             : key == "post_data"       ? r.postData
             : key == "toggle_bit_mask" ? r.toggleMask
             : key == "rc6_mask"        ? r.rc6Mask
                                        : r.repeatMask) = v;
        } else if (key == "gap") {
            one(r.gap);
        } else if (key == "toggle_bit" || key == "repeat_bit") {
            whole(r.toggleBit);
        } else if (key == "frequency") {
            one(r.frequency);
        } else if (key == "eps" || key == "aeps" || key == "duty_cycle" || key == "min_repeat" || key == "repeat_gap" ||
                   key == "ignore_mask" || key == "suppress_repeat" || key == "driver" || key == "manual_sort" ||
                   key == "min_code_repeat" || key == "toggle_mask" || key == "serial_mode" || key == "baud") {
            // Receiver tolerances and details a transmitter does without.
            if (key == "toggle_mask") r.unknown.push_back(key);
        } else {
            r.unknown.push_back(key);
        }
    }
    if (in != In::Nothing) error("the file ends inside a remote; it is dropped");
    return file;
}

} // namespace quenix
