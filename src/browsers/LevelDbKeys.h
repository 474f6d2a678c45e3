#pragma once
// Keys of the LevelDB databases of the Chromium family, edited through LevelDB itself. Local
// Storage (<profile>/Local Storage/leveldb) is one database that every site shares. Its keys are
// "VERSION", "META:<origin>", "METAACCESS:<origin>" and "_<origin>\0<script key>"; only the last
// three belong to a site, and only when the origin is an http or https one. Any other key is left
// as it is.

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace tpc::browsers {

// What the per-site part of a Local Storage database holds for the hosts not kept.
struct LevelDbMeasure {
    std::int64_t keys = 0;
    std::int64_t bytes = 0; // key size + value size of each
    bool readable = false;  // the database could be opened and read through
};

// The host of an http or https origin ("http://127.0.0.1:8080" gives "127.0.0.1", an IPv6 host
// keeps its brackets: "[::1]"); a partitioned storage key ("https://a.com/^0https://b.com") gives
// its own origin's host. nullopt for any other scheme or anything that is no origin.
std::optional<std::string> webOriginHost(std::string_view origin);

// Which keys of a LevelDB database go.
using LevelDbKeyFilter = std::function<bool(std::string_view key)>;

// The per-site keys of a Local Storage database whose host is not kept.
LevelDbKeyFilter localStorageKeysNotKept(std::function<bool(const std::string& host)> kept);

// The keys that removeLevelDbKeys would delete, and their size, read from a copy of the
// database: a scan never changes the browser's files, and still reads a database it holds.
LevelDbMeasure measureLevelDbKeys(const std::filesystem::path& db, const LevelDbKeyFilter& goes);

// Deletes, in one write batch, every key that goes, then compacts the database so that the
// removed values are gone from its files. False with `error` set when the database cannot be
// opened (a missing one is never created; one the running browser holds is locked) or the write
// fails: then nothing was changed.
bool removeLevelDbKeys(const std::filesystem::path& db, const LevelDbKeyFilter& goes,
                       std::string* error);

} // namespace tpc::browsers
