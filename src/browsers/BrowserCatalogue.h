#pragma once
// The browsers the Browsers page offers, in the order it lists them, with their items, the order
// in which the scan counts them and the weight each browser carries on the progress bar; and the
// check-box records built from them.

#include "browsers/BrowserLocations.h"
#include "core/Value.h"
#include "platform/Platform.h"

#include <cstdint>
#include <string>
#include <vector>

namespace tpc::browsers {

struct CatalogueEntry {
    std::string name; // "Safari", "Firefox", "Google Chrome", "Chromium", "Brave", ..., "Opera"
    Browser browser;
    // 1-based position in the catalogue ("Value For Default Sort" of the root).
    std::int64_t position = 0;
    // Sub item Descriptions in catalogue order, the auto-quit item last.
    std::vector<std::string> items;
    // The items the scan counts, in the order it counts them (the auto-quit item is not counted).
    std::vector<std::string> scanOrder;
    // What the browser adds to the scan's and the clean's progress maximum when installed.
    std::uint64_t progressWeight = 0;

    const std::string& autoQuitItem() const { return items.back(); }
};

// Safari, Firefox, Google Chrome and Opera; the linux layout adds Chromium, Brave, Vivaldi and
// Microsoft Edge right after Google Chrome (with Google Chrome's items and weight, and each its
// own auto-quit item: "Auto Quit Chromium", "Auto Quit Brave", ...).
const std::vector<CatalogueEntry>& browserCatalogue(platform::Layout layout);
// By name; nullptr when the layout's catalogue has no such browser.
const CatalogueEntry* findCatalogueEntry(platform::Layout layout, const std::string& name);

// A fresh root record: marked, size 0, "Default Sort", with "Path" "/Applications/<name>.app"
// and every sub item (also marked, size 0; the auto-quit item's size text is "-"), each sub item
// linked back to the root.
core::DictRef makeBrowserRootRecord(const CatalogueEntry& entry, const std::string& path);

} // namespace tpc::browsers
