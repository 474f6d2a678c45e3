#include "photos/IPhotoScanner.h"

#include "browsers/sqlite/SQLite.h"
#include "photos/LibraryDatabase.h"
#include "photos/PhotoEdits.h"
#include "photos/PhotoFiles.h"
#include "photos/PhotoKeys.h"

#include <cmath>
#include <cstdlib>

namespace tpc::photos {

namespace {

bool isEventAlbum(const core::DictRef& album) {
    return album && album->getString(keys::AlbumType) == keys::EventAlbum;
}

} // namespace

std::string imageKeyText(const core::Value& key) {
    if (const auto* text = key.string())
        return *text;
    if (key.kind() == core::Value::Kind::Int)
        return std::to_string(key.toInt());
    if (key.kind() == core::Value::Kind::UInt)
        return std::to_string(key.toUInt());
    return {};
}

std::int64_t cellInteger(const std::string& cell) {
    const double value = std::strtod(cell.c_str(), nullptr);
    if (!std::isfinite(value) || std::fabs(value) > 9.0e18)
        return 0;
    return static_cast<std::int64_t>(value);
}

IPhotoScanner::IPhotoScanner(LibraryDatabase& database, std::string libraryName,
                             std::string libraryLocation)
    : database_(database), libraryName_(std::move(libraryName)),
      libraryLocation_(std::move(libraryLocation)) {}

std::uint64_t IPhotoScanner::eventPhotoCount(const core::DictRef& albumData) {
    std::uint64_t count = 0;
    const auto albums = albumData ? albumData->getArray(keys::ListOfAlbums) : nullptr;
    if (albums)
        for (const auto& album : albums->dicts())
            if (isEventAlbum(album))
                count += album->getUInt(keys::PhotoCount);
    return count;
}

bool IPhotoScanner::scanAlbums(const core::DictRef& albumData, const ScanListener& listener) {
    const auto stop = [&listener] {
        return listener.stopRequested && listener.stopRequested();
    };
    const auto albums = albumData ? albumData->getArray(keys::ListOfAlbums) : nullptr;
    const auto master = albumData ? albumData->getDict(keys::MasterImageList) : nullptr;
    if (!albums)
        return !stop();
    std::uint64_t handled = 0;
    for (const auto& album : albums->dicts()) {
        if (stop())
            return false;
        if (!isEventAlbum(album))
            continue;
        if (listener.albumStarted)
            listener.albumStarted(album->getString(keys::AlbumName), handled);
        const auto keyList = album->getArray(keys::KeyList);
        if (!keyList)
            continue;
        for (const auto& key : *keyList) {
            if (stop())
                return false;
            const std::string imageKey = imageKeyText(key);
            const auto record = master && !imageKey.empty() ? master->getDict(imageKey) : nullptr;
            if (record)
                if (auto found = examinePhoto(imageKey, record); found && listener.photoFound)
                    listener.photoFound(std::move(*found));
            ++handled;
        }
    }
    return true;
}

std::optional<std::string> IPhotoScanner::adjustmentEdits(const std::string& guid) {
    browsers::SQLiteResult result;
    if (!database_.query(photosql::selectAdjIndex(guid), result))
        return std::nullopt;
    std::string edits;
    for (const auto& row : result.rows())
        if (!row.empty())
            edits += ";" + getOpNameForAdjIndex(browsers::SQLiteResult::text(row.front()));
    return edits;
}

std::optional<FoundPhoto> IPhotoScanner::examinePhoto(const std::string& imageKey,
                                                      const core::DictRef& record) {
    const auto recorded = recordedPaths(record);
    if (!recorded)
        return std::nullopt;
    const auto files = locatePhotoFiles(*recorded, libraryName_, libraryLocation_);
    if (!files)
        return std::nullopt;

    auto edits = adjustmentEdits(record->getString(keys::Guid));
    if (!edits)
        return std::nullopt;

    // A turn is an edit of its own. Whether the original is stored turned the same way only
    // decides how its thumbnail is drawn; any failing query answers that it is not.
    std::int64_t rotation = 0;
    bool originalTurnedAlike = false;
    if (auto turn = database_.queryFirstCell(photosql::selectRotationByModelId(imageKey)))
        rotation = cellInteger(*turn);
    if (rotation != 0) {
        *edits += std::string(";") + kRotated;
        if (auto masterId = database_.queryFirstCell(photosql::selectMasterId(imageKey)))
            if (auto uuid =
                    database_.queryFirstCell(photosql::selectOriginalVersionUuid(*masterId)))
                if (auto turn = database_.queryFirstCell(photosql::selectRotationByUuid(*uuid)))
                    originalTurnedAlike = cellInteger(*turn) == rotation;
    }
    if (edits->empty())
        return std::nullopt;

    FoundPhoto found;
    found.category = getCategoryName(*edits);
    found.node = NewDir::make();
    found.node->setContents(record);
    found.node->contents->set(keys::ImagePath, files->image);
    found.node->contents->set(keys::OriginalPath, files->original);
    found.node->contents->set(keys::ImageKey, imageKey);
    found.node->imageOriginal = Thumbnail{files->original, originalTurnedAlike ? 0 : rotation};
    found.node->imageImage = Thumbnail{files->image, 0};
    return found;
}

} // namespace tpc::photos
