#include "ui/frm_main.h"

#include "ui/frm_x10_config.h"

#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QSocketNotifier>
#include <QTimer>

namespace quenix {

// The receiver's menus, port list and boxes, and the X10 window that takes a port of its own.
void FrmMain::wireReceiver(Io io) {
    auto* irda = findChild<QCheckBox*>("IrDACheckBox");
    if (!io.port || !io.library) {
        connect(irda, &QCheckBox::toggled, this, [this, irda](bool on) {
            if (!on) return;
            irda->setChecked(false);
            main_->NotYetImplemented();
        });
        return;
    }
    receiver_ = std::make_unique<ReceiverController>(ctx_, view_, *io.port, *io.library);
    ReceiverController* rc = receiver_.get();
    SerialPort* port = io.port;
    CaptureLibrary* library = io.library;

    const std::pair<const char*, void (ReceiverController::*)()> menus[] = {
        {"StdDcdMenu", &ReceiverController::onStdDcdMenu},
        {"IRMouseMenu", &ReceiverController::onIRMouseMenu},
        {"IRManMenu", &ReceiverController::onIRManMenu},
        {"CreativeInfraMenu", &ReceiverController::onCreativeInfraMenu},
        {"FirmMenu", &ReceiverController::onFirmMenu},
        {"UnavailableMenu", &ReceiverController::onUnavailableMenu},
        {"AutoDetectMenu", &ReceiverController::onAutoDetectMenu}};
    for (auto [name, slot] : menus)
        connect(action(name), &QAction::triggered, this, [rc, slot] { (rc->*slot)(); });
    connect(findChild<QComboBox*>("ComList"), &QComboBox::activated, this, [this, rc] {
        // The port may close under a notifier that waits on it: hand the wait back to the timer.
        if (irNotifier_ && irNotifier_->isEnabled()) {
            irNotifier_->setEnabled(false);
            findChild<QTimer*>("IRMonTimer")->start();
        }
        rc->onComListClick();
    });
    connect(findChild<QCheckBox*>("TxDCheckBox"), &QCheckBox::toggled, this, [rc] { rc->onTxDCheckBox(); });
    connect(irda, &QCheckBox::toggled, this, [rc] { rc->onIrDACheckBox(); });

    // The X10 window decides X10ENA; the check mark shows what it saved.
    connect(action("X10ConfMenu"), &QAction::triggered, this, [this, port] {
        ShowX10ConfigForm(ctx_, *port, view_, this);
        view_.setChecked("X10ConfMenu", ctx_.settings().x10Ena);
    });

    MainController::Hooks& hooks = main_->hooks();
    hooks.applyInterface = [rc] {
        rc->listPorts();
        rc->applyStoredInterface();
    };
    hooks.closePort = [port](PortHandle h) { port->CloseHandle(h); };
    hooks.setCaptureHandle = [library](PortHandle h) { library->SetHandle(h); };

    browser_->hooks().prepareInfraredDevice = [this, rc, port] {
        if (ctx_.interfaceType == kIrMan) {
            rc->initialiseIRMan();
        } else if (ctx_.interfaceType != kFirM) {
            // A send may have been cut short with the TxD carrier on.
            port->SetTxDBreak(ctx_.irPortHandle, false);
        }
    };
}

} // namespace quenix
