// The size estimate of a cell, the count pair of a result, counting a store by path, and quoting.

#include "browsers/sqlite/Databases.h"
#include "browsers/sqlite/SQLite.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>

namespace tpc::browsers {
namespace {

using test::execSql;
using test::TempDir;
using Bytes = std::vector<std::uint8_t>;

SQLiteCell text(std::string value) {
    return SQLiteCell(std::move(value));
}
SQLiteCell bytes(std::size_t n) {
    return SQLiteCell(Bytes(n, 0xAB));
}

// ---- determineSQLiteEntrySize ----

TEST(EntrySize, IntegerBoundaryIsStrictlyAboveTwoToTheThirtySecond) {
    EXPECT_EQ(determineSQLiteEntrySize(text("0"), "INTEGER"), 4u);
    EXPECT_EQ(determineSQLiteEntrySize(text("4294967295"), "INTEGER"), 4u);
    EXPECT_EQ(determineSQLiteEntrySize(text("4294967296"), "INTEGER"), 4u);
    EXPECT_EQ(determineSQLiteEntrySize(text("4294967297"), "INTEGER"), 8u);
    EXPECT_EQ(determineSQLiteEntrySize(text("9223372036854775807"), "INTEGER"), 8u);
}

TEST(EntrySize, NegativeIntegersCountEightBytes) {
    EXPECT_EQ(determineSQLiteEntrySize(text("-1"), "INTEGER"), 8u);
    EXPECT_EQ(determineSQLiteEntrySize(text("-4294967296"), "INTEGER"), 8u);
    EXPECT_EQ(determineSQLiteEntrySize(text("-9223372036854775808"), "INTEGER"), 8u);
}

TEST(EntrySize, IntegerTextIsReadForgivingly) {
    EXPECT_EQ(determineSQLiteEntrySize(text("-"), "INTEGER"), 4u);
    EXPECT_EQ(determineSQLiteEntrySize(text(""), "INTEGER"), 4u);
    EXPECT_EQ(determineSQLiteEntrySize(text("abc"), "INTEGER"), 4u);
    EXPECT_EQ(determineSQLiteEntrySize(text("  5000000000 seconds"), "INTEGER"), 8u);
    EXPECT_EQ(determineSQLiteEntrySize(text("+5000000000"), "INTEGER"), 8u);
    EXPECT_EQ(determineSQLiteEntrySize(text("12x99999999999"), "INTEGER"), 4u);
    // A real is read up to its point.
    EXPECT_EQ(determineSQLiteEntrySize(text("4294967296.9"), "INTEGER"), 4u);
    // Out of range saturates rather than wrapping to a small value.
    EXPECT_EQ(determineSQLiteEntrySize(text("99999999999999999999999"), "INTEGER"), 8u);
    EXPECT_EQ(determineSQLiteEntrySize(text("18446744073709551617"), "INTEGER"), 8u);
    EXPECT_EQ(determineSQLiteEntrySize(text("-99999999999999999999999"), "INTEGER"), 8u);
}

TEST(EntrySize, LongVarCharIsAlwaysFour) {
    EXPECT_EQ(determineSQLiteEntrySize(text(""), "LONGVARCHAR"), 4u);
    EXPECT_EQ(determineSQLiteEntrySize(text(std::string(1000, 'u')), "LONGVARCHAR"), 4u);
    EXPECT_EQ(determineSQLiteEntrySize(text("-"), "LONGVARCHAR"), 4u);
}

TEST(EntrySize, TextCountsUtf8Bytes) {
    EXPECT_EQ(determineSQLiteEntrySize(text(""), "TEXT"), 0u);
    EXPECT_EQ(determineSQLiteEntrySize(text("-"), "TEXT"), 1u);
    EXPECT_EQ(determineSQLiteEntrySize(text("é"), "TEXT"), 2u);
    EXPECT_EQ(determineSQLiteEntrySize(text("日本"), "TEXT"), 6u);
    EXPECT_EQ(determineSQLiteEntrySize(text("😀"), "TEXT"), 4u);
}

TEST(EntrySize, BlobCountsBufferBytesOrUtf16Units) {
    EXPECT_EQ(determineSQLiteEntrySize(bytes(0), "BLOB"), 0u);
    EXPECT_EQ(determineSQLiteEntrySize(bytes(37), "BLOB"), 37u);
    EXPECT_EQ(determineSQLiteEntrySize(text("abc"), "BLOB"), 3u);
    EXPECT_EQ(determineSQLiteEntrySize(text("-"), "BLOB"), 1u);
    EXPECT_EQ(determineSQLiteEntrySize(text("é"), "BLOB"), 1u);
    EXPECT_EQ(determineSQLiteEntrySize(text("日本"), "BLOB"), 2u);
    // Outside the Basic Multilingual Plane a character is a surrogate pair.
    EXPECT_EQ(determineSQLiteEntrySize(text("a😀b"), "BLOB"), 4u);
}

TEST(EntrySize, AnyOtherTypeIsZero) {
    for (const char* type : {"REAL", "VARCHAR", "VARCHAR(255)", "DATETIME", "BOOLEAN", "integer",
                             "text", "blob", "LongVarChar", "", " TEXT", "INTEGER "}) {
        EXPECT_EQ(determineSQLiteEntrySize(text("12345"), type), 0u) << type;
        EXPECT_EQ(determineSQLiteEntrySize(bytes(9), type), 0u) << type;
    }
}

TEST(EntrySize, IntegerValuesReadFromAStore) {
    TempDir dir;
    const auto file = dir / "Store";
    execSql(file, "CREATE TABLE v(n INTEGER);"
                  "INSERT INTO v VALUES(4294967296),(4294967297),(-1),(NULL),(0);");
    SQLite db;
    db.setfilePath(file.string());
    SQLiteResult result;
    db.query("SELECT n FROM v ORDER BY rowid;", result);
    ASSERT_EQ(result.rows().size(), 5u);
    std::vector<std::uint64_t> sizes;
    for (const auto& row : result.rows())
        sizes.push_back(determineSQLiteEntrySize(row[0], result.columnTypes()[0]));
    EXPECT_EQ(sizes, (std::vector<std::uint64_t>{4, 8, 8, 4, 4}));
    EXPECT_EQ(countPairOf(result), (CountPair{5, 28}));
}

// ---- countPairOf ----

SQLiteResult handBuilt(const std::vector<std::string>& types, std::vector<SQLiteRow> rows,
                       const std::string& code = kSQLiteOK) {
    SQLiteResult result;
    for (const auto& type : types) {
        result.addToColumnNames("c");
        result.addToColumnTypes(type);
    }
    for (auto& row : rows)
        result.addToRows(std::move(row));
    result.setErrorCode(code);
    return result;
}

TEST(CountPairOf, SumsEveryCellByItsColumnType) {
    const SQLiteResult result =
        handBuilt({"INTEGER", "LONGVARCHAR", "TEXT", "BLOB", "VARCHAR"},
                  {{text("-1"), text("http://a"), text("héllo"), bytes(10), text("zzz")},
                   {text("7"), text("-"), text("-"), bytes(0), text("-")}});
    // Row 1: 8 + 4 + 6 + 10 + 0; row 2: 4 + 4 + 1 + 0 + 0.
    EXPECT_EQ(countPairOf(result), (CountPair{2, 37}));
}

TEST(CountPairOf, ALowerCaseBlobColumnCountsNothing) {
    const SQLiteResult result = handBuilt({"blob", "BLOB"}, {{text("ABCDEF"), text("ABCDEF")}});
    EXPECT_EQ(countPairOf(result), (CountPair{1, 6}));
}

TEST(CountPairOf, NothingUnlessOk) {
    const std::vector<SQLiteRow> rows = {{text("abc")}};
    EXPECT_EQ(countPairOf(handBuilt({"TEXT"}, rows, kSQLiteStatementFailed)), (CountPair{}));
    EXPECT_EQ(countPairOf(handBuilt({"TEXT"}, rows, kSQLiteOpenFailed)), (CountPair{}));
    EXPECT_EQ(countPairOf(handBuilt({"TEXT"}, rows, kSQLiteUninitialized)), (CountPair{}));
    EXPECT_EQ(countPairOf(handBuilt({"TEXT"}, rows, "ok")), (CountPair{}));
    EXPECT_EQ(countPairOf(handBuilt({"TEXT"}, rows)), (CountPair{1, 3}));
}

TEST(CountPairOf, AnOkResultWithoutRowsIsZeroZero) {
    EXPECT_EQ(countPairOf(handBuilt({"TEXT", "INTEGER"}, {})), (CountPair{}));
}

TEST(CountPairOf, CellsBeyondTheTypeListCountNothing) {
    const SQLiteResult result = handBuilt({"TEXT"}, {{text("abcd"), text("efgh")}});
    EXPECT_EQ(countPairOf(result), (CountPair{1, 4}));
}

TEST(CountPairOf, TheSizeIsReportedAsASigned32BitNumber) {
    // A text cell of 2^31 + 100 characters beside an INTEGER cell of 8 bytes (-1): the unsigned
    // 32-bit sum, 2^31 + 108, reads back as -2^31 + 108.
    constexpr std::uint64_t big = (std::uint64_t{1} << 31) + 100;
    std::uint32_t total = addToSizeTotal(0, big);
    total = addToSizeTotal(total, determineSQLiteEntrySize(text("-1"), "INTEGER"));
    EXPECT_EQ(reportedSizeTotal(total), -2147483648LL + 108);
}

TEST(CountPairOf, TheSizeTotalKeepsOnlyItsLow32Bits) {
    // An estimate beyond 32 bits adds its low 32 bits; a total past 2^32 wraps around zero.
    EXPECT_EQ(addToSizeTotal(7, (std::uint64_t{1} << 32) + 5), 12u);
    EXPECT_EQ(addToSizeTotal(0xFFFFFFF0u, 0x20), 0x10u);
    EXPECT_EQ(reportedSizeTotal(0x7FFFFFFFu), 2147483647);
    EXPECT_EQ(reportedSizeTotal(0x80000000u), -2147483648LL);
    EXPECT_EQ(reportedSizeTotal(0xFFFFFFFFu), -1);
}

// ---- countRows ----

class CountRowsTest : public ::testing::Test {
protected:
    void SetUp() override {
        file_ = dir_ / "History";
        execSql(file_, "CREATE TABLE urls(id INTEGER PRIMARY KEY, url LONGVARCHAR, title TEXT, "
                       "favicon BLOB, visit_time DATETIME);"
                       "INSERT INTO urls VALUES(1, 'http://a.example/', 'Ä', X'0102', 5);"
                       "INSERT INTO urls VALUES(5000000000, NULL, NULL, NULL, NULL);");
    }

