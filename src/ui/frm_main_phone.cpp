#include "ui/frm_main.h"

#include "ui/frm_bt.h"
#include "ui/import_form.h"

#include <QAction>
#include <QLabel>
#include <QStatusBar>
#include <QTimer>

namespace quenix {

void FrmMain::wirePhone(Io io) {
    auto on = [this](const char* name, auto slot) {
        if (QAction* a = action(name)) connect(a, &QAction::triggered, this, slot);
    };

    importExport_ = std::make_unique<ImportExport>(ctx_);
    importExport_->chooseRows = [this](ImportExport::Mode mode, const std::vector<ImportExport::Row>& rows) {
        return ShowImportForm(mode, rows, this);
    };
    on("FileImportMenu", [this] {
        const std::string shown = ctx_.config.currentDevice;
        const Settings before = ctx_.settings();
        importExport_->FileImport();
        main_->Imported(shown, before);
    });
    on("FileSaveMenu", [this] { importExport_->FileExport(); });
    on("FileExportCodesMenu", [this] { importExport_->FileExportCodes(); });

    // The phone's link state sits at the right of the status bar.
    auto* label = new QLabel(statusBar());
    label->setObjectName(PhoneRemote::kLabel);
    label->setAccessibleName("Bluetooth phone");
    label->setAutoFillBackground(true);
    statusBar()->addPermanentWidget(label);

    QAction* config = action("BluetoothConfigMenu");
    auto showState = [this, config] {
        if (config) config->setChecked(ctx_.settings().btEna);
    };
    showState();
    if (!io.port) {
        // Without a serial port (window tests) there is no phone to talk to.
        on("BluetoothConfigMenu", [this, showState] {
            showState();
            view_.setStatus("This function is not available in this version yet.");
        });
        return;
    }
    SerialPort* port = io.port;
    on("BluetoothConfigMenu", [this, port, showState] {
        // While monitoring runs, the phone remote follows the form at once: it lets go of its
        // port and starts again on what is chosen now, or stops when the box was cleared.
        ShowBluetoothForm(ctx_, *port, this, [this] {
            phone_->Close();
            view_.setText(PhoneRemote::kLabel, "");
            if (ctx_.settings().btEna) {
                if (!phone_->handleEvent && monitor_)
                    phone_->handleEvent = [this](const std::string& key) { return monitor_->HandleEvent(key); };
                phone_->Initialise();
                view_.setTimerEnabled("BTAutoTimer", true);
            }
            main_->RefreshIcon();
        });
        showState();
    });

    phone_ = std::make_unique<PhoneRemote>(ctx_, view_, *port);
    phone_->refreshTray = [this] { main_->RefreshIcon(); };
    if (auto* t = findChild<QTimer*>("BTMonTimer")) connect(t, &QTimer::timeout, this, [this] { phone_->OnBTMonTimer(); });
    if (auto* t = findChild<QTimer*>("BTAutoTimer")) connect(t, &QTimer::timeout, this, [this] { phone_->OnBTAutoTimer(); });
    // The reply wait counts SecondTimer's ticks; the monitoring wiring counts them.
    if (auto* t = findChild<QTimer*>("SecondTimer"); t && !t->isActive()) t->start();
}

} // namespace quenix
