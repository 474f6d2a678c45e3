// The Firefox history item on "places.sqlite": visits, the pages they lead to and the hosts go,
// except the place rows of bookmarked pages and the hosts those pages are on.

#include "browsers/firefox/FirefoxCleaner.h"
#include "browsers/firefox/FirefoxHistory.h"

namespace tpc::browsers {

CountPair FirefoxCleaner::countFirefoxInternetHistory() {
    if (currentLayout() && placesHaveOrigins())
        return countCurrentHistory();
    auto path = store("places.sqlite");
    if (!path)
        return {};
    auto tables = firefox::readPlacesTables(path->string());
    if (tables.allFailed())
        return {};
    return firefox::planFirefoxHistory(tables).count;
}

void FirefoxCleaner::deleteFirefoxInternetHistory() {
    if (currentLayout() && placesHaveOrigins())
        return deleteCurrentHistory();
    auto path = store("places.sqlite");
    if (!path)
        return;
    auto tables = firefox::readPlacesTables(path->string());
    if (tables.allFailed())
        return;
    auto plan = firefox::planFirefoxHistory(tables);
    if (!plan.hasVisits)
        return;

    SQLite db;
    db.setfileName("places.sqlite");
    db.setfilePath(path->string());
    // An empty batch runs nothing, so there is nothing to report for it.
    auto runBatch = [&](const std::vector<std::string>& batch) {
        if (batch.empty())
            return;
        SQLiteResult result;
        db.queryMultiple(batch, result);
        if (!result.ok())
            logFailedQuery(batch.back(), result.errorCode());
    };
    runBatch(plan.hostDeletes);
    {
        SQLiteResult result;
        db.query("DELETE FROM moz_inputhistory", result);
    }
    runBatch(plan.placeDeletes);
    {
        SQLiteResult result;
        db.query("DELETE FROM moz_historyvisits", result);
    }
}

} // namespace tpc::browsers
