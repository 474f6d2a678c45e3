#include "browsers/BrowserCatalogue.h"

#include "core/Keys.h"
#include "core/SizeText.h"

namespace tpc::browsers {

namespace {

using platform::Layout;

const std::vector<std::string> kChromeItems = {
    "Internet History", "Internet Cache", "Cookies",
    "Current Session",  "Current Tabs",   "Saved Form Information",
    "Saved Passwords",  "Last Session",   "Last Tabs",
    "Site Icons",       "Top Sites",      "Auto Quit Chrome"};

const std::vector<std::string> kChromeScanOrder = {
    "Cookies",         "Internet History", "Internet Cache",
    "Current Session", "Current Tabs",     "Saved Form Information",
    "Saved Passwords", "Last Session",     "Last Tabs",
    "Site Icons",      "Top Sites"};

CatalogueEntry safari() {
    return {
        "Safari",
        Browser::Safari,
        0,
        {"Internet History", "Internet Cache", "Cookies", "Download History", "Auto Quit Safari"},
        {"Cookies", "Internet History", "Internet Cache", "Download History"},
        5};
}

CatalogueEntry firefox() {
    return {"Firefox",
            Browser::Firefox,
            0,
            {"Internet History", "Internet Cache", "Cookies", "Download History",
             "Saved Form Information", "Saved Passwords", "Sessions", "Site Preferences",
             "Application Cache", "Auto Quit Firefox"},
            {"Cookies", "Internet History", "Download History", "Saved Form Information",
             "Saved Passwords", "Site Preferences", "Sessions", "Internet Cache",
             "Application Cache"},
            10};
}

CatalogueEntry googleChrome() {
    return {"Google Chrome", Browser::GoogleChrome, 0, kChromeItems, kChromeScanOrder, 12};
}

// Another Chrome-family browser: Google Chrome's items and weight, its own auto-quit item.
CatalogueEntry chromeFamily(const std::string& name, Browser browser) {
    CatalogueEntry e{name, browser, 0, kChromeItems, kChromeScanOrder, 12};
    e.items.back() = "Auto Quit " + name;
    return e;
}

CatalogueEntry opera() {
    // Opera weighs 9 on the progress bar although it has eleven items.
    return {"Opera",
            Browser::Opera,
            0,
            {"Internet History", "Internet Cache", "Cookies", "Download History",
             "Saved Form Information", "Saved Passwords", "Sessions", "Application Cache", "Stash",
             "Thumbnails", "Auto Quit Opera"},
            {"Cookies", "Internet History", "Download History", "Saved Form Information",
             "Saved Passwords", "Sessions", "Internet Cache", "Application Cache", "Stash",
             "Thumbnails"},
            9};
}

// The linux layout's row of a browser: "Site Storage" before the auto-quit item, counted last.
CatalogueEntry withSiteStorage(CatalogueEntry e) {
    e.items.insert(e.items.end() - 1, "Site Storage");
    e.scanOrder.push_back("Site Storage");
    return e;
}

std::vector<CatalogueEntry> numbered(std::vector<CatalogueEntry> entries) {
    std::int64_t position = 0;
    for (auto& e : entries)
        e.position = ++position;
    return entries;
}

core::DictRef makeRecord(const std::string& description, std::int64_t position) {
    auto rec = core::DictObj::make();
    rec->set(core::keys::DescriptionDictionary,
             core::DictObj::make({{core::keys::Description, description}}));
    rec->set(core::keys::Mark, 1);
    core::setSize(rec, 0);
    rec->set(core::keys::SortedByItem, core::keys::DefaultSort);
    rec->set(core::keys::ValueForDefaultSort, position);
    return rec;
}

} // namespace

const std::vector<CatalogueEntry>& browserCatalogue(Layout layout) {
    static const std::vector<CatalogueEntry> mac =
        numbered({safari(), firefox(), googleChrome(), opera()});
    static const std::vector<CatalogueEntry> linux = numbered(
        {safari(), withSiteStorage(firefox()), withSiteStorage(googleChrome()),
         withSiteStorage(chromeFamily("Chromium", Browser::Chromium)),
         withSiteStorage(chromeFamily("Brave", Browser::Brave)),
         withSiteStorage(chromeFamily("Vivaldi", Browser::Vivaldi)),
         withSiteStorage(chromeFamily("Microsoft Edge", Browser::MicrosoftEdge)), opera()});
    return layout == Layout::Linux ? linux : mac;
}

const CatalogueEntry* findCatalogueEntry(Layout layout, const std::string& name) {
    for (const auto& e : browserCatalogue(layout))
        if (e.name == name)
            return &e;
    return nullptr;
}

core::DictRef makeBrowserRootRecord(const CatalogueEntry& entry, const std::string& path) {
    auto root = makeRecord(entry.name, entry.position);
    root->getDict(core::keys::DescriptionDictionary)->set(core::keys::Path, path);
    root->set(core::keys::IsRootItem, true);

    auto subs = core::ArrayObj::make();
    std::int64_t position = 0;
    for (const auto& item : entry.items) {
        auto sub = makeRecord(item, ++position);
        if (item == entry.autoQuitItem())
            sub->set(core::keys::SizeFormattedString, "-");
        sub->parent = root;
        subs->append(sub);
    }
    root->set(core::keys::SubListArray, subs);
    return root;
}

} // namespace tpc::browsers
