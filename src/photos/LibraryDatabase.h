#pragma once
// The library's database as the scan and the clean use it: complete SQL statements whose values
// are quoted into the text, run one at a time through the SQLite layer (each opens and closes the
// file). A failed statement is logged. The statements themselves are below, as they are run.

#include "browsers/sqlite/SQLite.h"

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace tpc::core {
class SystemLog;
}

namespace tpc::photos {

class LibraryDatabase {
public:
    LibraryDatabase(const std::filesystem::path& databasePath, core::SystemLog& log);

    // Runs the statement into a fresh `result`; true when it says "OK".
    bool query(const std::string& sql, browsers::SQLiteResult& result);
    // The first cell of the first row of an "OK" result; nullopt otherwise.
    std::optional<std::string> queryFirstCell(const std::string& sql);

    // Hears every statement before it runs (tests follow what the clean asks of the database).
    std::function<void(const std::string&)> onStatement;

private:
    browsers::SQLite sqlite_;
    core::SystemLog& log_;
};

// `pattern` with each "%@" replaced, in order, by the next value with its single quotes doubled
// (every "%@" stands inside '...').
std::string sqlWithValues(const std::string& pattern, const std::vector<std::string>& values);

// The index of a column name among a result's columns; -1 when absent.
int getIndexForString(const std::string& name, const std::vector<std::string>& columns);

namespace photosql {

// Scan and clean.
std::string selectAdjIndex(const std::string& guid);
std::string selectRotationByModelId(const std::string& imageKey);
std::string selectOriginalVersionUuid(const std::string& masterId);
// Scan only.
std::string selectMasterId(const std::string& imageKey);
std::string selectRotationByUuid(const std::string& uuid);
// Clean only.
std::string deleteAdjustments(const std::string& guid);
std::string selectVersion(const std::string& imageKey);
std::string resetVersionByModelId(const std::string& imageKey);
std::string resetVersionByUuid(const std::string& uuid);
// The quarter turn: the stored height and width exchanged (`height` and `width` as they are now).
std::string turnVersionByModelId(const std::string& height, const std::string& width,
                                 const std::string& imageKey);
std::string turnVersionByUuid(const std::string& height, const std::string& width,
                              const std::string& uuid);

} // namespace photosql

} // namespace tpc::photos
