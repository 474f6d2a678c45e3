// The Chrome items on the macos layout keep the older stores' behaviour: fixed table lists with
// failure lines naming a batch's last statement (Top Sites' names the logins statement), search
// engines going with form data, and the session files of the profile itself.

#include "ChromeHarness.h"
#include "browsers/ItemRunner.h"

#include <gtest/gtest.h>

namespace tpc::browsers {
namespace {

namespace fs = std::filesystem;
using test::BrowserHarness;
using test::Db;

class ChromeMacosItemsTest : public ::testing::Test {
protected:
    BrowserHarness h{platform::Layout::MacOS};
    ItemRunner chrome{h.env(), chromeFamilyDef(Browser::GoogleChrome)};

    void SetUp() override { fs::create_directories(h.chromeProfile()); }
};

TEST_F(ChromeMacosItemsTest, TopSitesAndPasswordsFailuresNameTheLoginsStatement) {
    Db(h.chromeProfile() / "Top Sites").exec("CREATE TABLE top_sites (url TEXT);");
    Db(h.chromeProfile() / "Login Data").exec("CREATE TABLE stats (origin TEXT);");
    EXPECT_EQ(chrome.count("Top Sites").value(), CountPair{});
    chrome.remove("Top Sites");
    chrome.remove("Saved Passwords");
    const auto lines = h.failedQueryLines();
    ASSERT_EQ(lines.size(), 2u);
    for (const auto& line : lines)
        EXPECT_EQ(line.rfind("SQLite failed query: DELETE FROM logins; errorCode: ", 0), 0u)
            << line;
}

TEST_F(ChromeMacosItemsTest, FormDataTakesTheSearchEnginesAndHistoryItsFixedTables) {
    Db web(h.chromeProfile() / "Web Data");
    web.exec(test::schema::kWebData);
    web.exec("INSERT INTO keywords (id, short_name, keyword, favicon_url, url) "
             "VALUES (1, 'S', 's', '', 'https://s.example/?q={searchTerms}');");
    chrome.remove("Saved Form Information");
    EXPECT_EQ(web.rows("keywords"), 0);
    // Without one of its fixed tables the batch fails on its last statement, which is logged.
    web.exec("DROP TABLE web_intents_defaults;");
    chrome.remove("Saved Form Information");
    ASSERT_EQ(h.failedQueryLines().size(), 1u);
    EXPECT_EQ(h.failedQueryLines()[0].rfind(
                  "SQLite failed query: DELETE FROM web_intents_defaults; errorCode: ", 0),
              0u);

    Db history(h.chromeProfile() / "History");
    history.exec(test::schema::kHistory);
    history.exec("CREATE TABLE visited_links (id INTEGER);INSERT INTO visited_links VALUES (1);");
    chrome.remove("Internet History");
    EXPECT_EQ(history.rows("visited_links"), 1);
}

TEST_F(ChromeMacosItemsTest, SessionFilesAreTheProfilesOwn) {
    test::writeFile(h.chromeProfile() / "Current Session", "abc");
    test::writeFile(h.chromeProfile() / "Sessions/Session_13300000000000000", "abcd");
    EXPECT_EQ(chrome.count("Current Session").value(), (CountPair{1, 3}));
    chrome.remove("Current Session");
    EXPECT_FALSE(fs::exists(h.chromeProfile() / "Current Session"));
    EXPECT_TRUE(fs::exists(h.chromeProfile() / "Sessions/Session_13300000000000000"));
    EXPECT_EQ(chrome.count("Site Storage"), std::nullopt);
}

} // namespace
} // namespace tpc::browsers
