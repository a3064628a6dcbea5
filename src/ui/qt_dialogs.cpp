#include "ui/qt_dialogs.h"

#include <QAbstractButton>
#include <QDir>
#include <QFile>
#include <QFileDialog>
#include <QFileSystemModel>
#include <QGuiApplication>
#include <QHash>
#include <QInputDialog>
#include <QMessageBox>
#include <QRegularExpression>
#include <QScreen>
#include <QSortFilterProxyModel>
#include <QStringDecoder>
#include <QStringList>
#include <QTextEdit>

namespace quenix {
namespace {

// The configuration text is 8-bit; texts cross into Qt as Latin-1.
QString Q(const std::string& s) { return QString::fromLatin1(s.data(), static_cast<qsizetype>(s.size())); }
std::string S(const QString& s) { return s.toLatin1().toStdString(); }

// A message may quote a file name, which is in the system's encoding; the rest is Latin-1.
QString Shown(const std::string& s) {
    QStringDecoder utf8(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    QString text = utf8(QByteArray::fromStdString(s));
    return utf8.hasError() ? Q(s) : text;
}

// A text taller than half the screen (notes on every remote of a large lircd.conf) would push
// the buttons off a small one: its first line stays in the box, the rest goes to the details,
// which are shown at once and scroll.
void FitToScreen(QMessageBox& box, const QString& text, const QWidget* parent) {
    const QScreen* screen = parent ? parent->screen() : QGuiApplication::primaryScreen();
    const int room = screen ? screen->availableGeometry().height() / 2 : 300;
    const QRect needed = box.fontMetrics().boundingRect(QRect(0, 0, 500, 1 << 20), Qt::TextWordWrap, text);
    if (needed.height() <= room) return;
    qsizetype cut = text.indexOf('\n');
    if (cut < 0) cut = qMin<qsizetype>(text.size(), 200);
    box.setText(text.left(cut).trimmed());
    box.setDetailedText(text.mid(cut).trimmed());
    for (QAbstractButton* b : box.buttons())
        if (box.buttonRole(b) == QMessageBox::ActionRole) b->click(); // "Show Details..."
    // Wide and tall enough to read a few notes at once, still within the room.
    if (auto* details = box.findChild<QTextEdit*>()) {
        details->setMinimumWidth(box.fontMetrics().averageCharWidth() * 64);
        details->setFixedHeight(qMin(room, box.fontMetrics().lineSpacing() * 14));
    }
}

// File names go to the C++ runtime as the system spells them, not as Latin-1.
std::string NativePath(const QString& name) { return QFile::encodeName(name).toStdString(); }

// "Executable Files (*.exe;*.com)": the patterns between the parentheses.
QStringList Patterns(const QString& filter) {
    QRegularExpressionMatch m = QRegularExpression(R"(\(([^)]*)\)\s*$)").match(filter);
    QStringList patterns = m.captured(1).split(QRegularExpression("[;\\s]+"), Qt::SkipEmptyParts);
    patterns.replaceInStrings(QRegularExpression(R"(^\*\.\*$)"), "*"); // a name need not have a dot
    return patterns;
}

// Lists what the chosen filter's patterns match. Programs on Linux carry no extension, so a filter
// that lists .exe files also lists every file the user may execute.
class FileFilter : public QSortFilterProxyModel {
public:
    // The dialog names the filter with or without its patterns, depending on its options.
    void choose(const QString& filter) {
        patterns_ = filters_.value(filter.section('(', 0, 0).trimmed());
        programs_ = patterns_.contains("*.exe", Qt::CaseInsensitive);
        invalidateFilter();
    }
    QHash<QString, QStringList> filters_;

protected:
    bool filterAcceptsRow(int row, const QModelIndex& parent) const override {
        auto* files = static_cast<QFileSystemModel*>(sourceModel());
        const QModelIndex index = files->index(row, 0, parent);
        if (files->isDir(index)) return true;
        const QString name = files->fileName(index);
        for (const QString& p : patterns_)
            if (QDir::match(p, name)) return true;
        return programs_ && files->fileInfo(index).isExecutable();
    }

private:
    QStringList patterns_;
    bool programs_ = false;
};

} // namespace

QFileDialog* NewFileDialog(QWidget* parent, const std::string& title, const std::vector<std::string>& filters) {
    auto* dialog = new QFileDialog(parent, Q(title));
    dialog->setObjectName("FileDialog");
    // The filtering is done below, so the dialog's own name filters let every file through.
    dialog->setOptions(QFileDialog::DontUseNativeDialog | QFileDialog::HideNameFilterDetails);
    auto* filter = new FileFilter;
    QStringList shown;
    bool all = false;
    for (const auto& f : filters) {
        const QString name = Q(f).section('(', 0, 0).trimmed();
        const QStringList patterns = Patterns(Q(f));
        all = all || patterns.contains("*");
        shown << name + " (*)";
        filter->filters_.insert(name, patterns);
    }
    if (!all) {
        shown << "All files (*)";
        filter->filters_.insert("All files", {"*"});
    }
    dialog->setProxyModel(filter);
    dialog->setNameFilters(shown);
    QObject::connect(dialog, &QFileDialog::filterSelected, filter, &FileFilter::choose);
    filter->choose(shown.first());
    return dialog;
}

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
    QMessageBox box(qicon, Q(caption), Shown(text), qbuttons, parent_);
    box.setObjectName("MessageBox");
    FitToScreen(box, Shown(text), parent_);
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
    std::unique_ptr<QFileDialog> dialog(NewFileDialog(parent_, title, filters));
    dialog->setFileMode(QFileDialog::ExistingFile);
    if (dialog->exec() != QDialog::Accepted || dialog->selectedFiles().isEmpty()) return std::nullopt;
    return NativePath(dialog->selectedFiles().first());
}

std::optional<std::string> QtDialogs::saveFile(const std::string& title, const std::vector<std::string>& filters,
                                               const std::string& defaultExtension) {
    std::unique_ptr<QFileDialog> dialog(NewFileDialog(parent_, title, filters));
    dialog->setAcceptMode(QFileDialog::AcceptSave);
    // The caller asks about replacing a file itself, under the name it really writes.
    dialog->setOption(QFileDialog::DontConfirmOverwrite);
    dialog->setDefaultSuffix(Q(defaultExtension));
    if (dialog->exec() != QDialog::Accepted || dialog->selectedFiles().isEmpty()) return std::nullopt;
    return NativePath(dialog->selectedFiles().first());
}

} // namespace quenix
