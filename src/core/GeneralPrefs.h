#pragma once
// The General settings dictionary: its defaults, loading, and the preference actions that store
// one value each and save.

#include "core/Value.h"

#include <array>
#include <optional>
#include <string>

namespace tpc::core {

class Settings;

// The nine erase methods, by their "File Deletion Option" index.
inline constexpr std::array<const char*, 9> kEraseMethodTitles = {
    "1 Pass (Zeros)",     "1 Pass (Random)", "3 Passes (DoD5220)",
    "3 Passes (NAVSO)",   "7 Passes (NATO)", "7 Passes (VSITR)",
    "7 Passes (DoD5200)", "35 Passes (PG)",  "38 Passes (DoD5220)"};

// How the delete/erase choice shows a "File Deletion Option" value.
struct FileDeletionChoice {
    int row = 0; // 0 "delete", 1 "erase"
    bool popUpEnabled = false;
    int selectedMethod = 0; // pop-up item
};
FileDeletionChoice fileDeletionChoiceFor(std::int64_t option);

class GeneralPrefs {
public:
    explicit GeneralPrefs(Settings& settings);

    // dictGeneral.
    const DictRef& dict() const { return dict_; }
    static DictRef defaults();

    // Reads General.plist, or creates it with the defaults; adds a missing prompt key as YES.
    void loadGeneralPrefs();
    bool save();

    bool promptForSystemUIElementsEnabled() const { return promptFlag_; }
    // The schedule check box: on only when "enableSchedule" is present and YES.
    bool scheduleEnabled() const;
    std::int64_t fileDeletionOption() const;
    bool firstRunDone() const;

    // Preference actions.
    void matrixFileDeletionOptionsClicked(int row);
    void popUpButtonFileDeletionMethodClicked(int index);
    void preventNormalSleep(bool on);
    void preventForcedSleep(bool on);
    void setPromptForSystemUIElements(bool on);
    void setScheduleEnabled(bool on);
    void setFirstRunDone();

    // Stores one key given as text (the command line's `settings set`): the value is checked
    // against the key's range. Answers an error text, or nullopt when stored and saved.
    std::optional<std::string> setFromText(const std::string& key, const std::string& text);

private:
    void store(const std::string& key, Value value);

    Settings& settings_;
    DictRef dict_;
    bool promptFlag_ = true;
};

} // namespace tpc::core
