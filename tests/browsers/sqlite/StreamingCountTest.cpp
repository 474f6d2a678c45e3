// Counting while stepping (SQLite::countRows) against collecting first (query + countPairOf): the
// same statement on the same store must give the same count pair, error code and columns.

#include "browsers/sqlite/Databases.h"
#include "browsers/sqlite/SQLite.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

namespace tpc::browsers {
namespace {

using test::execSql;
using test::TempDir;

// Every declared type the estimate tells apart, and a few it does not, each holding values of
// every storage class (the column affinities keep most of them as given).
constexpr const char* kMixedStore =
    "CREATE TABLE m(i INTEGER, l LONGVARCHAR, t TEXT, b BLOB, lower blob, v VARCHAR, r REAL, "
    "d DATETIME, n);"
    "INSERT INTO m VALUES(4294967296, 'x', 'héllo', X'00FF00', X'01', 'abc', 1.5, 'now', 7);"
    "INSERT INTO m VALUES(4294967297, NULL, NULL, NULL, NULL, NULL, NULL, NULL, NULL);"
    "INSERT INTO m VALUES(-1, 5, X'610062', '', 'q', 1, 2, 3, X'00');"
    "INSERT INTO m VALUES(1.5, 2.5, 12345, 'héllo😀', 42, 2.5, 'r', 'd', 'n');"
    "INSERT INTO m VALUES('  5000000000 s', X'00', '', 123, NULL, NULL, NULL, NULL, NULL);"
    "INSERT INTO m VALUES(X'3132', 'y', '日本', 4.25, 'z', 'v', 'r', 'd', 'n');"
    "INSERT INTO m VALUES('abc', 'z', -9223372036854775808, 9223372036854775807, 0, 0, 0, 0, 0);"
    "INSERT INTO m VALUES(1e20, 'w', 1e20, -0.5, NULL, NULL, NULL, NULL, NULL);";

class StreamingCountTest : public ::testing::Test {
protected:
    void SetUp() override { db_.setfilePath((dir_ / "Store").string()); }

    // Counts `sql` both ways, checks that everything a caller can see agrees, and answers the pair.
    CountPair bothWays(const std::string& sql) {
        SQLiteResult collected;
        db_.query(sql, collected);
        SQLiteResult columns;
        const CountPair streamed = db_.countRows(sql, &columns);
        EXPECT_EQ(streamed, countPairOf(collected)) << sql;
        EXPECT_EQ(db_.countRows(sql), streamed) << sql;
        EXPECT_EQ(columns.errorCode(), collected.errorCode()) << sql;
        EXPECT_EQ(columns.columnNames(), collected.columnNames()) << sql;
        EXPECT_EQ(columns.columnTypes(), collected.columnTypes()) << sql;
        EXPECT_EQ(columns.busy(), collected.busy()) << sql;
        EXPECT_TRUE(columns.rows().empty()) << sql;
        return streamed;
    }

    // The same after a prelude, against the batch that collects prelude and statement together.
    CountPair afterBothWays(const std::vector<std::string>& prelude, const std::string& sql) {
        auto batch = prelude;
        batch.push_back(sql);
        SQLiteResult collected;
        db_.queryMultiple(batch, collected);
        SQLiteResult columns;
        const CountPair streamed = db_.countRowsAfter(prelude, sql, &columns);
        EXPECT_EQ(streamed, countPairOf(collected)) << sql;
        EXPECT_EQ(columns.errorCode(), collected.errorCode()) << sql;
        EXPECT_EQ(columns.columnTypes(), collected.columnTypes()) << sql;
        EXPECT_TRUE(columns.rows().empty()) << sql;
        return streamed;
    }

