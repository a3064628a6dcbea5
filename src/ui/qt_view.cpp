#include "ui/qt_view.h"

#include <QAbstractButton>
#include <QAbstractSlider>
#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QPalette>
#include <QPlainTextEdit>
#include <QSpinBox>
#include <QStatusBar>
#include <QSystemTrayIcon>
#include <QTextEdit>
#include <QTimer>
#include <QWidget>

namespace quenix {
namespace {

QString Q(const std::string& s) { return QString::fromLatin1(s.data(), static_cast<qsizetype>(s.size())); }
std::string S(const QString& s) { return s.toLatin1().toStdString(); }

QPalette::ColorRole PaletteRole(const QWidget* w, View::ColorRole role) {
    bool editable = qobject_cast<const QLineEdit*>(w) || qobject_cast<const QTextEdit*>(w) ||
                    qobject_cast<const QPlainTextEdit*>(w) || qobject_cast<const QListWidget*>(w) ||
                    qobject_cast<const QComboBox*>(w);
    if (role == View::ColorRole::Foreground) return editable ? QPalette::Text : QPalette::WindowText;
    return editable ? QPalette::Base : QPalette::Window;
}

} // namespace

QtView::QtView(QWidget* root) : root_(root) {}

QObject* QtView::find(const std::string& control) const {
    if (!root_) return nullptr;
    QString name = Q(control);
    if (root_->objectName() == name) return root_;
    return root_->findChild<QObject*>(name);
}

void QtView::setText(const std::string& control, const std::string& text) {
    QObject* o = find(control);
    QString t = Q(text);
    if (o == root_) {
        root_->setWindowTitle(t);
    } else if (auto* sb = qobject_cast<QStatusBar*>(o)) {
        sb->showMessage(t);
    } else if (auto* l = qobject_cast<QLabel*>(o)) {
        l->setText(t);
    } else if (auto* e = qobject_cast<QLineEdit*>(o)) {
        e->setText(t);
        e->setCursorPosition(0); // a long code or list of lengths reads from its start
    } else if (auto* te = qobject_cast<QPlainTextEdit*>(o)) {
        te->setPlainText(t);
    } else if (auto* tx = qobject_cast<QTextEdit*>(o)) {
        tx->setPlainText(t);
    } else if (auto* b = qobject_cast<QAbstractButton*>(o)) {
        b->setText(t);
    } else if (auto* c = qobject_cast<QComboBox*>(o)) {
        if (c->isEditable()) {
            c->setEditText(t);
        } else {
            int i = c->findText(t);
            if (i >= 0) c->setCurrentIndex(i);
        }
    } else if (auto* g = qobject_cast<QGroupBox*>(o)) {
        g->setTitle(t);
    } else if (auto* m = qobject_cast<QMenu*>(o)) {
        m->setTitle(t);
    } else if (auto* a = qobject_cast<QAction*>(o)) {
        a->setText(t);
    } else if (auto* sp = qobject_cast<QSpinBox*>(o)) {
        sp->setValue(t.toInt());
    } else if (auto* w = qobject_cast<QWidget*>(o)) {
        w->setWindowTitle(t);
    }
}

std::string QtView::text(const std::string& control) const {
    QObject* o = find(control);
    if (o == root_) return S(root_->windowTitle());
    if (auto* sb = qobject_cast<QStatusBar*>(o)) return S(sb->currentMessage());
    if (auto* l = qobject_cast<QLabel*>(o)) return S(l->text());
    if (auto* e = qobject_cast<QLineEdit*>(o)) return S(e->text());
    if (auto* te = qobject_cast<QPlainTextEdit*>(o)) return S(te->toPlainText());
    if (auto* tx = qobject_cast<QTextEdit*>(o)) return S(tx->toPlainText());
    if (auto* b = qobject_cast<QAbstractButton*>(o)) return S(b->text());
    if (auto* c = qobject_cast<QComboBox*>(o)) return S(c->currentText());
    if (auto* g = qobject_cast<QGroupBox*>(o)) return S(g->title());
    if (auto* lw = qobject_cast<QListWidget*>(o)) return lw->currentItem() ? S(lw->currentItem()->text()) : std::string();
    if (auto* m = qobject_cast<QMenu*>(o)) return S(m->title());
    if (auto* a = qobject_cast<QAction*>(o)) return S(a->text());
    if (auto* sp = qobject_cast<QSpinBox*>(o)) return std::to_string(sp->value());
    if (auto* w = qobject_cast<QWidget*>(o)) return S(w->windowTitle());
    return {};
}

void QtView::setChecked(const std::string& control, bool checked) {
    QObject* o = find(control);
    if (auto* a = qobject_cast<QAction*>(o)) {
        // Actions are wired to triggered, which this does not emit; their group needs the
        // change signal to keep one item checked.
        a->setCheckable(true);
        a->setChecked(checked);
        return;
    }
    // Boxes are wired to their state change, which must come from the user only.
    QSignalBlocker block(o);
    if (auto* b = qobject_cast<QAbstractButton*>(o)) {
        b->setChecked(checked);
    } else if (auto* g = qobject_cast<QGroupBox*>(o)) {
        g->setChecked(checked);
    }
}

bool QtView::isChecked(const std::string& control) const {
    QObject* o = find(control);
    if (auto* a = qobject_cast<QAction*>(o)) return a->isChecked();
    if (auto* b = qobject_cast<QAbstractButton*>(o)) return b->isChecked();
    if (auto* g = qobject_cast<QGroupBox*>(o)) return g->isChecked();
    return false;
}

void QtView::setEnabled(const std::string& control, bool enabled) {
    QObject* o = find(control);
    if (auto* m = qobject_cast<QMenu*>(o)) {
        // A sub-menu is switched through the action that opens it.
        m->menuAction()->setEnabled(enabled);
        m->setEnabled(enabled);
    } else if (auto* a = qobject_cast<QAction*>(o)) {
        a->setEnabled(enabled);
    } else if (auto* w = qobject_cast<QWidget*>(o)) {
        w->setEnabled(enabled);
    } else if (auto* t = qobject_cast<QTimer*>(o)) {
        enabled ? t->start() : t->stop();
    }
}

bool QtView::isEnabled(const std::string& control) const {
    QObject* o = find(control);
    if (auto* m = qobject_cast<QMenu*>(o)) return m->menuAction()->isEnabled();
    if (auto* a = qobject_cast<QAction*>(o)) return a->isEnabled();
    if (auto* w = qobject_cast<QWidget*>(o)) return w->isEnabled();
    if (auto* t = qobject_cast<QTimer*>(o)) return t->isActive();
    return false;
}

void QtView::setVisible(const std::string& control, bool visible) {
    QObject* o = find(control);
    if (auto* m = qobject_cast<QMenu*>(o)) {
        m->menuAction()->setVisible(visible);
        if (!visible) m->hide(); // an open pop-up closes
    } else if (auto* tray = qobject_cast<QSystemTrayIcon*>(o)) {
        tray->setVisible(visible);
    } else if (auto* a = qobject_cast<QAction*>(o)) {
        a->setVisible(visible);
    } else if (auto* w = qobject_cast<QWidget*>(o)) {
        w->setVisible(visible);
    }
}

void QtView::setItems(const std::string& control, const std::vector<std::string>& items) {
    QObject* o = find(control);
    QStringList list;
    for (const auto& s : items) list << Q(s);
    if (auto* lw = qobject_cast<QListWidget*>(o)) {
        QSignalBlocker block(lw);
        lw->clear();
        lw->addItems(list);
    } else if (auto* c = qobject_cast<QComboBox*>(o)) {
        QSignalBlocker block(c);
        QString edit = c->isEditable() ? c->currentText() : QString();
        c->clear();
        c->addItems(list);
        c->setCurrentIndex(-1);
        if (c->isEditable()) c->setEditText(edit);
    }
}

std::vector<std::string> QtView::items(const std::string& control) const {
    QObject* o = find(control);
    std::vector<std::string> out;
    if (auto* lw = qobject_cast<QListWidget*>(o)) {
        for (int i = 0; i < lw->count(); ++i) out.push_back(S(lw->item(i)->text()));
    } else if (auto* c = qobject_cast<QComboBox*>(o)) {
        for (int i = 0; i < c->count(); ++i) out.push_back(S(c->itemText(i)));
    }
    return out;
}

void QtView::setCurrentIndex(const std::string& control, int index) {
    // The view is passive: selecting from code does not call back into the controllers.
    QObject* o = find(control);
    QSignalBlocker block(o);
    if (auto* lw = qobject_cast<QListWidget*>(o)) {
        lw->setCurrentRow(index);
        if (index < 0) lw->clearSelection();
    } else if (auto* c = qobject_cast<QComboBox*>(o)) {
        c->setCurrentIndex(index);
    } else if (auto* sl = qobject_cast<QAbstractSlider*>(o)) {
        sl->setValue(index);
    } else if (auto* sp = qobject_cast<QSpinBox*>(o)) {
        sp->setValue(index);
    }
}

int QtView::currentIndex(const std::string& control) const {
    QObject* o = find(control);
    if (auto* lw = qobject_cast<QListWidget*>(o)) return lw->currentRow();
    if (auto* c = qobject_cast<QComboBox*>(o)) return c->currentIndex();
    if (auto* sl = qobject_cast<QAbstractSlider*>(o)) return sl->value();
    if (auto* sp = qobject_cast<QSpinBox*>(o)) return sp->value();
    return -1;
}

void QtView::setColor(const std::string& control, ColorRole role, std::uint32_t rgb) {
    auto* w = qobject_cast<QWidget*>(find(control));
    if (!w) return;
    QPalette p = w->palette();
    p.setColor(PaletteRole(w, role), QColor::fromRgb(rgb & 0xFFFFFFu));
    w->setPalette(p);
    if (role == ColorRole::Background) w->setAutoFillBackground(true);
}

std::uint32_t QtView::color(const std::string& control, ColorRole role) const {
    auto* w = qobject_cast<QWidget*>(find(control));
    if (!w) return 0;
    return w->palette().color(PaletteRole(w, role)).rgb() & 0xFFFFFFu;
}

void QtView::setTimerEnabled(const std::string& timer, bool enabled) {
    if (auto* t = qobject_cast<QTimer*>(find(timer))) enabled ? t->start() : t->stop();
}

bool QtView::isTimerEnabled(const std::string& timer) const {
    auto* t = qobject_cast<QTimer*>(find(timer));
    return t && t->isActive();
}

void QtView::processEvents() { QApplication::processEvents(); }

} // namespace quenix
