#pragma once
// The browsers as data: where each keeps its things, its items in catalogue and scan order, and
// what each item does, step by step (store tables, files, folder trees, or a hand-written format
// reader). One runner (ItemRunner.h) counts and deletes every item from these rows.

#include "browsers/BrowserLocations.h"
#include "browsers/CleanerEnv.h"
#include "browsers/CookieLists.h"
#include "browsers/StoreTables.h"
#include "browsers/sqlite/SQLite.h"
#include "platform/Platform.h"

#include <cstdint>
#include <filesystem>
#include <initializer_list>
#include <string>
#include <vector>

namespace tpc::browsers {

// One place a browser keeps data in: a profile (or data folder) and the cache folder that goes
// with it. An empty path is a place without that part.
struct Place {
    std::filesystem::path profile;
    std::filesystem::path cache;
    // The web cache inside `cache`, its own item: the cache folder's contents leave it out.
    std::string webCache = {};
};

struct BrowserDef;

// What a hand-written step works on.
struct StepContext {
    const CleanerEnv& env;
    const BrowserDef& browser;
    const Place& place;
};

enum class StepKind {
    Tables,   // rows of a store's tables
    Files,    // single entries: each counts 1 and its size, and goes whole
    Contents, // a folder tree: counted entry by entry, its top-level entries go
    Folder,   // a folder tree counted the same way, the folder itself goes
    Cookies,  // the browser's cookie stores, host by host against the keep list
    Custom,   // a format reader
};

// How a Tables step runs its statements: "SELECT * FROM <table>[ WHERE ..];" to count, "DELETE
// FROM ...;" to empty.
enum class SqlMode {
    Quiet,      // every SELECT that answers adds; the deletes run in one batch, failures unlogged
    Logged,     // the same; a failing batch logs its last statement (or `logAs`)
    EachLogged, // deletes run one at a time, each failure logged
    Current,    // tables looked up first, a busy store reported (StoreTables.h)
};

// The web cache is `cache`/`webCache`.
enum class Base { Profile, Cache, WebCache };

struct Step {
    StepKind kind;
    Base base = Base::Profile;
    // Below the base: a store, a file or a folder ("" is the base itself). A Tables path ending
    // in '*' stands for every database file whose name starts so. Files: several names.
    std::vector<std::string> paths = {};
    // Tables: the rows counted and the rows deleted (none: the counted ones).
    std::vector<stores::TableRows> count = {};
    std::vector<stores::TableRows> remove = {};
    SqlMode sql = SqlMode::Logged;
    const char* logAs = nullptr;
    // A Tables step counted only when this store of the place is missing.
    const char* countUnless = nullptr;
    // Contents and Folder: top-level names left alone.
    std::vector<std::string> skip = {};
    bool counts = true;
    bool removes = true;
    // Sizes kept in unsigned 32 bits (false: whole).
    bool wrap = true;
    CountPair (*countFn)(const StepContext&) = nullptr;
    void (*removeFn)(const StepContext&) = nullptr;
};

enum class Layouts : std::uint8_t { Both, MacOS, Linux };

enum class Refresh {
    None,
    Always, // the browser's cookie delete list is rebuilt after the item is deleted
};

struct ItemRow {
    const char* description;
    Layouts layouts = Layouts::Both;
    // Position in the scan's order; -1: reachable by name, shown by no row.
    int scan = 0;
    std::vector<Step> steps = {};
    Refresh refresh = Refresh::None;
};

// The SQL cookie stores of a browser: their table and host column.
struct CookieStores {
    std::vector<std::string> files;
    const char* table = nullptr;
    const char* hostColumn = nullptr;
};

struct BrowserDef {
    const char* name;
    Browser browser;
    CookieBrowser list;
    const char* bundleIdentifier;
    // "Auto Quit <quitName>" is the last row.
    const char* quitName;
    std::uint64_t progressWeight;
    std::vector<ItemRow> rows;
    std::vector<Place> (*places)(const CleanerEnv& env, Browser browser);
    CookieStores cookies = {};
    // Rebuilds the cookie delete list (nullptr: from the SQL cookie stores).
    void (*refreshFn)(const CleanerEnv& env, const BrowserDef& def) = nullptr;
};

// Builders of the rows' steps.
namespace steps {
std::vector<stores::TableRows> tables(std::initializer_list<const char*> names);
// Rows of `stores` counted and (`remove`, else the same) emptied.
Step sql(std::vector<std::string> stores, std::vector<stores::TableRows> count, SqlMode mode,
         std::vector<stores::TableRows> remove = {}, const char* logAs = nullptr);
Step files(std::vector<std::string> names, bool counts = true);
Step tree(StepKind kind, Base base, std::string path, std::vector<std::string> skip = {},
          bool wrap = true);
Step cookies(SqlMode mode);
// A format reader: `count` (none: counts nothing) and `remove` (none: removes nothing).
Step custom(CountPair (*count)(const StepContext&), void (*remove)(const StepContext&),
            Base base = Base::Profile);
} // namespace steps

// The definitions, in catalogue order (Safari, Firefox, the Chrome family, Opera).
const BrowserDef& safariDef();
const BrowserDef& firefoxDef();
const BrowserDef& chromeFamilyDef(Browser browser);
const BrowserDef& operaDef();
// The linux layout's steps of the Chrome family's rows, for the browsers built on its stores.
std::vector<Step> chromeFamilySteps(std::initializer_list<const char*> descriptions);
// Any of the above by browser.
const BrowserDef& browserDef(Browser browser);

// Sizes added in unsigned 32 bits and read as signed 32.
inline CountPair add32(const CountPair& a, const CountPair& b) {
    const auto size = static_cast<std::uint32_t>(a.size) + static_cast<std::uint32_t>(b.size);
    return {a.count + b.count, static_cast<std::int32_t>(size)};
}

} // namespace tpc::browsers
