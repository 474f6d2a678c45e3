#include "browsers/BrowserCatalogue.h"

#include "browsers/ItemRunner.h"

#include "core/Keys.h"
#include "core/SizeText.h"

namespace tpc::browsers {

namespace {

using platform::Layout;

std::vector<CatalogueEntry> catalogueOf(Layout layout, std::initializer_list<Browser> browsers) {
    std::vector<CatalogueEntry> entries;
    for (const auto browser : browsers) {
        const auto& def = browserDef(browser);
        entries.push_back({def.name, browser, static_cast<std::int64_t>(entries.size() + 1),
                           ItemRunner::descriptions(def, layout),
                           ItemRunner::scanOrder(def, layout), def.progressWeight});
    }
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
    static const auto mac = catalogueOf(
        Layout::MacOS, {Browser::Safari, Browser::Firefox, Browser::GoogleChrome, Browser::Opera});
    static const auto linux = catalogueOf(
        Layout::Linux, {Browser::Safari, Browser::Firefox, Browser::GoogleChrome, Browser::Chromium,
                        Browser::Brave, Browser::Vivaldi, Browser::MicrosoftEdge, Browser::Opera});
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
