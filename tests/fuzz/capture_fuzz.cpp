// A capture as the library hands it over (600 bytes for monitoring, 100 for a short recording):
// either raw bytes, or pulse/space runs sampled at any period, as a remote would put them on
// the air. The analysis, the code reading, the tick's frame and the lookup on the shipped file,
// by the run analysis and by the decoder that also reads the timing.
#include "fuzz_support.h"
#include "ir/analysis.h"
#include "ir/codec.h"
#include "ir/decoder.h"
#include "ir/pulse_text.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace quenix;
    fuzz::Input in(data, size);
    const std::uint8_t shape = in.byte();
    const std::size_t bytes = shape & 1 ? 100 : kCaptureBytes;
    std::vector<std::uint8_t> capture;
    if (shape & 2) {
        const double periodUs = 5 + in.byte() * 2;
        std::vector<PulseRun> runs;
        for (bool mark = true; !in.empty(); mark = !mark)
            runs.push_back({mark, 10.0 * (in.byte() * 16 + in.byte() % 16)});
        capture = SampleRuns(runs, periodUs, bytes);
    } else {
        std::string raw = in.rest();
        capture.assign(raw.begin(), raw.end());
        capture.resize(bytes, shape & 4 ? 0xFF : 0);
    }
    const std::string samples = UnpackSamples(capture);
    const RunAnalysis a = AnalyseRuns(samples);
    if (a.ok && a.unit > 0) (void)RecordedToCode(QuantiseSamples(samples, a.unit).cells, a.protocol);
    const MonitorFrame f = ExtractFrame(capture);
    if (!f.frame.empty()) (void)MonitorKey(fuzz::Shipped(), f.frame, f.analysis.protocol);
    (void)DecodeRecording(capture);
    // The tick's and the recorder's decoder, which also reads the timing.
    const DecodedFrame d = DecodeMonitorFrame(capture);
    if (!d.frame.empty()) (void)LookupKey(fuzz::Shipped(), d);
    (void)DecodeCapture(capture);
    (void)MeasuredUnit(capture);
    return 0;
}
