#include "browsers/firefox/FirefoxHistory.h"

#include <algorithm>
#include <cstddef>
#include <unordered_map>
#include <unordered_set>

namespace tpc::browsers::firefox {

namespace {

// The estimated size of one row of `result` (each cell by its column's declared type).
std::uint32_t rowSize(const SQLiteResult& result, const SQLiteRow& row) {
    static const std::string noType;
    const auto& types = result.columnTypes();
    std::uint32_t size = 0;
    for (std::size_t i = 0; i < row.size(); ++i)
        size += static_cast<std::uint32_t>(
            determineSQLiteEntrySize(row[i], i < types.size() ? types[i] : noType));
    return size;
}

// Decimal integer text ("12", "-3"): the only kind of row id ever written into SQL text.
bool isIntegerText(const std::string& text) {
    const std::size_t start = !text.empty() && text[0] == '-' ? 1 : 0;
    return text.size() > start && text.size() <= 20 &&
           std::all_of(text.begin() + static_cast<std::ptrdiff_t>(start), text.end(),
                       [](char ch) { return ch >= '0' && ch <= '9'; });
}

} // namespace

namespace {

const std::string kMissing = "-";

// The text of cell `column` of `row`, "-" when the row is shorter.
const std::string& cellText(const SQLiteRow& row, std::size_t column) {
    return column < row.size() ? SQLiteResult::text(row[column]) : kMissing;
}

std::string stripLeadingDots(const std::string& text) {
    return text.substr(std::min(text.find_first_not_of('.'), text.size()));
}

// Maps each value of `column` to the first row holding it.
std::unordered_map<std::string, std::size_t> firstIndexes(const SQLiteResult& result,
                                                          std::size_t column) {
    std::unordered_map<std::string, std::size_t> indexes;
    for (std::size_t i = 0; i < result.rows().size(); ++i)
        indexes.try_emplace(cellText(result.rows()[i], column), i);
    return indexes;
}

std::vector<HostRecord> hostRecords(const SQLiteResult& hosts) {
    std::vector<HostRecord> records;
    for (const auto& row : hosts.rows())
        records.push_back({cellText(row, 0), cellText(row, 1), cellText(row, 4), false});
    return records;
}

// Marks the host record of every bookmarked page as kept. A host whose prefix is NULL reads
// "-" and so never matches: such hosts are never kept.
void protectBookmarkedHosts(const PlacesTables& tables,
                            const std::unordered_map<std::string, std::size_t>& placeIndex,
                            std::vector<HostRecord>& hosts) {
    std::unordered_map<std::string, std::size_t> hostIndex;
    for (std::size_t i = 0; i < hosts.size(); ++i)
        hostIndex.try_emplace(hosts[i].prefix + hosts[i].host, i);

    for (const auto& bookmark : tables.bookmarks.rows()) {
        const auto& placeId = cellText(bookmark, 2);
        if (placeId == kMissing)
            continue;
        auto place = placeIndex.find(placeId);
        if (place == placeIndex.end())
            continue;
        auto reversed = cellText(tables.places.rows()[place->second], 3);
        std::reverse(reversed.begin(), reversed.end());
        auto host = hostIndex.find(stripLeadingDots(reversed));
        if (host != hostIndex.end())
            hosts[host->second].hostToKeep = true;
    }
}

} // namespace

bool PlacesTables::allFailed() const {
    return !visits.ok() && !bookmarks.ok() && !hosts.ok() && !places.ok() && !inputHistory.ok();
}

PlacesTables readPlacesTables(const std::string& path) {
    SQLite db;
    db.setfileName("places.sqlite");
    db.setfilePath(path);
    PlacesTables tables;
    db.query("SELECT * FROM moz_historyvisits;", tables.visits);
    db.query("SELECT * FROM moz_bookmarks;", tables.bookmarks);
    db.query("SELECT * FROM moz_hosts;", tables.hosts);
    db.query("SELECT * FROM moz_places;", tables.places);
    db.query("SELECT * FROM moz_inputhistory;", tables.inputHistory);
    return tables;
}

HistoryPlan planFirefoxHistory(const PlacesTables& tables) {
    HistoryPlan plan;
    auto placeIndex = firstIndexes(tables.places, 0);
    std::unordered_set<std::string> bookmarked;
    for (const auto& row : tables.bookmarks.rows())
        bookmarked.insert(cellText(row, 2));

    plan.hosts = hostRecords(tables.hosts);
    protectBookmarkedHosts(tables, placeIndex, plan.hosts);

    std::uint32_t size = 0;
    for (std::size_t i = 0; i < plan.hosts.size(); ++i) {
        if (plan.hosts[i].hostToKeep)
            continue;
        size += rowSize(tables.hosts, tables.hosts.rows()[i]);
        // Ids are written into the statement, so only integer ids are ever taken.
        if (isIntegerText(plan.hosts[i].id))
            plan.hostDeletes.push_back("DELETE FROM moz_hosts WHERE id = " + plan.hosts[i].id);
    }
    for (const auto& row : tables.inputHistory.rows())
        size += rowSize(tables.inputHistory, row);
    for (const auto& visit : tables.visits.rows()) {
        size += rowSize(tables.visits, visit);
        const auto& placeId = cellText(visit, 2);
        if (bookmarked.contains(placeId))
            continue;
        auto place = placeIndex.find(placeId);
        if (place == placeIndex.end())
            continue;
        size += rowSize(tables.places, tables.places.rows()[place->second]);
        if (isIntegerText(placeId))
            plan.placeDeletes.push_back("DELETE FROM moz_places WHERE id = " + placeId);
    }

    plan.hasVisits = !tables.visits.rows().empty();
    plan.count = {static_cast<std::int64_t>(tables.visits.rows().size()),
                  static_cast<std::int32_t>(size)};
    return plan;
}

} // namespace tpc::browsers::firefox
