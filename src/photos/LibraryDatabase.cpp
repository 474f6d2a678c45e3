#include "photos/LibraryDatabase.h"

#include "core/SystemLog.h"
#include "photos/PhotoKeys.h"

namespace tpc::photos {

LibraryDatabase::LibraryDatabase(const std::filesystem::path& databasePath, core::SystemLog& log)
    : log_(log) {
    sqlite_.setfileName(keys::DatabaseFileName);
    sqlite_.setfilePath(databasePath.string());
}

bool LibraryDatabase::query(const std::string& sql, browsers::SQLiteResult& result) {
    if (onStatement)
        onStatement(sql);
    sqlite_.query(sql, result);
    if (result.ok())
        return true;
    log_.log("SQLite failed query: " + sql + " errorCode: " + result.errorCode());
    return false;
}

std::optional<std::string> LibraryDatabase::queryFirstCell(const std::string& sql) {
    browsers::SQLiteResult result;
    if (!query(sql, result) || result.rows().empty() || result.rows().front().empty())
        return std::nullopt;
    return browsers::SQLiteResult::text(result.rows().front().front());
}

std::string sqlWithValues(const std::string& pattern, const std::vector<std::string>& values) {
    std::string sql;
    std::size_t next = 0;
    std::size_t from = 0;
    for (;;) {
        const std::size_t at = pattern.find("%@", from);
        if (at == std::string::npos || next == values.size()) {
            sql += pattern.substr(from);
            return sql;
        }
        sql += pattern.substr(from, at - from) + browsers::sqlQuote(values[next++]);
        from = at + 2;
    }
}

int getIndexForString(const std::string& name, const std::vector<std::string>& columns) {
    for (std::size_t i = 0; i < columns.size(); ++i)
        if (columns[i] == name)
            return static_cast<int>(i);
    return -1;
}

namespace photosql {

std::string selectAdjIndex(const std::string& guid) {
    return sqlWithValues("SELECT adjIndex FROM RKImageAdjustment WHERE versionUuid='%@';", {guid});
}

std::string selectRotationByModelId(const std::string& imageKey) {
    return sqlWithValues("SELECT rotation FROM RKVersion WHERE modelId='%@';", {imageKey});
}

std::string selectOriginalVersionUuid(const std::string& masterId) {
    return sqlWithValues("SELECT originalVersionUuid FROM RKMaster WHERE modelId='%@';",
                         {masterId});
}

std::string selectMasterId(const std::string& imageKey) {
    return sqlWithValues("SELECT masterId FROM RKVersion WHERE modelId='%@';", {imageKey});
}

std::string selectRotationByUuid(const std::string& uuid) {
    return sqlWithValues("SELECT rotation FROM RKVersion WHERE uuid='%@';", {uuid});
}

std::string deleteAdjustments(const std::string& guid) {
    return sqlWithValues("DELETE FROM RKImageAdjustment WHERE versionUuid='%@';", {guid});
}

std::string selectVersion(const std::string& imageKey) {
    return sqlWithValues("SELECT * FROM RKVersion WHERE modelId='%@';", {imageKey});
}

std::string resetVersionByModelId(const std::string& imageKey) {
    return sqlWithValues("UPDATE RKVersion SET rotation='0', editState='0' WHERE modelId='%@';",
                         {imageKey});
}

std::string resetVersionByUuid(const std::string& uuid) {
    return sqlWithValues("UPDATE RKVersion SET rotation='0', editState='0' WHERE uuid='%@';",
                         {uuid});
}

std::string turnVersionByModelId(const std::string& height, const std::string& width,
                                 const std::string& imageKey) {
    return sqlWithValues("UPDATE RKVersion SET masterHeight='%@', masterWidth='%@', "
                         "processedHeight='%@', processedWidth='%@', rotation='0', "
                         "editState='0' WHERE modelId='%@';",
                         {width, height, width, height, imageKey});
}

std::string turnVersionByUuid(const std::string& height, const std::string& width,
                              const std::string& uuid) {
    return sqlWithValues("UPDATE RKVersion SET masterHeight='%@', masterWidth='%@', "
                         "processedHeight='%@', processedWidth='%@', rotation='0', "
                         "editState='0' WHERE Uuid='%@';",
                         {width, height, width, height, uuid});
}

} // namespace photosql

} // namespace tpc::photos
