#include "ui/frm_main.h"

#include "io/receiver_controller.h"
#include "ui/frm_monitor.h"

#include <QAction>
#include <QListWidget>
#include <QSocketNotifier>
#include <QTimer>

namespace quenix {

void FrmMain::wireMonitoring(Io io) {
    const char* items[] = {"MonitoringStartMenu", "MonitoringStopMenu", "RestartMonMenu",   "MonitorConfigureMenu",
                           "mnuStartMonitor",     "mnuStopMonitor",     "mnuRestartMonitor"};
    if (!io.port || !io.library) {
        // Without a port and a library (window tests) there is nothing to listen with.
        for (const char* name : items) {
            QAction* a = action(name);
            connect(a, &QAction::triggered, this, [this, a] {
                if (a->isCheckable()) a->setChecked(!a->isChecked()); // nothing changed
                view_.setStatus("This function is not available in this version yet.");
            });
        }
        return;
    }

    MonitorEngine::Hooks hooks;
    if (executor_)
        hooks.execute = [this](const std::string& device, const std::string& command) {
            return executor_->Execute(device, command);
        };
    hooks.minimised = [this] { return isMinimized(); };
    hooks.compact = [this] { return main_->compact(); };
    hooks.minButton = [this] { main_->MinButton(); };
    hooks.refreshIcon = [this] { main_->RefreshIcon(); };
    hooks.refreshProtocol = [this] {
        if (devices_->currentRow() >= 0) browser_->SelectDevice(devices_->currentRow());
    };
    hooks.showEditor = [this] { ShowMonitorForm(ctx_, this); };
    // The phone remote is wired after us; reach it when monitoring starts, which is also
    // the earliest a phone key can arrive.
    hooks.bluetoothStart = [this] {
        if (!phone_) return;
        if (!phone_->handleEvent)
            phone_->handleEvent = [this](const std::string& key) { return monitor_->HandleEvent(key); };
        phone_->Initialise();
    };
    hooks.bluetoothStop = [this] {
        if (phone_) phone_->Close();
    };
    hooks.showOnPhone = [this](const std::string& result) {
        if (phone_ && phone_->active()) phone_->Show(result);
    };
    monitor_ = std::make_unique<MonitorEngine>(ctx_, view_, *io.port, *io.library, std::move(hooks));
    MonitorEngine* engine = monitor_.get();
    // Nothing runs yet: the tray offers Start only, until the engine says otherwise.
    view_.setEnabled("mnuStopMonitor", false);

    // The check marks are the engine's to set: undo the one Qt flipped on the click.
    auto on = [this](const char* name, auto slot) {
        QAction* a = action(name);
        connect(a, &QAction::triggered, this, [a, slot] {
            if (a->isCheckable()) a->setChecked(!a->isChecked());
            slot();
        });
    };
    on("MonitoringStartMenu", [engine] { engine->Start(); });
    on("MonitoringStopMenu", [engine] { engine->Stop(); });
    on("RestartMonMenu", [engine] { engine->Restart(); });
    on("MonitorConfigureMenu", [engine] { engine->Configure(); });
    on("mnuStartMonitor", [engine] { engine->Start(); });
    on("mnuStopMonitor", [engine] { engine->Stop(); });
    on("mnuRestartMonitor", [engine] { engine->Restart(); });

    // A kernel device or FIFO can be waited on: the timer's first tick hands over to a notifier
    // on the descriptor, which ticks once per arrival and hands back, so an idle receiver costs
    // nothing. The engine keeps switching the timer as before (stop, send, a failed library);
    // the notifier only ever ticks while the timer was last left running.
    // A serial receiver's line is polled every millisecond only while a key is on the air: when
    // a tick finds it idle and the port can wait for a line change (a UART, not a pty), a thread
    // waits for DCD to move and the first tick after it samples as before.
    auto* timer = findChild<QTimer*>("IRMonTimer");
    lineWatch_ = std::make_unique<LineWatch>(io.port->driver());
    if (lineWatch_->fd() >= 0) {
        lineNotifier_ = new QSocketNotifier(lineWatch_->fd(), QSocketNotifier::Read, this);
        lineNotifier_->setEnabled(false);
        connect(lineNotifier_, &QSocketNotifier::activated, this, [this, engine, timer] {
            lineNotifier_->setEnabled(false);
            const bool same = lineWatch_->handle() == ctx_.irPortHandle;
            lineWatch_->Stop();
            if (!ctx_.monitoring || !ctx_.settings().irInEna || !same) return;
            timer->start();
            engine->OnIRMonTimer();
        });
    }
    connect(timer, &QTimer::timeout, this, [this, engine, timer] {
        const PortHandle fd = ctx_.irPortHandle;
        if (ctx_.interfaceType != kKernelIr || fd == kNoPort) {
            if (lineWatch_->waiting()) lineWatch_->Stop(); // started again meanwhile: poll
            engine->OnIRMonTimer();
            if (lineNotifier_ && engine->LineIdle() && timer->isActive() && lineWatch_->Start(fd, kModemDcdOn)) {
                timer->stop();
                lineNotifier_->setEnabled(true);
            }
            return;
        }
        timer->stop();
        if (!irNotifier_ || irNotifier_->socket() != fd) {
            delete irNotifier_;
            irNotifier_ = new QSocketNotifier(fd, QSocketNotifier::Read, this);
            connect(irNotifier_, &QSocketNotifier::activated, this, [this, engine, timer] {
                irNotifier_->setEnabled(false);
                // With input off the device is left to queue (and emptied when input is back).
                if (!ctx_.monitoring || !ctx_.settings().irInEna || irNotifier_->socket() != ctx_.irPortHandle)
                    return;
                timer->start();
                engine->OnIRMonTimer();
            });
        }
        irNotifier_->setEnabled(true);
    });
    auto* second = findChild<QTimer*>("SecondTimer");
    connect(second, &QTimer::timeout, this, [engine] { engine->OnSecondTimer(); });
    second->start();

    MainController::Hooks& mainHooks = main_->hooks();
    mainHooks.startMonitoring = [engine] { engine->Start(); };
    mainHooks.stopMonitoring = [engine] { engine->Stop(); };
    mainHooks.irInputChanged = [engine] { engine->InputChanged(); };
}

} // namespace quenix
