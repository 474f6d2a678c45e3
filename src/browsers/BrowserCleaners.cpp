#include "browsers/BrowserCleaners.h"

#include "browsers/BrowserCatalogue.h"
#include "browsers/ItemTable.h"

#include "browsers/chrome/ChromeCleaner.h"
#include "browsers/firefox/FirefoxCleaner.h"
#include "browsers/opera/OperaCleaner.h"
#include "browsers/safari/SafariCleaner.h"

namespace tpc::browsers {

namespace {

// Firefox's items and their operations, in catalogue order.
const ItemOperations<FirefoxCleaner> kFirefoxItems[] = {
    {"Internet History", &FirefoxCleaner::countFirefoxInternetHistory,
     &FirefoxCleaner::deleteFirefoxInternetHistory},
    {"Internet Cache", &FirefoxCleaner::countFirefoxInternetCaches,
     &FirefoxCleaner::deleteFirefoxInternetCaches},
    {"Cookies", &FirefoxCleaner::countFirefoxCookies, &FirefoxCleaner::deleteFirefoxCookies},
    {"Download History", &FirefoxCleaner::countFirefoxDownloadHistory,
     &FirefoxCleaner::deleteFirefoxDownloadHistory},
    {"Saved Form Information", &FirefoxCleaner::countFirefoxFormHistory,
     &FirefoxCleaner::deleteFirefoxFormHistory},
    {"Saved Passwords", &FirefoxCleaner::countFirefoxSignOns,
     &FirefoxCleaner::deleteFirefoxSignons},
    {"Sessions", &FirefoxCleaner::countFirefoxSessions, &FirefoxCleaner::deleteFirefoxSessions},
    {"Site Preferences", &FirefoxCleaner::countFirefoxSitePrefs,
     &FirefoxCleaner::deleteFirefoxSitePrefs},
    {"Application Cache", &FirefoxCleaner::countFirefoxAppCaches,
     &FirefoxCleaner::deleteFirefoxAppCaches},
    {"Auto Quit Firefox", nullptr, &FirefoxCleaner::quitFirefox},
};

// Rows only the linux layout's catalogue lists.
const ItemOperations<FirefoxCleaner> kFirefoxLinuxItems[] = {
    {"Site Storage", &FirefoxCleaner::countFirefoxSiteStorage,
     &FirefoxCleaner::deleteFirefoxSiteStorage},
};

const ItemTable<FirefoxCleaner> kFirefoxTable(kFirefoxItems, kFirefoxLinuxItems);

BrowserEntry chromeEntry(platform::Layout layout, const std::string& name, Browser browser,
                         ChromeCleaner& cleaner) {
    // The rows as the catalogue names them, so Chromium's auto-quit row is "Auto Quit Chromium"
    // here as in the scan's list.
    const auto* listed = findCatalogueEntry(layout, name);
    BrowserEntry e{name,
                   browser,
                   CookieBrowser::Chrome,
                   listed ? listed->items : ChromeCleaner::itemDescriptions(),
                   {},
                   {},
                   {}};
    e.countItem = [&cleaner](const std::string& d) {
        return cleaner.countItem(d);
    };
    e.deleteItem = [&cleaner](const std::string& d) {
        return cleaner.deleteItem(d);
    };
    e.refreshCookies = [&cleaner] {
        cleaner.refreshChromeCookiesList();
    };
    return e;
}

} // namespace

BrowserCleaners::BrowserCleaners(CleanerEnv env)
    : env_(env.platform, env.deleter, env.cookies, env.log, env.busy ? env.busy : &busy_),
      safari_(std::make_unique<SafariCleaner>(env_)),
      firefox_(std::make_unique<FirefoxCleaner>(env_)),
      chrome_(std::make_unique<ChromeCleaner>(env_, Browser::GoogleChrome)),
      chromium_(std::make_unique<ChromeCleaner>(env_, Browser::Chromium)),
      opera_(std::make_unique<OperaCleaner>(env_)) {
    if (env.platform.layout() == platform::Layout::MacOS) {
        BrowserEntry sf{"Safari",
                        Browser::Safari,
                        CookieBrowser::Safari,
                        SafariCleaner::itemDescriptions(),
                        {},
                        {},
                        {}};
        sf.countItem = [this](const std::string& d) {
            return safari_->countItem(d);
        };
        sf.deleteItem = [this](const std::string& d) {
            return safari_->deleteItem(d);
        };
        sf.refreshCookies = [this] {
            safari_->refreshSafariCookiesList();
        };
        entries_.push_back(std::move(sf));
    }

    BrowserEntry ff{"Firefox", Browser::Firefox, CookieBrowser::Firefox, {}, {}, {}, {}};
    const auto* listed = findCatalogueEntry(env.platform.layout(), "Firefox");
    ff.items = listed ? listed->items : kFirefoxTable.descriptions();
    // Every item runs over each profile in turn, the counts summed; the browser quits once.
    ff.countItem = [this](const std::string& d) {
        std::optional<CountPair> total;
        firefox_->forEachProfile([&] {
            auto part = kFirefoxTable.count(*firefox_, d);
            if (part && total)
                total = CountPair{total->count + part->count, total->size + part->size};
            else if (part)
                total = part;
        });
        return total;
    };
    ff.deleteItem = [this](const std::string& d) {
        const auto* item = kFirefoxTable.find(d);
        if (!item)
            return false;
        if (!item->count) // the auto-quit row
            return kFirefoxTable.remove(*firefox_, d);
        firefox_->forEachProfile([&] { kFirefoxTable.remove(*firefox_, d); });
        return true;
    };
    ff.refreshCookies = [this] {
        firefox_->refreshFirefoxCookiesList();
    };
    entries_.push_back(std::move(ff));

    const auto layout = env.platform.layout();
    entries_.push_back(chromeEntry(layout, "Google Chrome", Browser::GoogleChrome, *chrome_));
    if (layout == platform::Layout::Linux) {
        entries_.push_back(chromeEntry(layout, "Chromium", Browser::Chromium, *chromium_));
        for (const auto& [name, browser] :
             {std::pair{"Brave", Browser::Brave}, std::pair{"Vivaldi", Browser::Vivaldi},
              std::pair{"Microsoft Edge", Browser::MicrosoftEdge}}) {
            otherChromeFamily_.push_back(std::make_unique<ChromeCleaner>(env_, browser));
            entries_.push_back(chromeEntry(layout, name, browser, *otherChromeFamily_.back()));
        }
    }

    BrowserEntry op{
        "Opera", Browser::Opera, CookieBrowser::Opera, OperaCleaner::itemDescriptions(), {}, {},
        {}};
    op.countItem = [this](const std::string& d) {
        return opera_->countItem(d);
    };
    op.deleteItem = [this](const std::string& d) {
        return opera_->deleteItem(d);
    };
    op.refreshCookies = [this] {
        opera_->refreshOperaCookiesList();
    };
    entries_.push_back(std::move(op));
}

BrowserCleaners::~BrowserCleaners() = default;

ChromeCleaner* BrowserCleaners::chromeFamily(Browser browser) {
    if (browser == Browser::GoogleChrome)
        return chrome_.get();
    if (browser == Browser::Chromium)
        return chromium_.get();
    for (const auto& cleaner : otherChromeFamily_)
        if (cleaner->browser() == browser)
            return cleaner.get();
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
