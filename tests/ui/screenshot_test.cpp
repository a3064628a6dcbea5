// Pictures of the windows for a person to look at, taken on a private X server with a tray host
// (see ui_main.cpp). Skipped when the tests draw offscreen.

#include "ui_support.h"

#include <QDir>
#include <QLabel>
#include <QMenu>
#include <QPushButton>
#include <QScreen>
#include <QSystemTrayIcon>

#include <gtest/gtest.h>

#include <filesystem>

namespace quenix::testing {
namespace {

class Screens : public ::testing::Test {
protected:
    void SetUp() override {
        if (qgetenv("QT_QPA_PLATFORM") != "xcb") GTEST_SKIP() << "needs the X server of QUENIX_UI_XVFB";
        folder = QString::fromLocal8Bit(qgetenv("QUENIX_SCREENSHOT_DIR"));
        suffix = QString::fromLocal8Bit(qgetenv("QUENIX_SCREENSHOT_SUFFIX"));
        ASSERT_FALSE(folder.isEmpty());
        QDir().mkpath(folder);
    }

    // A widget, or the whole screen without one.
    void save(QWidget* w, const QString& name) {
        settle();
        const QString path = folder + "/" + name + suffix + ".png";
        ASSERT_TRUE((w ? w->grab() : QApplication::primaryScreen()->grabWindow(0)).save(path)) << path.toStdString();
    }
    static void settle() { QTest::qWait(200); }

    QString folder;
    QString suffix;
};

TEST_F(Screens, MainWindowFullCompactAndStartUpProgress) {
    WindowRig rig;
    ASSERT_TRUE(rig.window->startUp());
    rig.window->show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(rig.window.get()));
    save(rig.window.get(), "main_full");
    save(nullptr, "screen_full");

    rig.clickRow("Protocol", "X10");
    save(rig.window.get(), "main_x10");

    rig.window->resize(1280, 800);
    save(rig.window.get(), "main_1280x800");

    rig.clickRow("Protocol", "Sony TV");
    QTest::mouseClick(rig.find<QPushButton>("MinButton"), Qt::LeftButton);
    EXPECT_EQ(rig.window->windowTitle().toStdString(), "KPL Send Mgr v" + rig.store.version());
    save(rig.window.get(), "main_compact");

    FrmWaitToStart* wait = rig.window->waitWindow();
    QtView(wait).setVisible("frmWaitToStart", true);
    QtView(wait).setText("WaitText", "Initialize Infrared OUT...");
    save(wait, "wait_to_start");
    EXPECT_GE(wait->findChild<QLabel*>("WaitText")->width(), wait->findChild<QLabel*>("WaitText")->sizeHint().width());
}

// Without its icon files the tray still shows an icon, or the minimised window could not be found.
TEST_F(Screens, TrayIconAndMenuWithAndWithoutIconFiles) {
    ASSERT_TRUE(QSystemTrayIcon::isSystemTrayAvailable()) << "trayer did not start";
    for (bool iconFiles : {true, false}) {
        WindowRig rig;
        for (const char* icon : {"zvkmon.ico", "zvknomon.ico", "zvkbtmon.ico"})
            if (!iconFiles) std::filesystem::remove(rig.dir.file(icon));
        ASSERT_TRUE(rig.window->startUp());
        rig.window->show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(rig.window.get()));
        rig.window->showMinimized();
        auto inTray = [&] { return rig.window->trayIcon()->isVisible() && !rig.window->isVisible(); };
        EXPECT_TRUE(QTest::qWaitFor(inTray, 5000));
        EXPECT_FALSE(rig.window->trayIcon()->icon().pixmap(32).isNull()) << iconFiles;

        QMenu* menu = rig.window->trayMenu();
        QRect icon = rig.window->trayIcon()->geometry();
        menu->popup(icon.isValid() ? icon.topLeft() - QPoint(0, menu->sizeHint().height()) : QPoint(1000, 600));
        save(menu, "tray_menu");
        save(nullptr, iconFiles ? "screen_tray" : "screen_tray_no_icon_files");
        menu->hide();
        rig.window->action("mnuRestore")->trigger();
        EXPECT_TRUE(QTest::qWaitFor([&] { return !rig.window->trayIcon()->isVisible() && rig.window->isVisible(); }));
    }
}

} // namespace
} // namespace quenix::testing
