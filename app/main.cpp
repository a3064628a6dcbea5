#include "actions/audio.h"
#include "config/config_store.h"
#include "config/context.h"
#include "core/clock.h"
#include "core/program_folder.h"
#include "io/capture_library.h"
#include "io/serial_port.h"
#include "ui/frm_main.h"
#include "ui/qt_dialogs.h"

#include "session_end.h"

#include <QApplication>

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    app.setApplicationName("Quenix Remote Manager");
    // The window hides in the notification area; only the exit ends the program.
    app.setQuitOnLastWindowClosed(false);

    quenix::ConfigStore store(quenix::ProgramFolder());
    quenix::SystemClock clock;
    quenix::QtDialogs dialogs;
    std::unique_ptr<quenix::AudioOutput> audio = quenix::MakeSystemAudio();
    quenix::Context ctx(store, clock, dialogs, *audio);

    std::unique_ptr<quenix::SerialDriver> driver = quenix::MakeSystemSerialDriver(store.folder());
    quenix::SerialPort port(*driver);
    std::unique_ptr<quenix::CaptureLibrary> library = quenix::MakeCaptureLibrary(store.folder());

    quenix::FrmMain window(ctx, {&port, library.get(), audio.get()});
    dialogs.setParent(&window);
    ExitWhenSessionEnds(&window, [&window] { window.exitProgram(); });
    if (!window.startUp()) return 1;
    window.show();
    return app.exec();
}
