#include "ui/frm_monitor.h"
#include "ui/form_widgets.h"

#include "monitor/events.h"
#include "ui/qt_view.h"

#include <QComboBox>
#include <QDialog>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QVBoxLayout>

namespace quenix {

namespace {

QListWidget* AddList(QDialog* dialog, const char* name, const QString& label, const QString& tip) {
    auto* l = new QListWidget(dialog);
    l->setObjectName(name);
    l->setAccessibleName(label);
    l->setToolTip(tip);
    l->setMinimumHeight(160);
    return l;
}

} // namespace

void ShowMonitorForm(Context& ctx, QWidget* parent) {
    QDialog dialog(parent);
    dialog.setObjectName("frmMonitor");
    dialog.setWindowTitle(QStringLiteral("Monitored events"));

    auto* irDev = AddList(&dialog, "IRDev", "Input device", "The remote or phone the key comes from");
    auto* irCmd = AddList(&dialog, "IRCmd", "Input command", "The key");
    auto* outDev = AddList(&dialog, "OutDev", "Output device", "What the key controls");
    auto* outCmd = AddList(&dialog, "OutCmd", "Output command", "What the key does");
    auto* events = AddList(&dialog, "MonEvent", "Monitored events", "Key, then action");
    auto* btDev = new QComboBox(&dialog);
    btDev->setObjectName("BTDevListCombo");
    btDev->setAccessibleName("Phone device");
    btDev->setToolTip("The device the phone selects with its shift key");
    auto* btLabel = new QLabel(QStringLiteral("BT"), &dialog);
    btLabel->setObjectName("BtDevLabel");
    btLabel->setAccessibleName("Phone key device");

    auto* grid = new QGridLayout;
    const QString heads[] = {"Input device", "Input command", "Output device", "Output command"};
    for (int i = 0; i < 4; ++i) grid->addWidget(new QLabel(heads[i], &dialog), 0, i);
    grid->addWidget(irDev, 1, 0);
    grid->addWidget(irCmd, 1, 1);
    grid->addWidget(outDev, 1, 2);
    grid->addWidget(outCmd, 1, 3);
    auto* btRow = new QHBoxLayout;
    btRow->addWidget(btLabel);
    btRow->addWidget(btDev);
    btRow->addStretch(1);
    grid->addLayout(btRow, 2, 0, 1, 2);

    auto* buttons = new QHBoxLayout;
    auto* add = AddButton(&dialog, buttons, "AdMonButton", "&Add event", "Add the key and action chosen above");
    auto* del = AddButton(&dialog, buttons, "Delete", "&Delete event", "Delete the selected event");
    auto* clean = AddButton(&dialog, buttons, "CleanButton", "&Clean",
                            "Delete the events whose device or command no longer exists");
    buttons->addStretch(1);
    auto* close = AddButton(&dialog, buttons, "Command2", "Close", "Close the window");

    auto* layout = new QVBoxLayout(&dialog);
    layout->addLayout(grid);
    layout->addWidget(new QLabel(QStringLiteral("Monitored events"), &dialog));
    layout->addWidget(events, 1);
    layout->addLayout(buttons);

    QtView view(&dialog);
    MonitorEvents controller(ctx, view, [&dialog] { dialog.accept(); });
    controller.Load();

    QObject::connect(irDev, &QListWidget::currentRowChanged, &dialog, [&controller] { controller.OnIRDevChanged(); });
    QObject::connect(irCmd, &QListWidget::currentRowChanged, &dialog, [&controller] { controller.OnIRCmdChanged(); });
    QObject::connect(outDev, &QListWidget::currentRowChanged, &dialog, [&controller] { controller.OnOutDevChanged(); });
    QObject::connect(btDev, &QComboBox::currentIndexChanged, &dialog, [&controller] { controller.OnBTDevChanged(); });
    QObject::connect(add, &QPushButton::clicked, &dialog, [&controller] { controller.OnAdMonButton(); });
    QObject::connect(del, &QPushButton::clicked, &dialog, [&controller] { controller.OnDelete(); });
    QObject::connect(clean, &QPushButton::clicked, &dialog, [&controller] { controller.OnCleanButton(); });
    QObject::connect(close, &QPushButton::clicked, &dialog, [&controller] { controller.OnCommand2(); });

    dialog.resize(dialog.sizeHint().expandedTo(QSize(760, 480)));
    dialog.exec();
}

} // namespace quenix
