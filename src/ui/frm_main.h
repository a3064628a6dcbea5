#pragma once

#include "actions/desktop_actions.h"
#include "actions/executor.h"
#include "actions/send_controller.h"
#include "config/browser_controller.h"
#include "config/import_export.h"
#include "config/context.h"
#include "config/main_controller.h"
#include "io/line_watch.h"
#include "io/receiver_controller.h"
#include "ir/learning.h"
#include "ir/recorder.h"
#include "ir/waveform.h"
#include "lirc/lircd_server.h"
#include "monitor/monitor_engine.h"
#include "monitor/phone_remote.h"
#include "ui/frm_wait_to_start.h"
#include "ui/qt_view.h"

#include <QMainWindow>

#include <memory>

class QAction;
class QActionGroup;
class QGroupBox;
class QListWidget;
class QMenu;
class QPushButton;
class QSystemTrayIcon;
class QSocketNotifier;
class QTimer;
class QWidget;

namespace quenix {

class LircdSocket;
class MqttBridge;
class MqttLink;
class SoundPlayer;

// The serial port and the capture library of the receiver; without them (window tests) the
// interface menus do nothing and start-up skips the receiver.
struct MainWindowIo {
    SerialPort* port = nullptr;
    CaptureLibrary* library = nullptr;
    // Sounds of the application actions; without it those actions fall through to infrared.
    SoundPlayer* sound = nullptr;
};

// The main window. It builds the widgets under their object names and forwards every event to
// the controllers; the logic lives in MainController and BrowserController.
class FrmMain : public QMainWindow {
    Q_OBJECT
public:
    using Io = MainWindowIo;

    explicit FrmMain(Context& ctx, Io io = {}, QWidget* parent = nullptr);
    ~FrmMain() override;

    // The load handler. False when the configuration could not be loaded: the program ends.
    // With `show`, the window is shown as soon as the configuration has loaded.
    bool startUp(bool show = false);

    QtView& view() { return view_; }
    MainController& controller() { return *main_; }
    BrowserController& browser() { return *browser_; }
    ReceiverController* receiver() { return receiver_.get(); }
    // A menu or tray action by object name, or null.
    QAction* action(const QString& name) const;
    QSystemTrayIcon* trayIcon();
    QMenu* trayMenu() const { return trayMenu_; }
    FrmWaitToStart* waitWindow() const { return wait_.get(); }

    // File exit and mnuExit: closes the ports, saves and ends the event loop.
    void exitProgram();

protected:
    void changeEvent(QEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

private:
    void buildMenus();
    QWidget* buildDevicePanel();
    QWidget* buildSignalPanel();
    QWidget* buildRecordPanel();
    QWidget* buildInterfacePanel();
    void buildTray();
    void buildTimers();
    void wire();
    void wireReceiver(Io io);
    void wireSending(Io io);
    void wireMonitoring(Io io);
    void wirePhone(Io io);
    void wireRecording(Io io);
    void wireLircd();
    void wireWeb();
    void wireMqtt(Io io);
    void wireAutostart();
    void setCompactLayout(bool compact);
    QAction* addAction(QMenu* menu, const char* name, const QString& text, bool checkable = false,
                       const QKeySequence& shortcut = {});

    Context& ctx_;
    QtView view_;
    std::unique_ptr<FrmWaitToStart> wait_;
    QtView waitView_;
    std::unique_ptr<BrowserController> browser_;
    std::unique_ptr<MainController> main_;
    std::unique_ptr<ReceiverController> receiver_;
    std::unique_ptr<DesktopActions> actions_;
    std::unique_ptr<CommandExecutor> executor_;
    std::unique_ptr<SendController> sender_;
    std::unique_ptr<MonitorEngine> monitor_;
    // Waits on a kernel infrared device while monitoring, in place of the 1 ms poll.
    QSocketNotifier* irNotifier_ = nullptr;
    // Waits for a serial receiver's line between keys, where the port can be waited on.
    std::unique_ptr<LineWatch> lineWatch_;
    QSocketNotifier* lineNotifier_ = nullptr;
    std::unique_ptr<PhoneRemote> phone_;
    std::unique_ptr<ImportExport> importExport_;
    std::unique_ptr<CaptureSource> captureSource_;
    std::unique_ptr<Waveform> waveform_; // ShowSamples() draws what was sent
    std::unique_ptr<Recorder> recorder_;
    std::unique_ptr<Learning> learning_;
    std::unique_ptr<LircdServer> lircdServer_;
    LircdSocket* lircdSocket_ = nullptr;
    // The bridge leaves the broker through the link, so it goes first.
    std::unique_ptr<MqttLink> mqttLink_;
    std::unique_ptr<MqttBridge> mqttBridge_;

    QListWidget* devices_ = nullptr;
    QListWidget* commands_ = nullptr;
    QWidget* fullOnly_ = nullptr;    // panels the compact window leaves out
    QWidget* learnButtons_ = nullptr; // Record, Save, Delete
    QMenu* trayMenu_ = nullptr;
    QSystemTrayIcon* tray_ = nullptr;
    bool showWhenLoaded_ = false;
    QActionGroup* interfaceGroup_ = nullptr;
    QSize fullSize_;
    bool started_ = false;
    bool exiting_ = false;
};

} // namespace quenix
