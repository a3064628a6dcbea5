#include "config/config_store.h"
#include "core/program_folder.h"
#include "ui/qt_dialogs.h"

#include <QApplication>
#include <QLabel>
#include <QMainWindow>
#include <QStatusBar>

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    app.setApplicationName("Quenix Remote Manager");

    quenix::ConfigStore store(quenix::ProgramFolder());
    quenix::QtDialogs dialogs;
    if (!store.LoadConfiguration()) {
        dialogs.messageBox("There is an error in the configuration file.\nThe application will be closed.\n"
                           "If the problem persists, please write to support@quenix-remote.org.",
                           "ZVK", quenix::MsgIcon::Critical, quenix::MsgButtons::Ok);
        return 1;
    }
    QMainWindow window;
    window.setObjectName("frmMain");
    window.setWindowTitle(QString::fromLatin1("Orvel's Quenix Remote Manager v") +
                          QString::fromStdString(store.version()));
    window.statusBar()->setObjectName("StatusBar");
    window.statusBar()->showMessage("Application started successfully.");
    window.resize(800, 560);
    window.show();
    return app.exec();
}
