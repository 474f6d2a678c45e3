#include "browsers/sqlite/SQLite.h"

#include <sqlite3.h>
#include <sys/stat.h>

#include <charconv>
#include <climits>
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

// Reads the rows of a prepared statement until stepping stops, whatever the reason.
void readRows(sqlite3_stmt* stmt, const std::vector<bool>& blobColumns, SQLiteResult& result) {
    const int columns = static_cast<int>(blobColumns.size());
    while (sqlite3_step(stmt) == SQLITE_ROW) {
        SQLiteRow row;
        row.reserve(static_cast<std::size_t>(columns));
        for (int i = 0; i < columns; ++i)
            row.push_back(blobColumns[static_cast<std::size_t>(i)] ? blobCell(stmt, i)
                                                                   : textCell(stmt, i));
        result.addToRows(std::move(row));
    }
}

// Reads a decimal integer the forgiving way: leading blanks, an optional sign, then digits up to
// the first other character. No digits reads as 0; overflow saturates.
std::int64_t parseInteger(const std::string& text) {
    std::size_t i = 0;
    while (i < text.size() && (text[i] == ' ' || (text[i] >= '\t' && text[i] <= '\r')))
        ++i;
    bool negative = false;
    if (i < text.size() && (text[i] == '+' || text[i] == '-')) {
        negative = text[i] == '-';
        ++i;
    }
    // Accumulated as a negative number so that the smallest value fits.
    std::int64_t value = 0;
    for (; i < text.size() && text[i] >= '0' && text[i] <= '9'; ++i) {
        const int digit = text[i] - '0';
        if (value < (LLONG_MIN + digit) / 10)
            return negative ? LLONG_MIN : LLONG_MAX;
        value = value * 10 - digit;
    }
    if (negative)
        return value;
    return value == LLONG_MIN ? LLONG_MAX : -value;
}

// The length of UTF-8 text in UTF-16 code units: every byte that starts a character counts one,
// and a four-byte character (outside the Basic Multilingual Plane) counts two.
std::uint64_t utf16Length(const std::string& text) {
    std::uint64_t units = 0;
    for (const char ch : text) {
        const auto byte = static_cast<unsigned char>(ch);
        if ((byte & 0xC0) != 0x80)
            ++units;
        if (byte >= 0xF0)
            ++units;
    }
    return units;
}

enum class SizeKind { Integer, LongVarChar, Text, Blob, None };

SizeKind sizeKindOf(const std::string& type) {
    if (type == "INTEGER")
        return SizeKind::Integer;
    if (type == "LONGVARCHAR")
        return SizeKind::LongVarChar;
    if (type == "TEXT")
        return SizeKind::Text;
    if (type == "BLOB")
        return SizeKind::Blob;
    return SizeKind::None;
}

std::uint64_t entrySize(const SQLiteCell& cell, SizeKind kind) {
    const auto* text = std::get_if<std::string>(&cell);
    const auto* bytes = std::get_if<std::vector<std::uint8_t>>(&cell);
    switch (kind) {
    case SizeKind::Integer: {
        const std::int64_t value = text ? parseInteger(*text) : 0;
        return static_cast<std::uint64_t>(value) > 0x100000000ULL ? 8 : 4;
    }
    case SizeKind::LongVarChar:
        return 4;
    case SizeKind::Text:
        return text ? text->size() : bytes->size();
    case SizeKind::Blob:
        return text ? utf16Length(*text) : bytes->size();
    case SizeKind::None:
        break;
    }
    return 0;
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
        result.setErrorCode(kSQLiteStatementFailed);
        sqlite3_finalize(stmt);
        sqlite3_close(db);
        return;
    }
    if (stmt) {
        const int columns = sqlite3_column_count(stmt);
        std::vector<bool> blobColumns(static_cast<std::size_t>(columns));
        for (int i = 0; i < columns; ++i) {
            result.addToColumnNames(columnName(stmt, i));
            result.addToColumnTypes(declaredType(stmt, i));
            // Cells are decoded by the result's own type list, counted from its start.
            const auto& types = result.columnTypes();
            blobColumns[static_cast<std::size_t>(i)] =
                static_cast<std::size_t>(i) < types.size() && types[i] == "BLOB";
        }
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
            result.setErrorCode(kSQLiteStatementFailed);
            sqlite3_finalize(stmt);
            continue;
        }
        if (stmt) {
            const int columns = sqlite3_column_count(stmt);
            for (int i = 0; i < columns; ++i) {
                result.addToColumnNames(columnName(stmt, i));
                result.addToColumnTypes(declaredType(stmt, i));
            }
            // Batches read every column as text.
            readRows(stmt, std::vector<bool>(static_cast<std::size_t>(columns)), result);
        }
        result.setErrorCode(kSQLiteOK);
        sqlite3_finalize(stmt);
    }
    sqlite3_close(db);
}

std::uint64_t determineSQLiteEntrySize(const SQLiteCell& cell, const std::string& type) {
    return entrySize(cell, sizeKindOf(type));
}

std::uint32_t addToSizeTotal(std::uint32_t total, std::uint64_t entrySize) {
    return total + static_cast<std::uint32_t>(entrySize);
}

std::int64_t reportedSizeTotal(std::uint32_t total) {
    return static_cast<std::int64_t>(static_cast<std::int32_t>(total));
}

CountPair countPairOf(const SQLiteResult& result) {
    if (!result.ok())
        return {};
    const auto& types = result.columnTypes();
    std::vector<SizeKind> kinds;
    kinds.reserve(types.size());
    for (const auto& type : types)
        kinds.push_back(sizeKindOf(type));
    std::uint32_t size = 0;
    for (const SQLiteRow& row : result.rows()) {
        const std::size_t cells = row.size();
        for (std::size_t i = 0; i < cells; ++i) {
            if (i < kinds.size())
                size = addToSizeTotal(size, entrySize(row[i], kinds[i]));
        }
    }
    return {static_cast<std::int64_t>(result.rows().size()), reportedSizeTotal(size)};
}

CountPair countRows(const std::string& path, const std::string& sql) {
    struct stat info {};
    if (lstat(path.c_str(), &info) != 0 || !S_ISREG(info.st_mode))
        return {};
    SQLite db;
    db.setfilePath(path);
    SQLiteResult result;
    db.query(sql, result);
    return countPairOf(result);
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
