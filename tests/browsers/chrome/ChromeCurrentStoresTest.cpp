// The linux layout's Chrome-family items on today's stores: every table of a data kind emptied,
// what must stay (search engines, the stores' meta rows, site icons) kept, session files split
// into current and last, and a store the running browser holds locked reported, not taken for
// empty.

#include "ChromeHarness.h"
#include "browsers/BusyStores.h"
#include "browsers/ItemRunner.h"

#include <gtest/gtest.h>

namespace tpc::browsers {
namespace {

namespace fs = std::filesystem;
using test::BrowserHarness;
using test::Db;
using test::writeFile;

class ChromeCurrentStoresTest : public ::testing::Test {
protected:
    BrowserHarness h;
    BusyStores busy;
    CleanerEnv env = withBusy(h.env());
    ItemRunner chromium{env, chromeFamilyDef(Browser::Chromium)};

    CleanerEnv withBusy(CleanerEnv e) {
        e.busy = &busy;
        return e;
    }
    fs::path store(const std::string& name) const { return h.chromiumProfile() / name; }

    void fillHistory() {
        Db history(store("History"));
        history.exec(std::string(test::schema::kHistory) + test::schema::kHistoryCurrentTables);
        history.exec(
            "INSERT INTO meta VALUES('version','70');"
            "INSERT INTO urls VALUES(1,'https://a.example/','A',1,0,13300000000000000,0,0);"
            "INSERT INTO visits VALUES(1,1,13300000000000000,0,805306368,0,0,0);"
            "INSERT INTO visited_links VALUES(1,1,'https://a.example/','https://a.example/',"
            "1);"
            "INSERT INTO content_annotations(visit_id,annotation_flags,has_url_keyed_image)"
            " VALUES(1,0,0);"
            "INSERT INTO context_annotations(visit_id,context_annotation_flags) "
            "VALUES(1,0);");
        Db favicons(store("Favicons"));
        favicons.exec(test::schema::kFavicons);
        favicons.exec("INSERT INTO favicons VALUES(1,'https://a.example/favicon.ico',1);"
                      "INSERT INTO icon_mapping VALUES(1,'https://a.example/',1);");
        Db dips(store("DIPS"));
        dips.exec(test::schema::kDips);
        dips.exec("INSERT INTO bounces(site) VALUES('tracker.example');"
                  "INSERT INTO popups(opener_site,popup_site) VALUES('a.example','b.example');"
                  "INSERT INTO config VALUES('prepopulated',1);");
    }
};

TEST_F(ChromeCurrentStoresTest, HistoryLeavesNoVisitedPageInAnyStore) {
    fillHistory();
    // urls, visits, visited_links, both annotations, the icon mapping, a bounce and a popup.
    EXPECT_EQ(chromium.count("Internet History")->count, 8);

    chromium.remove("Internet History");
    Db history(store("History"));
    for (const auto* table :
         {"urls", "visits", "visited_links", "content_annotations", "context_annotations"})
        EXPECT_EQ(history.rows(table), 0) << table;
    EXPECT_EQ(history.rows("meta"), 1);
    Db favicons(store("Favicons"));
    EXPECT_EQ(favicons.rows("icon_mapping"), 0);
    EXPECT_EQ(favicons.rows("favicons"), 1);
    Db dips(store("DIPS"));
    EXPECT_EQ(dips.rows("bounces") + dips.rows("popups"), 0);
    EXPECT_EQ(dips.rows("config"), 1);
    EXPECT_EQ(chromium.count("Internet History")->count, 0);
    EXPECT_TRUE(h.log.lines().empty());
}

TEST_F(ChromeCurrentStoresTest, FormDataTakesAddressesAndKeepsTheSearchEngines) {
    Db web(store("Web Data"));
    web.exec(std::string(test::schema::kWebData) + test::schema::kWebDataAddresses);
    web.exec("INSERT INTO autofill VALUES('email','a@b.example','a@b.example',1,2);"
             "INSERT INTO addresses(guid) VALUES('g1');"
             "INSERT INTO address_type_tokens(guid,type,value) VALUES('g1',3,'Main Street 1');"
             "INSERT INTO keywords(id,short_name,keyword,favicon_url,url) VALUES(2,'Search',"
             "'s.example','','https://s.example/?q={searchTerms}');"
             "INSERT INTO token_service VALUES('sync',X'01');");
    EXPECT_EQ(chromium.count("Saved Form Information").value().count, 3);

    chromium.remove("Saved Form Information");
    EXPECT_EQ(web.rows("autofill") + web.rows("addresses") + web.rows("address_type_tokens"), 0);
    EXPECT_EQ(web.rows("keywords"), 1);
    EXPECT_EQ(web.rows("token_service"), 1);
}

TEST_F(ChromeCurrentStoresTest, PasswordsEmptyBothLoginStoresWithTheirStatistics) {
    for (const auto* name : {"Login Data", "Login Data For Account"}) {
        Db logins(store(name));
        logins.exec(std::string(test::schema::kLoginData) + test::schema::kLoginStats);
        logins.exec("INSERT INTO logins VALUES('https://a.example/','','user','me','pw',X'00',"
                    "'','https://a.example/',1,1,13300000000000000,0,0);"
                    "INSERT INTO stats VALUES('a.example','me',1,13300000000000000);");
    }
    EXPECT_EQ(chromium.count("Saved Passwords").value().count, 4);
    chromium.remove("Saved Passwords");
    for (const auto* name : {"Login Data", "Login Data For Account"}) {
        Db logins(store(name));
        EXPECT_EQ(logins.rows("logins") + logins.rows("stats"), 0) << name;
        EXPECT_EQ(logins.rows("meta"), 0) << name; // the table stays (-1 when missing)
    }
}

TEST_F(ChromeCurrentStoresTest, TheNewestSessionFileIsCurrentAndTheOthersAreLast) {
    writeFile(store("Sessions/Session_13300000000000001"), "old");
    writeFile(store("Sessions/Session_13300000000000002"), "newer");
    writeFile(store("Sessions/Tabs_13300000000000002"), "tabs");
    writeFile(store("Sessions_Encrypted/Session_13300000000000003"), "enc");
    EXPECT_EQ(chromium.count("Current Session").value(), (CountPair{2, 5 + 3}));
    EXPECT_EQ(chromium.count("Last Session").value(), (CountPair{1, 3}));
    EXPECT_EQ(chromium.count("Current Tabs").value(), (CountPair{1, 4}));
    EXPECT_EQ(chromium.count("Last Tabs").value(), CountPair{});

    chromium.remove("Last Session");
    EXPECT_FALSE(fs::exists(store("Sessions/Session_13300000000000001")));
    EXPECT_TRUE(fs::exists(store("Sessions/Session_13300000000000002")));
    chromium.remove("Current Session");
    chromium.remove("Current Tabs");
    EXPECT_TRUE(fs::is_empty(store("Sessions")));
    EXPECT_TRUE(fs::is_empty(store("Sessions_Encrypted")));
}

TEST_F(ChromeCurrentStoresTest, ALockedStoreIsReportedAndNeitherCountedNorCleaned) {
    fillHistory();
    Db holder(store("History"));
    holder.exec("BEGIN EXCLUSIVE; UPDATE meta SET value = '71';");

    EXPECT_EQ(chromium.count("Internet History")->count, 3); // the other two stores
    chromium.remove("Internet History");
    holder.exec("ROLLBACK;");

    const auto path = store("History").string();
    EXPECT_EQ(h.log.lines(),
              (std::vector<std::string>{"Chromium store in use, not counted: " + path,
                                        "Chromium store in use, not cleaned: " + path}));
    EXPECT_EQ(busy.take(), (std::vector<BusyStore>{{"Chromium", "History"}}));
    EXPECT_EQ(holder.rows("visited_links"), 1);
}

} // namespace
} // namespace tpc::browsers
