#pragma once

#include <QBoxLayout>
#include <QDialog>
#include <QPushButton>
#include <QString>

namespace quenix {

// A push button with its object name, tool tip and accessible name, appended to a row.
inline QPushButton* AddButton(QDialog* dialog, QBoxLayout* row, const char* name, const QString& text,
                              const QString& tip) {
    auto* b = new QPushButton(text, dialog);
    b->setObjectName(name);
    b->setToolTip(tip);
    b->setAccessibleName(text);
    row->addWidget(b);
    return b;
}

} // namespace quenix
