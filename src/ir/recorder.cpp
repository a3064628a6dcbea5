#include "ir/recorder.h"

#include "ir/analysis.h"
#include "ir/codec.h"
#include "ir/decoder.h"
#include "ir/frame_list.h"
#include "ir/long_capture.h"
#include "ir/protocols.h"
#include "ir/scancode.h"
#include "ir/timing_reading.h"

#include <algorithm>
#include <cmath>

namespace quenix {

namespace {

constexpr std::uint32_t kNormalField = 0xFFFFFF;
constexpr int kKernelDevice = 5;
constexpr const char* kLongerThanCapture =
    "The code is longer than one recording (264 ms): press the key again to record it whole.";

std::string ProtocolName(int protocol) {
    const ProtocolPreset* row = FindPreset(protocol);
    return row && protocol != kProtoCustom ? std::string(row->name) : "UNK";
}

// Whether a capture ends inside a code: in its first frame, or in a frame longer than any
// key's (an air conditioner's second frame). A key held past the end is cut in a short frame.
bool CodeCut(const std::vector<std::uint8_t>& capture) {
    const CapturedRuns runs = SplitFrames(UnpackSamples(capture));
    return !runs.frames.empty() && (!runs.frames.front().complete || (!runs.frames.back().complete &&
                                                                      runs.frames.back().runs.size() > kKeyFrameRuns));
}

// RC5 and MCE remotes flip the toggle bit on every new press, so two presses of one key differ there.
bool SameKey(const std::string& a, const std::string& b, int protocol) {
    return NormalisedCode(a, protocol) == NormalisedCode(b, protocol);
}

} // namespace

Recorder::Recorder(Context& ctx, View& view, CaptureSource& source, Waveform& waveform)
    : ctx_(ctx), view_(view), source_(source), waveform_(waveform) {}

void Recorder::clearPanel() {
    for (const char* field : {"ProtocolName", "ProtocolParams", "GProt", "BitNr", "CmdVal", "AddrVal", "ToggleVal",
                              "GType", "MultiSeq", "IRCommand", "CodeStr", "SendPulse", "plen1", "plen0"})
        view_.setText(field, "");
    view_.setColor("ProtocolName", View::ColorRole::Background, kNormalField);
    view_.setColor("CodeStr", View::ColorRole::Background, kNormalField);
    waveform_.Clear();
}

void Recorder::onRecButton() {
    if (ctx_.monitoring) {
        view_.setStatus("You cannot record a command when monitoring function is activated!");
        return;
    }
    clearPanel();
    ctx_.validated = false; // the code field it vouched for is gone
    // A kernel device's capture ends with its signal; the serial sampler's runs its whole
    // length, so it takes a long one only for the press after a code that did not fit.
    const bool takeLong = ctx_.interfaceType == kKernelDevice || longNext_;
    ctx_.captureBuffer.assign(takeLong ? kLongCaptureBytes : kRecordBytes, 0);
    ctx_.beepIfOn(5000, 50);
    if (ctx_.interfaceType == 2) {
        recordIRMan();
        return;
    }
    if (!capture(ctx_.captureBuffer)) return;

    const DecodedRecording decoded = DecodeCapture(ctx_.captureBuffer);
    const RecordedSignal& r = decoded.signal;
    // Long captures go on until a code fits an ordinary one again.
    if (longNext_ && !CodeCut({r.signal.begin(), r.signal.begin() + std::min(r.signal.size(), kRecordBytes)}))
        longNext_ = false;
    if (r.signal.empty()) {
        view_.setStatus(r.status);
        return;
    }
    waveform_.Show(r.signal);
    if (r.unitSamples > 0) {
        view_.setText("SendPulse", std::to_string(std::lround(decoded.unit * kSampleUs)));
        // The measured runs beside the picture, as monitoring shows them for a key it hears.
        const QuantisedSamples runs = QuantiseSamples(waveform_.samples(), r.unitSamples);
        view_.setText("plen1", runs.plen1);
        view_.setText("plen0", runs.plen0);
    }
    if (r.unitSamples == 0 || r.protocol == kProtoUnknown) {
        if (r.unitSamples > 0) showProtocol(kProtoUnknown);
        view_.setStatus(r.status);
        return;
    }
    showProtocol(r.protocol);
    if (!r.recognised) {
        if (r.status == "Invalid command (less than 8 bit)!") {
            view_.setText("ProtocolName", "");
            view_.setColor("ProtocolName", View::ColorRole::Background, kRed);
        }
        view_.setStatus(r.status);
        return;
    }
    // A frame longer than the capture (an air conditioner's at a long unit) would be learned cut.
    if (CodeCut(r.signal)) {
        longNext_ = !takeLong;
        view_.setStatus(takeLong ? "The code is longer than a long recording (900 ms): it cannot be learned."
                                 : kLongerThanCapture);
        return;
    }
    const CodeVerdict& v = r.verdict;
    view_.setStatus(v.status);
    view_.setText("CodeStr", r.code);
    view_.setText("BitNr", std::to_string(v.bits));
    view_.setText("AddrVal", v.addrVal);
    view_.setText("CmdVal", v.cmdVal);
    view_.setText("ToggleVal", v.toggleVal);
    view_.setText("GType", v.gType);
    view_.setText("MultiSeq", v.multiSeq);
    if (const std::string scancode = ScancodeText(r.protocol, r.code); !scancode.empty())
        view_.setText("ProtocolParams", ProtocolName(r.protocol) + " params, scancode: " + scancode);
    validate(r.code, r.protocol);
}

bool Recorder::capture(std::vector<std::uint8_t>& buffer) {
    switch (ctx_.interfaceType) {
    case 0:
    case 1:
    case 4:
    case 5: break; // 5: a kernel infrared device
    case 3: view_.setStatus("Creative Infra record is not yet implemented!"); return false;
    default: view_.setStatus("No Rec interface selected!"); return false;
    }
    if (!source_.record(ctx_.interfaceType, buffer, ctx_.settings().procDelay, static_cast<int>(buffer.size()))) {
        const std::string why = source_.failure();
        view_.setStatus(why.empty() ? "No signal received for 5 seconds!" : why);
        return false;
    }
    return true;
}

// IRMan hands over finished key codes, no samples: its bytes become the code's bits.
void Recorder::recordIRMan() {
    waveform_.ShowMessage("No graph available for IRMan type IR input interface.");
    std::string bytes = source_.readIRMan();
    if (bytes.empty()) {
        view_.setStatus("No signal received for 5 seconds!");
        return;
    }
    std::string code = "G";
    for (unsigned char c : bytes)
        for (int k = 7; k >= 0; --k) code += ((c >> k) & 1) ? '1' : '0';
    view_.setText("ProtocolName", "IRMan");
    view_.setColor("ProtocolName", View::ColorRole::Background, kGreen);
    view_.setText("CodeStr", code);
    view_.setText("BitNr", std::to_string(code.size() - 1));
    view_.setStatus("A command has been received from the IRMan receiver.");
    validate(code, kProtoUnknown);
}

void Recorder::showProtocol(int protocol) {
    const bool known = protocol != kProtoUnknown;
    view_.setText("ProtocolName", ProtocolName(protocol));
    view_.setText("ProtocolParams", known ? ProtocolName(protocol) + " params" : std::string());
    view_.setColor("ProtocolName", View::ColorRole::Background, known ? kGreen : kRed);
    // Generic: no preset of its own, the header is taken over as recorded.
    view_.setText("GProt", known ? "0" : "1");
}

void Recorder::validate(const std::string& code, int protocol) {
    LearnedCommand found = FindLearnedCommand(ctx_.config, code, protocol);
    if (found.found) {
        view_.setText("IRCommand", found.device + "&&" + found.command);
        ctx_.validated = true;
        counter_ = 0;
        view_.setColor("CodeStr", View::ColorRole::Background, kNormalField);
        ctx_.beepIfOn(2000, 50);
        ctx_.beepIfOn(5000, 50);
        return;
    }
    view_.setText("IRCommand", "?");
    if (counter_ == 1 && SameKey(code, remembered_, protocol)) {
        ctx_.validated = true;
        view_.setColor("CodeStr", View::ColorRole::Background, kGreen);
        ctx_.beepIfOn(5000, 50);
        return;
    }
    // A different code starts the pair again from itself, so A, B, B validates at the third press.
    remembered_ = code;
    ctx_.validated = false;
    counter_ = 1;
    view_.setColor("CodeStr", View::ColorRole::Background, kRed);
    ctx_.beepIfOn(2000, 300);
}

} // namespace quenix
