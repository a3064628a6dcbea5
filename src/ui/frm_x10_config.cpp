#include "ui/frm_x10_config.h"
#include "ui/form_widgets.h"

#include "actions/x10_config.h"
#include "ui/qt_view.h"

#include <QCheckBox>
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

QListWidget* AddList(QDialog* dialog, const char* name, const QString& label) {
    auto* l = new QListWidget(dialog);
    l->setObjectName(name);
    l->setAccessibleName(label);
    l->setFixedWidth(70);
    l->setMinimumHeight(230);
    return l;
}

} // namespace

void ShowX10ConfigForm(Context& ctx, SerialPort& serial, View& mainView, QWidget* parent) {
    QDialog dialog(parent);
    dialog.setObjectName("frmX10Config");
    dialog.setWindowTitle(QStringLiteral("X10 configuration"));

    auto* houses = AddList(&dialog, "HCListbox", "House code");
    auto* units = AddList(&dialog, "DCListbox", "Unit");
    auto* name = new QComboBox(&dialog);
    name->setObjectName("X10DescCombo");
    name->setEditable(true);
    name->setAccessibleName("Unit name");
    name->setToolTip("At most 20 characters, none of , [ ]");
    name->setMinimumWidth(220);
    auto* ports = new QComboBox(&dialog);
    ports->setObjectName("X10COMList");
    ports->setAccessibleName("CM11/12 port");
    ports->setToolTip("Default shares the infrared interface's port");
    auto* disable = new QCheckBox(QStringLiteral("Disable X10"), &dialog);
    disable->setObjectName("DisableX10Checkbox");

    auto* grid = new QGridLayout;
    grid->addWidget(new QLabel(QStringLiteral("House"), &dialog), 0, 0);
    grid->addWidget(new QLabel(QStringLiteral("Unit"), &dialog), 0, 1);
    grid->addWidget(new QLabel(QStringLiteral("Name"), &dialog), 0, 2);
    grid->addWidget(houses, 1, 0, 4, 1);
    grid->addWidget(units, 1, 1, 4, 1);
    grid->addWidget(name, 1, 2);
    auto* edit = new QHBoxLayout;
    auto* add = AddButton(&dialog, edit, "X10AddButton", "Add", "Name the selected address");
    auto* del = AddButton(&dialog, edit, "X10DelButton", "Delete", "Remove the name of the selected address");
    grid->addLayout(edit, 2, 2);
    auto* portRow = new QHBoxLayout;
    portRow->addWidget(new QLabel(QStringLiteral("CM11/12 port"), &dialog));
    portRow->addWidget(ports, 1);
    grid->addLayout(portRow, 3, 2);
    grid->addWidget(disable, 4, 2);

    auto* bottom = new QHBoxLayout;
    auto* reset = AddButton(&dialog, bottom, "ResetX10Button", "Reset CM11/12", "Send the clock-set record to the interface");
    bottom->addStretch(1);
    auto* ok = AddButton(&dialog, bottom, "X10OKButton", "OK", "Save the X10 configuration");
    auto* cancel = AddButton(&dialog, bottom, "X10CancelButton", "Cancel", "Close without saving");
    ok->setDefault(true);

    auto* layout = new QVBoxLayout(&dialog);
    layout->addLayout(grid);
    layout->addLayout(bottom);

    QtView view(&dialog);
    X10ConfigController controller(ctx, serial, view, mainView);
    controller.onLoad();

    QObject::connect(houses, &QListWidget::currentRowChanged, &dialog, [&] { controller.onHouseOrUnitSelected(); });
    QObject::connect(units, &QListWidget::currentRowChanged, &dialog, [&] { controller.onHouseOrUnitSelected(); });
    QObject::connect(add, &QPushButton::clicked, &dialog, [&] { controller.onAdd(); });
    QObject::connect(del, &QPushButton::clicked, &dialog, [&] { controller.onDelete(); });
    QObject::connect(reset, &QPushButton::clicked, &dialog, [&] { controller.onReset(); });
    QObject::connect(ok, &QPushButton::clicked, &dialog, [&] {
        if (controller.onOK()) dialog.accept();
    });
    QObject::connect(cancel, &QPushButton::clicked, &dialog, &QDialog::reject);
    dialog.exec();
    controller.onClose();
}

} // namespace quenix
