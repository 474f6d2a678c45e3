// The per-site keys of a Chromium Local Storage database: which origins count as sites, what a
// clean would remove, and that removing leaves everything else byte for byte, or changes nothing
// at all when the database cannot be opened.

#include "browsers/LevelDbKeys.h"
#include "ChromeHarness.h"
#include "browsers/ItemRunner.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>
#include <leveldb/db.h>
#include <leveldb/write_batch.h>

#include <map>
#include <memory>

namespace tpc::browsers {
namespace {

namespace fs = std::filesystem;
using Entries = std::map<std::string, std::string>;
using namespace std::string_literals;

bool keepsLocalhost(const std::string& host) {
    return host == "127.0.0.1";
}

std::unique_ptr<leveldb::DB> openLdb(const fs::path& db, bool create) {
    leveldb::Options options;
    options.create_if_missing = create;
    leveldb::DB* raw = nullptr;
    const auto status = leveldb::DB::Open(options, db.string(), &raw);
    EXPECT_TRUE(status.ok()) << status.ToString();
    return std::unique_ptr<leveldb::DB>(raw);
}

Entries readAll(const fs::path& db) {
    Entries out;
    const auto handle = openLdb(db, false);
    if (!handle)
        return out;
    std::unique_ptr<leveldb::Iterator> it(handle->NewIterator(leveldb::ReadOptions()));
    for (it->SeekToFirst(); it->Valid(); it->Next())
        out[it->key().ToString()] = it->value().ToString();
    return out;
}

class LocalStorageKeysTest : public ::testing::Test {
protected:
    test::TempDir tmp;
    fs::path db = tmp / "Local Storage/leveldb";
    // The host kept (127.0.0.1) and the browser's own keys.
    Entries stays = {
        {"VERSION", "1"},
        {"META:http://127.0.0.1:8080", "\x08\x80\x01\x10\x2a"s},
        {"METAACCESS:http://127.0.0.1:8080", "\x08\x01"s},
        {"_http://127.0.0.1:8080\0\x01kept"s, "\x01value\0with nul"s},
        {"META:chrome-extension://abcdefgh", "\x08\x02"s},
        {"_chrome-extension://abcdefgh\0\x01settings"s, "\x01{}"s},
        {"_file://\0\x01local"s, "\x01x"s},
    };
    // The host not kept, in first-party and partitioned form.
    Entries goes = {
        {"META:https://example.com", "\x08\x90\x03"s},
        {"METAACCESS:https://example.com", "\x08\x03"s},
        {"_https://example.com\0\x01token"s, "\x01secret"s},
        {"_https://example.com\0\x00w\0i\0d\0e\0"s, "\x00u\0t\0f\0-\0\x31\0\x36\0"s},
        {"_https://example.com/^0https://other.org\0\x01tracker"s, "\x01id-42"s},
    };

