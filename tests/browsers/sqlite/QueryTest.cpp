// Reading stores with query and queryMultiple: columns, cells, error texts, and what is never
// touched.

#include "browsers/sqlite/Databases.h"
#include "browsers/sqlite/SQLite.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <optional>
#include <thread>

namespace tpc::browsers {
namespace {

using test::execSql;
using test::selectInteger;
using test::TempDir;
using Bytes = std::vector<std::uint8_t>;

class QueryTest : public ::testing::Test {
protected:
    void SetUp() override {
        file_ = dir_ / "History";
        execSql(file_, "CREATE TABLE t(id INTEGER, name TEXT, loose, data BLOB, small blob(16));"
                       "INSERT INTO t VALUES(1, 'one', 'x', X'00FF10', X'414243');"
                       "INSERT INTO t VALUES(NULL, NULL, NULL, NULL, NULL);");
        db_.setfileName("History");
        db_.setfilePath(file_.string());
    }

    SQLiteResult run(const std::string& sql) const {
        SQLiteResult result;
        db_.query(sql, result);
        return result;
    }

    // A query on another file, or the batch when one is given.
    static SQLiteResult runOn(const std::filesystem::path& path, const std::string& sql,
                              std::optional<std::vector<std::string>> batch = std::nullopt) {
        SQLite db;
        db.setfilePath(path.string());
        SQLiteResult result;
        if (batch)
            db.queryMultiple(*batch, result);
        else
            db.query(sql, result);
        return result;
    }

