#include "ui/frm_web.h"

#include "ui/web_transport.h"

#include <QCheckBox>
#include <QDialog>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLabel>
#include <QPixmap>
#include <QPushButton>
#include <QSpinBox>
#include <QVBoxLayout>

namespace quenix {

void ShowWebForm(WebRemoteControl& control, QWidget* parent) {
    QDialog d(parent);
    d.setObjectName("frmWeb");
    d.setWindowTitle("Web remote");
    auto* layout = new QVBoxLayout(&d);
    const QString note = control.Note();
    if (!note.isEmpty()) {
        auto* n = new QLabel(note, &d);
        n->setObjectName("WebNote");
        n->setWordWrap(true);
        layout->addWidget(n);
    }
    const web::WebSettings s = control.settings();
    auto* enabled = new QCheckBox("&Serve the remote to phones and browsers", &d);
    enabled->setObjectName("WebCheckbox");
    enabled->setChecked(s.enabled);
    auto* home = new QCheckBox("Allow phones on the &home network (otherwise this PC only)", &d);
    home->setObjectName("HomeNetworkCheckbox");
    home->setChecked(s.homeNetwork);
    auto* port = new QSpinBox(&d);
    port->setObjectName("WebPortBox");
    port->setRange(1024, 65535);
    port->setValue(s.port);
    port->setAccessibleName("Port");
    auto* form = new QFormLayout;
    form->addRow(enabled);
    form->addRow(home);
    form->addRow("&Port:", port);
    layout->addLayout(form);

    auto* status = new QLabel(&d);
    status->setObjectName("WebStatus");
    status->setWordWrap(true);
    auto* address = new QLabel(&d);
    address->setObjectName("WebAddress");
    address->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    address->setAccessibleName("Address to open on a phone");
    auto* qr = new QLabel(&d);
    qr->setObjectName("WebQrCode");
    qr->setAlignment(Qt::AlignCenter);
    qr->setAccessibleName("QR code of the address");
    auto* renew = new QPushButton("&Renew token (unpairs every phone)", &d);
    renew->setObjectName("RenewTokenButton");
    layout->addWidget(status);
    layout->addWidget(address);
    layout->addWidget(qr);
    layout->addWidget(renew);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, &d);
    layout->addWidget(buttons);

    auto show = [&] {
        status->setText(control.Status());
        const QString url = control.Url();
        address->setText(url);
        address->setVisible(!url.isEmpty());
        const QImage code = url.isEmpty() ? QImage() : QrCode(url, 5);
        qr->setPixmap(code.isNull() ? QPixmap() : QPixmap::fromImage(code));
        qr->setVisible(!code.isNull());
        renew->setEnabled(!url.isEmpty());
        d.adjustSize();
    };
    auto apply = [&] {
        web::WebSettings now = control.settings();
        if (now.enabled == enabled->isChecked() && now.homeNetwork == home->isChecked() && now.port == port->value())
            return;
        now.enabled = enabled->isChecked();
        now.homeNetwork = home->isChecked();
        now.port = port->value();
        control.Apply(now);
        show();
    };
    QObject::connect(enabled, &QCheckBox::toggled, &d, apply);
    QObject::connect(home, &QCheckBox::toggled, &d, apply);
    QObject::connect(port, &QSpinBox::editingFinished, &d, apply);
    QObject::connect(renew, &QPushButton::clicked, &d, [&] {
        control.RenewToken();
        show();
    });
    QObject::connect(buttons, &QDialogButtonBox::rejected, &d, &QDialog::reject);
    show();
    d.exec();
}

} // namespace quenix
