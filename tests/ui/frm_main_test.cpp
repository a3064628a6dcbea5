#include "ui_support.h"

#include <QAbstractButton>
#include <QAbstractItemView>
#include <QAbstractSlider>
#include <QAccessible>
#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QRegularExpression>
#include <QScreen>
#include <QStatusBar>
#include <QSystemTrayIcon>

#include <functional>

namespace quenix::testing {
namespace {

// What a screen reader says for a control: its caption, its buddy label's caption, or its tooltip.
QString Spoken(QObject* o) { return QAccessible::queryAccessibleInterface(o)->text(QAccessible::Name); }

// No caption is cut: every visible button, label and check box is at least as wide as it needs.
void ExpectNothingClipped(const QWidget* window, const char* when) {
    for (QWidget* w : window->findChildren<QWidget*>()) {
        if (!w->isVisibleTo(window)) continue;
        if (!qobject_cast<QAbstractButton*>(w) && !qobject_cast<QLabel*>(w)) continue;
        if (qobject_cast<QLabel*>(w) && w->objectName() == "Signal") continue;
        EXPECT_GE(w->width(), w->minimumSizeHint().width())
            << when << ": " << w->objectName().toStdString() << " " << w->metaObject()->className();
        EXPECT_GE(w->height(), w->minimumSizeHint().height()) << when << ": " << w->objectName().toStdString();
    }
}

// The controllers skip a missing name silently; the walk below reaches the other controls.
TEST(FrmMain, NamesSpokenNamesAcceleratorsAndClicks) {
    WindowRig rig;
    for (const char* name :
         {"ProtocolName", "ProtocolParams", "GProt", "BitNr", "CmdVal", "AddrVal", "ToggleVal", "GType", "MultiSeq",
          "IRCommand", "SendPulse", "RecCmd", "ExecCmd", "GExt", "Gshr", "DIMLabel", "TxDCheckBox", "FirmAnswer",
          "ZoneNr", "Zone", "Label111", "Label112", "plen1", "plen0", "IRManMenu", "CreativeInfraMenu", "FirmMenu",
          "UnavailableMenu", "AutoDetectMenu", "InfraredOutMenu", "IRDimmerMenu", "X10ConfMenu", "WinampMenu",
          "ApplicationMenu", "BluetoothConfigMenu", "KeyboardMenu", "EditMenu", "ProtoDeleteMenu", "CalibrationMenu",
          "MenuProcDelay", "AddApplicationMenu", "MonitoringStartMenu", "MonitoringStopMenu", "AboutMenu",
          "HelpContentMenu", "WebPageMenu", "UpdateMenu", "RemovePluginMenu", "mnuRestore", "mnuSystray"})
        EXPECT_NE(rig.window->findChild<QObject*>(name), nullptr) << name;

    for (QWidget* w : rig.window->findChildren<QWidget*>()) {
        const bool control = qobject_cast<QAbstractButton*>(w) || qobject_cast<QLineEdit*>(w) ||
                             qobject_cast<QComboBox*>(w) || qobject_cast<QAbstractItemView*>(w) ||
                             qobject_cast<QAbstractSlider*>(w);
        if (!control || w->objectName().isEmpty() || w->objectName().startsWith("qt_")) continue;
        QStringList shown = {w->toolTip()};
        if (auto* b = qobject_cast<QAbstractButton*>(w)) shown << b->text().remove('&');
        for (QLabel* l : w->parentWidget()->findChildren<QLabel*>())
            if (l->buddy() == w) shown << l->text().remove('&');
        EXPECT_FALSE(Spoken(w).isEmpty()) << w->objectName().toStdString();
        EXPECT_TRUE(shown.contains(Spoken(w))) << w->objectName().toStdString() << ": " << Spoken(w).toStdString();
    }

    // Alt and a letter reach one thing only: among the menu bar and the window's captions, and in each menu.
    auto unique = [](const QStringList& texts, const std::string& where) {
        QMap<QChar, QString> seen;
        for (const QString& t : texts) {
            const int at = t.indexOf(QRegularExpression("&[^&]"));
            if (at < 0) continue;
            const QChar key = t[at + 1].toLower();
            EXPECT_FALSE(seen.contains(key)) << where << ": " << t.toStdString() << " / " << seen[key].toStdString();
            seen[key] = t;
        }
    };
    auto texts = [](const auto& objects) {
        QStringList out;
        for (const auto* o : objects) out << o->property("text").toString();
        return out;
    };
    unique(texts(rig.window->menuBar()->actions()) + texts(rig.window->findChildren<QAbstractButton*>()) +
                     texts(rig.window->findChildren<QLabel*>()),
                 "window");
    for (QMenu* m : rig.window->findChildren<QMenu*>()) unique(texts(m->actions()), m->objectName().toStdString());

    ASSERT_TRUE(rig.window->startUp());
    rig.window->show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(rig.window.get()));
    EXPECT_LE(rig.window->width(), 1280);
    EXPECT_LE(rig.window->height(), 800);
    ExpectNothingClipped(rig.window.get(), "default");
    Shot(rig.window.get(), "main_full");
    Shot(nullptr, "screen_full");
    EXPECT_EQ(rig.find<QStatusBar>("StatusBar")->currentMessage(), "Application started successfully.");

    ClickRow(*rig.window, "Protocol", "X10");
    EXPECT_EQ(rig.window->windowTitle().toStdString(), "X10 Remote v" + rig.store.version());
    EXPECT_NE(rig.dir.read("telvorin.cfg").find("PROTOCOL= 3\r\n"), std::string::npos);
    Shot(rig.window.get(), "main_x10");

    ClickRow(*rig.window, "Protocol", "Sony TV");
    ClickRow(*rig.window, "SendCmd", "Mute");
    EXPECT_EQ(rig.store.currentCommand, "Mute");

