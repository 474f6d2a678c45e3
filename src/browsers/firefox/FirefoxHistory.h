#pragma once
// The history work on "places.sqlite": which visits, places and hosts go, and how much they
// weigh. Pages that are bookmarked keep their place row and the host record of their host.

#include "browsers/sqlite/SQLite.h"

#include <string>
#include <vector>

namespace tpc::browsers::firefox {

// The five tables as read by one SELECT each ("SELECT * FROM <table>;").
struct PlacesTables {
    SQLiteResult visits;       // moz_historyvisits: column 2 is the place id
    SQLiteResult bookmarks;    // moz_bookmarks: column 2 is the bookmarked place id
    SQLiteResult hosts;        // moz_hosts: columns 0 id, 1 host, 4 prefix
    SQLiteResult places;       // moz_places: columns 0 id, 3 reversed host
    SQLiteResult inputHistory; // moz_inputhistory

    bool allFailed() const;
};

// Reads the five tables of the store at `path`.
PlacesTables readPlacesTables(const std::string& path);

struct HostRecord {
    std::string id;
    std::string host;
    std::string prefix; // "-" when NULL
    bool hostToKeep = false;
};

struct HistoryPlan {
    std::vector<HostRecord> hosts;
    // [visits, size of what goes].
    CountPair count;
    // "DELETE FROM moz_hosts WHERE id = N", one per host record not kept.
    std::vector<std::string> hostDeletes;
    // "DELETE FROM moz_places WHERE id = N", one per visit of a page that is not bookmarked
    // (a place with several visits appears once per visit).
    std::vector<std::string> placeDeletes;
    bool hasVisits = false;
};

HistoryPlan planFirefoxHistory(const PlacesTables& tables);

} // namespace tpc::browsers::firefox
