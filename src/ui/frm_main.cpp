#include "ui/frm_main.h"

#include "mqtt/mqtt_bridge.h"

#include <QAction>
#include <QActionGroup>
#include <QApplication>
#include <QCheckBox>
#include <QCloseEvent>
#include <QComboBox>
#include <QDesktopServices>
#include <QFormLayout>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QIcon>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QMenuBar>
#include <QPushButton>
#include <QScrollBar>
#include <QSocketNotifier>
#include <QStatusBar>
#include <QStyle>
#include <QSystemTrayIcon>
#include <QTimer>
#include <QUrl>
#include <QVBoxLayout>

#include "ui/icon_loading.h"
#include "ui/new_protocol_form.h"
#include "ui/signal_widget.h"

#include <QDialog>
#include <QFile>
#include <QProcess>

namespace quenix {
namespace {

QString Q(const std::string& s) { return QString::fromLatin1(s.data(), static_cast<qsizetype>(s.size())); }

// A screen reader speaks what a sighted user reads: Qt takes a control's name from its own
// caption or from the label whose buddy it is, so those get no fixed name that could go stale.
template <class W>
W* Named(W* w, const char* objectName, const QString& tip = {}) {
    w->setObjectName(objectName);
    if (!tip.isEmpty()) w->setToolTip(tip);
    return w;
}

// A control with no caption of its own (a symbol, a picture, a bar) is spoken by its tooltip.
template <class W>
W* Spoken(W* w, const char* objectName, const QString& tip) {
    Named(w, objectName, tip)->setAccessibleName(tip);
    return w;
}

QLineEdit* Field(QWidget* parent, const char* name, const QString& tip, int chars) {
    auto* e = Named(new QLineEdit(parent), name, tip);
    e->setMinimumWidth(e->fontMetrics().horizontalAdvance(QString(chars, QChar('0'))) + 16);
    return e;
}

QLabel* Caption(const QString& text, QWidget* buddy, QWidget* parent) {
    auto* l = new QLabel(text, parent);
    l->setBuddy(buddy);
    return l;
}

} // namespace

FrmMain::FrmMain(Context& ctx, Io io, QWidget* parent)
    : QMainWindow(parent), ctx_(ctx), view_(this), wait_(std::make_unique<FrmWaitToStart>(this)),
      waitView_(wait_.get()) {
    setObjectName("frmMain");
    // No fixed accessible name: Qt then names the window by its title and announces a new one,
    // and the title says what the window is doing (monitor, X10 remote, compact sender).
    setWindowTitle("Quenix Remote Manager");

    buildMenus();
    auto* central = new QWidget(this);
    auto* layout = new QHBoxLayout(central);
    layout->setContentsMargins(10, 10, 10, 6);
    layout->setSpacing(12);
    layout->addWidget(buildDevicePanel(), 1);

    fullOnly_ = new QWidget(central);
    auto* right = new QVBoxLayout(fullOnly_);
    right->setContentsMargins(0, 0, 0, 0);
    right->setSpacing(10);
    right->addWidget(buildSignalPanel(), 1);
    auto* lower = new QHBoxLayout;
    lower->setSpacing(12);
    lower->addWidget(buildRecordPanel(), 3);
    lower->addWidget(buildInterfacePanel(), 2);
    right->addLayout(lower);
    layout->addWidget(fullOnly_, 3);
    setCentralWidget(central);

    auto* status = Spoken(new QStatusBar(this), "StatusBar", "Status");
    setStatusBar(status);
    // The compact window can cut a long message; its tooltip keeps the whole text.
    connect(status, &QStatusBar::messageChanged, status, [status](const QString& m) { status->setToolTip(m); });
    // What holds for the whole run (a lircd socket another program serves) stays beside the
    // passing messages.
    status->addPermanentWidget(Named(new QLabel(status), "StatusNote"));

    buildTray();
    buildTimers();

    BrowserController::Hooks browserHooks;
    browserHooks.deviceForm = [this] { return ShowNewProtocolForm(ctx_, view_, this) == QDialog::Accepted; };
    browser_ = std::make_unique<BrowserController>(ctx_, view_, std::move(browserHooks));

    MainController::Hooks hooks;
    hooks.openUrl = [](const std::string& target) {
        QString t = Q(target);
        QDesktopServices::openUrl(t.contains("://") ? QUrl(t) : QUrl::fromLocalFile(t));
    };
#ifdef Q_OS_WIN
    // Windows users get the compiled help in the system's own viewer when it is installed; the
    // HTML pages otherwise.
    if (QFile::exists(Q(ctx_.config.dataFolder() + "/zvk.chm"))) {
        hooks.openHelp = [this] { QProcess::startDetached("hh.exe", {"zvk.chm"}, Q(ctx_.config.dataFolder())); };
    }
#endif
    hooks.iconChanged = [this](const std::string& file) {
        QIcon icon = IconFromFile(Q(ctx_.config.dataFolder() + "/" + file));
        // A minimised window lives only behind its tray icon, so a missing file still needs one.
        if (icon.isNull()) {
            if (!trayIcon()->icon().pixmap(32).isNull()) return;
            icon = style()->standardIcon(QStyle::SP_ComputerIcon);
        }
        trayIcon()->setIcon(icon);
        setWindowIcon(icon);
    };
    hooks.compactChanged = [this](bool compact) { setCompactLayout(compact); };
    hooks.showWindow = [this] {
        if (showWhenLoaded_) show();
    };
    main_ = std::make_unique<MainController>(ctx_, view_, waitView_, *browser_, std::move(hooks));
    wire();
    wireReceiver(io);
    wireSending(io);
    wireMonitoring(io);
    wirePhone(io);
    wireRecording(io);
    wireLircd();
    wireWeb(); // after the lircd socket, which sets the key hook without chaining
    wireMqtt(io);
    wireAutostart();

    resize(sizeHint().expandedTo(QSize(980, 640)));
}

FrmMain::~FrmMain() = default;

QAction* FrmMain::addAction(QMenu* menu, const char* name, const QString& text, bool checkable,
                            const QKeySequence& shortcut) {
    auto* a = menu->addAction(text);
    a->setObjectName(name);
    a->setCheckable(checkable);
    if (!shortcut.isEmpty()) a->setShortcut(shortcut);
    return a;
}

void FrmMain::buildMenus() {
    QMenu* file = menuBar()->addMenu("&File");
    file->setObjectName("FileMenu");
    addAction(file, "FileNewMenu", "&New device...", false, QKeySequence::New);
    addAction(file, "EditMenu", "&Edit device...", false, QKeySequence("Ctrl+E"));
    addAction(file, "ProtoDeleteMenu", "&Delete device...");
    file->addSeparator();
    addAction(file, "FileImportMenu", "&Import devices...");
    addAction(file, "FileSaveMenu", "Ex&port devices...");
    addAction(file, "FileExportCodesMenu", "Export &codes of the device...");
    file->addSeparator();
    addAction(file, "AddApplicationMenu", "Add &application entry...");
    file->addSeparator();
    addAction(file, "ExitMenu", "E&xit", false, QKeySequence("Ctrl+Q"));

    QMenu* settings = menuBar()->addMenu("&Settings");
    settings->setObjectName("SettingsMenu");
    addAction(settings, "InfraredInMenu", "Infrared &input", true);
    addAction(settings, "InfraredOutMenu", "Infrared &output", true);
    QMenu* iface = settings->addMenu("Input in&terface");
    iface->setObjectName("InterfaceMenu");
    interfaceGroup_ = new QActionGroup(this);
    const std::pair<const char*, const char*> interfaces[] = {{"StdDcdMenu", "&Standard (DCD)"},
                                                              {"IRMouseMenu", "IR &Mouse"},
                                                              {"IRManMenu", "IR M&an"},
                                                              {"CreativeInfraMenu", "&Creative Infra"},
                                                              {"FirmMenu", "&FirM"},
                                                              {"UnavailableMenu", "&Unavailable"}};
    for (auto [name, text] : interfaces) interfaceGroup_->addAction(addAction(iface, name, text, true));
    iface->addSeparator();
    addAction(iface, "AutoDetectMenu", "Auto &detect");
    settings->addSeparator();
    addAction(settings, "X10ConfMenu", "&X10...", true);
    addAction(settings, "IRDimmerMenu", "IR &dimmer", true);
    addAction(settings, "WinampMenu", "&Winamp", true);
    addAction(settings, "ApplicationMenu", "&Applications", true);
    addAction(settings, "MouseMenu", "&Mouse", true);
    addAction(settings, "KeyboardMenu", "&Keyboard", true);
    addAction(settings, "BluetoothConfigMenu", "&Bluetooth phone...", true);
    settings->addSeparator();
    addAction(settings, "CalibrationMenu", "&Calibration...");
    addAction(settings, "MenuProcDelay", "Ca&pture delay...");

    QMenu* monitoring = menuBar()->addMenu("&Monitoring");
    monitoring->setObjectName("MonitoringMenu");
    addAction(monitoring, "MonitoringStartMenu", "&Start", true, QKeySequence("F5"));
    addAction(monitoring, "MonitoringStopMenu", "S&top", true, QKeySequence("Shift+F5"));
    addAction(monitoring, "RestartMonMenu", "&Restart");
    monitoring->addSeparator();
    addAction(monitoring, "MonitorConfigureMenu", "&Configure events...");

    QMenu* plugins = menuBar()->addMenu("&Plugins");
    plugins->setObjectName("PluginMenu");
    addAction(plugins, "AddPluginMenu", "&Add plugin...");
    addAction(plugins, "RemovePluginMenu", "&Remove plugin...");

    QMenu* help = menuBar()->addMenu("&Help");
    help->setObjectName("HelpMenu");
    addAction(help, "HelpContentMenu", "&Contents", false, QKeySequence::HelpContents);
    addAction(help, "WebPageMenu", "&Web page");
    addAction(help, "UpdateMenu", "Check for &updates");
    help->addSeparator();
    addAction(help, "AboutMenu", "&About Quenix Remote Manager");
}

QWidget* FrmMain::buildDevicePanel() {
    auto* panel = new QWidget(this);
    auto* v = new QVBoxLayout(panel);
    v->setContentsMargins(0, 0, 0, 0);
    v->setSpacing(6);

    // The captions beside them are short and read IN and OUT while monitoring, so the lists
    // and fields speak by their tips.
    devices_ = Spoken(new QListWidget(panel), "Protocol", "Devices");
    commands_ = Spoken(new QListWidget(panel), "SendCmd", "Commands");
    auto* recCmd = Spoken(new QLineEdit(panel), "RecCmd", "Key received");
    auto* execCmd = Spoken(new QLineEdit(panel), "ExecCmd", "Action executed");
    recCmd->setEnabled(false);
    execCmd->setEnabled(false);
    // Monitoring rewrites these captions, so they carry no accelerator that would vanish.
    auto* l111 = Named(new QLabel("Dev.", panel), "Label111");
    auto* l112 = Named(new QLabel("Cmd.", panel), "Label112");
    l111->setBuddy(devices_);
    l112->setBuddy(commands_);
    devices_->setMinimumWidth(devices_->fontMetrics().horizontalAdvance("Set-top Box Living") + 24);

    // While monitoring the labels read IN / OUT and the fields beside them show the key and
    // the action; otherwise they label the lists below.
    auto labelRow = [v](QLabel* label, QLineEdit* field) {
        auto* row = new QHBoxLayout;
        row->setSpacing(8);
        label->setMinimumWidth(label->fontMetrics().horizontalAdvance("Dev.M"));
        row->addWidget(label);
        row->addWidget(field, 1);
        v->addLayout(row);
    };
    labelRow(l111, recCmd);
    v->addWidget(devices_, 3);
    v->addSpacing(4);
    labelRow(l112, execCmd);
    v->addWidget(commands_, 4);
    // While monitoring hides the lists this takes their room, so the buttons stay at the bottom.
    v->addStretch(0);
    v->addWidget(Named(new QLabel("The IR command to be send", panel), "SendLabel"));

    // FirM zones and the dimmer level appear only for their device or interface.
    auto* zoneRow = new QHBoxLayout;
    auto* zoneNr = Named(new QLabel("&Zone", panel), "ZoneNr");
    auto* zone = Named(new QComboBox(panel), "Zone", "FirM Interface zone selection");
    auto* firm = Named(new QLabel(panel), "FirmAnswer");
    zoneNr->setBuddy(zone);
    zoneRow->addWidget(zoneNr);
    zoneRow->addWidget(zone, 1);
    zoneRow->addWidget(firm);
    for (QWidget* w : {static_cast<QWidget*>(zoneNr), static_cast<QWidget*>(zone), static_cast<QWidget*>(firm)})
        w->setVisible(false);
    v->addLayout(zoneRow);
    // The bar, and beside it the level it is set to ("40%"), wide enough for "100%" so that
    // the bar does not jump while it moves.
    auto* dimRow = new QHBoxLayout;
    auto* dim = Spoken(new QScrollBar(Qt::Horizontal, panel), "DIMScroll", "Dimmer level");
    auto* dimLabel = Named(new QLabel(panel), "DIMLabel", "Dimmer level");
    dim->setRange(0, 100);
    dim->setPageStep(10);
    dimLabel->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    dimLabel->setMinimumWidth(dimLabel->fontMetrics().horizontalAdvance("100%") + 4);
    dimLabel->setVisible(false);
    dim->setVisible(false);
    dimRow->addWidget(dim, 1);
    dimRow->addWidget(dimLabel);
    v->addLayout(dimRow);

    // Buttons: two rows so that their captions never clip in the narrow compact window.
    auto* grid = new QGridLayout;
    grid->setSpacing(6);
    // Accelerators are unique across the window and its menu bar (F, S, M, P, H are the menus').
    auto* rec = Named(new QPushButton("&Record", panel), "RecButton", "Capture a command from the remote");
    auto* send = Named(new QPushButton("Se&nd", panel), "SendButton", "Send the selected command");
    auto* save = Named(new QPushButton("Sa&ve", panel), "SaveCmdButton",
                       "Store the new command from Cmd field for the current protocol");
    auto* del = Named(new QPushButton("De&lete", panel), "DeleteCmdButton",
                      "Delete the selected command from the configuration file");
    auto* min = Named(new QPushButton("Compact", panel), "MinButton",
                      "Switch between the full and the compact send window");
    send->setDefault(true);
    learnButtons_ = new QWidget(panel);
    auto* lb = new QHBoxLayout(learnButtons_);
    lb->setContentsMargins(0, 0, 0, 0);
    lb->setSpacing(6);
    lb->addWidget(rec);
    lb->addWidget(save);
    lb->addWidget(del);
    grid->addWidget(learnButtons_, 0, 0, 1, 2);
    grid->addWidget(send, 1, 0);
    grid->addWidget(min, 1, 1);
    v->addLayout(grid);
    return panel;
}

QWidget* FrmMain::buildSignalPanel() {
    auto* box = new QGroupBox("Signal", this);
    box->setObjectName("SignalGroup");
    auto* v = new QVBoxLayout(box);
    auto* signal = Spoken(new SignalWidget(box), "Signal", "The last recorded signal");
    signal->setMinimumHeight(140);
    signal->setFrameShape(QFrame::StyledPanel);
    signal->setAlignment(Qt::AlignCenter);
    signal->setAutoFillBackground(true);
    QPalette p = signal->palette();
    p.setColor(QPalette::Window, Qt::white);
    p.setColor(QPalette::WindowText, QColor(0x20, 0x60, 0x20));
    signal->setPalette(p);
    signal->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    signal->setText("No signal recorded yet.");
    v->addWidget(signal, 1);
    auto* row = new QHBoxLayout;
    auto* scroll = Spoken(new QScrollBar(Qt::Horizontal, box), "HScroll1", "Signal position");
    scroll->setRange(0, 4800);
    row->addWidget(scroll, 1);
    row->addWidget(Spoken(new QPushButton("<->", box), "GExt", "Enlarge the signal"));
    row->addWidget(Spoken(new QPushButton("-><-", box), "Gshr", "Shrink the signal"));
    row->addWidget(Named(new QPushButton("Reset", box), "GReset", "Back to the start view"));
    v->addLayout(row);

    // The run lengths, in samples, of the last monitored frame: the raw timing behind a key
    // that was not recognised.
    auto* runs = new QGridLayout;
    runs->setHorizontalSpacing(8);
    const std::pair<const char*, const char*> boxes[] = {{"plen1", "Pulse lengths"}, {"plen0", "Gap lengths"}};
    for (int i = 0; i < 2; ++i) {
        auto* e = Named(new QLineEdit(box), boxes[i].first,
                        i == 0 ? "Carrier runs of the last frame, in samples" : "Gaps of the last frame, in samples");
        e->setReadOnly(true);
        runs->addWidget(Caption(boxes[i].second, e, box), i, 0);
        runs->addWidget(e, i, 1);
    }
    v->addLayout(runs);
    return box;
}

QWidget* FrmMain::buildRecordPanel() {
    auto* box = new QGroupBox("Received command", this);
    box->setObjectName("RecordPanel");
    auto* g = new QGridLayout(box);
    g->setHorizontalSpacing(8);
    g->setVerticalSpacing(6);
    auto* name = Field(box, "ProtocolName", "The protocol recognised", 6);
    name->setReadOnly(true);
    auto* params = Named(new QLabel(box), "ProtocolParams");
    // A long scancode wraps rather than widening the window.
    params->setWordWrap(true);
    auto* gprot = Field(box, "GProt", "Generic Protocol detected", 3);
    auto* bits = Field(box, "BitNr", "Number of bits for the current code", 3);
    auto* cmd = Field(box, "CmdVal", "Command (dec.)", 5);
    auto* addr = Field(box, "AddrVal", "Address(dec.)", 5);
    auto* toggle = Field(box, "ToggleVal", "Toggle bit (RC5 only) can be 0, 1 or N", 2);
    auto* gtype =
        Field(box, "GType", "Sync Type (0-nosync,1-sync on first sequence only, 2- sync on all sequences)", 2);
    auto* multi = Field(box, "MultiSeq", "Multisequence (Y/N)", 2);
    auto* ir = Field(box, "IRCommand", "The protocol & command received, if known", 16);
    auto* code = Field(box, "CodeStr", "Binary code , '1' means 38KHz carrier.", 24);
    auto* pulse = Field(box, "SendPulse", "The pulse length in us", 5);

    g->addWidget(Caption("Pr&otocol", name, box), 0, 0);
    g->addWidget(name, 0, 1);
    g->addWidget(params, 0, 2, 1, 2);
    g->addWidget(Caption("&Generic", gprot, box), 1, 0);
    g->addWidget(gprot, 1, 1);
    g->addWidget(Caption("&Bits", bits, box), 1, 2);
    g->addWidget(bits, 1, 3);
    g->addWidget(Caption("&Command", cmd, box), 2, 0);
    g->addWidget(cmd, 2, 1);
    g->addWidget(Caption("&Address", addr, box), 2, 2);
    g->addWidget(addr, 2, 3);
    g->addWidget(Caption("&Toggle", toggle, box), 3, 0);
    g->addWidget(toggle, 3, 1);
    g->addWidget(Caption("S&ync type", gtype, box), 3, 2);
    g->addWidget(gtype, 3, 3);
    g->addWidget(Caption("Multisequence (Y/N)", multi, box), 4, 0, 1, 3);
    g->addWidget(multi, 4, 3);
    g->addWidget(Caption("Rece&ived", ir, box), 5, 0);
    g->addWidget(ir, 5, 1, 1, 3);
    g->addWidget(Caption("Co&de", code, box), 6, 0);
    g->addWidget(code, 6, 1, 1, 3);
    g->addWidget(Caption("P&ulse (us)", pulse, box), 7, 0);
    g->addWidget(pulse, 7, 1);
    g->setColumnStretch(1, 1);
    g->setColumnStretch(3, 1);
    g->setRowStretch(8, 1);
    return box;
}

QWidget* FrmMain::buildInterfacePanel() {
    auto* box = new QGroupBox("Interface", this);
    box->setObjectName("InterfacePanel");
    auto* f = new QFormLayout(box);
    f->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    auto* type = Named(new QLabel("Unknown", box), "ReceiverType", "The infrared interface in use");
    auto* com = Named(new QComboBox(box), "ComList", "The serial port of the infrared interface");
    auto* txd = Named(new QCheckBox("T&xD output", box), "TxDCheckBox",
                      "Send with a software carrier on TxD instead of DTR");
    auto* irda = Named(new QCheckBox("IrDA output", box), "IrDACheckBox");
    auto* beep = Named(new QCheckBox("Beep on &keys", box), "BeepCheckbox", "Beep when a remote key is received");
    auto* delay = Named(new QLabel("0", box), "ProcDelayparameter", "PROCDELAY parameter value");
    f->addRow("Receiver", type);
    f->addRow(Caption("S&erial port", com, box), com);
    f->addRow(txd);
    f->addRow(irda);
    f->addRow(beep);
    f->addRow("Capture delay", delay);
    return box;
}

void FrmMain::buildTray() {
    trayMenu_ = new QMenu(this);
    trayMenu_->setObjectName("mnuSystray");
    addAction(trayMenu_, "mnuRestore", "&Restore");
    trayMenu_->addSeparator();
    addAction(trayMenu_, "mnuStartMonitor", "&Start monitoring");
    addAction(trayMenu_, "mnuStopMonitor", "S&top monitoring");
    addAction(trayMenu_, "mnuRestartMonitor", "Rest&art monitoring");
    trayMenu_->addSeparator();
    addAction(trayMenu_, "mnuExit", "E&xit");
}

QSystemTrayIcon* FrmMain::trayIcon() {
    // Made when start-up first sets its icon, after the window shows: asking the desktop for a
    // notification area takes a bus round trip.
    if (tray_) return tray_;
    tray_ = new QSystemTrayIcon(this);
    tray_->setObjectName("TrayIcon");
    tray_->setContextMenu(trayMenu_);
    connect(tray_, &QSystemTrayIcon::activated, this, [this](QSystemTrayIcon::ActivationReason reason) {
        if (reason == QSystemTrayIcon::DoubleClick || reason == QSystemTrayIcon::Trigger) {
            showNormal();
            activateWindow();
        }
    });
    return tray_;
}

void FrmMain::buildTimers() {
    const std::pair<const char*, int> timers[] = {
        {"IRMonTimer", 1}, {"BTMonTimer", 100}, {"BTAutoTimer", 2000}, {"SecondTimer", 200}};
    for (auto [name, ms] : timers) {
        auto* t = new QTimer(this);
        t->setObjectName(name);
        t->setInterval(ms);
    }
}

QAction* FrmMain::action(const QString& name) const { return findChild<QAction*>(name); }

void FrmMain::wire() {
    connect(devices_, &QListWidget::currentRowChanged, this, [this](int row) { browser_->SelectDevice(row); });
    connect(commands_, &QListWidget::currentRowChanged, this, [this](int row) { browser_->SelectCommand(row); });

    auto on = [this](const char* name, auto slot) {
        if (QAction* a = action(name)) connect(a, &QAction::triggered, this, slot);
    };
    for (const char* toggle : {"InfraredInMenu", "InfraredOutMenu", "IRDimmerMenu", "WinampMenu", "ApplicationMenu",
                               "MouseMenu", "KeyboardMenu"})
        on(toggle, [this, toggle] { main_->Toggle(toggle); });
    // Check boxes act on their state change, not on a mouse click, so that a keyboard or a
    // screen reader's toggle writes the file too. The view sets them with signals blocked, so
    // start-up writes nothing.
    auto* beep = findChild<QCheckBox*>("BeepCheckbox");
    connect(beep, &QCheckBox::toggled, this, [this](bool on) {
        if (on != ctx_.settings().beepOn) main_->Toggle("BeepCheckbox");
    });
    for (const char* item : {"UpdateMenu", "AddPluginMenu", "RemovePluginMenu"})
        on(item, [this] { main_->NotYetImplemented(); });
    on("AboutMenu", [this] { main_->About(); });
    on("HelpContentMenu", [this] { main_->HelpContent(); });
    on("WebPageMenu", [this] { main_->WebPage(); });
    on("FileNewMenu", [this] { browser_->FileNew(); });
    on("EditMenu", [this] { browser_->Edit(); });
    on("ProtoDeleteMenu", [this] { browser_->ProtoDelete(); });
    on("AddApplicationMenu", [this] { browser_->AddApplication(); });
    on("ExitMenu", [this] { exitProgram(); });
    on("mnuExit", [this] { exitProgram(); });
    on("mnuRestore", [this] {
        showNormal();
        activateWindow();
    });
    connect(findChild<QPushButton*>("MinButton"), &QPushButton::clicked, this, [this] { main_->MinButton(); });
}

bool FrmMain::startUp(bool show) {
    // The window appears as soon as it has its title; the lists fill in while the progress
    // window above it names the interface that is starting.
    showWhenLoaded_ = show;
    // What the window said while it was wired would vanish under start-up's texts: it is a lasting
    // state, and moves beside them.
    const std::string told = view_.text("StatusBar");
    if (!told.empty()) view_.setText("StatusNote", told);
    started_ = main_->StartUp();
    return started_;
}

void FrmMain::setCompactLayout(bool compact) {
    if (compact) fullSize_ = size();
    fullOnly_->setVisible(!compact);
    learnButtons_->setVisible(!compact);
    menuBar()->setVisible(!compact);
    if (compact) {
        // Let the layout shrink to the device panel, then fit the window to it.
        setMinimumSize(0, 0);
        centralWidget()->adjustSize();
        QSize hint = sizeHint();
        // Wide enough for a device description in the status bar.
        const int width = qMax(hint.width(), fontMetrics().averageCharWidth() * 56);
        resize(width, qMax(hint.height(), 420));
    } else if (fullSize_.isValid()) {
        resize(fullSize_);
    }
}

void FrmMain::exitProgram() {
    if (exiting_) return;
    exiting_ = true;
    // A configuration that did not load is the user's to mend: it is not written back.
    if (started_) main_->Exit();
    if (tray_) tray_->hide();
    wait_->hide();
    hide();
    QApplication::quit();
}

void FrmMain::changeEvent(QEvent* event) {
    QMainWindow::changeEvent(event);
    if (event->type() != QEvent::WindowStateChange) return;
    if (isMinimized()) {
        // Without a notification area the window stays on the task bar, or it would be lost.
        if (QSystemTrayIcon::isSystemTrayAvailable()) {
            trayIcon()->setToolTip(windowTitle().left(63));
            QTimer::singleShot(0, this, [this] { main_->Minimised(); });
        }
    } else {
        main_->Restored();
    }
}

void FrmMain::closeEvent(QCloseEvent* event) {
    // Closing the window is the File exit.
    exitProgram();
    event->accept();
}

} // namespace quenix
