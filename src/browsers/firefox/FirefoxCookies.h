#pragma once
// The statements of a Firefox cookie clean: one DELETE per cookie whose host is not kept.

#include "browsers/sqlite/SQLite.h"

#include <functional>
#include <string>
#include <vector>

namespace tpc::browsers::firefox {

struct CookieDeletes {
    // "DELETE FROM moz_cookies WHERE host='<host>'", the host's quotes doubled; a host with
    // several cookies gives the same statement several times.
    std::vector<std::string> statements;
    // The domains (leading dots stripped) whose cookies go, in row order, repeats included.
    std::vector<std::string> domains;
};

// From the rows of "SELECT * FROM moz_cookies;": every row whose "host", without its leading
// dots, is not kept. Nothing when the result has no "host" column.
CookieDeletes firefoxCookieDeletes(const SQLiteResult& cookies,
                                   const std::function<bool(const std::string&)>& kept);

// The "host" cells of a moz_cookies result, as stored (none without that column).
std::vector<std::string> firefoxCookieHosts(const SQLiteResult& cookies);

} // namespace tpc::browsers::firefox
