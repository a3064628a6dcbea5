#include "actions/audio.h"
#include "config/config_store.h"
#include "config/context.h"
#include "core/autostart.h"
#include "core/clock.h"
#include "core/settings_place.h"
#include "io/capture_library.h"
#include "core/module.h"
#include "io/serial_port.h"
#include "ui/frm_main.h"
#include "ui/icon_loading.h"
#include "ui/qt_dialogs.h"

#include "session_end.h"
#include "startup_warmup.h"

#include <QApplication>
#include <QScopeGuard>
#include <QStyleFactory>
#include <QThread>

#include <cstdlib>

int main(int argc, char** argv) {
    StartupWarmup warmup;
    QApplication app(argc, argv);
    warmup.ApplicationReady();
    const auto warmed = qScopeGuard([&warmup] { warmup.Finish(); });
    app.setApplicationName("Quenix Remote Manager");
    app.setStyle(new quenix::DeferredIconStyle(QStyleFactory::create(app.style()->name())));
    // The window hides in the notification area; only the exit ends the program.
    app.setQuitOnLastWindowClosed(false);

    const quenix::ProgramPlaces places = quenix::FindProgramPlaces();
    // A failed copy shows as the load's own error box.
    quenix::PrepareSettingsFolder(places);
    quenix::SetModuleFolder(places.library);
    quenix::ConfigStore store(places.settings, places.data);
    quenix::SystemClock clock;
    quenix::QtDialogs dialogs;
    std::unique_ptr<quenix::AudioOutput> audio = quenix::MakeSystemAudio(places.library);
    quenix::Context ctx(store, clock, dialogs, *audio);

    std::unique_ptr<quenix::SerialDriver> driver = quenix::MakeSystemSerialDriver(places.settings);
    quenix::SerialPort port(*driver);
    std::unique_ptr<quenix::CaptureLibrary> library = quenix::MakeCaptureLibrary(places.library);

    quenix::FrmMain window(ctx, {&port, library.get(), audio.get()});
    dialogs.setParent(&window);
    bool running = false;
    ExitWhenSessionEnds(&window, [&window, &running] {
        window.exitProgram();
        // quit() ends the main loop only, and only once it runs: start-up's error box, or any box
        // waiting for an answer, turns in a loop of its own and would keep the program alive.
        // The exit's work is done, so the process ends here.
        if (!running || QThread::currentThread()->loopLevel() > 1) std::_Exit(0);
    });
    // Started with the session: minimised, the window goes to the notification area when there is
    // one, and stays on the task bar otherwise.
    const bool minimised = app.arguments().contains(quenix::kStartMinimisedOption);
    if (!window.startUp(!minimised)) return 1;
    if (minimised) window.showMinimized();
    running = true;
    return app.exec();
}
