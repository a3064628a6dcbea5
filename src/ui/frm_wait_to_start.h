#pragma once

#include <QWidget>

class QLabel;

namespace quenix {

// The small progress window shown while the interfaces start; one text, `WaitText`.
class FrmWaitToStart : public QWidget {
    Q_OBJECT
public:
    explicit FrmWaitToStart(QWidget* parent = nullptr);

private:
    QLabel* text_;
};

} // namespace quenix
