// The notification area on a private X server with a tray host (see ui_main.cpp). Skipped when
// the tests draw offscreen.

#include "ui_support.h"

#include <QMenu>
#include <QSystemTrayIcon>

#include <filesystem>

namespace quenix::testing {
namespace {

// Without its icon files the tray still shows an icon, or the minimised window could not be found.
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
        auto inTray = [&] { return rig.window->trayIcon()->isVisible() && !rig.window->isVisible(); };
        EXPECT_TRUE(QTest::qWaitFor(inTray, 5000));
        EXPECT_FALSE(rig.window->trayIcon()->icon().pixmap(32).isNull()) << iconFiles;

        QMenu* menu = rig.window->trayMenu();
        QRect icon = rig.window->trayIcon()->geometry();
        menu->popup(icon.isValid() ? icon.topLeft() - QPoint(0, menu->sizeHint().height()) : QPoint(1000, 600));
        Shot(menu, "tray_menu");
        Shot(nullptr, iconFiles ? "screen_tray" : "screen_tray_no_icon_files");
        menu->hide();
        rig.window->action("mnuRestore")->trigger();
        EXPECT_TRUE(QTest::qWaitFor([&] { return !rig.window->trayIcon()->isVisible() && rig.window->isVisible(); }));
    }
}

} // namespace
} // namespace quenix::testing
