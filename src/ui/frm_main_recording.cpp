// Recording, learning, calibration and the signal view of the main window.

#include "monitor/capture_source.h"
#include "ui/frm_main.h"
#include "ui/signal_widget.h"

#include <QAction>
#include <QPushButton>
#include <QScrollBar>
#include <QSignalBlocker>

#include <algorithm>

namespace quenix {

namespace {

// Without a port and a library (window tests) nothing is ever captured.
class NoCapture final : public CaptureSource {
public:
    bool record(int, std::vector<std::uint8_t>&, int, int) override { return false; }
    std::string readIRMan() override { return {}; }
};

} // namespace

void FrmMain::wireRecording(Io io) {
    auto* signal = findChild<SignalWidget*>("Signal");
    if (!signal) return;
    waveform_ = std::make_unique<Waveform>(view_, *signal);
    signal->resized = [this] { waveform_->Redraw(); };
    auto* bar = findChild<QScrollBar*>("HScroll1");
    bar->setSingleStep(15);
    // A smaller scroll position shows later samples, and the start view is the largest: the bar
    // runs right to left so that its thumb starts at the left and dragging right moves on.
    bar->setLayoutDirection(Qt::RightToLeft);
    waveform_->scrollRange = [bar](int minimum, int maximum) {
        QSignalBlocker quiet(bar);
        bar->setRange(minimum, maximum);
    };
    if (sender_)
        sender_->hooks().drawWaveform = [this](const std::string& samples) { waveform_->ShowSamples(samples); };
    if (io.port && io.library)
        captureSource_ = std::make_unique<PortCaptureSource>(ctx_, *io.port, *io.library);
    else
        captureSource_ = std::make_unique<NoCapture>();
    recorder_ = std::make_unique<Recorder>(ctx_, view_, *captureSource_, *waveform_);
    learning_ = std::make_unique<Learning>(ctx_, view_, *captureSource_, [this](const std::string& select) {
        browser_->SelectDevice(view_.currentIndex("Protocol"));
        if (select.empty()) return;
        auto items = view_.items("SendCmd");
        auto it = std::find(items.begin(), items.end(), select);
        if (it == items.end()) return;
        const int row = static_cast<int>(it - items.begin());
        view_.setCurrentIndex("SendCmd", row);
        browser_->SelectCommand(row);
    });

    auto button = [this](const char* name, auto slot) {
        connect(findChild<QPushButton*>(name), &QPushButton::clicked, this, slot);
    };
    button("RecButton", [this] { recorder_->onRecButton(); });
    button("SaveCmdButton", [this] { learning_->onSaveCmdButton(); });
    button("DeleteCmdButton", [this] { learning_->onDeleteCmdButton(); });
    button("GExt", [this] { waveform_->onGExt(); });
    button("Gshr", [this] { waveform_->onGshr(); });
    button("GReset", [this] { waveform_->onGReset(); });
    connect(bar, &QScrollBar::valueChanged, this, [this](int value) { waveform_->onHScroll1(value); });
    connect(action("CalibrationMenu"), &QAction::triggered, this, [this] {
        if (receiver_ && receiver_->onKernelDevice())
            view_.setStatus(receiver_->noCalibrationText());
        else
            learning_->onCalibrationMenu();
    });
    connect(action("MenuProcDelay"), &QAction::triggered, this, [this] { learning_->onMenuProcDelay(); });
}

} // namespace quenix
