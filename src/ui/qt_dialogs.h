#pragma once

#include "core/dialogs.h"

class QFileDialog;
class QWidget;

namespace quenix {

// The file dialog of openFile and saveFile, with filters in the "Name (*.a;*.b)" form. Besides
// them it offers "All files", and a filter of .exe files also lists executables of any name.
QFileDialog* NewFileDialog(QWidget* parent, const std::string& title, const std::vector<std::string>& filters);

// Real message, input and file boxes, parented to a window.
class QtDialogs final : public Dialogs {
public:
    explicit QtDialogs(QWidget* parent = nullptr) : parent_(parent) {}
    void setParent(QWidget* parent) { parent_ = parent; }

    MsgAnswer messageBox(const std::string& text, const std::string& caption, MsgIcon icon,
                         MsgButtons buttons) override;
    std::optional<std::string> inputBox(const std::string& prompt, const std::string& title,
                                        const std::string& initial) override;
    std::optional<std::string> openFile(const std::string& title, const std::vector<std::string>& filters) override;
    std::optional<std::string> saveFile(const std::string& title, const std::vector<std::string>& filters,
                                        const std::string& defaultExtension) override;

private:
    QWidget* parent_;
};

} // namespace quenix