    void build() {
        fs::create_directories(db.parent_path());
        const auto handle = openLdb(db, true);
        ASSERT_TRUE(handle);
        leveldb::WriteBatch batch;
        for (const auto& m : {stays, goes})
            for (const auto& [k, v] : m)
                batch.Put(k, v);
        ASSERT_TRUE(handle->Write(leveldb::WriteOptions(), &batch).ok());
    }
    Entries everything() const {
        Entries all = stays;
        all.insert(goes.begin(), goes.end());
        return all;
    }
};

TEST(WebOriginHostTest, ParsesWebOriginsOnly) {
    EXPECT_EQ(webOriginHost("http://127.0.0.1:8080"), "127.0.0.1");
    EXPECT_EQ(webOriginHost("https://example.com"), "example.com");
    EXPECT_EQ(webOriginHost("https://[::1]:8443"), "[::1]");
    EXPECT_EQ(webOriginHost("http://[fe80::1]"), "[fe80::1]");
    EXPECT_EQ(webOriginHost("https://a.example.com/^0https://b.org"), "a.example.com");
    EXPECT_EQ(webOriginHost("https://example.com/"), "example.com");

    EXPECT_EQ(webOriginHost("chrome-extension://abcdefgh"), std::nullopt);
    EXPECT_EQ(webOriginHost("file://"), std::nullopt);
    EXPECT_EQ(webOriginHost("ftp://example.com"), std::nullopt);
    EXPECT_EQ(webOriginHost("https://"), std::nullopt);
    EXPECT_EQ(webOriginHost("https://example.com:"), std::nullopt);
    EXPECT_EQ(webOriginHost("https://example.com:80x"), std::nullopt);
    EXPECT_EQ(webOriginHost("https://[::1"), std::nullopt);
    EXPECT_EQ(webOriginHost("https://[::1]x"), std::nullopt);
    EXPECT_EQ(webOriginHost("https://example.com/path"), std::nullopt);
    EXPECT_EQ(webOriginHost("example.com"), std::nullopt);
    EXPECT_EQ(webOriginHost(""), std::nullopt);
}

TEST_F(LocalStorageKeysTest, MeasuresAndRemovesOnlyTheHostsNotKept) {
    build();
    std::int64_t bytes = 0;
    for (const auto& [k, v] : goes)
        bytes += static_cast<std::int64_t>(k.size() + v.size());

    const auto m = measureLevelDbKeys(db, localStorageKeysNotKept(keepsLocalhost));
    EXPECT_TRUE(m.readable);
    EXPECT_EQ(m.keys, static_cast<std::int64_t>(goes.size()));
    EXPECT_EQ(m.bytes, bytes);

    std::string error;
    ASSERT_TRUE(removeLevelDbKeys(db, localStorageKeysNotKept(keepsLocalhost), &error)) << error;
    EXPECT_EQ(readAll(db), stays);

    const auto after = measureLevelDbKeys(db, localStorageKeysNotKept(keepsLocalhost));
    EXPECT_TRUE(after.readable);
    EXPECT_EQ(after.keys, 0);
    EXPECT_EQ(after.bytes, 0);
    // With nothing left to remove a second clean succeeds and changes nothing.
    ASSERT_TRUE(removeLevelDbKeys(db, localStorageKeysNotKept(keepsLocalhost), &error)) << error;
    EXPECT_EQ(readAll(db), stays);
}

TEST_F(LocalStorageKeysTest, KeepingEveryHostRemovesNothing) {
    build();
    const auto all = [](const std::string&) {
        return true;
    };
    EXPECT_EQ(measureLevelDbKeys(db, localStorageKeysNotKept(all)).keys, 0);
    std::string error;
    ASSERT_TRUE(removeLevelDbKeys(db, localStorageKeysNotKept(all), &error)) << error;
    EXPECT_EQ(readAll(db), everything());
}

TEST_F(LocalStorageKeysTest, MissingOrLinkedDatabaseIsNeitherReadNorCreated) {
    const auto m = measureLevelDbKeys(db, localStorageKeysNotKept(keepsLocalhost));
    EXPECT_FALSE(m.readable);
    EXPECT_EQ(m.keys, 0);
    std::string error;
    EXPECT_FALSE(removeLevelDbKeys(db, localStorageKeysNotKept(keepsLocalhost), &error));
    EXPECT_FALSE(error.empty());
    EXPECT_FALSE(fs::exists(fs::symlink_status(db)));

    // An empty folder holds no database: opening it must not make one.
    fs::create_directories(db);
    EXPECT_FALSE(measureLevelDbKeys(db, localStorageKeysNotKept(keepsLocalhost)).readable);
    EXPECT_FALSE(removeLevelDbKeys(db, localStorageKeysNotKept(keepsLocalhost), &error));
    EXPECT_TRUE(test::namesIn(db).empty());

    // A real database behind a link at the database's own name is not followed.
    fs::remove(db);
    EXPECT_TRUE(test::namesIn(db.parent_path()).empty());
    const auto real = tmp / "elsewhere";
    {
        const auto handle = openLdb(real, true);
        ASSERT_TRUE(handle);
        ASSERT_TRUE(handle->Put(leveldb::WriteOptions(), "META:https://example.com", "x").ok());
    }
    fs::create_directory_symlink(real, db);
    EXPECT_FALSE(measureLevelDbKeys(db, localStorageKeysNotKept(keepsLocalhost)).readable);
    EXPECT_FALSE(removeLevelDbKeys(db, localStorageKeysNotKept(keepsLocalhost), &error));
    EXPECT_EQ(readAll(real), (Entries{{"META:https://example.com", "x"}}));
}

TEST_F(LocalStorageKeysTest, DatabaseHeldByTheBrowserIsLeftAlone) {
    build();
    {
        const auto browser = openLdb(db, false); // holds the LOCK as a running browser does
        const auto files = test::namesIn(db);
        const auto log = test::readFile(db / "LOG");
        // A scan reads a copy, so it still counts what a clean would take.
        EXPECT_GT(measureLevelDbKeys(db, localStorageKeysNotKept(keepsLocalhost)).keys, 0);
        std::string error;
        EXPECT_FALSE(removeLevelDbKeys(db, localStorageKeysNotKept(keepsLocalhost), &error));
        EXPECT_NE(error.find("lock"), std::string::npos) << error;
        EXPECT_EQ(test::namesIn(db), files); // its LOG is not rotated either
        EXPECT_EQ(test::readFile(db / "LOG"), log);
    }
    EXPECT_EQ(readAll(db), everything());
}

// History on the linux layout takes the download records of the shared protobuf store and
// nothing else of it.
TEST(ChromiumDownloadRecordsTest, HistoryTakesTheDownloadRecordsOfTheSharedStore) {
    test::BrowserHarness h;
    const auto store = h.chromiumProfile() / "shared_proto_db";
    fs::create_directories(store.parent_path());
    {
        const auto handle = openLdb(store, true);
        leveldb::WriteBatch batch;
        batch.Put("21_download,5135b590", "http://gone.example/file.bin");
        batch.Put("37_DEFAULT_1001", "metrics");
        batch.Put("x_download,y", "not a record");
        ASSERT_TRUE(handle->Write(leveldb::WriteOptions(), &batch).ok());
    }
    ItemRunner chromium{h.env(), chromeFamilyDef(Browser::Chromium)};
    EXPECT_EQ(chromium.count("Internet History").value(),
              (CountPair{1, static_cast<std::int64_t>(20 + 28)}));
    chromium.remove("Internet History");
    EXPECT_EQ(readAll(store),
              (Entries{{"37_DEFAULT_1001", "metrics"}, {"x_download,y", "not a record"}}));
}

} // namespace
} // namespace tpc::browsers
