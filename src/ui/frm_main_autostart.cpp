#include "ui/frm_main.h"

#include "core/autostart.h"
#include "core/settings_place.h"

#include <QCoreApplication>
#include <QMenuBar>

namespace quenix {

// Settings > Start with the session: the desktop's autostart entry, which starts the program
// minimised to the notification area. Windows keeps its own start-up list.
void FrmMain::wireAutostart() {
#ifndef Q_OS_WIN
    const std::string configHome = UserConfigHome();
    if (configHome.empty()) return;
    const std::string entry = AutostartEntryPath(configHome);
    QMenu* settings = menuBar()->findChild<QMenu*>("SettingsMenu");
    settings->addSeparator();
    QAction* item = addAction(settings, "AutostartMenu", "Start with the &session", true);
    item->setChecked(AutostartOn(entry));
    connect(item, &QAction::triggered, this, [this, item, entry](bool on) {
        const std::string program = QCoreApplication::applicationFilePath().toStdString();
        const std::string error = SetAutostart(entry, on, program);
        item->setChecked(AutostartOn(entry));
        view_.setStatus(!error.empty() ? error
                        : on       ? "The program starts with the session, in the notification area."
                                   : "The program no longer starts with the session.");
    });
#endif
}

} // namespace quenix