    // A menu toggle writes the file at once, and so does the check box (a screen reader's toggle
    // is driven end to end by atspi_test.py).
    rig.window->action("MouseMenu")->trigger();
    EXPECT_FALSE(rig.window->action("MouseMenu")->isChecked());
    EXPECT_NE(rig.dir.read("telvorin.cfg").find("MOUSEENA= 0\r\n"), std::string::npos);
    Click(rig.find("BeepCheckbox"));
    EXPECT_TRUE(rig.find<QCheckBox>("BeepCheckbox")->isChecked());
    EXPECT_NE(rig.dir.read("telvorin.cfg").find("BEEPON= 1\r\n"), std::string::npos);
    rig.window->action("InfraredInMenu")->trigger();
    EXPECT_FALSE(rig.window->findChild<QMenu*>("InterfaceMenu")->menuAction()->isEnabled());

    // Refusals and the unfinished items.
    rig.window->action("FileNewMenu")->trigger();
    rig.window->action("AddPluginMenu")->trigger();
    Click(rig.find("IrDACheckBox"));
    EXPECT_FALSE(rig.find<QCheckBox>("IrDACheckBox")->isChecked());
    EXPECT_EQ(rig.fakeDialogs.texts(),
              (std::vector<std::string>{"Use 'Recorded' virtual device to create a new device", "Not yet implemented",
                                        "Not yet implemented"}));

    // The compact send window and back.
    Click(rig.find("MinButton"));
    EXPECT_EQ(rig.window->windowTitle().toStdString(), "KPL Send Mgr v" + rig.store.version());
    EXPECT_LT(rig.window->width(), 500);
    ExpectNothingClipped(rig.window.get(), "compact");
    Shot(rig.window.get(), "main_compact");
    Click(rig.find("MinButton"));
    EXPECT_EQ(rig.window->windowTitle().toStdString(), "Orvel's Quenix Remote Manager v" + rig.store.version());
    rig.window->resize(1280, 800);
    Shot(rig.window.get(), "main_1280x800");

    FrmWaitToStart* wait = rig.window->waitWindow();
    QtView(wait).setVisible("frmWaitToStart", true);
    QtView(wait).setText("WaitText", "Initialize Infrared OUT...");
    ExpectNothingClipped(wait, "start-up progress");
    Shot(wait, "wait_to_start");
}

// Calls back when its object is shown.
class ShowSpy : public QObject {
public:
    explicit ShowSpy(std::function<void()> shown) : shown_(std::move(shown)) {}
    bool eventFilter(QObject*, QEvent* e) override {
        if (e->type() == QEvent::Show) shown_();
        return false;
    }

private:
    std::function<void()> shown_;
};

// The program's own start shows the window once the configuration has loaded, beneath the
// progress window; a configuration that does not load shows no window at all.
TEST(FrmMain, StartUpShowsTheWindowOnceTheConfigurationHasLoaded) {
    for (bool loads : {true, false}) {
        WindowRig rig;
        if (!loads) rig.dir.write("telvorin.cfg", "[General]\r\n");
        int progressShown = 0, beneath = 0;
        ShowSpy spy([&] { ++progressShown, beneath += rig.window->isVisible(); });
        rig.window->waitWindow()->installEventFilter(&spy);
        EXPECT_EQ(rig.window->startUp(true), loads);
        EXPECT_EQ(rig.window->isVisible(), loads);
        EXPECT_EQ(progressShown, loads ? 1 : 0);
        EXPECT_EQ(beneath, progressShown);
        EXPECT_FALSE(rig.window->waitWindow()->isVisible());
    }
}

// Needs the tray host of QUENIX_UI_XVFB. Without icon files the tray still shows an icon, or the
// minimised window could not be found.
TEST(Screens, TrayIconAndMenuWithAndWithoutIconFiles) {
    if (qgetenv("QT_QPA_PLATFORM") != "xcb") GTEST_SKIP() << "needs the X server of QUENIX_UI_XVFB";
    ASSERT_TRUE(QSystemTrayIcon::isSystemTrayAvailable()) << "trayer did not start";
    for (bool iconFiles : {true, false}) {
        WindowRig rig;
        for (const char* icon : {"zvkmon.ico", "zvknomon.ico", "zvkbtmon.ico"})
            if (!iconFiles) std::filesystem::remove(rig.dir.file(icon));
        ASSERT_TRUE(rig.window->startUp());
        rig.window->show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(rig.window.get()));
        rig.window->showMinimized();
        EXPECT_TRUE(QTest::qWaitFor([&] { return rig.window->trayIcon()->isVisible() && !rig.window->isVisible(); }));
        EXPECT_FALSE(rig.window->trayIcon()->icon().pixmap(32).isNull()) << iconFiles;

        QMenu* menu = rig.window->trayMenu();
        // Under trayer Qt places an embedded icon at the origin; the tray sits at the bottom right.
        QRect icon = rig.window->trayIcon()->geometry();
        const QRect screen = menu->screen()->geometry();
        if (!icon.isValid() || icon.topLeft().isNull()) icon = QRect(screen.bottomRight() - QPoint(24, 24), QSize(24, 24));
        menu->popup(icon.topLeft() - QPoint(0, menu->sizeHint().height()));
        Shot(menu, "tray_menu");
        Shot(nullptr, iconFiles ? "screen_tray" : "screen_tray_no_icon_files");
        menu->hide();
        rig.window->action("mnuRestore")->trigger();
        EXPECT_TRUE(QTest::qWaitFor([&] { return !rig.window->trayIcon()->isVisible() && rig.window->isVisible(); }));
    }
}

} // namespace
} // namespace quenix::testing
