#pragma once

#include "support/rig.h"
#include "ui/frm_main.h"

#include <QApplication>
#include <QCheckBox>
#include <QDialog>
#include <QDir>
#include <QListWidget>
#include <QMessageBox>
#include <QScreen>
#include <QTest>
#include <QTimer>

#include <gtest/gtest.h>

#include <functional>
#include <memory>

namespace quenix::testing {

template <class W = QWidget>
W* Find(const QWidget& root, const char* name) {
    auto* w = root.findChild<W*>(name);
    EXPECT_NE(w, nullptr) << name;
    return w;
}

// Clicks far enough apart that no two of them make a double click. A check box takes clicks on its
// box and caption only, so those are aimed near the left edge.
inline void Click(QWidget* w) {
    QPoint at = qobject_cast<QCheckBox*>(w) ? QPoint(8, w->height() / 2) : w->rect().center();
    QTest::mouseClick(w, Qt::LeftButton, {}, at, QApplication::doubleClickInterval() + 20);
}

// Clicks the row of a list that shows the text, as a user does.
inline void ClickRow(const QWidget& root, const char* list, const QString& text) {
    auto* lw = Find<QListWidget>(root, list);
    const auto items = lw->findItems(text, Qt::MatchExactly);
    ASSERT_EQ(items.size(), 1) << list << ": " << text.toStdString();
    lw->scrollToItem(items[0]);
    QTest::mouseClick(lw->viewport(), Qt::LeftButton, {}, lw->visualItemRect(items[0]).center());
}

using Step = std::function<void(QDialog&)>;

// Answers each modal window as it comes up with the next step and keeps the message texts. A window
// beyond the steps, or left open for 10 s, is cancelled: a surprise fails the test, never hangs it.
struct Modals {
    explicit Modals(std::vector<Step> steps) : steps_(std::move(steps)) {
        QObject::connect(&timer_, &QTimer::timeout, [this] {
            auto* d = qobject_cast<QDialog*>(QApplication::activeModalWidget());
            if (!d || d->property("answered").toBool()) return;
            d->setProperty("answered", true);
            QTimer::singleShot(10000, d, &QDialog::reject);
            if (auto* box = qobject_cast<QMessageBox*>(d)) texts.push_back(box->text().toStdString());
            // Run outside this timer's slot: a step may open a nested modal loop of its own.
            auto step = next_ < steps_.size() ? steps_[next_++] : [](QDialog& w) { w.reject(); };
            QTimer::singleShot(0, d, [d, step] { step(*d); });
        });
        timer_.start(20);
    }
    std::vector<std::string> texts;
    std::vector<Step> steps_;
    std::size_t next_ = 0;
    QTimer timer_;
};

// A temporary program folder with the shipped configuration and icons, and the main window on it.
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

    TempDir dir;
    ConfigStore store{dir.str()};
    FakeClock clock;
    FakeDialogs fakeDialogs;
    FakeBeeper beeper;
    std::unique_ptr<Context> ctx;
    std::unique_ptr<FrmMain> window;
};

// A picture of a widget, or of the screen, for a person to look at; only under QUENIX_UI_XVFB.
inline void Shot(QWidget* w, const QString& name) {
    const QString folder = qEnvironmentVariable("QUENIX_SCREENSHOT_DIR");
    if (folder.isEmpty() || qgetenv("QT_QPA_PLATFORM") != "xcb") return;
    QTest::qWait(200);
    const QString path = folder + "/" + name + qEnvironmentVariable("QUENIX_SCREENSHOT_SUFFIX") + ".png";
    QDir().mkpath(folder);
    EXPECT_TRUE((w ? w->grab() : QApplication::primaryScreen()->grabWindow(0)).save(path)) << path.toStdString();
}

} // namespace quenix::testing
