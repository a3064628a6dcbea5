#pragma once

#include "config/code_index.h"
#include "config/config_text.h"
#include "config/settings.h"

#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace quenix {

// The whole of telvorin.cfg in memory, and the operations through which every part of the
// system reads and changes it. Every change is a splice of the text; saving writes it whole.
class ConfigStore {
public:
    // folder: where telvorin.cfg lives (and the files kept beside it, and programs started by a
    // relative name); dataFolder: the shipped help and icons, the same folder when empty.
    explicit ConfigStore(std::string folder = ".", std::string dataFolder = {});

    static constexpr const char* kFileName = "telvorin.cfg";

    const std::string& folder() const { return folder_; }
    const std::string& dataFolder() const { return dataFolder_.empty() ? folder_ : dataFolder_; }
    std::string path() const;

    // Reads the file and the [General] keys in their fixed order. False when the file cannot
    // be read, is too long, or lacks [End], [General] or a key; settings read so far stay.
    bool LoadConfiguration();

    // Cuts everything behind the last "]", writes the text and CR LF, and makes memory agree.
    // The file is replaced atomically; on failure both the file and the text stay as they were.
    // A file that another program changed since it was last read or written is not overwritten
    // unless overwriteChangedFile says so; otherwise it is reloaded and the save reports false.
    bool SaveConfiguration();

    // Asked when telvorin.cfg changed on disk behind the program's back: true overwrites it, false
    // reloads it. Without an answer the save is refused.
    std::function<bool()> overwriteChangedFile;
    // True when the last save reloaded the changed file instead of writing: text and settings are
    // the file's now, and the caller must not put back its own text.
    bool reloaded() const { return reloaded_; }
    const Settings& settingsBeforeReload() const { return settingsBeforeReload_; }

    // Sets the value of a [General] key in place (keeping the first character after "=") and
    // saves unless told not to. False, with nothing written and lastError set, when [General], the
    // key or its CR is missing or the save fails.
    bool SetGeneralKey(std::string_view key, std::string_view value, bool save = true);

    // Removes the current command's line (see the class notes in the source). The caller saves.
    void DeleteCommand();
    // Removes the current device's section and saves; false (text unchanged, lastError set)
    // when the save failed.
    bool DeleteDevice();

    std::string GetDeviceDescription(std::string_view name, bool fromImport = false) const;
    std::string BuildMonitorDeviceList() const;

    // Replaces the configuration text; refused (false, lastError set) when it would grow beyond
    // maxLength(). Every splice goes through here.
    bool SetText(std::string text);
    // Shorthands for the common splices of the configuration text, limit-checked.
    bool Insert(std::string_view insertion, int pos);
    bool Delete(int first, int last);

    int Find(std::string_view needle, int start = 1) const { return FindText(needle, text_, start); }
    std::string Line(int pos) const { return ReadLine(text_, pos); }
    // Find("G" + bits + ",") and Find("[Monitoring]") through an index built at the first call
    // after each change of the text.
    int FindCode(std::string_view bits) const { return Index().FindCode(text_, bits); }
    int FindMonitoring() const { return Index().monitoring(); }

    int maxLength() const { return maxLength_; }
    // For tests: a lower limit than kMaxConfigLength.
    void setMaxLength(int length) { maxLength_ = length; }

    const std::string& text() const { return text_; }
    std::string& importText() { return importText_; }
    const std::string& importText() const { return importText_; }

    Settings& settings() { return settings_; }
    const Settings& settings() const { return settings_; }
    const std::string& version() const { return version_; }

    std::string currentDevice;
    std::string currentCommand;

    // The reason of the last failure, in words for the user; empty after a success.
    const std::string& lastError() const { return lastError_; }

    // For tests: load a text as if read from the file.
    bool LoadFromText(std::string text);

private:
    bool ParseGeneral();
    void Adopt(std::string text) {
        text_ = std::move(text);
        index_.reset();
    }
    const CodeIndex& Index() const {
        if (!index_) index_.emplace(text_);
        return *index_;
    }
    bool Reload(std::string changed);

    std::optional<std::string> onDisk_; // the bytes last read from or written to the file
    bool reloaded_ = false;
    Settings settingsBeforeReload_;

    std::string folder_;
    std::string dataFolder_;
    std::string text_;
    mutable std::optional<CodeIndex> index_;
    int maxLength_ = kMaxConfigLength;
    std::string importText_;
    std::string version_;
    Settings settings_;
    std::string lastError_;
};

} // namespace quenix
