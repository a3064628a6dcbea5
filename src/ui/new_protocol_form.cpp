#include "ui/new_protocol_form.h"

#include "ir/device_editor.h"
#include "ui/qt_view.h"

#include <QComboBox>
#include <QDialog>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

namespace quenix {

namespace {

QLineEdit* AddLine(QFormLayout* form, QDialog* dialog, const char* name, const QString& label, const QString& tip) {
    auto* edit = new QLineEdit(dialog);
    edit->setObjectName(name);
    edit->setToolTip(tip);
    edit->setAccessibleName(label);
    edit->setMinimumWidth(320);
    form->addRow(label, edit);
    return edit;
}

} // namespace

int ShowNewProtocolForm(Context& ctx, View& mainView, QWidget* parent) {
    QDialog dialog(parent);
    dialog.setObjectName("NewProtocol");
    dialog.setWindowTitle(ctx.editFlag ? QStringLiteral("Edit device") : QStringLiteral("New device"));

    auto* form = new QFormLayout;
    form->setFieldGrowthPolicy(QFormLayout::ExpandingFieldsGrow);
    AddLine(form, &dialog, "CProtIn", "Device name", "3 to 12 characters, none of [ ] , # % &");
    AddLine(form, &dialog, "ProtDesc", "Description", "One line, none of [ ] , # % &");
    auto* protocols = new QComboBox(&dialog);
    protocols->setObjectName("GProtoIn");
    protocols->setAccessibleName("Protocol");
    protocols->setToolTip("Choosing a protocol fills in its timing");
    form->addRow("Protocol", protocols);
    AddLine(form, &dialog, "SendPlsIn", "SENDPLS (us)", "Length of one pulse unit in microseconds");
    AddLine(form, &dialog, "RepeatIn", "REPEAT", "0 for a single sequence, or the pause (16 or more) between repeats");
    AddLine(form, &dialog, "GRepeatIn", "GREPEAT",
            "0 no sync, 1 sync on the first sequence only, 16 or more sync on every sequence");
    AddLine(form, &dialog, "BitGIn", "BITG", "Sync pattern in units, 1 = carrier");
    AddLine(form, &dialog, "Bit0In", "BIT0", "Pattern of a 0 bit in units, 1 = carrier");
    AddLine(form, &dialog, "Bit1In", "BIT1", "Pattern of a 1 bit in units, 1 = carrier");

    auto* buttons = new QDialogButtonBox(&dialog);
    auto* create = buttons->addButton(ctx.editFlag ? QStringLiteral("Save") : QStringLiteral("Create"),
                                      QDialogButtonBox::AcceptRole);
    create->setObjectName("CreateButton");
    create->setDefault(true);
    auto* cancel = buttons->addButton(QDialogButtonBox::Cancel);
    cancel->setObjectName("CancelButton");

    auto* layout = new QVBoxLayout(&dialog);
    layout->addLayout(form);
    layout->addWidget(buttons);
    layout->setSizeConstraint(QLayout::SetMinimumSize);

    QtView view(&dialog);
    DeviceEditor editor(ctx, view, mainView);
    if (!editor.Open()) return QDialog::Rejected;

    // Only a choice by the user fills the presets; the editor's own selection when it loads
    // a device or a recording must not overwrite what it filled in.
    QObject::connect(protocols, &QComboBox::activated, &dialog, [&editor] { editor.OnProtocolChanged(); });
    QObject::connect(create, &QPushButton::clicked, &dialog, [&] {
        if (editor.OnCreate()) dialog.accept();
    });
    QObject::connect(cancel, &QPushButton::clicked, &dialog, &QDialog::reject);
    return dialog.exec();
}

} // namespace quenix
