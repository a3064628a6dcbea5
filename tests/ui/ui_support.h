#pragma once

#include "support/rig.h"
#include "ui/frm_main.h"

#include <QApplication>
#include <QDir>
#include <QListWidget>
#include <QScreen>
#include <QTest>

#include <gtest/gtest.h>

#include <memory>

namespace quenix::testing {

// A program folder in a temporary directory with the shipped configuration and icons, and the
// main window on it.
struct WindowRig {
    explicit WindowRig(Dialogs* dialogs = nullptr, MainWindowIo io = {}) {
        dir.write("telvorin.cfg", DefaultConfiguration());
        for (const char* icon : {"zvkmon.ico", "zvknomon.ico", "zvkbtmon.ico"})
            std::filesystem::copy_file(std::filesystem::path(QUENIX_SOURCE_DIR) / "data/icons" / icon, dir.file(icon));
        ctx = std::make_unique<Context>(store, clock, dialogs ? *dialogs : fakeDialogs, beeper);
        window = std::make_unique<FrmMain>(*ctx, io);
    }

    template <class T = QWidget>
    T* find(const char* name) const { return window->findChild<T*>(name); }

    // Clicks the row of a list that shows the text, as a user does.
    void clickRow(const char* list, const QString& text) {
        auto* lw = find<QListWidget>(list);
        auto items = lw->findItems(text, Qt::MatchExactly);
        ASSERT_EQ(items.size(), 1) << text.toStdString();
        lw->scrollToItem(items[0]);
        QTest::mouseClick(lw->viewport(), Qt::LeftButton, {}, lw->visualItemRect(items[0]).center());
    }

    TempDir dir;
    ConfigStore store{dir.str()};
    FakeClock clock;
    FakeDialogs fakeDialogs;
    FakeBeeper beeper;
    std::unique_ptr<Context> ctx;
    std::unique_ptr<FrmMain> window;
};

// Saves a picture of a widget, or of the whole screen without one, for a person to look at; only
// on the X server of QUENIX_UI_XVFB (see ui_main.cpp).
inline void Shot(QWidget* w, const QString& name) {
    const QString folder = qEnvironmentVariable("QUENIX_SCREENSHOT_DIR");
    if (folder.isEmpty() || qgetenv("QT_QPA_PLATFORM") != "xcb") return;
    QTest::qWait(200);
    const QString path = folder + "/" + name + qEnvironmentVariable("QUENIX_SCREENSHOT_SUFFIX") + ".png";
    QDir().mkpath(folder);
    EXPECT_TRUE((w ? w->grab() : QApplication::primaryScreen()->grabWindow(0)).save(path)) << path.toStdString();
}

} // namespace quenix::testing
