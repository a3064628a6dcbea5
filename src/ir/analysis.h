#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace quenix {

class ConfigStore;

// The samples of a capture as "1"/"0" characters, eight a byte, top bit first.
std::string UnpackSamples(const std::vector<std::uint8_t>& bytes);

struct RunAnalysis {
    bool ok = false;
    std::array<int, 100> marks{};  // histogram of carrier runs by length in samples
    std::array<int, 100> spaces{}; // histogram of gaps
    int cM = 0;                    // dominant mark length
    int cS = 0;                    // dominant space length
    int unit = 0;                  // base unit U in samples
    int protocol = 99;             // 0 NEC, 1 SONY, 2 RC5, 99 unknown
};

// Measures the first sequence of a sample string and guesses its protocol from which runs
// are long: long spaces only is pulse distance (NEC), long marks only pulse width (SONY),
// both bi-phase (RC5).
RunAnalysis AnalyseRuns(std::string_view samples);

// A run's size in units: 1, 2, 3, or 9 for a pause.
int QuantiseRun(int length, int unit);

// The quantised form of a sample string: a run of class 1..3 becomes that many "1"/"0"
// cells, a pause mark "G", a pause gap "g". A gap cut off by the end of the samples counts
// as a pause only when it is over 100 samples. plen1/plen0 list the measured run lengths.
struct QuantisedSamples {
    std::string cells;
    std::string plen1;
    std::string plen0;
};
QuantisedSamples QuantiseSamples(std::string_view samples, int unit);

// What the infrared poll makes of one capture: samples in, frame and lookup out.
struct MonitorFrame {
    RunAnalysis analysis;
    QuantisedSamples quantised;
    std::string code;  // the normalised code string, all sequences
    std::string frame; // the chosen frame's bits; empty when the tick ends silently
};
MonitorFrame ExtractFrame(const std::vector<std::uint8_t>& capture);

// The frame of a normalised code string: of the first two sequences between pauses the
// longer, the second on a tie. No minimum length is applied here.
std::string SelectFrame(std::string_view code);

// Shortest frame the monitoring path looks up.
inline constexpr std::size_t kMinFrameLength = 7;

// The key text of a received frame: device "&" command, or "UNKNOWN".
std::string MonitorKey(std::string_view configText, std::string_view frame, int protocol);
std::string MonitorKey(const ConfigStore& config, std::string_view frame, int protocol);

// The record panel's verdict on a recognised code: the status text and the value fields.
struct CodeVerdict {
    std::string status;
    int bits = 0;
    std::string addrVal;
    std::string cmdVal;
    std::string toggleVal;
    std::string gType;
    std::string multiSeq;
};
CodeVerdict BitCountVerdict(int protocol, std::string_view code);

// A recording must have captured 40 bytes, and keep 50 once the silence behind its last
// carrier is cut to kTrailingSilenceBytes (enough for the decoder to see the last frame end).
inline constexpr std::size_t kMinCapturedBytes = 40;
inline constexpr std::size_t kTrailingSilenceBytes = 30;
inline constexpr std::size_t kMinDecodedBytes = 50;

// The recorder's reading of a capture, up to the verdict (the panel is filled from it).
// "Captured" counts up to the last byte with carrier: the library leaves the rest zero.
struct RecordedSignal {
    std::string status;   // the status-bar text
    std::vector<std::uint8_t> signal; // the capture cut behind its last carrier; empty when too short
    int protocol = 99;    // 99 when unknown or not analysed
    int unitSamples = 0;
    std::string code;     // "G" + bits, empty when none
    CodeVerdict verdict;
    bool recognised = false; // a code with a verdict came out
};
RecordedSignal DecodeRecording(std::vector<std::uint8_t> capture);

} // namespace quenix
