#include "browsers/firefox/FirefoxCookies.h"

#include "browsers/CookieLists.h"

#include <algorithm>
#include <cstddef>
#include <optional>

namespace tpc::browsers::firefox {

namespace {

std::optional<std::size_t> hostColumn(const SQLiteResult& cookies) {
    const auto& names = cookies.columnNames();
    auto it = std::find(names.begin(), names.end(), "host");
    if (it == names.end())
        return std::nullopt;
    return static_cast<std::size_t>(it - names.begin());
}

} // namespace

std::vector<std::string> firefoxCookieHosts(const SQLiteResult& cookies) {
    std::vector<std::string> hosts;
    auto column = hostColumn(cookies);
    if (!column)
        return hosts;
    for (const auto& row : cookies.rows())
        if (*column < row.size())
            hosts.push_back(SQLiteResult::text(row[*column]));
    return hosts;
}

CookieDeletes firefoxCookieDeletes(const SQLiteResult& cookies,
                                   const std::function<bool(const std::string&)>& kept) {
    CookieDeletes deletes;
    for (const auto& host : firefoxCookieHosts(cookies)) {
        auto domain = CookieLists::stripLeadingDots(host);
        if (kept(domain))
            continue;
        deletes.statements.push_back("DELETE FROM moz_cookies WHERE host='" + sqlQuote(host) + "'");
        deletes.domains.push_back(domain);
    }
    return deletes;
}

} // namespace tpc::browsers::firefox