    TempDir dir_;
    std::filesystem::path file_;
    SQLite db_;
};

TEST_F(QueryTest, ReadsNamesDeclaredTypesAndCells) {
    const SQLiteResult result = run("SELECT * FROM t ORDER BY id IS NULL;");
    ASSERT_EQ(result.errorCode(), "OK");
    EXPECT_EQ(result.columnNames(),
              (std::vector<std::string>{"id", "name", "loose", "data", "small"}));
    // A column with no declared type reads as "TEXT".
    EXPECT_EQ(result.columnTypes(),
              (std::vector<std::string>{"INTEGER", "TEXT", "TEXT", "BLOB", "blob(16)"}));
    ASSERT_EQ(result.rows().size(), 2u);
    const SQLiteRow& row = result.rows()[0];
    ASSERT_EQ(row.size(), 5u);
    EXPECT_EQ(std::get<std::string>(row[0]), "1");
    EXPECT_EQ(std::get<std::string>(row[1]), "one");
    EXPECT_EQ(std::get<std::string>(row[2]), "x");
    EXPECT_EQ(std::get<Bytes>(row[3]), (Bytes{0x00, 0xFF, 0x10}));
    // Only the exact spelling "BLOB" gives bytes; a lower-case blob type is read as text. (The
    // library reports a bare "blob" declaration as "BLOB", so the kept spelling "blob(16)" stands
    // in for it here.)
    EXPECT_EQ(std::get<std::string>(row[4]), "ABC");
    EXPECT_EQ(determineSQLiteEntrySize(row[4], result.columnTypes()[4]), 0u);
}

TEST_F(QueryTest, NullCellsAreADashOrAnEmptyBufferEmptyValuesStayEmpty) {
    execSql(file_, "INSERT INTO t VALUES(7, '', '', X'', X'');");
    const SQLiteResult result = run("SELECT * FROM t WHERE id IS NULL OR id = 7 ORDER BY id;");
    ASSERT_EQ(result.rows().size(), 2u);
    const SQLiteRow& row = result.rows()[0];
    EXPECT_EQ(std::get<std::string>(row[0]), "-");
    EXPECT_EQ(std::get<std::string>(row[1]), "-");
    EXPECT_EQ(std::get<std::string>(row[2]), "-");
    EXPECT_EQ(std::get<Bytes>(row[3]), Bytes{});
    EXPECT_EQ(std::get<std::string>(row[4]), "-");
    const auto& types = result.columnTypes();
    EXPECT_EQ(determineSQLiteEntrySize(row[0], types[0]), 4u);
    EXPECT_EQ(determineSQLiteEntrySize(row[1], types[1]), 1u);
    EXPECT_EQ(determineSQLiteEntrySize(row[3], types[3]), 0u);
    EXPECT_EQ(SQLiteResult::text(row[3]), "");
    const SQLiteRow& empty = result.rows()[1];
    EXPECT_EQ(std::get<std::string>(empty[1]), "");
    EXPECT_EQ(std::get<Bytes>(empty[3]), Bytes{});
    EXPECT_EQ(std::get<std::string>(empty[4]), "");
}

TEST_F(QueryTest, AnAggregateIsTypedTextAndSizedInUtf8Bytes) {
    execSql(file_, "UPDATE t SET name = 'Grüße 日本' WHERE id = 1;");
    const SQLiteResult result = run("SELECT group_concat(name, '|') FROM t WHERE id = 1;");
    ASSERT_EQ(result.errorCode(), "OK");
    ASSERT_EQ(result.columnTypes(), std::vector<std::string>{"TEXT"});
    ASSERT_EQ(result.rows().size(), 1u);
    const SQLiteCell& cell = result.rows()[0][0];
    EXPECT_EQ(SQLiteResult::text(cell), "Grüße 日本");
    // 5 letters (two of them two bytes), a space, two three-byte characters.
    EXPECT_EQ(determineSQLiteEntrySize(cell, "TEXT"), 14u);
    EXPECT_EQ(countPairOf(result), (CountPair{1, 14}));
}

TEST_F(QueryTest, OnlyTheFirstStatementRunsABadOneAddsNothingNoneIsOk) {
    SQLiteResult result = run("SELECT 1; DELETE FROM t;");
    EXPECT_EQ(result.errorCode(), "OK");
    ASSERT_EQ(result.rows().size(), 1u);
    EXPECT_EQ(selectInteger(file_, "SELECT count(*) FROM t"), 2);

    for (const char* sql : {"SELECT * FROM missing;", "  -- nothing here\n"}) {
        result = run(sql);
        EXPECT_EQ(result.errorCode(), sql[0] == 'S' ? "SQL Statement failed to execute." : "OK");
        EXPECT_TRUE(result.columnNames().empty());
        EXPECT_TRUE(result.columnTypes().empty());
        EXPECT_TRUE(result.rows().empty());
    }
}

TEST_F(QueryTest, RowsBeforeAStepErrorAreKeptAndTheResultIsOk) {
    execSql(file_, "CREATE TABLE n(x INTEGER); INSERT INTO n VALUES(1),(2),(3),(4);");
    // abs() of the smallest integer raises an error while stepping the third row.
    const SQLiteResult result =
        run("SELECT CASE WHEN x < 3 THEN x ELSE abs(-9223372036854775807 - 1) END FROM n;");
    EXPECT_EQ(result.errorCode(), "OK");
    ASSERT_EQ(result.rows().size(), 2u);
    EXPECT_EQ(SQLiteResult::text(result.rows()[1][0]), "2");
}

TEST_F(QueryTest, NumbersReadAsTheLibrarysOwnText) {
    execSql(file_, "CREATE TABLE nums(x);"
                   "INSERT INTO nums VALUES(0),(-1),(42),(4294967296),(9223372036854775807),"
                   "(-9223372036854775808),(1.5),(-0.25),(1e20),(3.0),(1e-7),(123456789.123);");
    for (const bool batch : {false, true}) {
        SQLiteResult result;
        const std::string sql = "SELECT x, CAST(x AS TEXT) FROM nums;";
        if (batch)
            db_.queryMultiple({sql}, result);
        else
            db_.query(sql, result);
        ASSERT_EQ(result.rows().size(), 12u);
        for (const auto& row : result.rows())
            EXPECT_EQ(SQLiteResult::text(row[0]), SQLiteResult::text(row[1]));
        EXPECT_EQ(SQLiteResult::text(result.rows()[5][0]), "-9223372036854775808");
        EXPECT_EQ(SQLiteResult::text(result.rows()[6][0]), "1.5");
    }
}

TEST_F(QueryTest, InvalidUtf8AndZeroBytesAreKeptAsTheStoredBytes) {
    execSql(file_, "INSERT INTO t(id, name) VALUES(9, CAST(X'FF41C3' AS TEXT)),"
                   "(10, CAST(X'610062' AS TEXT));");
    const SQLiteResult result = run("SELECT name FROM t WHERE id >= 9 ORDER BY id;");
    ASSERT_EQ(result.rows().size(), 2u);
    EXPECT_EQ(SQLiteResult::text(result.rows()[0][0]), std::string("\xFF"
                                                                   "A\xC3"));
    EXPECT_EQ(SQLiteResult::text(result.rows()[1][0]), std::string("a\0b", 3));
}

TEST_F(QueryTest, MissingGarbageOrFolderStoresFailAndAreLeftAlone) {
    namespace fs = std::filesystem;
    for (const bool batch : {false, true}) {
        SCOPED_TRACE(batch ? "batch" : "query");
        auto on = [&](const fs::path& path, const std::string& sql) {
            return batch ? runOn(path, sql, std::vector<std::string>{sql, sql}) : runOn(path, sql);
        };
        EXPECT_EQ(on(dir_ / "Cookies", "SELECT * FROM cookies;").errorCode(),
                  "SQLite Database failed to open.");
        EXPECT_FALSE(fs::exists(dir_ / "Cookies"));
        EXPECT_FALSE(fs::exists(dir_ / "Cookies-journal"));
        EXPECT_EQ(on(dir_ / "no" / "such" / "History", "SELECT 1;").errorCode(),
                  "SQLite Database failed to open.");
        EXPECT_FALSE(fs::exists(dir_ / "no"));

        const auto garbage = dir_ / "Garbage";
        const std::string content(5000, '\x5A');
        test::writeFile(garbage, content);
        const auto result = on(garbage, "DELETE FROM urls;");
        EXPECT_EQ(result.errorCode(), "SQL Statement failed to execute.");
        EXPECT_TRUE(result.rows().empty());
        EXPECT_EQ(test::readFile(garbage), content);

        const auto folder = on(dir_.path(), "SELECT 1;").errorCode();
        EXPECT_NE(folder, "OK");
        EXPECT_NE(folder, "Uninitialized result.");
    }
}

TEST_F(QueryTest, AStoreLockedByAnotherProgramFailsQuickly) {
    sqlite3* holder = nullptr;
    ASSERT_EQ(sqlite3_open(file_.c_str(), &holder), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(holder, "BEGIN EXCLUSIVE; DELETE FROM t;", nullptr, nullptr, nullptr),
              SQLITE_OK);
    const auto start = std::chrono::steady_clock::now();
    const SQLiteResult result = run("SELECT * FROM t;");
    const auto elapsed = std::chrono::steady_clock::now() - start;
    sqlite3_exec(holder, "ROLLBACK;", nullptr, nullptr, nullptr);
    sqlite3_close(holder);
    EXPECT_EQ(result.errorCode(), "SQL Statement failed to execute.");
    EXPECT_LT(elapsed, std::chrono::seconds(3));
}

TEST_F(QueryTest, ABriefLockIsWaitedOut) {
    sqlite3* holder = nullptr;
    ASSERT_EQ(sqlite3_open(file_.c_str(), &holder), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(holder, "BEGIN EXCLUSIVE;", nullptr, nullptr, nullptr), SQLITE_OK);
    std::thread release([holder] {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        sqlite3_exec(holder, "COMMIT;", nullptr, nullptr, nullptr);
    });
    const SQLiteResult result = run("SELECT * FROM t;");
    release.join();
    sqlite3_close(holder);
    EXPECT_EQ(result.errorCode(), "OK");
    EXPECT_EQ(result.rows().size(), 2u);
}

// ---- queryMultiple ----

TEST_F(QueryTest, AnEmptyBatchLeavesAFreshResultUntouched) {
    SQLiteResult result;
    EXPECT_EQ(result.errorCode(), "Uninitialized result.");
    EXPECT_FALSE(result.ok());
    db_.queryMultiple({}, result);
    EXPECT_EQ(result.errorCode(), "Uninitialized result.");
    EXPECT_EQ(runOn(dir_ / "Missing", "", std::vector<std::string>{}).errorCode(),
              "Uninitialized result.");
    EXPECT_FALSE(std::filesystem::exists(dir_ / "Missing"));
}

TEST_F(QueryTest, TheLastStatementOfABatchDecidesAndEachRunsOnlyItsFirst) {
    SQLiteResult result;
    db_.queryMultiple({"DELETE FROM missing;", "DELETE FROM t WHERE id = 1; DELETE FROM t;"},
                      result);
    EXPECT_EQ(result.errorCode(), "OK");
    EXPECT_EQ(selectInteger(file_, "SELECT count(*) FROM t"), 1);
    EXPECT_EQ(selectInteger(file_, "SELECT count(*) FROM t WHERE id = 1"), 0);

    SQLiteResult failed;
    db_.queryMultiple({"DELETE FROM t;", "DELETE FROM missing;"}, failed);
    EXPECT_EQ(failed.errorCode(), "SQL Statement failed to execute.");
    EXPECT_EQ(selectInteger(file_, "SELECT count(*) FROM t"), 0);
}

TEST_F(QueryTest, ABatchReadsEveryColumnAsText) {
    SQLiteResult result;
    db_.queryMultiple({"SELECT data, loose, id FROM t WHERE id = 1;", "SELECT count(*) FROM t;"},
                      result);
    ASSERT_EQ(result.errorCode(), "OK");
    EXPECT_EQ(result.columnNames(), (std::vector<std::string>{"data", "loose", "id", "count(*)"}));
    EXPECT_EQ(result.columnTypes(), (std::vector<std::string>{"BLOB", "TEXT", "INTEGER", "TEXT"}));
    ASSERT_EQ(result.rows().size(), 2u);
    ASSERT_TRUE(std::holds_alternative<std::string>(result.rows()[0][0]));
    EXPECT_EQ(SQLiteResult::text(result.rows()[0][0]), std::string("\0\xFF\x10", 3));
    EXPECT_EQ(SQLiteResult::text(result.rows()[0][2]), "1");
    EXPECT_EQ(SQLiteResult::text(result.rows()[1][0]), "2");
}

} // namespace
} // namespace tpc::browsers
