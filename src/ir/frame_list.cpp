#include "ir/frame_list.h"

#include "ir/codec.h"
#include "ir/protocols.h"

#include <algorithm>

namespace quenix {

std::optional<FrameList> ReadFrameList(const CapturedRuns& runs) {
    const auto longFrame = [](const CapturedFrame& f) { return f.complete && f.runs.size() > kKeyFrameRuns; };
    if (runs.frames.size() < 2 || std::none_of(runs.frames.begin(), runs.frames.end(), longFrame)) return std::nullopt;
    FrameList list;
    std::size_t frames = 0, longest = 0;
    bool alike = true;
    std::string first;
    for (const CapturedFrame& f : runs.frames) {
        if (!f.complete || frames == kMaxFrames) break;
        const TimingReading t = ReadTiming(CapturedRuns{runs.shortRun, {f}});
        if (!t.ok || PresetFor(t.protocol).family != kProtoNec || t.bits.size() < 8) break;
        if (frames == 0) first = t.bits;
        alike = alike && t.bits == first;
        list.bits += (frames++ == 0 ? "" : "G") + t.bits;
        if (f.runs.size() > longest) longest = f.runs.size(), list.protocol = t.protocol, list.unit = t.unit;
    }
    // Frames alike are one code sent again, as any held key's.
    if (frames < 2 || alike || longest <= kKeyFrameRuns) return std::nullopt;
    return list;
}

} // namespace quenix
