#include "support/FakePhotoLibrary.h"

#include "core/PropertyList.h"
#include "support/Sql.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <map>

namespace tpc::test {

namespace fs = std::filesystem;

FakePhotoLibrary::FakePhotoLibrary(fs::path folder) : path(std::move(folder)) {}

fs::path FakePhotoLibrary::originalOf(const FakePhoto& photo) const {
    return path / "Masters/2014/06/01" / ("IMG_" + std::to_string(photo.key) + ".jpg");
}

fs::path FakePhotoLibrary::imageOf(const FakePhoto& photo) const {
    return path / "Previews/2014/06/01" / ("IMG_" + std::to_string(photo.key) + ".jpg");
}

core::DictRef FakePhotoLibrary::readAlbumData() const {
    auto value = core::plist::readFile(albumFile());
    return value ? value->dict() : nullptr;
}

void FakePhotoLibrary::write() {
    fs::create_directories(path / "Database/apdb");
    std::error_code gone;
    fs::remove(database(), gone);

    auto info = core::DictObj::make({{"CFBundleIdentifier", "com.apple.iPhoto"}});
    if (!version.empty())
        info->set("CFBundleShortVersionString", version);
    writeFile(path / "Info.plist", core::plist::toXml(core::Value(info)));

    // The albums in the order their photos first name them.
    std::vector<std::string> eventOrder;
    std::map<std::string, core::ArrayRef> keyLists;
    auto master = core::DictObj::make();
    std::string sql =
        "CREATE TABLE RKImageAdjustment (modelId INTEGER PRIMARY KEY, versionUuid TEXT, "
        "adjIndex REAL);"
        "CREATE TABLE RKVersion (modelId INTEGER PRIMARY KEY, uuid TEXT, masterId INTEGER, "
        "rotation INTEGER, editState INTEGER, masterHeight INTEGER, masterWidth INTEGER, "
        "processedHeight INTEGER, processedWidth INTEGER);"
        "CREATE TABLE RKMaster (modelId INTEGER PRIMARY KEY, originalVersionUuid TEXT);";
    for (const auto& photo : photos) {
        if (!keyLists.count(photo.event)) {
            eventOrder.push_back(photo.event);
            keyLists[photo.event] = core::ArrayObj::make();
        }
        const std::string key = std::to_string(photo.key);
        keyLists[photo.event]->append(key);
        master->set(key, core::DictObj::make({{"Caption", photo.caption},
                                              {"GUID", photo.guid()},
                                              {"MediaType", "Image"},
                                              {"DateAsTimerInterval", 423456789.5},
                                              {"Rating", 3},
                                              {"ImagePath", imageOf(photo).string()},
                                              {"OriginalPath", originalOf(photo).string()}}));
        writeFile(originalOf(photo), photo.originalBytes);
        writeFile(imageOf(photo), photo.imageBytes);

        const auto sizes =
            std::to_string(photo.masterHeight) + ", " + std::to_string(photo.masterWidth) + ", " +
            std::to_string(photo.masterHeight) + ", " + std::to_string(photo.masterWidth);
        sql += "INSERT INTO RKVersion VALUES (" + key + ", '" + photo.guid() + "', " +
               std::to_string(photo.masterId()) + ", " + std::to_string(photo.rotation) + ", 1, " +
               sizes + ");";
        sql += "INSERT INTO RKVersion VALUES (" + std::to_string(photo.key + 10000) + ", '" +
               photo.originalUuid() + "', " + std::to_string(photo.masterId()) + ", " +
               std::to_string(photo.originalRotation) + ", 0, " + sizes + ");";
        sql += "INSERT INTO RKMaster VALUES (" + std::to_string(photo.masterId()) + ", '" +
               photo.originalUuid() + "');";
        for (double adjustment : photo.adjustments)
            sql += "INSERT INTO RKImageAdjustment (versionUuid, adjIndex) VALUES ('" +
                   photo.guid() + "', " + std::to_string(adjustment) + ");";
    }
    exec(database(), sql);
    fs::remove(path / "Database/Library.apdb", gone);
    fs::create_symlink("apdb/Library.apdb", path / "Database/Library.apdb");

    auto albums = core::ArrayObj::make();
    // A library-wide album first: only events are walked.
    albums->append(core::DictObj::make({{"AlbumName", "Photos"},
                                        {"Album Type", "99"},
                                        {"PhotoCount", static_cast<int>(photos.size())},
                                        {"KeyList", core::ArrayObj::make()}}));
    for (const auto& event : eventOrder)
        albums->append(
            core::DictObj::make({{"AlbumName", event},
                                 {"Album Type", "Event"},
                                 {"PhotoCount", static_cast<std::int64_t>(keyLists[event]->size())},
                                 {"KeyList", keyLists[event]}}));
    auto album = core::DictObj::make({{"Application Version", version},
                                      {"Archive Path", path.string()},
                                      {"List of Albums", albums},
                                      {"Master Image List", master}});
    writeFile(albumFile(), core::plist::toXml(core::Value(album)));
}

} // namespace tpc::test
