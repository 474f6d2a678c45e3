#pragma once
// Every browser cleaner, reachable by the browser's name and its items' "Description" texts, as
// the lists and the command line name them.

#include "browsers/BusyStores.h"
#include "browsers/CleanerEnv.h"
#include "browsers/CookieLists.h"
#include "browsers/sqlite/SQLite.h"
#include "platform/Platform.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tpc::browsers {

class ItemRunner;

// One browser as the catalogue sees it.
struct BrowserEntry {
    std::string name; // "Safari", "Firefox", "Google Chrome", "Chromium", "Opera", ...
    Browser browser;
    CookieBrowser cookieBrowser;
    std::vector<std::string> items; // sub item descriptions, in catalogue order
    // Count of an item; nullopt for the auto-quit item (and unknown names).
    std::function<std::optional<CountPair>(const std::string&)> countItem;
    // Delete operation of an item; false for an unknown name.
    std::function<bool(const std::string&)> deleteItem;
    // Rebuilds the browser's cookie delete list from its store.
    std::function<void()> refreshCookies;
};

class BrowserCleaners {
public:
    explicit BrowserCleaners(CleanerEnv env);
    ~BrowserCleaners();

    // In catalogue order. Safari is offered on the macos layout only, Chromium, Brave, Vivaldi and
    // Microsoft Edge on the linux layout only.
    const std::vector<BrowserEntry>& entries() const { return entries_; }
    // By name (case-sensitive, as the lists show it); nullptr when unknown.
    const BrowserEntry* find(const std::string& name) const;
    // The runner of a browser the layout offers; nullptr otherwise.
    const ItemRunner* runner(Browser browser) const;

    // Every browser's cookie delete list from its store (at start-up and after a clean).
    void refreshAllCookieLists();

    // The stores every cleaner found locked by a running browser.
    BusyStores& busyStores() { return *env_.busy; }

private:
    BusyStores busy_;
    CleanerEnv env_;
    std::vector<std::unique_ptr<ItemRunner>> runners_;
    std::vector<BrowserEntry> entries_;
};

} // namespace tpc::browsers
