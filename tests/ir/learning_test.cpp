// Recording a key, the two-press rule, storing and deleting learned commands, and PROCDELAY.
#include "actions/executor.h"
#include "capture_script.h"
#include "config/config_text.h"
#include "io/port_line.h"
#include "ir/decoder.h"
#include "ir/device_editor.h"
#include "ir/learning.h"
#include "ir/long_capture.h"
#include "monitor/capture_source.h"
#include "support/sim_serial.h"

#include <gtest/gtest.h>

namespace quenix {
namespace {

using namespace testing;
using Bytes = std::vector<std::uint8_t>;

class LearningTest : public ShippedConfigTest {
protected:
    void SetUp() override { store.settings().beepOn = true; }

    // The window's refresh re-selects the device, which shows its description.
    std::vector<std::string> refreshed;
    Learning learning{ctx, view, source, [this](const std::string& s) {
                          refreshed.push_back(s);
                          view.setStatus("(description)");
                      }};
};

Bytes Blip(std::size_t usedBytes, std::uint8_t fill = 0xF0) {
    Bytes b(kRecordBytes, 0);
    std::fill_n(b.begin(), usedBytes, fill);
    return b;
}

TEST_F(LearningTest, StatusAndPanelByCapture) {
    struct Case {
        std::string name;
        int interfaceType;
        std::optional<Bytes> capture;
        std::string status;
        std::string protocol; // ProtocolName afterwards: red when unknown, green when known
        std::string fields;   // BitNr/AddrVal/CmdVal/SendPulse
    };
    // 55 us samples: the pulse unit reads the presets' 550 and 850 us.
    const Case cases[] = {
        {"creative", 3, Bytes(600, 0xFF), "Creative Infra record is not yet implemented!", "", "///"},
        {"no interface", 9, Bytes(600, 0xFF), "No Rec interface selected!", "", "///"},
        {"39 bytes", 0, Blip(39), "Recorded signal to short!", "", "///"},
        {"no dominant run", 0, Blip(40, 0xFF), "Recorded signal is invalid or unknown!", "", "///"},
        {"four on, four off: nothing long", 0, Blip(60), "Unknown protocol!", "UNK", "///220"},
        {"sony 12", 1, Press(kProtoSony, "G101010010000"), "A valid SONY type command has been received.", "SONY",
         "12/21/16/550"},
        {"sony 13", 4, Press(kProtoSony, "G1010100100001"), "A possible invalid SONY type command has been received.",
         "SONY", "13///550"},
        {"nec 32", 0, Press(kProtoNec, "G00100000110111110001000011101111"),
         "A valid NEC type command has been received.", "NEC", "32///550"},
        // A quick tap: one frame, with nothing before it but the silence before the capture.
        {"rc5 tap", 0, Press(kProtoRc5, "G11000010000001", kSampleUs, kRecordBytes, false, true),
         "A valid RC5 type command has been received.", "RC5", "14/2/1/849"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        ctx.interfaceType = c.interfaceType;
        Record(c.capture);
        EXPECT_EQ(view.text("StatusBar"), c.status);
        EXPECT_EQ(view.text("ProtocolName"), c.protocol);
        const std::uint32_t color = c.protocol.empty() ? 0xFFFFFF : c.protocol == "UNK" ? kRed : kGreen;
        EXPECT_EQ(view.color("ProtocolName", View::ColorRole::Background), color);
        EXPECT_EQ(view.text("BitNr") + "/" + view.text("AddrVal") + "/" + view.text("CmdVal") + "/" +
                      view.text("SendPulse"),
                  c.fields);
        // Behind the label: the kernel's scancode, when the code has one.
        const std::string params = c.protocol.empty() || c.protocol == "UNK" ? "" : c.protocol + " params";
        EXPECT_EQ(view.text("ProtocolParams").substr(0, params.size()), params);
        // The measured runs stand beside the picture whenever a pulse unit was read.
        EXPECT_EQ(view.text("plen1").empty(), c.fields.back() == '/') << view.text("plen1");
    }
    EXPECT_EQ(source.calls.back().procDelay, 20);
    EXPECT_EQ(source.calls.back().length, 600);
    // While monitoring nothing is recorded and the panel stays as it is.
    const std::size_t calls = source.calls.size();
    ctx.monitoring = true;
    Record(Press(kProtoSony, "G101010010000"));
    EXPECT_EQ(view.text("StatusBar"), "You cannot record a command when monitoring function is activated!");
    EXPECT_EQ(view.text("BitNr"), "14");
    EXPECT_TRUE(source.calls.size() == calls && beeper.beeps.empty());
    // The runs are counted in samples: the NEC lead-in's 9 ms mark comes first.
    ctx.monitoring = false;
    ctx.interfaceType = 0;
    Record(Press(kProtoNec, "G00100000110111110001000011101111"));
    const std::string marks = view.text("plen1"), gaps = view.text("plen0");
    EXPECT_NEAR(std::atoi(marks.c_str() + 1), 9000 / kSampleUs, 3) << marks;
    EXPECT_GE(std::count(gaps.begin(), gaps.end(), '-'), 32) << gaps;
}

TEST_F(LearningTest, TwoPressRule) {
    const Bytes a = Press(kProtoSony, "G101010011000001"), b = Press(kProtoSony, "G000101100100000");
    const Bytes r1 = Press(kProtoRc5, "G11000010000001", kSampleUs, kRecordBytes, false);
    const Bytes r0 = Press(kProtoRc5, "G11000010000001", kSampleUs, kRecordBytes, true);
    const Bytes other = Press(kProtoRc5, "G11000010000011", kSampleUs, kRecordBytes, true);
    // The presses (nullopt: nothing received) and whether the code is validated after each.
    const std::tuple<std::string, std::vector<std::optional<Bytes>>, std::vector<bool>> cases[] = {
        {"a b b", {a, b, b}, {false, false, true}},
        {"a b a", {a, b, a}, {false, false, false}},
        {"validated stays until a new code", {a, a, b}, {false, true, false}},
        // The code it vouched for is gone with the panel.
        {"a failed recording clears it", {a, a, std::nullopt}, {false, true, false}},
        {"rc5 toggles", {r1, r0}, {false, true}},
        {"rc5 other key", {r1, other}, {false, false}},
    };
    for (const auto& [name, presses, validated] : cases) {
        SCOPED_TRACE(name);
        Recorder fresh{ctx, view, source, waveform};
        for (std::size_t i = 0; i < presses.size(); ++i) {
            source.captures = {presses[i]};
            beeper.beeps.clear();
            fresh.onRecButton();
            EXPECT_EQ(ctx.validated, validated[i]) << "press " << i + 1;
            if (!presses[i]) continue;
            EXPECT_EQ(view.text("IRCommand"), "?");
            EXPECT_EQ(view.color("CodeStr", View::ColorRole::Background), validated[i] ? kGreen : kRed);
            const std::pair<int, int> after = validated[i] ? std::pair{5000, 50} : std::pair{2000, 300};
            EXPECT_EQ(beeper.beeps, (std::vector<std::pair<int, int>>{{5000, 50}, after}));
        }
    }
}

TEST_F(LearningTest, IRManHasNoGraph) {
    ctx.interfaceType = 2;
    source.irman = std::string("\x12\x34\x00\x00\x00\x00", 6);
    Record(std::nullopt);
    EXPECT_EQ(canvas.messages.back(), "No graph available for IRMan type IR input interface.");
    EXPECT_TRUE(canvas.drawings.empty() && source.calls.empty()); // no capture, no samples
    EXPECT_EQ(view.text("CodeStr"), "G" + std::string("00010010") + "00110100" + std::string(32, '0'));
    EXPECT_EQ(view.color("CodeStr", View::ColorRole::Background), kRed);
    source.irman.clear();
    Record(std::nullopt);
    EXPECT_EQ(view.text("StatusBar"), "No signal received for 5 seconds!");
}

TEST_F(LearningTest, ReadOnlyDevices) {
    const std::string ro = "This is a read-only device!";
    const std::string notValidated = "The command is not yet validated! Pres again Record button to validate.";
    const std::string empty = "There are no more commands to delete for the current device!";
    const std::tuple<std::string, std::string, std::string> cases[] = { // device, Save's status, Delete's
        {"x10lamps", ro, ro},        {"X10lamps", notValidated, empty}, {"Winamp", ro, empty},
        {"IR Dimmer", ro, empty},    {"ir dimmer", ro, ro},             {"Recorded", ro, empty},
        {"recorded", ro, "This is a virtual read-only device!"},        {"Sony TV", notValidated, empty},
    };
    view.setItems("SendCmd", {"EMPTY"}); // what the browser lists for a device without commands
    view.setCurrentIndex("SendCmd", 0);
    for (const auto& [device, save, del] : cases) {
        SCOPED_TRACE(device);
        store.currentDevice = device;
        learning.onSaveCmdButton();
        EXPECT_EQ(view.text("StatusBar"), save);
        learning.onDeleteCmdButton();
        EXPECT_EQ(view.text("StatusBar"), del);
    }
    EXPECT_TRUE(dialogs.messages.empty());
    EXPECT_EQ(OnDisk(), DefaultConfiguration());
}

TEST_F(LearningTest, SaveRefusesBadOrKnownCodes) {
    const std::tuple<std::string, std::string, std::string> cases[] = { // code, protocol, status
        {"G10a1", "NEC", "The code you want to save is invalid."},
        {"  G010010010000 ", "SONY", "This command exist as Vol+"},
        // RC5 codes are known whatever their toggle, also in the form an older file may hold.
        {"G11110000001100", "RC5", "This command exist as Standby"},
        {"G11010000011111", "RC5", "This command exist as Old"},
    };
    std::string text = DefaultConfiguration();
    ASSERT_TRUE(Load(text.insert(text.find("[X10]"), "[Old RC5]\r\nG11110000011111,Old\r\n\r\n")));
    store.currentDevice = "Philips Amp";
    ctx.validated = true;
    for (const auto& [code, protocol, status] : cases) {
        view.setText("CodeStr", code);
        view.setText("ProtocolName", protocol); // the panel of the recording
        learning.onSaveCmdButton();
        EXPECT_EQ(view.text("StatusBar"), status) << code;
    }
    EXPECT_TRUE(dialogs.prompts.empty());
}

// Learned from a toggle-1 press, stored with toggle 0: both toggles are recognised at once.
TEST_F(LearningTest, LearnedRc5KeyIsStoredAndRecognisedWithBothToggles) {
    const std::string key = "G11010000001111";
    const Bytes toggle0 = Press(kProtoRc5, key, kSampleUs, kRecordBytes, true);
    const Bytes toggle1 = Press(kProtoRc5, key, kSampleUs, kRecordBytes, false);
    store.currentDevice = "Philips Amp";
    Record(toggle0);
    Record(toggle1);
    ASSERT_TRUE(ctx.validated);
    dialogs.inputs = {"Vol%Up", "Mute", "Power"}; // another device's name is fine
    learning.onSaveCmdButton();
    ASSERT_EQ(dialogs.prompts.size(), 3u);
    const auto statuses = view.textsOf("StatusBar");
    EXPECT_EQ(std::vector<std::string>(statuses.end() - 3, statuses.end()),
              (std::vector<std::string>{"Do not use [ ] , #  characters!",
                                        "This command name is in use for the current device!", "(description)"}));
    // Behind the last command, the next section still parted by its blank line.
    EXPECT_NE(OnDisk().find("G11010000001101,Mute\r\n" + key + ",Power\r\n\r\n[X10]"), std::string::npos);
    EXPECT_EQ(refreshed, std::vector<std::string>{"Power"});
    for (const Bytes& press : {toggle0, toggle1}) {
        EXPECT_EQ(LookupKey(store.text(), DecodeMonitorFrame(press)), "Philips Amp&Power");
        view.setCurrentIndex("HScroll1", 400);
        Record(press);
        EXPECT_EQ(view.text("IRCommand"), "Philips Amp&&Power");
        EXPECT_TRUE(ctx.validated && recorder.counter() == 0);
        EXPECT_EQ(view.color("CodeStr", View::ColorRole::Background), 0xFFFFFFu);
        EXPECT_EQ(beeper.beeps, (std::vector<std::pair<int, int>>{{5000, 50}, {2000, 50}, {5000, 50}}));
        // Drawn up to the last carrier and a little silence, from the start.
        std::size_t carrier = press.size();
        while (press[carrier - 1] == 0) --carrier;
        EXPECT_EQ(canvas.drawings.back().samples.size(), (carrier + kTrailingSilenceBytes) * 8);
        EXPECT_EQ(view.currentIndex("HScroll1"), 15);
    }
}

TEST_F(LearningTest, DeleteAsksFirstAndSaysSoAfterTheRefresh) {
    store.currentDevice = "Sony TV";
    view.setItems("SendCmd", {"Power", "Vol+", "Vol-"});
    view.setCurrentIndex("SendCmd", 1);
    dialogs.answers = {MsgAnswer::No, MsgAnswer::Yes};
    learning.onDeleteCmdButton();
    EXPECT_EQ(store.text(), DefaultConfiguration());
    learning.onDeleteCmdButton();
    EXPECT_EQ(dialogs.texts(), std::vector<std::string>(2, "Do you want to delete the command Vol+ from the current device?"));
    EXPECT_EQ(dialogs.messages[0].buttons, MsgButtons::YesNo);
    EXPECT_EQ(view.text("StatusBar"), "Command Vol+ deleted successfully.");
    EXPECT_EQ(OnDisk(), store.text());
    EXPECT_NE(OnDisk().find("G101010010000,Power\r\nG110010010000,Vol-\r\n"), std::string::npos);
}

// Nothing claims success when telvorin.cfg did not change, and memory keeps what is on disk.
TEST_F(LearningTest, WriteFailuresReachTheUser) {
    const std::string full = "# " + std::string(32760 - DefaultConfiguration().size() - 4, 'x') + "\r\n";
    // Before the shipped text (none: the write fails), the click, the store's words in the box.
    const std::tuple<std::string, void (Learning::*)(), std::string> cases[] = {
        {full, &Learning::onSaveCmdButton, "\r\nThe configuration file cannot grow"},
        {"", &Learning::onSaveCmdButton, "\r\n"},
        {"", &Learning::onDeleteCmdButton, "\r\n"},
        {"", &Learning::onMenuProcDelay, "\r\n"},
    };
    store.setMaxLength(32767);
    for (std::size_t i = 0; i < std::size(cases); ++i) {
        SCOPED_TRACE(i);
        const auto& [fileStart, click, why] = cases[i];
        ASSERT_TRUE(Load(fileStart + DefaultConfiguration()));
        if (fileStart.empty()) BlockSaves();
        store.currentDevice = "Sony TV";
        ctx.validated = true;
        view.setText("CodeStr", "G111100000000");
        view.setItems("SendCmd", {"Power"});
        view.setCurrentIndex("SendCmd", 0);
        view.setStatus("");
        dialogs.inputs = {"Sleep"}; // a name, or a delay of 0
        dialogs.answers = {MsgAnswer::Yes};
        (learning.*click)();
        EXPECT_EQ(dialogs.messages.back().text.rfind("The configuration file could not be written." + why, 0), 0u)
            << dialogs.messages.back().text;
        EXPECT_EQ(view.text("StatusBar"), "");
        EXPECT_EQ(store.text(), OnDisk());
        EXPECT_EQ(store.settings().procDelay, 20);
        EXPECT_TRUE(refreshed.empty());
        std::filesystem::remove(dir.path() / "telvorin.cfg.tmp");
    }
}

TEST_F(LearningTest, ProcDelayByHand) {
    // The answers given, the value kept, and how many were refused.
    const std::tuple<std::vector<std::optional<std::string>>, int, std::size_t> cases[] = {
        {{""}, 20, 0}, {{std::nullopt}, 20, 0}, {{"101", ""}, 20, 1}, // the shipped 20 stays
        {{"100"}, 100, 0}, {{"101", "-1", "0"}, 0, 2}, {{" 42abc"}, 42, 0},
    };
    for (const auto& [answers, value, refusals] : cases) {
        SCOPED_TRACE(value);
        dialogs.messages.clear();
        dialogs.inputs.assign(answers.begin(), answers.end());
        learning.onMenuProcDelay();
        EXPECT_EQ(store.settings().procDelay, value);
        EXPECT_NE(FindText("PROCDELAY= " + std::to_string(value) + "\r", OnDisk(), 1), 0);
        EXPECT_EQ(dialogs.texts(), std::vector<std::string>(refusals, "The value must be between 0 and 100"));
    }
    EXPECT_EQ(dialogs.prompts.back().title + ": " + dialogs.prompts.back().prompt,
              "Procdelay value: Enter the new ProcDelay value");
}

// A held SONY key sampled so that its unit measures `unit` samples in a 100-byte buffer.
Bytes SonyWithUnit(int unit) {
    for (double perCell = 4; perCell < 30; perCell += 0.05) {
        Bytes b = Press(kProtoSony, "G100000000000", 550.0 / perCell, 100);
        if (MeasuredUnit(b) == unit) return b;
    }
    ADD_FAILURE() << "no sampling gives a unit of " << unit;
    return {};
}

TEST_F(LearningTest, Calibration) {
    struct Case {
        std::string name;
        int interfaceType;
        std::vector<int> units; // measured per pass; 0 is a time-out
        std::string status;
        int procDelay;     // afterwards; a calibration that does not finish keeps the old 20
        std::string pulse; // the pulse-unit field
        std::vector<std::pair<int, int>> beeps = {}; // checked when given
    };
    const Case cases[] = {
        {"let go at once", 0, {9, 0}, "Autocalibration aborted!", 20, "",
         {{5000, 50}, {4000, 20}, {5000, 50}, {600, 1000}}},
        {"12 11 10 10 9", 0, {12, 11, 10, 10, 9}, "Calibration succeeded.  PROCDELAY=3", 3, "495"},
        {"9 before 10 waits for the release", 1, {11, 9, 9, 0}, "Autocalibration aborted!", 20, ""},
        // R = 0 reads as "not yet found": 10 at delay 0 is forgotten, the range starts at 1.
        {"10 at delay 0", 4, {10, 9, 10, 9}, "Calibration succeeded.  PROCDELAY=1", 1, "495"},
        {"never 9", 0, std::vector<int>(72, 12), "Calibration procedure failed!", 20, ""},
        {"IRMan", 2, {}, "No need to calibrate for the current IR input interface", 20, ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        ctx.interfaceType = c.interfaceType;
        store.settings().procDelay = 20;
        source.calls.clear();
        beeper.beeps.clear();
        for (int u : c.units) source.captures.push_back(u ? std::optional<Bytes>(SonyWithUnit(u)) : std::nullopt);
        view.setText("SendPulse", "550");
        dialogs.answers = {MsgAnswer::Ok};
        learning.onCalibrationMenu();
        EXPECT_EQ(view.text("StatusBar"), c.status);
        EXPECT_EQ(store.settings().procDelay, c.procDelay);
        EXPECT_EQ(view.text("SendPulse"), c.pulse);
        EXPECT_TRUE(c.beeps.empty() || beeper.beeps == c.beeps);
        std::vector<int> delays;
        for (const auto& call : source.calls) delays.push_back(call.length == 100 ? call.procDelay : -1);
        if (c.units.size() == 5) {
            EXPECT_EQ(delays, (std::vector<int>{0, 1, 2, 3, 4}));
            EXPECT_EQ(view.text("ProcDelayparameter"), "3");
            EXPECT_NE(FindText("PROCDELAY= 3\r", OnDisk(), 1), 0);
        }
    }
    dialogs.answers = {MsgAnswer::Cancel};
    source.calls.clear();
    learning.onCalibrationMenu();
    EXPECT_TRUE(source.calls.empty());
}

} // namespace
} // namespace quenix

namespace quenix {
namespace {

// An air conditioner's state: 256 bits in one pulse-distance frame. At 330 us it fills most of
// one capture (792 units, 261 ms), as long a frame as 600 bytes at the sample period hold.
TEST_F(LearningTest, LongPulseDistanceCodeLearnsStoresSendsAndMatches) {
    std::string bits;
    for (unsigned i = 0, x = 12345; i < 256; ++i, x = x * 1103515245u + 12345u) bits += (x >> 16) & 1 ? '1' : '0';
    const std::string key = "G" + bits;
    ProtocolHeader h = HeaderFromPreset(kProtoNec);
    h.sendpls = 330;
    h.repeat = 0;
    std::string sent = key;
    bool toggle = false;
    const std::string cells = EncodeCommand(sent, h, toggle);
    const Bytes press = SampleRuns(CellsToRuns(cells, h.sendpls), kSampleUs, kRecordBytes);

    store.currentDevice = "Set-top Box";
    Record(press);
    Record(press);
    ASSERT_EQ(view.text("CodeStr"), key);
    ASSERT_TRUE(ctx.validated);
    EXPECT_EQ(view.text("BitNr"), "256");
    dialogs.inputs = {"Cool 22"};
    learning.onSaveCmdButton();
    ASSERT_NE(OnDisk().find(key + ",Cool 22\r\n"), std::string::npos);

    // Matched by monitoring and by the recorder.
    EXPECT_EQ(LookupKey(store.text(), DecodeMonitorFrame(press)), "Set-top Box&Cool 22");
    Record(press);
    EXPECT_EQ(view.text("IRCommand"), "Set-top Box&&Cool 22");

    // At NEC's 560 us the frame lasts 430 ms: the press cut off is not learned but asks for
    // another, taken long, until a code fits a recording again.
    const auto at560 = CellsToRuns(cells, 560);
    source.calls.clear();
    Record(SampleRuns(at560, kSampleUs, kRecordBytes));
    EXPECT_EQ(view.text("StatusBar"),
              "The code is longer than one recording (264 ms): press the key again to record it whole.");
    EXPECT_EQ(view.text("CodeStr"), "");
    Record(SampleRuns(at560, kSampleUs, kLongCaptureBytes));
    EXPECT_EQ(view.text("CodeStr"), key);
    EXPECT_EQ(view.text("IRCommand"), "Set-top Box&&Cool 22");
    Record(Press(kProtoNec, "G00100000110111110001000011101111"));
    Record(Press(kProtoNec, "G00100000110111110001000011101111"));
    std::vector<int> lengths;
    for (const auto& c : source.calls) lengths.push_back(c.length);
    EXPECT_EQ(lengths, (std::vector<int>{600, 2048, 2048, 600}));

    // A press of two frames, 64 and 152 bits, cut in its second: taken long too, then whole.
    std::string two = "G" + bits.substr(0, 64) + "G" + bits.substr(64, 152), sentTwo = two;
    h.sendpls = 560;
    const auto runsTwo = CellsToRuns(EncodeCommand(sentTwo, h, toggle), h.sendpls);
    Record(SampleRuns(runsTwo, kSampleUs, kRecordBytes));
    EXPECT_EQ(view.text("CodeStr"), "");
    Record(SampleRuns(runsTwo, kSampleUs, kLongCaptureBytes));
    EXPECT_EQ(view.text("CodeStr"), two);
    EXPECT_EQ(source.calls.back().length, 2048);
}

// A key pressed twice at a standard receiver on COM1, sampled by the capture library's own
// sampler: recorded and validated, a device made from the recording, the command stored, sent
// as the protocol's encoder sends it, and recognised by monitoring.
TEST_F(LearningTest, KeysLearnedOnTheSampledReceiverAreStoredSentAndRecognised) {
    const std::tuple<int, std::string, std::string, bool> cases[] = { // protocol, device, code, a single frame
        {kProtoRc6A, "Media PC", "G10000000000011110000010000100010", false},
        {kProtoJvc, "JVC Deck", "G1100010100001000", false},
        {kProtoKaseikyo, "Panasonic", "G010000000000010000000001000000001011110010111101", false},
        {kProtoSony, "Sony Tap", "G011011111111", true}, // a tap: one frame, its first bit 0
    };
    testing::SimSerialDriver driver{clock};
    SerialPort port{driver};
    driver.port(1);
    ctx.irPortHandle = port.OpenComPort(1);
    testing::DcdReceiver receiver = testing::StandardReceiver();
    driver.port(1).peer = &receiver;
    PortLine line{port, ctx.irPortHandle};
    serpulse::Sampler sampler{line, clock};
    testing::FakeCaptureLibrary library;
    library.sampler = &sampler;
    PortCaptureSource sampled{ctx, port, library};
    Recorder sampledRecorder{ctx, view, sampled, waveform};
    CommandExecutor executor{ctx, port, library, view, {}};
    std::int64_t airEnd = 0;
    for (const auto& [protocol, device, key, tap] : cases) {
        SCOPED_TRACE(device);
        ProtocolHeader h = HeaderFromPreset(protocol);
        if (tap) h.repeat = 0;
        std::string code = key;
        bool toggle = false;
        for (int press = 0; press < 2; ++press) { // an MCE remote flips its toggle bit between them
            const std::string cells = EncodeCommand(code, h, toggle);
            clock.waitUntilNs(airEnd); // the previous press is over
            receiver.air.push_back({cells, double(h.sendpls), clock.nowNs() + 300'000'000});
            airEnd = receiver.air.back().startNs + static_cast<std::int64_t>(cells.size()) * h.sendpls * 1000;
            sampledRecorder.onRecButton();
        }
        ASSERT_TRUE(ctx.validated) << view.text("StatusBar");
        EXPECT_EQ(view.text("ProtocolName") + " " + view.text("CodeStr"), std::string(PresetFor(protocol).name) + " " + code);

        store.currentDevice = "Recorded";
        FakeView form;
        DeviceEditor editor{ctx, form, view};
        ASSERT_TRUE(editor.Open());
        form.setText("CProtIn", device);
        dialogs.answers = {MsgAnswer::Yes};
        ASSERT_TRUE(editor.OnCreate()) << dialogs.texts().back();
        const ProtocolHeader made = DeviceHeader(store.text(), device), preset = HeaderFromPreset(protocol);
        EXPECT_EQ(made.gproto, protocol);
        EXPECT_EQ(made.bitg + "/" + made.bit0 + "/" + made.bit1, preset.bitg + "/" + preset.bit0 + "/" + preset.bit1);
        // The unit as measured: 55 us samples read it a little long (SONY's tap 5 %).
        EXPECT_NEAR(made.sendpls, preset.sendpls, preset.sendpls * 0.06);

        dialogs.inputs = {"Key"};
        learning.onSaveCmdButton();
        const std::string stored = NormalisedCode(code, protocol);
        EXPECT_EQ(StoredCode(OnDisk(), device, "Key"), stored);

        // Sent with the device's header: the preset's cells at the measured unit.
        std::string sent = stored;
        bool sentToggle = ctx.rc5Toggle;
        std::string cells = EncodeCommand(sent, preset, sentToggle);
        cells.append((8 - cells.size() % 8) % 8, '0');
        EXPECT_EQ(executor.Execute(device, "Key"), device + " Key executed.");
        EXPECT_EQ(executor.lastCells(), cells);
        EXPECT_EQ(executor.lastPulseLength(), made.sendpls);

        EXPECT_EQ(LookupKey(store, DecodeMonitorFrame(ctx.captureBuffer)), device + "&Key");
    }
}

} // namespace
} // namespace quenix
