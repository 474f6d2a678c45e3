#pragma once
// Counts and deletes a browser's items from its rows (ItemTable.h). Each step runs on every
// place of the browser that has its base, and the parts add up: sizes of 32-bit steps wrap as
// the stores' own counts do. A delete never reaches outside the step's paths; files and folders
// go through the deletion engine, store rows through SQL inside the store's own schema.

#include "browsers/ItemTable.h"

#include <optional>
#include <string>
#include <vector>

namespace tpc::browsers {

class ItemRunner {
public:
    ItemRunner(CleanerEnv env, const BrowserDef& def) : env_(env), def_(def) {}

    // The rows the layout lists, in catalogue order, the auto-quit row last.
    static std::vector<std::string> descriptions(const BrowserDef& def, platform::Layout layout);
    // The listed rows the scan counts, in the order it counts them.
    static std::vector<std::string> scanOrder(const BrowserDef& def, platform::Layout layout);

    // nullopt for an unknown name and for the auto-quit row.
    std::optional<CountPair> count(const std::string& description) const;
    // false for an unknown name.
    bool remove(const std::string& description) const;
    // Rebuilds the browser's cookie delete list from its stores.
    void refreshCookies() const;

    const BrowserDef& def() const { return def_; }

private:
    const ItemRow* find(const std::string& description) const;
    bool isQuit(const std::string& description) const;
    CountPair countStep(const Step& step, const Place& place) const;
    void removeStep(const Step& step, const Place& place) const;
    void removeCookies(const std::vector<Place>& places) const;

    CleanerEnv env_;
    const BrowserDef& def_;
};

// Helpers for the hand-written steps.
namespace items {
// Where the step starts on this place; empty when the place has no such part.
std::filesystem::path basePath(const Step& step, const Place& place);
// The step's `paths` resolved below the place (a '*' name expanded to the matching databases).
std::vector<std::filesystem::path> stepPaths(const Step& step, const Place& place);
// Each SELECT that answers adds its rows and cell sizes (32-bit sizes); [0, 0] when the store is
// not a regular file.
CountPair countSelects(const std::filesystem::path& store, const std::vector<std::string>& sqls);
// Runs the statements as one batch; answers the final code ("" when nothing ran).
std::string runBatch(const std::filesystem::path& store, const std::vector<std::string>& sqls);
// "SQLite failed query: <statement> errorCode: <code>".
std::string failedQueryLine(const std::string& statement, const std::string& code);
// 1 and the size of each entry that exists.
CountPair countEntries(const std::vector<std::filesystem::path>& paths);
// Hands the entries that exist to the deleter in one call.
void deleteEntries(const CleanerEnv& env, const std::vector<std::filesystem::path>& paths);
// The host cells of a store's cookie rows; `busy` set when the store is held locked.
std::vector<std::string> cookieHosts(const std::filesystem::path& store, const CookieStores& kind,
                                     bool* busy = nullptr);
} // namespace items

} // namespace tpc::browsers
