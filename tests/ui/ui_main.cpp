// One QApplication, offscreen; with QUENIX_UI_XVFB=<WxHxD> on a private X server with a tray host.

#include "support/peers.h"

#include <QApplication>
#include <QSystemTrayIcon>
#include <QTest>

#include <gmock/gmock.h>

#include <cstdio>
#include <memory>

// Qt and fontconfig keep caches until exit that LeakSanitizer reports; the core tests keep it.
extern "C" const char* __asan_default_options() { return "detect_leaks=0"; }

int main(int argc, char** argv) {
    using quenix::testing::ChildProcess;
    ::testing::InitGoogleMock(&argc, argv);
    std::unique_ptr<quenix::testing::XvfbServer> xvfb;
    std::unique_ptr<ChildProcess> trayer;
    const QByteArray screen = qgetenv("QUENIX_UI_XVFB");
    if (!screen.isEmpty()) {
        xvfb = std::make_unique<quenix::testing::XvfbServer>(screen.toStdString());
        if (xvfb->display().empty()) return std::fprintf(stderr, "Xvfb did not start\n"), 1;
        qputenv("DISPLAY", xvfb->display().c_str());
        qputenv("QT_QPA_PLATFORM", "xcb");
        trayer = std::make_unique<ChildProcess>(
            std::vector<std::string>{"trayer", "--edge", "bottom", "--align", "right", "--widthtype", "request",
                                     "--height", "32", "--SetDockType", "true", "--expand", "true", "--tint",
                                     "0xdddddd", "--transparent", "true", "--alpha", "0"});
    } else {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    QApplication app(argc, argv);
    app.setQuitOnLastWindowClosed(false);
    if (trayer) (void)QTest::qWaitFor([] { return QSystemTrayIcon::isSystemTrayAvailable(); }, 5000);
    return RUN_ALL_TESTS();
}
