#include "core/GeneralPrefs.h"

#include "core/Keys.h"
#include "core/Settings.h"

#include <charconv>

namespace tpc::core {

FileDeletionChoice fileDeletionChoiceFor(std::int64_t option) {
    if (option < 0 || option >= static_cast<std::int64_t>(kEraseMethodTitles.size()))
        return {0, false, 0};
    return {1, true, static_cast<int>(option)};
}

GeneralPrefs::GeneralPrefs(Settings& settings) : settings_(settings), dict_(defaults()) {}

DictRef GeneralPrefs::defaults() {
    return DictObj::make({{keys::PresetName, keys::GeneralName},
                          {keys::PresetIndex, -1},
                          {keys::FileDeletionOption, -1},
                          {keys::PreventNormalSleep, 0},
                          {keys::PreventForcedSleep, 0},
                          {keys::PromptForEnablingSystemUIElements, true}});
}

void GeneralPrefs::loadGeneralPrefs() {
    if (settings_.folderExists()) {
        auto loaded = settings_.load(keys::GeneralName);
        if (loaded.status == Settings::LoadStatus::Loaded) {
            dict_ = loaded.dict;
            // The file is named by this key; a file that lost it would never be saved again.
            if (dict_->getString(keys::PresetName) != keys::GeneralName)
                dict_->set(keys::PresetName, keys::GeneralName);
            if (dict_->has(keys::PromptForEnablingSystemUIElements)) {
                promptFlag_ = dict_->getBool(keys::PromptForEnablingSystemUIElements, true);
            } else {
                promptFlag_ = true;
                store(keys::PromptForEnablingSystemUIElements, true);
            }
            return;
        }
    } else {
        settings_.ensureFolder();
    }
    // No file (or one that could not be read and was kept aside): the defaults.
    dict_ = defaults();
    promptFlag_ = true;
    save();
}

bool GeneralPrefs::save() {
    return settings_.flushPresetData(dict_);
}

void GeneralPrefs::store(const std::string& key, Value value) {
    dict_->set(key, std::move(value));
    save();
}

bool GeneralPrefs::scheduleEnabled() const {
    const auto& v = dict_->get(keys::EnableSchedule);
    return v.isNumber() && v.toBool();
}

std::int64_t GeneralPrefs::fileDeletionOption() const {
    return dict_->getInt(keys::FileDeletionOption, -1);
}

bool GeneralPrefs::firstRunDone() const {
    return dict_->has(keys::FirstRunDone);
}

void GeneralPrefs::matrixFileDeletionOptionsClicked(int row) {
    store(keys::FileDeletionOption, row == 0 ? -1 : 0);
}

void GeneralPrefs::popUpButtonFileDeletionMethodClicked(int index) {
    if (index < 0 || index >= static_cast<int>(kEraseMethodTitles.size()))
        return;
    store(keys::FileDeletionOption, index);
}

void GeneralPrefs::preventNormalSleep(bool on) {
    store(keys::PreventNormalSleep, on ? 1 : 0);
}

void GeneralPrefs::preventForcedSleep(bool on) {
    store(keys::PreventForcedSleep, on ? 1 : 0);
}

void GeneralPrefs::setPromptForSystemUIElements(bool on) {
    promptFlag_ = on;
    store(keys::PromptForEnablingSystemUIElements, on);
}

void GeneralPrefs::setScheduleEnabled(bool on) {
    store(keys::EnableSchedule, on);
}

void GeneralPrefs::setFirstRunDone() {
    store(keys::FirstRunDone, true);
}

namespace {

std::optional<std::int64_t> parseInt(const std::string& text) {
    std::int64_t v = 0;
    const char* end = text.data() + text.size();
    auto [ptr, ec] = std::from_chars(text.data(), end, v);
    if (ec != std::errc() || ptr != end || text.empty())
        return std::nullopt;
    return v;
}

std::optional<bool> parseBool(const std::string& text) {
    if (text == "true" || text == "1" || text == "yes" || text == "YES")
        return true;
    if (text == "false" || text == "0" || text == "no" || text == "NO")
        return false;
    return std::nullopt;
}

} // namespace

std::optional<std::string> GeneralPrefs::setFromText(const std::string& key,
                                                     const std::string& text) {
    if (key == keys::FileDeletionOption) {
        auto v = parseInt(text);
        if (!v || *v < -1 || *v > 8)
            return "\"" + key + "\" takes a whole number from -1 to 8, not \"" + text + "\"";
        store(key, *v);
        return std::nullopt;
    }
    if (key == keys::PreventNormalSleep || key == keys::PreventForcedSleep) {
        auto v = parseInt(text);
        if (!v || (*v != 0 && *v != 1))
            return "\"" + key + "\" takes 0 or 1, not \"" + text + "\"";
        store(key, *v);
        return std::nullopt;
    }
    if (key == keys::PromptForEnablingSystemUIElements) {
        auto v = parseBool(text);
        if (!v)
            return "\"" + key + "\" takes true or false, not \"" + text + "\"";
        setPromptForSystemUIElements(*v);
        return std::nullopt;
    }
    return "\"" + key + "\" is not a setting that can be set here";
}

} // namespace tpc::core
