// Opera's folders: the web cache, the GPU cache, and quitting the browser.

#include "browsers/chrome/ChromiumFiles.h"
#include "browsers/opera/OperaCleaner.h"
#include "erase/Deleter.h"
#include "fs/Entries.h"
#include "platform/Platform.h"

namespace tpc::browsers {

using namespace chromium;

namespace {
constexpr const char* kGPUCache = "GPUCache";
} // namespace

CountPair OperaCleaner::countOperaInternetCaches() {
    return countFolderEntries(env_.locations().operaWebCache());
}

void OperaCleaner::deleteOperaInternetCaches() {
    auto cache = env_.locations().operaWebCache();
    if (tpc::fs::entryExists(cache))
        env_.deleter.deleteFiles({cache.string()});
}

CountPair OperaCleaner::countOperaAppCaches() {
    auto folder = dataFolder();
    if (!folder)
        return {};
    return countFolderEntries(*folder / kGPUCache);
}

void OperaCleaner::deleteOperaAppCaches() {
    auto folder = dataFolder();
    if (!folder)
        return;
    auto entries = topLevelEntries(*folder / kGPUCache);
    if (!entries.empty())
        env_.deleter.deleteFiles(entries);
}

void OperaCleaner::quitOpera() {
    env_.platform.runningApps().terminate("com.operasoftware.Opera");
}

} // namespace tpc::browsers
