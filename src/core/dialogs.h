#pragma once

#include <optional>
#include <string>
#include <vector>

namespace quenix {

enum class MsgIcon { None, Critical, Question, Exclamation, Information };
enum class MsgButtons { Ok, OkCancel, YesNo };
enum class MsgAnswer { Ok, Cancel, Yes, No };

// Modal questions to the user. The Qt side shows real boxes; tests script the answers and
// record the questions.
class Dialogs {
public:
    virtual ~Dialogs() = default;
    virtual MsgAnswer messageBox(const std::string& text, const std::string& caption, MsgIcon icon,
                                 MsgButtons buttons) = 0;
    // nullopt when the user cancels.
    virtual std::optional<std::string> inputBox(const std::string& prompt, const std::string& title,
                                                const std::string& initial = {}) = 0;
    // filters in the "Name (*.a;*.b)" form, one entry per filter.
    virtual std::optional<std::string> openFile(const std::string& title, const std::vector<std::string>& filters) = 0;
    virtual std::optional<std::string> saveFile(const std::string& title, const std::vector<std::string>& filters,
                                                const std::string& defaultExtension) = 0;

    // Shorthand for the plain acknowledgement boxes that most refusals use.
    void message(const std::string& text, const std::string& caption = "ZVK", MsgIcon icon = MsgIcon::Exclamation) {
        messageBox(text, caption, icon, MsgButtons::Ok);
    }
};

} // namespace quenix
