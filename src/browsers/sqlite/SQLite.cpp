#include "browsers/sqlite/SQLite.h"

#include "browsers/sqlite/EntrySize.h"

#include <sqlite3.h>
#include <sys/stat.h>

#include <charconv>
#include <cstring>

namespace tpc::browsers {

namespace {

// A store locked by a running browser should fail fast instead of stalling a scan.
constexpr int kBusyTimeoutMs = 200;

// Opens an existing database for reading and writing; never creates one. Answers nullptr on
// failure, with the handle already closed.
sqlite3* openExisting(const std::string& path) {
    // The library reads names beginning with "file:" as URIs; a path is always a plain name.
    const std::string name = path.rfind("file:", 0) == 0 ? "./" + path : path;
    sqlite3* db = nullptr;
    // A connection lives inside one call on one thread, so it needs no locking of its own.
    if (sqlite3_open_v2(name.c_str(), &db, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX, nullptr) !=
        SQLITE_OK) {
        sqlite3_close(db);
        return nullptr;
    }
    sqlite3_busy_timeout(db, kBusyTimeoutMs);
    return db;
}

// Prepares the first statement of `sql`; `stmt` stays nullptr for text holding no statement.
bool prepare(sqlite3* db, const std::string& sql, sqlite3_stmt*& stmt) {
    stmt = nullptr;
    // Passing the terminating zero lets the library skip copying the text.
    return sqlite3_prepare_v2(db, sql.c_str(), static_cast<int>(sql.size() + 1), &stmt, nullptr) ==
           SQLITE_OK;
}

std::string declaredType(sqlite3_stmt* stmt, int column) {
    const char* type = sqlite3_column_decltype(stmt, column);
    return type ? std::string(type) : std::string("TEXT");
}

std::string columnName(sqlite3_stmt* stmt, int column) {
    const char* name = sqlite3_column_name(stmt, column);
    return name ? std::string(name) : std::string();
}

// A column read as text: its bytes as the library hands them, or "-" for NULL.
SQLiteCell textCell(sqlite3_stmt* stmt, int column) {
    const int type = sqlite3_column_type(stmt, column);
    if (type == SQLITE_NULL)
        return SQLiteCell(std::in_place_index<0>, 1, '-');
    if (type == SQLITE_INTEGER) {
        // The same decimal text the library would produce, without its conversion round trip.
        char digits[24];
        const auto end =
            std::to_chars(digits, digits + sizeof digits, sqlite3_column_int64(stmt, column)).ptr;
        return SQLiteCell(std::in_place_index<0>, digits, end);
    }
    const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(stmt, column));
    if (!text)
        return SQLiteCell(std::in_place_index<0>);
    const auto bytes = static_cast<std::size_t>(sqlite3_column_bytes(stmt, column));
    return SQLiteCell(std::in_place_index<0>, text, bytes);
}

// A column declared "BLOB": its bytes, empty for NULL.
SQLiteCell blobCell(sqlite3_stmt* stmt, int column) {
    const auto* data = static_cast<const std::uint8_t*>(sqlite3_column_blob(stmt, column));
    const auto bytes = static_cast<std::size_t>(sqlite3_column_bytes(stmt, column));
    if (!data || bytes == 0)
        return SQLiteCell(std::in_place_index<1>);
    return SQLiteCell(std::in_place_index<1>, data, data + bytes);
}

// SQLite's answer when another connection holds the store.
bool isBusyCode(int code) {
    return (code & 0xff) == SQLITE_BUSY || (code & 0xff) == SQLITE_LOCKED;
}

// A statement that could not be prepared: the result says so, and whether the store was busy.
void noteFailedStatement(sqlite3* db, sqlite3_stmt*& stmt, SQLiteResult& result) {
    result.setErrorCode(kSQLiteStatementFailed);
    if (isBusyCode(sqlite3_errcode(db)))
        result.setBusy();
    sqlite3_finalize(stmt);
    stmt = nullptr;
}

// Appends the statement's column names and declared types to the result; answers their number.
int addColumns(sqlite3_stmt* stmt, SQLiteResult& result) {
    const int columns = sqlite3_column_count(stmt);
    for (int i = 0; i < columns; ++i) {
        result.addToColumnNames(columnName(stmt, i));
        result.addToColumnTypes(declaredType(stmt, i));
    }
    return columns;
}

// Reads the rows of a prepared statement until stepping stops, whatever the reason; a store held
// by another program marks the result busy.
void readRows(sqlite3_stmt* stmt, const std::vector<bool>& blobColumns, SQLiteResult& result) {
    const int columns = static_cast<int>(blobColumns.size());
    int code = SQLITE_ROW;
    while ((code = sqlite3_step(stmt)) == SQLITE_ROW) {
        SQLiteRow row;
        row.reserve(static_cast<std::size_t>(columns));
        for (int i = 0; i < columns; ++i)
            row.push_back(blobColumns[static_cast<std::size_t>(i)] ? blobCell(stmt, i)
                                                                   : textCell(stmt, i));
        result.addToRows(std::move(row));
    }
    if (isBusyCode(code))
        result.setBusy();
}

} // namespace

const std::string& SQLiteResult::text(const SQLiteCell& cell) {
    static const std::string empty;
    const auto* text = std::get_if<std::string>(&cell);
    return text ? *text : empty;
}

