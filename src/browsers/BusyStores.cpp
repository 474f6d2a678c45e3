#include "browsers/BusyStores.h"

#include "browsers/CleanerEnv.h"
#include "core/SystemLog.h"
#include "platform/Platform.h"

#include <algorithm>
#include <utility>

namespace tpc::browsers {

void BusyStores::add(const BusyStore& store) {
    std::lock_guard lock(mutex_);
    if (std::find(stores_.begin(), stores_.end(), store) == stores_.end())
        stores_.push_back(store);
}

std::vector<BusyStore> BusyStores::take() {
    std::lock_guard lock(mutex_);
    return std::exchange(stores_, {});
}

bool reportsBusyStores(const CleanerEnv& env) {
    return env.platform.layout() == platform::Layout::Linux;
}

void noteBusyStore(const CleanerEnv& env, const std::string& browser,
                   const std::filesystem::path& store, StoreUse use) {
    if (!reportsBusyStores(env))
        return;
    env.log.log(browser + " store in use, not " +
                (use == StoreUse::Count ? "counted: " : "cleaned: ") + store.string());
    if (env.busy)
        env.busy->add({browser, store.filename().string()});
}

} // namespace tpc::browsers
