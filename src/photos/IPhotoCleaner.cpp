#include "photos/IPhotoCleaner.h"

#include "browsers/sqlite/SQLite.h"
#include "core/PropertyList.h"
#include "core/SystemLog.h"
#include "erase/Deleter.h"
#include "fs/Entries.h"
#include "photos/IPhotoScanner.h"
#include "photos/LibraryDatabase.h"
#include "photos/PhotoKeys.h"

#include <sys/stat.h>

namespace tpc::photos {

namespace {

const char* const kMasterIdColumn = "masterId";
const char* const kMasterHeightColumn = "masterHeight";
const char* const kMasterWidthColumn = "masterWidth";

// The text of the first row's cell in the named column; nullopt when the column is absent.
std::optional<std::string> versionCell(const browsers::SQLiteResult& version,
                                       const std::string& column) {
    const int index = getIndexForString(column, version.columnNames());
    if (index < 0 || version.rows().empty())
        return std::nullopt;
    const auto& row = version.rows().front();
    if (static_cast<std::size_t>(index) >= row.size())
        return std::nullopt;
    return browsers::SQLiteResult::text(row[static_cast<std::size_t>(index)]);
}

} // namespace

bool isQuarterTurn(std::int64_t rotation) {
    return rotation == 90 || rotation == 270 || rotation == -90 || rotation == -270;
}

IPhotoCleaner::IPhotoCleaner(LibraryDatabase& database, erase::Deleter& deleter,
                             core::SystemLog& log, std::string libraryName,
                             std::string libraryLocation)
    : database_(database), deleter_(deleter), log_(log), libraryName_(std::move(libraryName)),
      libraryLocation_(std::move(libraryLocation)) {}

PhotoCleanOutcome IPhotoCleaner::cleanPhoto(const std::string& imageKey,
                                            const core::DictRef& record) {
    PhotoCleanOutcome outcome;
    const auto recorded = recordedPaths(record);
    if (!recorded)
        return outcome;
    const auto files = locatePhotoFiles(*recorded, libraryName_, libraryLocation_);
    if (!files)
        return outcome;
    if (!forgetEdits(imageKey, record->getString(keys::Guid)))
        return outcome;
    outcome.cleaned = true;
    if (!replaceFiles(*files))
        return outcome;
    record->set(keys::ImagePath, files->original);
    record->remove(keys::OriginalPath);
    outcome.filesReplaced = true;
    return outcome;
}

bool IPhotoCleaner::forgetEdits(const std::string& imageKey, const std::string& guid) {
    browsers::SQLiteResult adjustments;
    if (!database_.query(photosql::selectAdjIndex(guid), adjustments))
        return false;
    // A photo that was only turned has no adjustment rows to forget.
    if (!adjustments.rows().empty()) {
        browsers::SQLiteResult deleted;
        if (!database_.query(photosql::deleteAdjustments(guid), deleted))
            return false;
    }
    const auto turn = database_.queryFirstCell(photosql::selectRotationByModelId(imageKey));
    if (!turn)
        return false;

    browsers::SQLiteResult version;
    if (!database_.query(photosql::selectVersion(imageKey), version))
        return false;
    const auto masterId = versionCell(version, kMasterIdColumn);
    if (!masterId)
        return false;
    if (!isQuarterTurn(cellInteger(*turn)))
        return resetVersion(imageKey, *masterId);
    const auto height = versionCell(version, kMasterHeightColumn);
    const auto width = versionCell(version, kMasterWidthColumn);
    if (!height || !width)
        return false;
    return turnVersion(imageKey, *masterId, *height, *width);
}

bool IPhotoCleaner::resetVersion(const std::string& imageKey, const std::string& masterId) {
    browsers::SQLiteResult updated;
    if (!database_.query(photosql::resetVersionByModelId(imageKey), updated))
        return false;
    const auto uuid = database_.queryFirstCell(photosql::selectOriginalVersionUuid(masterId));
    if (!uuid)
        return false;
    browsers::SQLiteResult original;
    return database_.query(photosql::resetVersionByUuid(*uuid), original);
}

bool IPhotoCleaner::turnVersion(const std::string& imageKey, const std::string& masterId,
                                const std::string& height, const std::string& width) {
    // The turned edited image becomes the master: its height is the old width.
    browsers::SQLiteResult updated;
    if (!database_.query(photosql::turnVersionByModelId(height, width, imageKey), updated))
        return false;
    const auto uuid = database_.queryFirstCell(photosql::selectOriginalVersionUuid(masterId));
    if (!uuid)
        return false;
    browsers::SQLiteResult original;
    return database_.query(photosql::turnVersionByUuid(height, width, *uuid), original);
}

bool IPhotoCleaner::replaceFiles(const PhotoPaths& files) {
    deleter_.deleteFiles({files.original});
    // The deletion engine logs its own failures; the edited image stays where it is then.
    if (tpc::fs::entryExists(files.original))
        return false;
    std::string error;
    if (moveFileNoReplace(files.image, files.original, error))
        return true;
    log_.log("Error moving item:" + files.image + " to:" + files.original + ", reason:" + error);
    return false;
}

bool writeAlbumData(const std::filesystem::path& library, const core::DictRef& albumData,
                    core::SystemLog& log) {
    const auto file = library / keys::AlbumDataFile;
    std::string error;
    const std::string xml = core::plist::toXml(core::Value(albumData), &error);
    if (xml.empty()) {
        log.log("Error writing " + file.string() + ": " + error);
        return false;
    }
    unsigned mode = 0644;
    struct stat info {};
    if (::lstat(file.c_str(), &info) == 0 && S_ISREG(info.st_mode))
        mode = info.st_mode & 07777;
    if (core::plist::writeFileAtomically(file, std::vector<std::uint8_t>(xml.begin(), xml.end()),
                                         mode, &error))
        return true;
    log.log("Error writing " + file.string() + ": " + error);
    return false;
}

} // namespace tpc::photos
