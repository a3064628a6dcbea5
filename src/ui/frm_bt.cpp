#include "ui/frm_bt.h"

#include "monitor/bt_config.h"
#include "ui/qt_view.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QComboBox>
#include <QDialog>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QRadioButton>
#include <QVBoxLayout>

namespace quenix {

namespace {

template <class W>
W* Named(W* w, const char* name, const QString& accessible) {
    w->setObjectName(name);
    w->setAccessibleName(accessible);
    return w;
}

} // namespace

void ShowBluetoothForm(Context& ctx, SerialPort& serial, QWidget* parent, std::function<void()> phoneChanged) {
    QDialog dialog(parent);
    dialog.setObjectName("frmBT");
    dialog.setWindowTitle(QStringLiteral("Bluetooth phone"));

    auto* enable = Named(new QCheckBox(QStringLiteral("Use the Bluetooth phone remote"), &dialog), "BTCheckbox",
                         QStringLiteral("Use the Bluetooth phone remote"));
    auto* frame = Named(new QGroupBox(QStringLiteral("Connection"), &dialog), "Frame1", QStringLiteral("Connection"));
    auto* auto0 = Named(new QRadioButton(QStringLiteral("Open at once, reconnect lost links"), frame),
                        "BTModeOption0", QStringLiteral("Open at once, reconnect lost links"));
    auto* manual = Named(new QRadioButton(QStringLiteral("No automatic reconnection"), frame), "BTModeOption1",
                         QStringLiteral("No automatic reconnection"));
    auto* modes = new QButtonGroup(&dialog);
    modes->addButton(auto0, 0);
    modes->addButton(manual, 1);
    auto* ports = Named(new QListWidget(frame), "BtComListbox", QStringLiteral("Bluetooth COM port"));
    ports->setMaximumHeight(110);
    auto* frameLayout = new QVBoxLayout(frame);
    frameLayout->addWidget(auto0);
    frameLayout->addWidget(manual);
    frameLayout->addWidget(new QLabel(QStringLiteral("COM port of the phone link"), frame));
    frameLayout->addWidget(ports);

    auto* index = Named(new QComboBox(&dialog), "BTDevNrCombo", QStringLiteral("Device number"));
    auto* name = Named(new QLineEdit(&dialog), BtConfig::kNameBox, QStringLiteral("Device name"));
    name->setToolTip(QStringLiteral("The name the phone shows; none of [ ] , # % &"));
    auto* change = Named(new QPushButton(QStringLiteral("&Change"), &dialog), "ButtonChange", QStringLiteral("Change"));
    auto* ok = Named(new QPushButton(QStringLiteral("OK"), &dialog), "OKButton", QStringLiteral("OK"));
    ok->setDefault(true);

    auto* names = new QGridLayout;
    names->addWidget(new QLabel(QStringLiteral("Device"), &dialog), 0, 0);
    names->addWidget(index, 0, 1);
    names->addWidget(name, 1, 0, 1, 2);
    names->addWidget(change, 1, 2);
    auto* bottom = new QHBoxLayout;
    bottom->addStretch(1);
    bottom->addWidget(ok);
    auto* layout = new QVBoxLayout(&dialog);
    layout->addWidget(enable);
    layout->addWidget(frame);
    layout->addLayout(names);
    layout->addLayout(bottom);

    QtView view(&dialog);
    BtConfig controller(ctx, view, serial, std::move(phoneChanged));
    controller.Open();

    // The state change, not the click: a screen reader toggles without clicking.
    QObject::connect(enable, &QCheckBox::toggled, &dialog, [&](bool on) { controller.OnBTCheckbox(on); });
    QObject::connect(ports, &QListWidget::itemClicked, &dialog, [&] { controller.OnBtComListbox(); });
    QObject::connect(modes, &QButtonGroup::idClicked, &dialog, [&](int id) { controller.OnBTModeOption(id); });
    QObject::connect(index, &QComboBox::currentIndexChanged, &dialog, [&] { controller.OnBTDevNrCombo(); });
    QObject::connect(change, &QPushButton::clicked, &dialog, [&] { controller.OnButtonChange(); });
    QObject::connect(ok, &QPushButton::clicked, &dialog, &QDialog::accept);
    dialog.exec();
}

} // namespace quenix
