#pragma once
// The one road into other applications' SQLite stores. Each query opens the file, runs, and
// closes it again, so no handle outlives a call and a running browser keeps its lock as briefly
// as possible. Opening never creates a missing database.

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

namespace tpc::browsers {

// A result cell: text ("-" for NULL), or the bytes of a column declared exactly "BLOB".
using SQLiteCell = std::variant<std::string, std::vector<std::uint8_t>>;
using SQLiteRow = std::vector<SQLiteCell>;

inline constexpr const char* kSQLiteOK = "OK";
inline constexpr const char* kSQLiteUninitialized = "Uninitialized result.";
inline constexpr const char* kSQLiteStatementFailed = "SQL Statement failed to execute.";
inline constexpr const char* kSQLiteOpenFailed = "SQLite Database failed to open.";

class SQLiteResult {
public:
    const std::string& errorCode() const { return errorCode_; }
    void setErrorCode(std::string code) { errorCode_ = std::move(code); }
    bool ok() const { return errorCode_ == kSQLiteOK; }
    // Whether SQLite answered that the store is busy or locked (another program, a running
    // browser, holds it) while preparing or stepping; the error code stays what the query set.
    bool busy() const { return busy_; }
    void setBusy() { busy_ = true; }

    const std::vector<std::string>& columnNames() const { return columnNames_; }
    const std::vector<std::string>& columnTypes() const { return columnTypes_; }
    const std::vector<SQLiteRow>& rows() const { return rows_; }
    void addToColumnNames(std::string name) { columnNames_.push_back(std::move(name)); }
    void addToColumnTypes(std::string type) { columnTypes_.push_back(std::move(type)); }
    void addToRows(SQLiteRow row) { rows_.push_back(std::move(row)); }

    // The text of a cell ("" for a blob cell).
    static const std::string& text(const SQLiteCell& cell);

private:
    std::string errorCode_ = kSQLiteUninitialized;
    bool busy_ = false;
    std::vector<std::string> columnNames_;
    std::vector<std::string> columnTypes_;
    std::vector<SQLiteRow> rows_;
};

struct CountPair;

class SQLite {
public:
    void setfileName(std::string name) { fileName_ = std::move(name); }
    void setfilePath(std::string path) { filePath_ = std::move(path); }
    const std::string& fileName() const { return fileName_; }
    const std::string& filePath() const { return filePath_; }

    // Runs the first statement of `sql` and collects its columns and rows.
    void query(const std::string& sql, SQLiteResult& result) const;
    // Runs each statement in order on one connection, accumulating into `result`; the final
    // error code is the last statement's. An empty list does nothing at all.
    void queryMultiple(const std::vector<std::string>& sqls, SQLiteResult& result) const;
    // Runs the first statement of `sql` and answers its count pair, the very pair countPairOf
    // gives for what query would collect, while stepping: no row is kept, so counting a store
    // costs the same little memory whatever its size. A statement that would change the store is
    // not run (it counts [0, 0]). When `columnsOnly` (a fresh result) is given, it receives the
    // error code, busy mark, column names and declared types, but never rows.
    CountPair countRows(const std::string& sql, SQLiteResult* columnsOnly = nullptr) const;
    // The same for `sql` run after the `prelude` statements (an ATTACH) on one connection: the
    // pair countPairOf gives for what queryMultiple collects from prelude and `sql` together
    // (every column read as text, the error code the last statement's). Without a prelude it is
    // countRows(sql).
    CountPair countRowsAfter(const std::vector<std::string>& prelude, const std::string& sql,
                             SQLiteResult* columnsOnly = nullptr) const;

private:
    std::string fileName_;
    std::string filePath_;
};

// The size estimate of one cell of the declared type.
std::uint64_t determineSQLiteEntrySize(const SQLiteCell& cell, const std::string& type);

// [count, size]: what every counting operation returns.
struct CountPair {
    std::int64_t count = 0;
    std::int64_t size = 0;
    bool operator==(const CountPair&) const = default;
};

// The count pair of a SELECT result: rows, and the cell sizes summed in unsigned 32 bits and
// reported as a signed 32-bit number; [0, 0] unless the result is "OK".
CountPair countPairOf(const SQLiteResult& result);

// The two steps of that size sum: adding one cell's estimate to the running total (keeping the low
// 32 bits, so it wraps), and reading the final total back as a signed 32-bit number.
std::uint32_t addToSizeTotal(std::uint32_t total, std::uint64_t entrySize);
std::int64_t reportedSizeTotal(std::uint32_t total);

// Runs `sql` on the database at `path` and answers its count pair; [0, 0] when the file is
// missing.
CountPair countRows(const std::string& path, const std::string& sql);

// Doubles the single quotes of a value placed inside '...' in SQL text.
std::string sqlQuote(const std::string& value);

} // namespace tpc::browsers
