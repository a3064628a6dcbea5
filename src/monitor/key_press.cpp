#include "monitor/key_press.h"

#include "core/text.h"
#include "ir/protocols.h"

#include <array>

namespace quenix {

namespace {

// What a receiver's delivery may add to a frame period.
constexpr std::int64_t kGapMarginMs = 60;

bool Contains(std::string_view text, std::string_view word) { return text.find(word) != std::string_view::npos; }

} // namespace

KeyPress::Step KeyPress::Frame(const std::string& key, std::string_view frame, std::int64_t nowMs,
                               std::int64_t holdGapMs, std::int64_t gapMs) {
    Step s;
    if (gapMs < 0) gapMs = nowMs - lastMs_;
    if (!key_.empty() && key == key_ && frame == frame_ && gapMs <= holdGapMs) {
        repeat_ = repeat_ < 255 ? repeat_ + 1 : repeat_; // lircd's field has two hex digits
        s.continues = true;
    } else {
        key_ = key;
        frame_ = std::string(frame);
        firstMs_ = nowMs;
        repeat_ = 0;
    }
    lastMs_ = nowMs;
    s.repeat = repeat_;
    s.heldMs = nowMs - firstMs_;
    return s;
}

bool KeyPress::Burst(std::int64_t nowMs, std::int64_t holdGapMs, Step& step, std::int64_t gapMs) {
    if (gapMs < 0) gapMs = nowMs - lastMs_;
    if (key_.empty() || gapMs > holdGapMs) {
        key_.clear();
        return false;
    }
    step = Frame(key_, frame_, nowMs, holdGapMs, gapMs);
    return true;
}

std::int64_t HoldGapMs(int protocol) {
    // Frame periods (start to start) of a held key.
    switch (protocol) {
    case kProtoNec:
    case kProtoSamsung: return 108 + kGapMarginMs;
    case kProtoSony: return 45 + kGapMarginMs;
    case kProtoRc5:
    case kProtoRc5x:
    case kProtoStreamZap:
    case kProtoRc6:
    case kProtoRc6A: return 114 + kGapMarginMs;
    case kProtoJvc: return 60 + kGapMarginMs;
    case kProtoKaseikyo: return 130 + kGapMarginMs;
    case kProtoSharp: return 90 + kGapMarginMs; // a frame and its inverse, then the pair again
    case kProtoRca: return 64 + kGapMarginMs;
    case kProtoPioneer: return 105 + kGapMarginMs;
    default: return 150 + kGapMarginMs;
    }
}

HeldAction HeldActionOf(std::string_view deviceName, std::string_view commandName) {
    const std::string device = ToLower(std::string(deviceName));
    const std::string command = ToLower(Trim(commandName));
    struct Row {
        const char* device;
        std::array<const char*, 4> commands;
        int periodMs;
    };
    // Virtual devices: the commands that repeat, by exact name.
    static constexpr Row kRows[] = {
        {"mouse", {"left", "right", "up", "down"}, 0},
        {"mouse", {"leftup", "rightup", "leftdown", "rightdown"}, 0},
        {"winamp", {"volup", "voldown", "", ""}, 250},
        {"winamp", {"ffw", "rew", "", ""}, 200},
        {"winamp", {"next in pl", "prev in pl", "next 10 in pl", "prev 10 in pl"}, 150},
        {"ir dimmer", {"dim/bri", "", "", ""}, 300},
        {"irdimmer", {"dim/bri", "", "", ""}, 300},
    };
    for (const Row& r : kRows)
        if (device == r.device)
            for (const char* c : r.commands)
                if (*c && command == c) return {true, r.periodMs};
    if (device.rfind("x10", 0) == 0) return {command == "dim" || command == "bright", 300};
    if (device == "mouse" || device == "winamp" || device == "ir dimmer" || device == "irdimmer" ||
        device == "application" || device == "keyboard" || device == "bt" || device == "bluetooth")
        return {};
    // An infrared command passed on: the keys a remote's owner holds, by their usual names.
    for (const char* word : {"vol", "ch+", "ch-", "+", "-", "up", "down", "left", "right", "bright", "dim", "ffw", "rew"})
        if (Contains(command, word)) return {true, 100};
    return {};
}

} // namespace quenix
