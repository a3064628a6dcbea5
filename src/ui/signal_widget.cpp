#include "ui/signal_widget.h"

#include <QPainter>
#include <QResizeEvent>

namespace quenix {

namespace {
QColor FromBgr(std::uint32_t bgr) { return QColor(bgr & 0xFF, (bgr >> 8) & 0xFF, (bgr >> 16) & 0xFF); }
} // namespace

SignalWidget::SignalWidget(QWidget* parent) : QFrame(parent) {
    setMinimumSize(200, 80);
    setAccessibleName("Recorded signal");
}

void SignalWidget::paintSignal(const SignalDrawing& drawing) {
    drawing_ = std::make_unique<SignalDrawing>(drawing);
    message_.clear();
    update();
}

void SignalWidget::showMessage(const std::string& text) { setText(QString::fromLatin1(text.c_str())); }

void SignalWidget::setText(const QString& text) {
    drawing_.reset();
    message_ = text;
    setAccessibleDescription(text);
    update();
}

void SignalWidget::paintEvent(QPaintEvent* event) {
    QFrame::paintEvent(event);
    QPainter p(this);
    p.fillRect(contentsRect(), Qt::black);
    if (!drawing_) {
        p.setPen(QColor(0xC0, 0xC0, 0xC0));
        p.drawText(contentsRect(), static_cast<int>(alignment_) | Qt::TextWordWrap, message_);
        return;
    }
    p.setPen(QPen(FromBgr(drawing_->colorBgr), 1));
    const double down = height() / kUnitsHigh;
    const double low = drawing_->yLow * down, high = drawing_->yHigh * down;
    for (const WaveEdge& e : drawing_->edges) p.drawLine(QPointF(e.x, low), QPointF(e.x, high));
    // Neighbouring samples are joined so that a zoomed-in trace stays a line.
    for (std::size_t i = 0; i < drawing_->dots.size(); ++i) {
        const WaveDot& d = drawing_->dots[i];
        if (i + 1 < drawing_->dots.size() && drawing_->dots[i + 1].y == d.y)
            p.drawLine(QPointF(d.x, d.y * down), QPointF(drawing_->dots[i + 1].x, d.y * down));
        else
            p.drawPoint(QPointF(d.x, d.y * down));
    }
}

void SignalWidget::resizeEvent(QResizeEvent* event) {
    QFrame::resizeEvent(event);
    if (drawing_ && resized) resized();
}

} // namespace quenix