void SQLite::query(const std::string& sql, SQLiteResult& result) const {
    sqlite3* db = openExisting(filePath_);
    if (!db) {
        result.setErrorCode(kSQLiteOpenFailed);
        return;
    }
    sqlite3_stmt* stmt = nullptr;
    if (!prepare(db, sql, stmt)) {
        noteFailedStatement(db, stmt, result);
        sqlite3_close(db);
        return;
    }
    if (stmt) {
        const int columns = addColumns(stmt, result);
        // Cells are decoded by the result's own type list, counted from its start.
        const auto& types = result.columnTypes();
        std::vector<bool> blobColumns(static_cast<std::size_t>(columns));
        for (std::size_t i = 0; i < blobColumns.size(); ++i)
            blobColumns[i] = i < types.size() && types[i] == "BLOB";
        readRows(stmt, blobColumns, result);
    }
    result.setErrorCode(kSQLiteOK);
    sqlite3_finalize(stmt);
    sqlite3_close(db);
}

void SQLite::queryMultiple(const std::vector<std::string>& sqls, SQLiteResult& result) const {
    if (sqls.empty())
        return;
    sqlite3* db = openExisting(filePath_);
    if (!db) {
        result.setErrorCode(kSQLiteOpenFailed);
        return;
    }
    for (const std::string& sql : sqls) {
        sqlite3_stmt* stmt = nullptr;
        if (!prepare(db, sql, stmt)) {
            noteFailedStatement(db, stmt, result);
            continue;
        }
        if (stmt) {
            const int columns = addColumns(stmt, result);
            // Batches read every column as text.
            readRows(stmt, std::vector<bool>(static_cast<std::size_t>(columns)), result);
        }
        result.setErrorCode(kSQLiteOK);
        sqlite3_finalize(stmt);
    }
    sqlite3_close(db);
}

namespace {

// Prepares a statement for counting: one that would change the store is refused instead of run.
bool prepareToRead(sqlite3* db, const std::string& sql, sqlite3_stmt*& stmt) {
    if (!prepare(db, sql, stmt))
        return false;
    if (stmt && !sqlite3_stmt_readonly(stmt)) {
        sqlite3_finalize(stmt);
        stmt = nullptr;
        return false;
    }
    return true;
}

// Runs the statements in order on one connection as query (one statement) or queryMultiple (a
// batch) would, leaving in `result` everything but the rows, and answers the count pair
// countPairOf gives for what they would collect. Each row is sized as it is stepped and dropped:
// by the result's own type list counted from its start, as countPairOf sizes a collected result.
CountPair countStatements(const std::string& path, const std::vector<const std::string*>& sqls,
                          entrysize::BlobRead blobs, SQLiteResult& result) {
    sqlite3* db = openExisting(path);
    if (!db) {
        result.setErrorCode(kSQLiteOpenFailed);
        return {};
    }
    std::int64_t rows = 0;
    std::uint32_t size = 0;
    for (const std::string* sql : sqls) {
        sqlite3_stmt* stmt = nullptr;
        if (!prepareToRead(db, *sql, stmt)) {
            noteFailedStatement(db, stmt, result);
            continue;
        }
        if (stmt) {
            const int columns = addColumns(stmt, result);
            const entrysize::RowSizer sizer(result.columnTypes(), columns, blobs);
            int code = SQLITE_ROW;
            while ((code = sqlite3_step(stmt)) == SQLITE_ROW) {
                ++rows;
                size = sizer.addRow(size, stmt);
            }
            if (isBusyCode(code))
                result.setBusy();
        }
        result.setErrorCode(kSQLiteOK);
        sqlite3_finalize(stmt);
    }
    sqlite3_close(db);
    if (!result.ok())
        return {};
    return {rows, reportedSizeTotal(size)};
}

} // namespace

CountPair SQLite::countRows(const std::string& sql, SQLiteResult* columnsOnly) const {
    SQLiteResult own;
    return countStatements(filePath_, {&sql}, entrysize::BlobRead::AsBytes,
                           columnsOnly ? *columnsOnly : own);
}

CountPair SQLite::countRowsAfter(const std::vector<std::string>& prelude, const std::string& sql,
                                 SQLiteResult* columnsOnly) const {
    if (prelude.empty())
        return countRows(sql, columnsOnly);
    std::vector<const std::string*> batch;
    for (const auto& statement : prelude)
        batch.push_back(&statement);
    batch.push_back(&sql);
    SQLiteResult own;
    return countStatements(filePath_, batch, entrysize::BlobRead::AsText,
                           columnsOnly ? *columnsOnly : own);
}

CountPair countRows(const std::string& path, const std::string& sql) {
    struct stat info {};
    if (lstat(path.c_str(), &info) != 0 || !S_ISREG(info.st_mode))
        return {};
    SQLite db;
    db.setfilePath(path);
    return db.countRows(sql);
}

std::string sqlQuote(const std::string& value) {
    std::string quoted;
    quoted.reserve(value.size() + 2);
    for (const char ch : value) {
        quoted.push_back(ch);
        if (ch == '\'')
            quoted.push_back('\'');
    }
    return quoted;
}

} // namespace tpc::browsers
