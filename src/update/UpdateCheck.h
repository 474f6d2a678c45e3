#pragma once
// The update check: the program's version against the one published at the address its
// information property list names, and the hand-over to the updater, a separate program kept
// beside this one.

#include "update/Download.h"

#include <filesystem>
#include <functional>
#include <optional>
#include <string>

namespace tpc::core {
class Frontend;
class SystemLog;
} // namespace tpc::core

namespace tpc::update {

// What checkForUpdate found.
struct UpdateStatus {
    // A different version is published.
    bool newer = false;
    // The program's version: its information property list's, else the version it was built as.
    std::string installed;
    // The published version; nullopt when there is no address, or the published list cannot be
    // read or names none.
    std::optional<std::string> published;
};

class UpdateCheck {
public:
    // `infoPlist`: the program's information property list (none: no update is ever found).
    // `programFolder`: the folder holding the program, where the updater is looked for.
    UpdateCheck(core::Frontend& frontend, core::SystemLog& log,
                std::optional<std::filesystem::path> infoPlist,
                std::optional<std::filesystem::path> programFolder);

    // isInternetAvailable: there is no reachability test; the download's own failure answers.
    static bool isInternetAvailable() { return true; }

    // checkForUpdate: YES when the published version differs from the program's. Plain string
    // inequality, not an ordering: a lower published version counts too. Blocks while it
    // downloads (a few seconds at most).
    bool checkForUpdate() const { return status().newer; }
    UpdateStatus status() const;

    // checkForUpdateClicked (the menu command when `fromMenu`, else a call from code): a newer
    // version asks "Do you want to update" and on "YES" starts the updater proper; no newer
    // version starts the updater bundle, which reports on its own. Nothing is started when the
    // updater is not there.
    void checkForUpdateClicked(bool fromMenu);
    // The second half of checkForUpdateClicked, for a front end that runs checkForUpdate off its
    // main thread so the window stays responsive: given the check's answer, asks and starts the
    // updater as checkForUpdateClicked does. Main thread.
    void offerUpdate(bool newer);

    // ".autoUpd.app" beside the program, and the updater proper inside it.
    std::optional<std::filesystem::path> updaterBundle() const;
    std::optional<std::filesystem::path> updaterProgram() const;

    const std::optional<std::filesystem::path>& infoPlist() const { return infoPlist_; }

    // Set by the desktop application: force-terminates the running updaters (bundle identifier
    // "com.tavrinsoftware.autoupdator") before a check from the menu.
    std::function<void()> terminateUpdaters;
    // Starts the updater (launchDetached unless replaced, by tests).
    std::function<bool(const std::filesystem::path&)> launch;
    DownloadLimits limits;

private:
    core::Frontend& frontend_;
    core::SystemLog& log_;
    std::optional<std::filesystem::path> infoPlist_;
    std::optional<std::filesystem::path> programFolder_;
};

} // namespace tpc::update