    TempDir dir_;
    std::filesystem::path file_;
};

TEST_F(CountRowsTest, CountsRowsAndSizes) {
    // Row 1: 4 + 4 + 2 + 2 + 0; row 2: 8 + 4 + 1 + 0 + 0.
    EXPECT_EQ(countRows(file_.string(), "SELECT * FROM urls;"), (CountPair{2, 25}));
}

TEST_F(CountRowsTest, AFailingStatementCountsNothing) {
    EXPECT_EQ(countRows(file_.string(), "SELECT * FROM visits;"), (CountPair{}));
}

TEST_F(CountRowsTest, AMissingFileCountsNothingAndIsNotCreated) {
    const auto missing = dir_ / "Cookies";
    EXPECT_EQ(countRows(missing.string(), "SELECT * FROM cookies;"), (CountPair{}));
    EXPECT_FALSE(std::filesystem::exists(missing));
}

TEST_F(CountRowsTest, ALinkToAStoreCountsAsMissing) {
    const auto link = dir_ / "Linked";
    std::filesystem::create_symlink(file_, link);
    EXPECT_EQ(countRows(link.string(), "SELECT * FROM urls;"), (CountPair{}));
    const auto dangling = dir_ / "Dangling";
    std::filesystem::create_symlink(dir_ / "nowhere", dangling);
    EXPECT_EQ(countRows(dangling.string(), "SELECT * FROM urls;"), (CountPair{}));
    EXPECT_FALSE(std::filesystem::exists(dir_ / "nowhere"));
}

TEST_F(CountRowsTest, AFolderCountsAsMissing) {
    std::filesystem::create_directory(dir_ / "Folder");
    EXPECT_EQ(countRows((dir_ / "Folder").string(), "SELECT 1;"), (CountPair{}));
}

TEST_F(CountRowsTest, AGarbageFileCountsNothing) {
    test::writeFile(dir_ / "Garbage", "SQLite format 3 but not really");
    EXPECT_EQ(countRows((dir_ / "Garbage").string(), "SELECT * FROM urls;"), (CountPair{}));
}

// ---- sqlQuote ----

TEST(SqlQuote, DoublesSingleQuotes) {
    EXPECT_EQ(sqlQuote("it's"), "it''s");
    EXPECT_EQ(sqlQuote("plain"), "plain");
    EXPECT_EQ(sqlQuote(""), "");
    EXPECT_EQ(sqlQuote("''"), "''''");
    EXPECT_EQ(sqlQuote("\"double\""), "\"double\"");
}

TEST(SqlQuote, AQuotedValueMatchesItselfAndInjectsNothing) {
    TempDir dir;
    const auto file = dir / "Cookies";
    execSql(file, "CREATE TABLE cookies(host TEXT);"
                  "INSERT INTO cookies VALUES('it''s.example'),('other.example');");
    const std::string hostile = "x' OR '1'='1";
    EXPECT_EQ(
        countRows(file.string(), "SELECT * FROM cookies WHERE host = '" + sqlQuote(hostile) + "';"),
        (CountPair{}));
    EXPECT_EQ(countRows(file.string(),
                        "SELECT * FROM cookies WHERE host = '" + sqlQuote("it's.example") + "';"),
              (CountPair{1, 12}));
}

} // namespace
} // namespace tpc::browsers
