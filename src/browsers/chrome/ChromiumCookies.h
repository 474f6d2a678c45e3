#pragma once
// Cookies of a Chromium-family store: the table "cookies", its domain in the column "host_key".
// A clean deletes the cookies of every domain that is not on the browser's keep list, then
// rebuilds the delete list from what the store still holds.

#include "browsers/CleanerEnv.h"
#include "browsers/CookieLists.h"
#include "browsers/sqlite/SQLite.h"

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace tpc::browsers::chromium {

inline constexpr const char* kSelectCookies = "SELECT * FROM cookies;";
inline constexpr const char* kHostKeyColumn = "host_key";

// The cookie databases of a profile folder that exist: "Cookies", then "Network/Cookies".
std::vector<std::filesystem::path> cookieStores(const std::filesystem::path& folder);

// The "host_key" texts of a cookies result, one per row; none when the column is missing.
std::vector<std::string> cookieHosts(const SQLiteResult& cookies);

struct CookieBatch {
    // One "DELETE FROM cookies WHERE host_key='<host>'" per cookie whose domain is not kept (a
    // host with three cookies gives three statements), the host quoted.
    std::vector<std::string> statements;
    // The domains (leading dots stripped) whose cookies the batch deletes, in row order.
    std::vector<std::string> domains;
};
CookieBatch cookieDeleteBatch(const SQLiteResult& cookies,
                              const std::function<bool(const std::string&)>& kept);

// Rows and cell sizes of every store added up.
CountPair countCookies(const std::vector<std::filesystem::path>& stores);

// Rebuilds the `list` delete list from the hosts of every store (none when there is no store).
void refreshCookies(const CleanerEnv& env, CookieBrowser list,
                    const std::vector<std::filesystem::path>& stores);

// Deletes, store by store, the cookies not kept on `list`, then refreshes. When the keep lists
// could not be read this run nothing is deleted and the reason is logged, naming
// `browserName`.
void deleteCookies(const CleanerEnv& env, CookieBrowser list, const std::string& browserName,
                   const std::vector<std::filesystem::path>& stores);

} // namespace tpc::browsers::chromium
