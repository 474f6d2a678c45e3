#include "apps/AppCatalogue.h"

#include "apps/AppKeys.h"
#include "apps/BundleInfo.h"
#include "core/Alert.h"
#include "core/Frontend.h"
#include "core/Keys.h"
#include "core/PropertyList.h"
#include "core/Record.h"
#include "core/Settings.h"
#include "core/SystemLog.h"
#include "core/TaskFlags.h"
#include "core/TaskTexts.h"
#include "core/Utf8.h"
#include "fs/Folders.h"
#include "platform/DesktopApps.h"
#include "platform/Platform.h"

#include <algorithm>
#include <system_error>

namespace tpc::apps {

namespace fs = std::filesystem;
using core::ArrayObj;
using core::DictObj;
using core::DictRef;
using core::Value;
namespace ck = core::keys;

namespace {

// The browsers the Browsers page cleans: their alert when the user adds one here.
struct BrowserNotice {
    const char* title;
    const char* message;
};

constexpr BrowserNotice kSafariNotice{
    "! Safari Already Available", "Safari options are already available in \"Browser Cleanup\""};
constexpr BrowserNotice kFirefoxNotice{
    "! Firefox Already Available",
    "Firefox options are already available in the \"Browser Cleanup\""};
constexpr BrowserNotice kChromeNotice{
    "! Google Chrome Already Available",
    "Google Chrome options are already available in the \"Browser Cleanup\""};

// macos: by the bundle's file name.
const BrowserNotice* bundleBrowser(const std::string& fileName) {
    if (fileName == "Safari.app")
        return &kSafariNotice;
    if (fileName == "Firefox.app")
        return &kFirefoxNotice;
    if (fileName == "Google Chrome.app")
        return &kChromeNotice;
    return nullptr;
}

// linux: by the desktop file id. Chromium shares the Google Chrome cleaner (and its notice).
const BrowserNotice* desktopBrowser(const std::string& id) {
    if (id == "firefox" || id == "firefox-esr")
        return &kFirefoxNotice;
    if (id == "google-chrome" || id == "chromium" || id == "chromium-browser")
        return &kChromeNotice;
    return nullptr;
}

core::AlertRequest okAlert(const std::string& title, const std::string& message) {
    core::AlertRequest r;
    r.title = title;
    r.message = message;
    r.defaultButton = "OK";
    return r;
}

// The scan fields as they are before any scan.
void resetScanFields(const DictRef& rec) {
    rec->set(ck::Size, Value(std::uint64_t{0}));
    rec->set(ck::SizeFormattedString, "0.00 KB");
    rec->set(ck::Count, core::itemsText(0));
}

DictRef emptyRecents() {
    return DictObj::make({{ck::PresetIndex, -3},
                          {ck::PresetName, ck::RecentsName},
                          {keys::ArrayOfRecents, Value::newArray()}});
}

// Text the list can keep byte for byte: its settings file is a property list, whose strings are
// UTF-8, and a NUL would end them early.
bool storable(const std::string& text) {
    return text.find('\0') == std::string::npos && core::isValidUtf8(text);
}

// A chosen path as the open panel gives it: absolute, without a trailing separator.
std::string chosenPath(const std::string& path) {
    fs::path p(path);
    if (p.is_relative()) {
        std::error_code ec;
        p = fs::absolute(p, ec);
    }
    std::string text = p.lexically_normal().string();
    while (text.size() > 1 && text.back() == '/')
        text.pop_back();
    return text;
}

} // namespace

AppCatalogue::AppCatalogue(core::Context& ctx)
    : ctx_(ctx), dictRecents_(emptyRecents()),
      arrayRecents_(dictRecents_->getArray(keys::ArrayOfRecents)) {}

// ---- Loading ----

bool AppCatalogue::loadRecents() {
    core::Settings& settings = ctx_.settings;
    if (!settings.folderExists())
        settings.ensureFolder();

    if (settings.fileExists(ck::RecentsName)) {
        auto loaded = settings.load(ck::RecentsName);
        if (loaded.status == core::Settings::LoadStatus::Loaded) {
            dictRecents_ = loaded.dict;
            // The file is named by this key: a dictionary that lost it would be saved elsewhere.
            if (dictRecents_->getString(ck::PresetName) != ck::RecentsName)
                dictRecents_->set(ck::PresetName, ck::RecentsName);
            arrayRecents_ = ArrayObj::make();
            if (auto stored = dictRecents_->getArray(keys::ArrayOfRecents))
                for (const auto& rec : stored->dicts()) {
                    resetScanFields(rec);
                    arrayRecents_->append(Value(rec));
                }
            dictRecents_->set(keys::ArrayOfRecents, Value(arrayRecents_));
            return false;
        }
        if (loaded.status == core::Settings::LoadStatus::Unreadable &&
            loaded.keptAsidePath.empty()) {
            // The unreadable file is still in place: an empty list must not replace it.
            savesAllowed_ = false;
            ctx_.log.log("The application list could not be read and could not be kept aside (" +
                         settings.fileFor(ck::RecentsName).string() +
                         "); the application list will not be saved in this run.");
            dictRecents_ = emptyRecents();
            arrayRecents_ = dictRecents_->getArray(keys::ArrayOfRecents);
            return false;
        }
    }

    dictRecents_ = emptyRecents();
    arrayRecents_ = dictRecents_->getArray(keys::ArrayOfRecents);
    save();
    return true;
}

void AppCatalogue::skipUnstorable(const std::string& path) const {
    ctx_.log.log("Not adding the application at path:" + core::displayText(path) +
                 ", its path, identifier or name is not valid UTF-8 text");
}

void AppCatalogue::recentsFirstRunForAddingApps() {
    if (ctx_.platform.layout() == platform::Layout::Linux) {
        for (const auto& app : platform::listDesktopApps(ctx_.platform)) {
            if (desktopBrowser(app.id) || app.id.empty())
                continue;
            if (!storable(app.id) || !storable(app.name) || !storable(app.file.string())) {
                skipUnstorable(app.file.string());
                continue;
            }
            arrayRecents_->append(Value(makeRecord(app.id, app.name, app.file.string(),
                                                   static_cast<std::int64_t>(size()))));
        }
        save();
        return;
    }

    const fs::path folder = ctx_.platform.underRoot("/Applications");
    // Listed by name, so the list does not depend on the file system's order.
    for (const auto& name : tpc::fs::folderNamesFollowingLinks(folder)) {
        const std::string path = (folder / name).string();
        if (fs::path(name).extension() != ".app" || bundleBrowser(name))
            continue;
        if (!storable(path)) {
            skipUnstorable(path);
            continue;
        }
        auto id = bundleIdentifier(path);
        if (!id)
            continue;
        if (!storable(*id)) {
            skipUnstorable(path);
            continue;
        }
        arrayRecents_->append(Value(makeRecord(*id, fs::path(name).stem().string(), path,
                                               static_cast<std::int64_t>(size()))));
    }
    save();
}

DictRef AppCatalogue::makeRecord(const std::string& bundleId, const std::string& description,
                                 const std::string& path, std::int64_t position) {
    auto rec = DictObj::make();
    rec->set(keys::BundleID, bundleId);
    rec->set(ck::DescriptionDictionary,
             Value(DictObj::make({{ck::Description, description}, {ck::Path, path}})));
    rec->set(keys::Cache, 1);
    rec->set(keys::ClearRecents, 1);
    rec->set(keys::DisableRecents, 0);
    rec->set(keys::ClearDockRecents, 1);
    rec->set(keys::DisableDockRecents, 0);
    rec->set(keys::AutoQuit, 1);
    rec->set(ck::Mark, 1);
    resetScanFields(rec);
    rec->set(ck::SortedByItem, ck::DefaultSort);
    rec->set(ck::IsRootItem, true);
    rec->set(ck::ValueForDefaultSort, Value(position));
    return rec;
}

std::optional<std::string> AppCatalogue::bundleIdentifier(const std::string& path) const {
    std::optional<std::string> id;
    if (ctx_.platform.layout() == platform::Layout::Linux) {
        if (auto app = platform::readDesktopApp(ctx_.platform, path); app && !app->id.empty())
            id = app->id;
    } else if (auto info = readInfoPlist(path)) {
        if (auto value = info->getString("CFBundleIdentifier"); !value.empty())
            id = value;
    }
    if (!id)
        ctx_.log.log("Not able to determine Bundle Identifier for path:" + path);
    return id;
}

// ---- Adding and removing ----

AppCatalogue::AddResult AppCatalogue::addApplication(const std::string& chosen) {
    const std::string path = chosenPath(chosen);
    const bool onLinux = ctx_.platform.layout() == platform::Layout::Linux;
    // The list is kept in a property list, whose strings are UTF-8: anything else could only be
    // stored as some other text, and the identifier names the application's cache folder.
    auto refuse = [&](const char* what) {
        ctx_.frontend.showAlert(okAlert("! Application Not Added",
                                        "The application at path:\"" + core::displayText(path) +
                                            "\" has " + what +
                                            " that is not valid UTF-8 text, which the recents "
                                            "list cannot keep"));
        return AddResult::NotStorable;
    };
    if (!storable(path))
        return refuse("a path");

    std::optional<platform::DesktopApp> desktop;
    const BrowserNotice* browser = nullptr;
    if (onLinux) {
        desktop = platform::readDesktopApp(ctx_.platform, path);
        if (desktop)
            browser = desktopBrowser(desktop->id);
    } else {
        browser = bundleBrowser(fs::path(path).filename().string());
    }
    if (browser) {
        ctx_.frontend.showAlert(okAlert(browser->title, browser->message));
        return AddResult::BrowserAlreadyAvailable;
    }

    // By path only: the same application at another place may be listed twice.
    for (const auto& rec : arrayRecents_->dicts())
        if (core::path(rec) == path) {
            ctx_.frontend.showAlert(
                okAlert("! Application Already Added",
                        "The application at path:\"" + path + "\" is already in the recents list"));
            return AddResult::AlreadyAdded;
        }

    auto id = bundleIdentifier(path);
    if (!id)
        return AddResult::NoIdentifier;
    const std::string description =
        onLinux && desktop ? desktop->name : fs::path(path).stem().string();
    if (!storable(*id) || !storable(description))
        return refuse("an identifier or name");
    arrayRecents_->append(
        Value(makeRecord(*id, description, path, static_cast<std::int64_t>(size()))));
    save();
    return AddResult::Added;
}

void AppCatalogue::removeRow(int row) {
    if (row < 0 || static_cast<std::size_t>(row) >= size())
        return;
    arrayRecents_->items.erase(arrayRecents_->items.begin() + row);
    afterRemoval();
}

void AppCatalogue::removeAll() {
    arrayRecents_->items.clear();
    afterRemoval();
}

void AppCatalogue::afterRemoval() {
    ctx_.flags.setChangesMade(true);
    sortRecentsArrayAfterDeletion();
    if (arrayRecents_->empty())
        ctx_.frontend.updateTextFieldResult(core::totalsText(0, 0));
    save();
}

void AppCatalogue::sortRecentsArrayAfterDeletion() {
    core::renumberDefaultSort(arrayRecents_);
    core::sortByPreviousSort(arrayRecents_);
}

// ---- Marking and sorting ----

void AppCatalogue::recentsCheckBoxButtonClicked(core::CheckState shown) {
    markAllRecents(shown != core::CheckState::Off);
}

void AppCatalogue::markAllRecents(bool on) {
    core::markAll(arrayRecents_, on);
    save();
}

void AppCatalogue::setRowMark(int row, bool on) {
    if (auto rec = recordAt(row)) {
        core::setMark(rec, on);
        save();
    }
}

core::CheckState AppCatalogue::reflectMarkStatusInRecents() const {
    return core::masterState(arrayRecents_);
}

bool AppCatalogue::enableOrDisableRecentsScanAndCleanButton() const {
    return core::countMarked(arrayRecents_) > 0;
}

void AppCatalogue::recentsPopUpButtonClicked(core::SortChoice choice) {
    core::sortRows(arrayRecents_, choice);
    save();
}

core::SortChoice AppCatalogue::reflectPopUpButtonTitleInRecents() const {
    return core::currentSort(arrayRecents_);
}

// ---- Options ----

bool AppCatalogue::optionAvailable(const std::string& flag) const {
    const bool known = std::any_of(std::begin(keys::kOptionFlags), std::end(keys::kOptionFlags),
                                   [&](const char* f) { return flag == f; });
    if (!known)
        return false;
    if (ctx_.platform.layout() == platform::Layout::Linux)
        return flag == keys::Cache || flag == keys::ClearRecents || flag == keys::AutoQuit;
    return true;
}

void AppCatalogue::setOption(int row, const std::string& flag, bool on) {
    if (!optionAvailable(flag))
        return;
    if (auto rec = recordAt(row)) {
        rec->set(flag, on ? 1 : 0);
        save();
    }
}

int AppCatalogue::findRow(const std::string& name) const {
    const auto rows = arrayRecents_->dicts();
    for (std::size_t i = 0; i < rows.size(); ++i)
        if (core::path(rows[i]) == name)
            return static_cast<int>(i);
    for (std::size_t i = 0; i < rows.size(); ++i)
        if (core::description(rows[i]) == name)
            return static_cast<int>(i);
    return -1;
}

void AppCatalogue::save() {
    if (!savesAllowed_)
        return;
    dictRecents_->set(keys::ArrayOfRecents, Value(arrayRecents_));
    ctx_.settings.flushPresetData(dictRecents_);
}

DictRef AppCatalogue::recordAt(int row) const {
    if (row < 0 || static_cast<std::size_t>(row) >= size())
        return nullptr;
    return arrayRecents_->at(static_cast<std::size_t>(row)).dict();
}

} // namespace tpc::apps
