// The saved session: counted by the byte pattern that opens each saved page, removed with its
// backup through the deletion engine.

#include "FirefoxHarness.h"

#include "browsers/firefox/FirefoxSessions.h"

#include <gtest/gtest.h>
#include <unistd.h>

namespace tpc::browsers::firefox::fxtest {
namespace {

const std::string kEntry = "{\"url\":\"";

TEST(FirefoxSessionPatternTest, CountsPositionsUpToTenBytesBeforeTheEnd) {
    EXPECT_EQ(countSessionEntries(""), 0);
    // Nine bytes: no position at all.
    EXPECT_EQ(countSessionEntries(kEntry + "x"), 0);
    // The last position looked at is size - 10.
    EXPECT_EQ(countSessionEntries(kEntry + "xy"), 1);
    EXPECT_EQ(countSessionEntries("a" + kEntry + "x"), 0);
    EXPECT_EQ(countSessionEntries("a" + kEntry + "xy"), 1);
    EXPECT_EQ(countSessionEntries(kEntry), 0);
    EXPECT_EQ(
        countSessionEntries("{\"windows\":[{\"tabs\":[" + kEntry + "a\"}," + kEntry + "b\"}]}]}"),
        2);
    // Raw bytes: other cases and spacing do not count.
    EXPECT_EQ(countSessionEntries("{\"URL\":\"abc\" {\"url\": \"abc\"}"), 0);
    std::string withNul = std::string("\0\0", 2) + kEntry + "abc";
    EXPECT_EQ(countSessionEntries(withNul), 1);
}

TEST(FirefoxSessionsTest, CountsEntriesAndReportsBothFiles) {
    Harness h;
    std::string session = "{\"windows\":[{\"tabs\":[" + kEntry + "a\"}," + kEntry + "b\"}]}]}";
    writeFile(h.store("sessionstore.js"), session);
    writeFile(h.store("sessionstore.bak"), std::string(100, 'x'));
    EXPECT_EQ(h.cleaner->count("Sessions").value(),
              (CountPair{2, static_cast<std::int64_t>(session.size()) + 100}));
}

TEST(FirefoxSessionsTest, ASessionWithoutEntriesReportsOnlyTheBackup) {
    Harness h;
    writeFile(h.store("sessionstore.bak"), std::string(30, 'x'));
    // Without "sessionstore.js" nothing counts, whatever the backup.
    EXPECT_EQ(h.cleaner->count("Sessions").value(), (CountPair{0, 0}));
    fs::remove(h.store("sessionstore.bak"));
    writeFile(h.store("sessionstore.js"), "{\"windows\":[]}");
    EXPECT_EQ(h.cleaner->count("Sessions").value(), (CountPair{0, 0}));
    writeFile(h.store("sessionstore.bak"), std::string(30, 'x'));
    EXPECT_EQ(h.cleaner->count("Sessions").value(), (CountPair{0, 30}));
}

TEST(FirefoxSessionsTest, AnUnreadableSessionIsLoggedAndCountsZero) {
    if (geteuid() == 0)
        GTEST_SKIP() << "permission bits do not stop root";
    Harness h;
    writeFile(h.store("sessionstore.js"), kEntry + "abcdef");
    fs::permissions(h.store("sessionstore.js"), fs::perms::none);
    EXPECT_EQ(h.cleaner->count("Sessions").value(), (CountPair{0, 0}));
    EXPECT_EQ(h.logLines("Error reading Firefox Sessions file").size(), 1u);
}

TEST(FirefoxSessionsTest, DeleteRemovesBothFilesAndOnlyThem) {
    Harness h;
    writeFile(h.store("sessionstore.js"), kEntry + "abcdef");
    // A backup that is a link goes as a link.
    writeFile(h.dir / "outside/keep.txt", "mine");
    fs::create_symlink(h.dir / "outside/keep.txt", h.store("sessionstore.bak"));
    writeFile(h.store("sessionstore.jsonlz4"), "current");
    h.cleaner->remove("Sessions");
    EXPECT_FALSE(fs::exists(h.store("sessionstore.js")));
    EXPECT_FALSE(fs::exists(fs::symlink_status(h.store("sessionstore.bak"))));
    EXPECT_EQ(readFile(h.dir / "outside/keep.txt"), "mine");
    EXPECT_TRUE(fs::exists(h.store("sessionstore.jsonlz4")));
    EXPECT_EQ(h.cleaner->count("Sessions").value(), (CountPair{0, 0}));
}

} // namespace
} // namespace tpc::browsers::firefox::fxtest
