#include "ui/qt_dialogs.h"

#include <QFileDialog>
#include <QInputDialog>
#include <QMessageBox>
#include <QStringList>

namespace quenix {
namespace {

// The configuration text is 8-bit; texts cross into Qt as Latin-1.
QString Q(const std::string& s) { return QString::fromLatin1(s.data(), static_cast<qsizetype>(s.size())); }
std::string S(const QString& s) { return s.toLatin1().toStdString(); }

QString Filters(const std::vector<std::string>& filters) {
    QStringList list;
    for (const auto& f : filters) list << Q(f);
    return list.join(";;");
}

} // namespace

MsgAnswer QtDialogs::messageBox(const std::string& text, const std::string& caption, MsgIcon icon,
                                MsgButtons buttons) {
    QMessageBox::Icon qicon = QMessageBox::NoIcon;
    switch (icon) {
    case MsgIcon::None: qicon = QMessageBox::NoIcon; break;
    case MsgIcon::Critical: qicon = QMessageBox::Critical; break;
    case MsgIcon::Question: qicon = QMessageBox::Question; break;
    case MsgIcon::Exclamation: qicon = QMessageBox::Warning; break;
    case MsgIcon::Information: qicon = QMessageBox::Information; break;
    }
    QMessageBox::StandardButtons qbuttons = QMessageBox::Ok;
    if (buttons == MsgButtons::OkCancel) qbuttons = QMessageBox::Ok | QMessageBox::Cancel;
    if (buttons == MsgButtons::YesNo) qbuttons = QMessageBox::Yes | QMessageBox::No;
    QMessageBox box(qicon, Q(caption), Q(text), qbuttons, parent_);
    box.setObjectName("MessageBox");
    switch (box.exec()) {
    case QMessageBox::Ok: return MsgAnswer::Ok;
    case QMessageBox::Yes: return MsgAnswer::Yes;
    case QMessageBox::No: return MsgAnswer::No;
    case QMessageBox::Cancel: return MsgAnswer::Cancel;
    default: // closed with Escape or the window button
        if (buttons == MsgButtons::Ok) return MsgAnswer::Ok;
        return buttons == MsgButtons::YesNo ? MsgAnswer::No : MsgAnswer::Cancel;
    }
}

std::optional<std::string> QtDialogs::inputBox(const std::string& prompt, const std::string& title,
                                               const std::string& initial) {
    bool ok = false;
    QString answer = QInputDialog::getText(parent_, Q(title), Q(prompt), QLineEdit::Normal, Q(initial), &ok);
    if (!ok) return std::nullopt;
    return S(answer);
}

std::optional<std::string> QtDialogs::openFile(const std::string& title, const std::vector<std::string>& filters) {
    QString name = QFileDialog::getOpenFileName(parent_, Q(title), QString(), Filters(filters));
    if (name.isEmpty()) return std::nullopt;
    return S(name);
}

std::optional<std::string> QtDialogs::saveFile(const std::string& title, const std::vector<std::string>& filters,
                                               const std::string& defaultExtension) {
    QFileDialog dialog(parent_, Q(title), QString(), Filters(filters));
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setDefaultSuffix(Q(defaultExtension));
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty()) return std::nullopt;
    return S(dialog.selectedFiles().first());
}

} // namespace quenix
