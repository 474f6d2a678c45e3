#include "browsers/BrowserCleaners.h"

#include "browsers/BrowserCatalogue.h"
#include "browsers/ItemRunner.h"

namespace tpc::browsers {

const BrowserDef& browserDef(Browser browser) {
    switch (browser) {
    case Browser::Safari:
        return safariDef();
    case Browser::Firefox:
        return firefoxDef();
    case Browser::Opera:
        return operaDef();
    default:
        return chromeFamilyDef(browser);
    }
}

BrowserCleaners::BrowserCleaners(CleanerEnv env)
    : env_(env.platform, env.deleter, env.cookies, env.log, env.busy ? env.busy : &busy_) {
    for (const auto& listed : browserCatalogue(env.platform.layout())) {
        if (listed.browser == Browser::Safari && env.platform.layout() != platform::Layout::MacOS)
            continue;
        runners_.push_back(std::make_unique<ItemRunner>(env_, browserDef(listed.browser)));
        const auto* run = runners_.back().get();
        entries_.push_back({listed.name, listed.browser, run->def().list, listed.items,
                            [run](const std::string& d) { return run->count(d); },
                            [run](const std::string& d) { return run->remove(d); },
                            [run] {
                                run->refreshCookies();
                            }});
    }
}

BrowserCleaners::~BrowserCleaners() = default;

const ItemRunner* BrowserCleaners::runner(Browser browser) const {
    for (const auto& run : runners_)
        if (run->def().browser == browser)
            return run.get();
    return nullptr;
}

const BrowserEntry* BrowserCleaners::find(const std::string& name) const {
    for (const auto& e : entries_)
        if (e.name == name)
            return &e;
    return nullptr;
}

void BrowserCleaners::refreshAllCookieLists() {
    // The Chrome family shares Google Chrome's lists: refreshing both would leave only the last
    // one's hosts, so the lists follow the first Chrome-family browser that is installed (Google
    // Chrome when neither is).
    const BrowserEntry* chromeFamily = nullptr;
    for (const auto& e : entries_)
        if (e.cookieBrowser == CookieBrowser::Chrome && !chromeFamily &&
            env_.locations().browserInstalled(e.browser))
            chromeFamily = &e;
    if (!chromeFamily)
        chromeFamily = find("Google Chrome");
    for (const auto& e : entries_)
        if (e.cookieBrowser != CookieBrowser::Chrome || &e == chromeFamily)
            e.refreshCookies();
}

} // namespace tpc::browsers
