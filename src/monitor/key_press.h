#pragma once

// One press of a remote key, however many frames it sends. A remote repeats its frame (or,
// for NEC, a short repeat burst) for as long as the key is held, and SONY sends at least three
// frames for the shortest tap; the frames of one press run its actions once, and a held key is
// one press whose repeat count grows. A new press is a changed frame (RC5's toggle bit), a
// different key, or a gap longer than the protocol's frame period and a margin, the way the
// kernel's remote-control core decides that a key went up.

#include <cstdint>
#include <string>
#include <string_view>

namespace quenix {

class KeyPress {
public:
    struct Step {
        bool continues = false; // false: a new press (repeat 0)
        int repeat = 0;         // frames of this press before this one
        std::int64_t heldMs = 0; // since the press began
    };

    // A decoded frame and the key it stands for ("UNKNOWN" too), at nowMs; holdGapMs is the
    // longest gap between two frames of one held key. gapMs is the silence before the frame as
    // the signal tells it, when the receiver knows; otherwise the time since the last frame
    // counts.
    Step Frame(const std::string& key, std::string_view frame, std::int64_t nowMs, std::int64_t holdGapMs,
               std::int64_t gapMs = -1);
    // A repeat burst that carries no code: it continues the press under way, if any.
    bool Burst(std::int64_t nowMs, std::int64_t holdGapMs, Step& step, std::int64_t gapMs = -1);
    // The receiver heard nothing until nowMs (the pause after a key): the next frame's gap
    // counts from here.
    void Deaf(std::int64_t untilMs) { lastMs_ = untilMs; }
    // Nothing received before this counts as held any more.
    void Reset() { key_.clear(); }

    const std::string& key() const { return key_; }

private:
    std::string key_, frame_;
    std::int64_t firstMs_ = 0, lastMs_ = 0;
    int repeat_ = 0;
};

// The longest gap between the frames of one held key on a kernel receiver, by protocol index.
std::int64_t HoldGapMs(int protocol);

// Auto-repeat: which actions run again while their key is held. Moves, volume, seeking, the
// playlist cursor and dimming are what people hold a key for; power, programs, clicks and
// every toggle run once per press.
struct HeldAction {
    bool repeats = false;
    int periodMs = 0; // at least this long between two runs while held
};
HeldAction HeldActionOf(std::string_view device, std::string_view command);
// A key held this long starts repeating its repeatable actions.
inline constexpr std::int64_t kRepeatDelayMs = 350;

} // namespace quenix