    TempDir dir_;
    SQLite db_;
};

TEST_F(StreamingCountTest, EveryTypeAndStorageClassSizesAlike) {
    execSql(dir_ / "Store", kMixedStore);
    const CountPair pair = bothWays("SELECT * FROM m;");
    EXPECT_EQ(pair.count, 8);
    EXPECT_GT(pair.size, 100);
    // Column by column, so that one column's difference cannot hide behind another's.
    for (const char* column : {"i", "l", "t", "b", "lower", "v", "r", "d", "n"})
        bothWays(std::string("SELECT ") + column + " FROM m;");
}

TEST_F(StreamingCountTest, ExpressionColumnsReadAsTextOfTheirValue) {
    execSql(dir_ / "Store", kMixedStore);
    // No declared type: "TEXT", so integers, reals and blobs count their text length.
    EXPECT_EQ(bothWays("SELECT count(*), 12345, -7, 1.5, NULL, X'00FF', 'é' FROM m;"),
              (CountPair{1, 1 + 5 + 2 + 3 + 1 + 2 + 2}));
    bothWays("SELECT CAST(t AS BLOB), t || b, i * 2, i FROM m ORDER BY rowid DESC;");
}

TEST_F(StreamingCountTest, AUtf16StoreSizesAlike) {
    // Text is kept as UTF-16 here and converted for reading; both ways must convert alike.
    execSql(dir_ / "Store",
            std::string("PRAGMA encoding = 'UTF-16le';") + kMixedStore +
                "CREATE TABLE u(t TEXT, b BLOB); INSERT INTO u VALUES('日本😀', 'héllo');"
                "INSERT INTO u VALUES(X'6100620063', X'6100');");
    EXPECT_EQ(bothWays("SELECT * FROM m;").count, 8);
    bothWays("SELECT * FROM u;");
}

TEST_F(StreamingCountTest, FailuresAndEmptyAnswersAgree) {
    execSql(dir_ / "Store", kMixedStore);
    EXPECT_EQ(bothWays("SELECT * FROM missing;"), (CountPair{}));
    EXPECT_EQ(bothWays("SELECT nonsense FROM m;"), (CountPair{}));
    EXPECT_EQ(bothWays(""), (CountPair{}));
    EXPECT_EQ(bothWays("-- nothing but a comment"), (CountPair{}));
    EXPECT_EQ(bothWays("SELECT * FROM m WHERE 0;"), (CountPair{}));
    // Only the first statement runs.
    EXPECT_EQ(bothWays("SELECT 'ab'; DROP TABLE m;"), (CountPair{1, 2}));
    EXPECT_EQ(test::selectInteger(dir_ / "Store", "SELECT count(*) FROM m;"), 8);

    test::writeFile(dir_ / "Store", "SQLite format 3 but not really");
    EXPECT_EQ(bothWays("SELECT * FROM m;"), (CountPair{}));
}

TEST_F(StreamingCountTest, AMissingStoreFailsToOpenAndIsNotCreated) {
    SQLiteResult columns;
    EXPECT_EQ(db_.countRows("SELECT 1;", &columns), (CountPair{}));
    EXPECT_EQ(columns.errorCode(), kSQLiteOpenFailed);
    EXPECT_EQ(bothWays("SELECT 1;"), (CountPair{}));
    EXPECT_FALSE(std::filesystem::exists(dir_ / "Store"));
}

TEST_F(StreamingCountTest, AStatementThatWouldWriteIsNotRun) {
    execSql(dir_ / "Store", kMixedStore);
    SQLiteResult columns;
    EXPECT_EQ(db_.countRows("DELETE FROM m RETURNING i;", &columns), (CountPair{}));
    EXPECT_EQ(columns.errorCode(), kSQLiteStatementFailed);
    EXPECT_EQ(db_.countRows("UPDATE m SET t = NULL;"), (CountPair{}));
    EXPECT_EQ(test::selectInteger(dir_ / "Store", "SELECT count(*) FROM m WHERE t IS NULL;"), 1);
    EXPECT_EQ(test::selectInteger(dir_ / "Store", "SELECT count(*) FROM m;"), 8);
}

TEST_F(StreamingCountTest, AfterAPreludeColumnsAreReadAsTextAsInABatch) {
    execSql(dir_ / "Store", kMixedStore);
    execSql(dir_ / "Other", "CREATE TABLE o(b BLOB, t TEXT);"
                            "INSERT INTO o VALUES('héllo😀', X'00'), (NULL, 5), (X'41', 'é');");
    const std::vector<std::string> attach = {"ATTACH DATABASE '" +
                                             sqlQuote((dir_ / "Other").string()) + "' AS other"};
    // Read as text, the first BLOB cell is 7 UTF-16 units (10 bytes read as a blob).
    EXPECT_EQ(afterBothWays(attach, "SELECT b FROM other.o;"), (CountPair{3, 7 + 1 + 1}));
    SQLite other;
    other.setfilePath((dir_ / "Other").string());
    EXPECT_EQ(other.countRows("SELECT b FROM o;"), (CountPair{3, 10 + 0 + 1}));
    afterBothWays(attach, "SELECT * FROM m, other.o;");
    EXPECT_EQ(afterBothWays(attach, "SELECT * FROM missing;"), (CountPair{}));
    // The prelude's own rows count too; an earlier failure is overwritten by a later success.
    EXPECT_GT(afterBothWays({"SELECT 'abc'", "SELECT * FROM missing"}, "SELECT b FROM m;").count,
              8);
    // Without a prelude it is a single query: blobs are read as bytes.
    EXPECT_EQ(db_.countRowsAfter({}, "SELECT * FROM m;"), bothWays("SELECT * FROM m;"));
}

TEST_F(StreamingCountTest, TheSizeWrapsIn32BitsWithoutKeepingRows) {
    // 10,000,000 characters of text read 215 times: 2,150,000,000 is past 2^31 and reads back as
    // a negative signed 32-bit number (a wider sum would stay positive). Collecting these rows
    // would take gigabytes; counting keeps none of them. Large pages keep the reads few.
    execSql(dir_ / "Store",
            "PRAGMA page_size = 65536;"
            "CREATE TABLE big(t TEXT); INSERT INTO big VALUES(hex(zeroblob(5000000)));");
    EXPECT_EQ(db_.countRows("WITH RECURSIVE r(k) AS (SELECT 1 UNION ALL SELECT k + 1 FROM r "
                            "WHERE k < 215) SELECT big.t FROM r, big;"),
              (CountPair{215, 2'150'000'000LL - 4'294'967'296LL}));
}

} // namespace
} // namespace tpc::browsers
