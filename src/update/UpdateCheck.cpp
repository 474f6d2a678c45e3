#include "update/UpdateCheck.h"

#include "core/Alert.h"
#include "core/Frontend.h"
#include "core/PropertyList.h"
#include "core/SystemLog.h"
#include "core/Utf8.h"
#include "update/InfoPlist.h"
#include "update/UpdaterLaunch.h"

#include <utility>
#include <vector>

namespace tpc::update {

namespace fs = std::filesystem;

namespace {

constexpr const char* kUpdaterBundleName = ".autoUpd.app";
constexpr const char* kUpdaterInsideBundle = "Contents/MacOS/Auto Updator.app";

// The version a published property list names; nullopt when it is not a property list holding
// one.
std::optional<std::string> publishedVersionIn(const std::string& body) {
    const auto list = core::plist::parse(std::vector<std::uint8_t>(body.begin(), body.end()));
    const auto dict = list ? list->dict() : nullptr;
    if (!dict)
        return std::nullopt;
    if (const std::string* version = dict->get(kShortVersionKey).string())
        return *version;
    return std::nullopt;
}

} // namespace

UpdateCheck::UpdateCheck(core::Frontend& frontend, core::SystemLog& log,
                         std::optional<fs::path> infoPlist, std::optional<fs::path> programFolder)
    : launch(&launchDetached), frontend_(frontend), log_(log), infoPlist_(std::move(infoPlist)),
      programFolder_(std::move(programFolder)) {}

UpdateStatus UpdateCheck::status() const {
    UpdateStatus status;
    status.installed = TPC_VERSION;
    if (!isInternetAvailable())
        return status;
    ProgramInfo info;
    if (infoPlist_)
        info = readProgramInfo(*infoPlist_);
    if (info.version)
        status.installed = *info.version;
    if (!info.cloudPlistUrl || info.cloudPlistUrl->empty())
        return status;

    const std::string address = escapeBlanks(*info.cloudPlistUrl);
    std::string error;
    const auto body = download(address, limits, &error);
    if (!body) {
        log_.log("Update check: cannot read " + core::displayText(address) + ": " +
                 core::displayText(error));
        return status;
    }
    status.published = publishedVersionIn(*body);
    if (!status.published) {
        log_.log("Update check: " + core::displayText(address) +
                 " is not a property list naming a version");
        return status;
    }
    status.newer = info.version && *status.published != *info.version;
    return status;
}

std::optional<fs::path> UpdateCheck::updaterBundle() const {
    if (!programFolder_)
        return std::nullopt;
    return *programFolder_ / kUpdaterBundleName;
}

std::optional<fs::path> UpdateCheck::updaterProgram() const {
    if (!programFolder_)
        return std::nullopt;
    return *programFolder_ / kUpdaterBundleName / kUpdaterInsideBundle;
}

void UpdateCheck::checkForUpdateClicked(bool fromMenu) {
    if (fromMenu && terminateUpdaters)
        terminateUpdaters();
    offerUpdate(checkForUpdate());
}

void UpdateCheck::offerUpdate(bool newer) {
    std::optional<fs::path> updater;
    if (newer) {
        core::AlertRequest ask;
        ask.title = "A newer version of Tavrin Privacy Cleaner is available";
        ask.message = "Do you want to update";
        ask.defaultButton = "YES";
        ask.alternateButton = "NO";
        if (frontend_.showAlert(ask) != core::AlertDefault)
            return;
        updater = updaterProgram();
    } else {
        // The updater bundle itself reports that there is nothing newer.
        updater = updaterBundle();
    }
    std::error_code ec;
    if (updater && fs::exists(*updater, ec) && launch)
        launch(*updater);
}

} // namespace tpc::update
