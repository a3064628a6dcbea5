#pragma once

// The Signal box: paints the square wave that Waveform lays out, or a text in its place.

#include "ir/waveform.h"

#include <QFrame>

#include <functional>
#include <memory>

namespace quenix {

class SignalWidget : public QFrame, public SignalCanvas {
    Q_OBJECT
public:
    explicit SignalWidget(QWidget* parent = nullptr);

    // Across, a unit is a pixel, so zoom 1 shows one sample a pixel. Down, the box is always
    // kUnitsHigh units, so the trace's 40 units fill most of it whatever its size.
    static constexpr double kUnitsHigh = 64;
    double canvasWidth() const override { return width(); }
    double canvasHeight() const override { return kUnitsHigh; }
    void paintSignal(const SignalDrawing& drawing) override;
    void showMessage(const std::string& text) override;

    // As a label would, for the text shown before anything was recorded.
    void setText(const QString& text);
    void setAlignment(Qt::Alignment alignment) { alignment_ = alignment; }
    QString text() const { return message_; }
    const SignalDrawing* drawing() const { return drawing_.get(); }

    // Called after a resize, so the picture is laid out for the new size.
    std::function<void()> resized;

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    std::unique_ptr<SignalDrawing> drawing_;
    QString message_;
    Qt::Alignment alignment_ = Qt::AlignCenter;
};

} // namespace quenix
