#pragma once
// The application list of the Recents page: which applications' recent lists and caches are
// cleaned, with six options each. First filled from the installed applications, edited by the
// user, saved as the settings file "Recents" after every change.
//
// macos layout: applications are bundles ("<root>/Applications/X.app") identified by the
// CFBundleIdentifier of "X.app/Contents/Info.plist". linux layout: applications are desktop
// entries, identified by their desktop file id ("Path" is the .desktop file).
//
// Main thread only.

#include "core/CheckList.h"
#include "core/Context.h"
#include "core/Value.h"

#include <optional>
#include <string>

namespace tpc::apps {

class AppCatalogue {
public:
    explicit AppCatalogue(core::Context& ctx);

    // Loads "Recents", resetting every record's scan fields, or creates and saves an empty
    // list. Answers true when the list was created (the first run then fills it).
    bool loadRecents();
    // Fills a new list with the installed applications, the browsers of the Browsers page left
    // out; an application without an identifier, or whose path, identifier or name is not valid
    // UTF-8 text, is logged and skipped.
    void recentsFirstRunForAddingApps();

    core::DictRef dictRecents() const { return dictRecents_; }
    core::ArrayRef arrayRecents() const { return arrayRecents_; }

    // A new record for an application, "Value For Default Sort" = `position`.
    static core::DictRef makeRecord(const std::string& bundleId, const std::string& description,
                                    const std::string& path, std::int64_t position);

    // The application's identifier (CFBundleIdentifier, or the desktop file id); nullopt, after
    // logging "Not able to determine Bundle Identifier for path:<path>", when there is none.
    std::optional<std::string> bundleIdentifier(const std::string& path) const;

    enum class AddResult {
        Added,
        BrowserAlreadyAvailable,
        AlreadyAdded,
        NoIdentifier,
        NotStorable
    };
    // buttonAddToRecentsClicked's confirmation: the browser alerts, the duplicate-path alert,
    // then the identifier; appends at the end, saves. A path, identifier or name that is not
    // valid UTF-8 text is refused with an alert (the list could only keep it as something
    // else). Alerts go through the front end.
    AddResult addApplication(const std::string& path);

    // Removes one row / every row (sets changes-made), renumbers, re-sorts and saves; an
    // emptied list sets the result line to zero totals.
    void removeRow(int row);
    void removeAll();
    void sortRecentsArrayAfterDeletion();

    // Marking; every change is saved.
    void recentsCheckBoxButtonClicked(core::CheckState shown);
    void markAllRecents(bool on);
    void setRowMark(int row, bool on);
    core::CheckState reflectMarkStatusInRecents() const;
    bool enableOrDisableRecentsScanAndCleanButton() const;

    // Sorting.
    void recentsPopUpButtonClicked(core::SortChoice choice);
    core::SortChoice reflectPopUpButtonTitleInRecents() const;

    // The options pop-up of a row: sets one of the six flags to 0 or 1 and saves. Options that
    // mean nothing in the layout (linux: "Disable Recents", "Clear Dock Recents", "Disable Dock
    // Recents") are not available and are left alone.
    bool optionAvailable(const std::string& flag) const;
    void setOption(int row, const std::string& flag, bool on);

    // The row whose "Path" or "Description" is `name` (the path tried first); -1 when none.
    int findRow(const std::string& name) const;

    void save();

private:
    std::size_t size() const { return arrayRecents_->size(); }
    core::DictRef recordAt(int row) const;
    void skipUnstorable(const std::string& path) const;
    // What every removal does next: changes made, order restored, result line, saved.
    void afterRemoval();

    core::Context& ctx_;
    core::DictRef dictRecents_;
    core::ArrayRef arrayRecents_;
    // False while an unreadable list file could not be kept aside: it is never written over.
    bool savesAllowed_ = true;
};

} // namespace tpc::apps
