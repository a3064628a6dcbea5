#pragma once

// Copying devices and [General] settings between configuration files: import merges the
// ticked sections of another file into the configuration text, export writes the ticked
// sections of the current one into a new file of the same grammar.

#include "config/context.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace quenix {

class ImportExport {
public:
    enum class Mode { Import, Export };
    struct Row {
        std::string section; // "[General]", "[Sony TV]" ...
        std::string description;
    };

    explicit ImportExport(Context& ctx);

    // The selection form: shows the rows and returns the indices the user ticked, or nullopt
    // when the form is closed without its button.
    std::function<std::optional<std::vector<int>>(Mode, const std::vector<Row>&)> chooseRows;
    // Turns a file of another program (a lircd.conf) into the text of a configuration file
    // holding its devices; nullopt when it is not one. notes tells what was left out.
    std::function<std::optional<std::string>(const std::string& text, std::string& notes)> convertForeign;
    // The file being imported, for converters whose formats carry no device name.
    std::string importFile;
    // A device's codes written in another program's form (flipper, pronto or lircd); "" with
    // why set when they cannot be.
    std::function<std::string(const std::string& device, const std::string& format, std::string& why)> exportCodes;

    // The menu commands: file dialog, check, selection, merge or write.
    void FileImport();
    void FileExport();
    // The current device's codes as a Flipper .ir file, a lircd.conf or Pronto hex, told by the
    // file name's extension (.ir when it has none of the three).
    void FileExportCodes();

    // The rows of the import text or of the configuration text.
    std::vector<Row> Rows(Mode mode) const;
    // True when the text looks like one of our configuration files.
    static bool IsValidConfiguration(const std::string& text);
    // Merges the ticked sections of the import text; returns the names taken over.
    std::vector<std::string> Import(const std::vector<std::string>& sections);
    // Writes the ticked sections to the file; false when nothing was written.
    bool Export(const std::vector<std::string>& sections, const std::string& file);

    // The instruction text and button caption of the selection form.
    static std::string Instruction(Mode mode);
    static std::string ButtonText(Mode mode);

private:
    // The sections the user ticks in the selection form, or nullopt when it was closed.
    std::optional<std::vector<std::string>> Choose(Mode mode);
    bool ImportGeneral(std::vector<std::string>& updated);
    bool ImportLines(const std::string& section);
    std::optional<std::string> ImportDevice(const std::string& name);
    // False when the file exists and the user keeps it, or it cannot be written.
    bool WriteExport(const std::string& name, const std::string& bytes);

    Context& ctx_;
    bool foreign_ = false; // the import text was converted: it has no settings to offer
};

// The section of text headed by "[name]" (case ignored), from the "[" up to the CR LF before
// the next header, or empty when there is none.
std::string SectionText(const std::string& text, const std::string& name);

} // namespace quenix
