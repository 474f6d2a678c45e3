#pragma once
// Stores a running browser holds locked. A store SQLite answers busy or locked for was neither
// read nor changed: it is logged, naming the store, and remembered so the page's scan and clean
// can say which stores they could not reach instead of reporting them empty or cleaned.

#include <filesystem>
#include <mutex>
#include <string>
#include <vector>

namespace tpc::browsers {

struct CleanerEnv;

struct BusyStore {
    std::string browser; // "Chromium"
    std::string store;   // the store's file name: "History"
    bool operator==(const BusyStore&) const = default;
};

class BusyStores {
public:
    // Repeats are kept once.
    void add(const BusyStore& store);
    // What was added since the last call, in order; the list starts empty again.
    std::vector<BusyStore> take();

private:
    std::mutex mutex_;
    std::vector<BusyStore> stores_;
};

enum class StoreUse { Count, Clean };

// Whether busy stores are reported: the linux layout's items do; the macos layout keeps treating
// a locked store as one that has nothing to count or delete.
bool reportsBusyStores(const CleanerEnv& env);

// Logs "<browser> store in use, not counted: <path>" (or "not cleaned") and remembers the store
// in the environment's BusyStores, when busy stores are reported.
void noteBusyStore(const CleanerEnv& env, const std::string& browser,
                   const std::filesystem::path& store, StoreUse use);

} // namespace tpc::browsers
