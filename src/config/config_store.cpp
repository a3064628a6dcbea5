#include "config/config_store.h"

#include "config/atomic_file.h"
#include "core/text.h"
#include "core/version.h"

#include <algorithm>
#include <vector>

namespace quenix {
namespace {

// The [General] keys in the only order the loader accepts.
enum class Kind { Int, Flag, IType, Text, Bt };
struct Key {
    const char* name;
    Kind kind;
    void* (*field)(Settings&);
};

#define QX_FIELD(member) [](Settings& s) -> void* { return &s.member; }
const Key kKeys[] = {
    {"COMPORT=", Kind::Int, QX_FIELD(comPort)},
    {"PROTOCOL=", Kind::Int, QX_FIELD(protocol)},
    {"PROCDELAY=", Kind::Int, QX_FIELD(procDelay)},
    {"ITYPE=", Kind::IType, nullptr},
    {"BEEPON=", Kind::Flag, QX_FIELD(beepOn)},
    {"IRINENA=", Kind::Flag, QX_FIELD(irInEna)},
    {"IROUTENA=", Kind::Flag, QX_FIELD(irOutEna)},
    {"X10COM=", Kind::Int, QX_FIELD(x10Com)},
    {"X10ENA=", Kind::Flag, QX_FIELD(x10Ena)},
    {"IRDIMENA=", Kind::Flag, QX_FIELD(irDimEna)},
    {"APPLICATIONENA=", Kind::Flag, QX_FIELD(applicationEna)},
    {"WINAMPENA=", Kind::Flag, QX_FIELD(winampEna)},
    {"WINAMPPATH=", Kind::Text, QX_FIELD(winampPath)},
    {"BTCOM=", Kind::Int, QX_FIELD(btCom)},
    {"BTENA=", Kind::Flag, QX_FIELD(btEna)},
    {"BTMODE=", Kind::Int, QX_FIELD(btMode)},
    {"BT", Kind::Bt, nullptr},
    {"BTCURRENT=", Kind::Int, QX_FIELD(btCurrent)},
    {"MOUSEENA=", Kind::Flag, QX_FIELD(mouseEna)},
    {"KEYBOARDENA=", Kind::Flag, QX_FIELD(keyboardEna)},
    {"MONITOR=", Kind::Flag, QX_FIELD(monitor)},
};
#undef QX_FIELD

int Len(const std::string& s) { return static_cast<int>(std::min<std::size_t>(s.size(), 0x7fffffff)); }

} // namespace

ConfigStore::ConfigStore(std::string folder, std::string dataFolder)
    : folder_(std::move(folder)), dataFolder_(std::move(dataFolder)) {
    version_ =
        std::to_string(kVersionMajor) + "." + std::to_string(kVersionMinor) + "." + std::to_string(kVersionRevision);
}

std::string ConfigStore::path() const {
    if (folder_.empty()) return kFileName;
    char last = folder_.back();
    return (last == '/' || last == '\\') ? folder_ + kFileName : folder_ + "/" + kFileName;
}

bool ConfigStore::LoadConfiguration() {
    std::string data;
    if (!ReadWholeFile(path(), data, lastError_)) return false;
    onDisk_ = data;
    return LoadFromText(std::move(data));
}

bool ConfigStore::LoadFromText(std::string data) {
    lastError_.clear();
    // An editor that writes bare LF line ends must not leave every key reading to the end of the
    // file; the next save writes CR LF.
    data = WithCrLf(std::move(data));
    if (Len(data) > maxLength_) {
        lastError_ = "The configuration file is larger than " + std::to_string(maxLength_) + " characters.";
        return false;
    }
    Adopt(std::move(data));
    return ParseGeneral();
}

bool ConfigStore::ParseGeneral() {
    if (Find("[End]") == 0) {
        lastError_ = "The configuration file has no [End] section.";
        return false;
    }
    int p = Find("[General]");
    if (p == 0) {
        lastError_ = "The configuration file has no [General] section.";
        return false;
    }
    auto missing = [this](const std::string& key) {
        lastError_ = "The key " + key + " is missing or out of order in [General].";
        return false;
    };
    for (const Key& k : kKeys) {
        if (k.kind == Kind::Bt) {
            for (int d = 0; d < 10; ++d) {
                std::string key = "BT" + std::to_string(d) + "=";
                int q = Find(key, p);
                if (q == 0) return missing(key);
                p = q;
                settings_.bt[static_cast<std::size_t>(d)] = Line(p);
            }
            continue;
        }
        int q = Find(k.name, p);
        if (q == 0) return missing(k.name);
        p = q;
        std::string value = Line(p);
        switch (k.kind) {
        case Kind::Int: *static_cast<int*>(k.field(settings_)) = LeadingInt16(value); break;
        case Kind::Flag: *static_cast<bool*>(k.field(settings_)) = LeadingNumber(value) != 0; break;
        case Kind::Text: *static_cast<std::string*>(k.field(settings_)) = value; break;
        case Kind::IType: {
            int v = LeadingInt16(value);
            settings_.itypeHigh = v / 16;
            settings_.itypeLow = v - settings_.itypeHigh * 16;
            break;
        }
        case Kind::Bt: break;
        }
    }
    return true;
}

bool ConfigStore::SetText(std::string text) {
    reloaded_ = false;
    if (Len(text) > maxLength_) {
        lastError_ = "The configuration file cannot grow beyond " + std::to_string(maxLength_) +
                     " characters; the change was not made.";
        return false;
    }
    Adopt(std::move(text));
    lastError_.clear();
    return true;
}

bool ConfigStore::Insert(std::string_view insertion, int pos) { return SetText(InsertText(text_, insertion, pos)); }

bool ConfigStore::Delete(int first, int last) { return SetText(DeleteText(text_, first, last)); }

bool ConfigStore::SaveConfiguration() {
    reloaded_ = false;
    std::string now, unreadable;
    // A file that is gone or cannot be read holds nothing of another program's to keep.
    if (onDisk_ && ReadWholeFile(path(), now, unreadable) && now != *onDisk_) {
        if (!overwriteChangedFile) {
            lastError_ = "telvorin.cfg was changed by another program; it was not overwritten.";
            return false;
        }
        if (!overwriteChangedFile()) return Reload(std::move(now));
    }
    std::size_t close = text_.rfind(']');
    if (close == std::string::npos) {
        lastError_ = "The configuration text has no sections; it was not saved.";
        return false;
    }
    std::string out = text_.substr(0, close + 1) + "\r\n";
    if (!WriteFileAtomically(path(), out, lastError_)) return false;
    onDisk_ = out;
    Adopt(std::move(out));
    lastError_.clear();
    return true;
}

bool ConfigStore::Reload(std::string changed) {
    const Settings prior = settings_;
    std::string ours = text_;
    if (!LoadFromText(changed)) {
        // A half-written or broken file is not taken; it is asked about again at the next save.
        lastError_ = "telvorin.cfg was changed by another program and cannot be loaded: " + lastError_;
        Adopt(std::move(ours));
        settings_ = prior;
        return false;
    }
    onDisk_ = std::move(changed);
    settingsBeforeReload_ = prior;
    reloaded_ = true;
    return false;
}

bool ConfigStore::SetGeneralKey(std::string_view key, std::string_view value, bool save) {
    reloaded_ = false;
    auto missing = [&] {
        lastError_ = "The key " + std::string(key) + "= is missing in [General]; the change was not saved.";
        return false;
    };
    if (key.empty()) return missing();
    int g = Find("[General]");
    if (g == 0) return missing();
    int v = Find(std::string(key) + "=", g);
    if (v == 0) return missing();
    int e = Find("\r", v);
    if (e == 0) return missing();
    const std::string before = text_;
    std::string t = DeleteText(text_, v + 1, e - 2);
    t = InsertText(t, Trim(value), v + 1);
    // Start-up sets the values it has just read: a file that already says so is not written
    // again, which spares a disk flush before the window shows.
    if (save && t == text_ && onDisk_ && *onDisk_ == text_) return true;
    if (!SetText(std::move(t))) return false;
    if (save && !SaveConfiguration()) {
        if (!reloaded_) Adopt(before);
        return false;
    }
    return true;
}

void ConfigStore::DeleteCommand() {
    int h = Find("[" + currentDevice + "]");
    if (h == 0) return;
    int m = Find("," + currentCommand + "\r\n", h);
    if (m == 0) return;
    const int last = m - 1; // the LF of the command's line
    int i = m - 2;
    while (text_[static_cast<std::size_t>(i - 1)] != '\n') {
        if (i <= 1) return;
        --i;
    }
    Delete(i + 1, last);
}

bool ConfigStore::DeleteDevice() {
    const std::string header = "[" + currentDevice + "]";
    int h = Find(header);
    if (h == 0) return true;
    const int first = h - Len(header);
    int next = Find("[", first + 10);
    if (next == 0) return true;
    int last = next - 1; // the "[" of the next header
    while (last >= 1 && text_[static_cast<std::size_t>(last - 1)] != '\n') --last;
    if (last < first) return true;
    const std::string before = text_;
    if (!Delete(first, last)) return false;
    if (SaveConfiguration()) return true;
    // The section stays in memory as it stays on disk.
    if (!reloaded_) Adopt(before);
    return false;
}

std::string ConfigStore::GetDeviceDescription(std::string_view name, bool fromImport) const {
    return quenix::GetDeviceDescription(name, fromImport ? importText_ : text_);
}

std::string ConfigStore::BuildMonitorDeviceList() const {
    std::string list;
    int g = Find("[General]");
    if (g != 0) {
        // Sections count up to the "[" of [Monitoring], or of [End] when there is none.
        int stopBracket = Len(text_) + 1;
        if (int m = Find("[Monitoring]", g); m != 0) {
            stopBracket = m - 12;
        } else if (int e = Find("[End]", g); e != 0) {
            stopBracket = e - 5;
        }
        int p = g;
        while (true) {
            int open = Find("[", p);
            if (open == 0 || open - 1 >= stopBracket) break;
            int close = Find("]", open);
            if (close == 0) break;
            std::string name =
                text_.substr(static_cast<std::size_t>(open - 1), static_cast<std::size_t>(close - 1 - open));
            std::string lower = ToLower(name);
            if (lower == "x10") {
                // One entry per unit line: "X10&" and the unit's name behind the comma.
                int line = Find("\n", close);
                int end = Find("[", close);
                if (end == 0) end = Len(text_) + 1;
                while (line != 0 && line < end - 1) {
                    std::string l = Line(line);
                    std::size_t comma = l.find(',');
                    if (comma != std::string::npos) list += "X10&" + Trim(l.substr(comma + 1)) + ",";
                    line = Find("\n", line);
                }
            } else if (lower != "application") {
                list += name + ",";
            }
            p = close;
        }
    }
    const Settings& s = settings_;
    if (s.winampEna) list += "Winamp,";
    if (s.applicationEna) list += "Application,";
    if (s.mouseEna) list += "Mouse,";
    if (s.irDimEna) list += "IR Dimmer,";
    if (s.irInEna) list += "Recorded,";
    if (s.btEna) list += "BT,";
    return list.empty() ? "none," : list;
}

} // namespace quenix
