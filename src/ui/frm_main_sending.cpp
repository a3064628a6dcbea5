#include "ui/frm_main.h"

#include <QListWidget>
#include <QPushButton>
#include <QScrollBar>

namespace quenix {

void FrmMain::wireSending(Io io) {
    auto* send = findChild<QPushButton*>("SendButton");
    if (!io.port || !io.library) {
        // Without a port and a library (window tests) there is nothing to send with.
        connect(send, &QPushButton::clicked, this,
                [this] { view_.setStatus("This function is not available in this version yet."); });
        return;
    }
    ActionBackends backends;
    if (io.sound) {
        actions_ = std::make_unique<DesktopActions>(ctx_, *io.port, *io.sound);
        backends = BackendsOf(*actions_);
    }
    executor_ = std::make_unique<CommandExecutor>(ctx_, *io.port, *io.library, view_, std::move(backends));
    sender_ = std::make_unique<SendController>(ctx_, view_, *io.port, *executor_);

    if (auto* scroll = findChild<QScrollBar*>("HScroll1")) scroll->setSingleStep(15);
    connect(send, &QPushButton::clicked, this, [this] { sender_->onSendButton(); });
    // After the browser has made the command current.
    connect(commands_, &QListWidget::currentRowChanged, this, [this] { sender_->onCommandSelected(); });
    if (auto* dim = findChild<QScrollBar*>("DIMScroll"))
        connect(dim, &QScrollBar::valueChanged, this, [this] { sender_->showDimLevel(); });
    sender_->showDimLevel();
}

} // namespace quenix
