#include "ui/import_form.h"

#include <QDialog>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace quenix {

std::optional<std::vector<int>> ShowImportForm(ImportExport::Mode mode, const std::vector<ImportExport::Row>& rows,
                                               QWidget* parent) {
    QDialog dialog(parent);
    dialog.setObjectName("ImportForm");
    dialog.setWindowTitle(mode == ImportExport::Mode::Import ? QStringLiteral("Import") : QStringLiteral("Export"));

    auto* instruction = new QLabel(QString::fromStdString(ImportExport::Instruction(mode)), &dialog);
    instruction->setObjectName("InstructionLabel");
    auto* list = new QTreeWidget(&dialog);
    list->setObjectName("SectionList");
    // A screen reader says what stands above the list.
    list->setAccessibleName(instruction->text());
    list->setRootIsDecorated(false);
    list->setHeaderLabels({QStringLiteral("Section"), QStringLiteral("Device Description")});
    for (const auto& row : rows) {
        auto* item = new QTreeWidgetItem(list, {QString::fromLatin1(row.section.c_str()),
                                                QString::fromLatin1(row.description.c_str())});
        item->setCheckState(0, Qt::Unchecked);
    }
    // Room for the check box and a gap, so a long section name does not run into its description.
    list->resizeColumnToContents(0);
    list->setColumnWidth(0, list->columnWidth(0) + 3 * list->fontMetrics().averageCharWidth());
    list->setMinimumSize(420, 260);

    auto* go = new QPushButton(QString::fromStdString(ImportExport::ButtonText(mode)), &dialog);
    go->setObjectName("ImportButton");
    go->setDefault(true);
    auto* cancel = new QPushButton(QStringLiteral("Cancel"), &dialog);
    cancel->setObjectName("CancelButton");
    auto* bottom = new QHBoxLayout;
    bottom->addStretch(1);
    bottom->addWidget(go);
    bottom->addWidget(cancel);
    auto* layout = new QVBoxLayout(&dialog);
    layout->addWidget(instruction);
    layout->addWidget(list);
    layout->addLayout(bottom);

    QObject::connect(go, &QPushButton::clicked, &dialog, &QDialog::accept);
    QObject::connect(cancel, &QPushButton::clicked, &dialog, &QDialog::reject);
    if (dialog.exec() != QDialog::Accepted) return std::nullopt;
    std::vector<int> ticked;
    for (int i = 0; i < list->topLevelItemCount(); ++i)
        if (list->topLevelItem(i)->checkState(0) == Qt::Checked) ticked.push_back(i);
    return ticked;
}

} // namespace quenix
