#include "ui/frm_wait_to_start.h"

#include <QLabel>
#include <QProgressBar>
#include <QVBoxLayout>

namespace quenix {

FrmWaitToStart::FrmWaitToStart(QWidget* parent)
    : QWidget(parent, Qt::Dialog | Qt::CustomizeWindowHint | Qt::WindowTitleHint) {
    setObjectName("frmWaitToStart");
    setWindowTitle("Quenix Remote Manager");
    setWindowModality(Qt::NonModal);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(24, 18, 24, 18);
    layout->setSpacing(12);
    auto* title = new QLabel("Starting Quenix Remote Manager", this);
    QFont f = title->font();
    f.setBold(true);
    title->setFont(f);
    text_ = new QLabel(this);
    text_->setObjectName("WaitText");
    text_->setAccessibleName("Start-up progress");
    text_->setMinimumWidth(text_->fontMetrics().horizontalAdvance("Initialize Infrared OUT...") * 3 / 2);
    auto* busy = new QProgressBar(this);
    busy->setRange(0, 0); // busy indicator: the steps have no measurable length
    busy->setTextVisible(false);
    busy->setAccessibleName("Starting");
    layout->addWidget(title);
    layout->addWidget(text_);
    layout->addWidget(busy);
}

} // namespace quenix
