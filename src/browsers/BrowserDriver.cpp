#include "browsers/BrowserDriver.h"

#include "browsers/BrowserCleaners.h"
#include "browsers/CookieLists.h"
#include "core/Frontend.h"
#include "core/Keys.h"
#include "core/MainThread.h"
#include "core/Record.h"
#include "core/SizeText.h"
#include "core/TaskFlags.h"
#include "core/TaskTexts.h"
#include "fs/Entries.h"
#include "platform/Platform.h"

#include <algorithm>
#include <utility>

namespace tpc::browsers {

namespace {

using core::ArrayObj;
using core::ArrayRef;
using core::Category;
using core::determinateMessage;
using core::DictRef;
using core::MainButton;
using core::RowSnapshot;
using core::SelectionTotals;
using core::TaskKind;
using core::totalsText;

constexpr std::uint32_t kNotFound = 4294967295u;

bool hasPrefixPath(const std::string& name, const std::string& root) {
    return name.size() > root.size() + 1 && name.compare(0, root.size(), root) == 0 &&
           name[root.size()] == '/';
}

SelectionTotals totalsOf(const std::map<std::string, CountPair>& counts);

// What the result line adds when stores were held by running browsers: the stores, and the
// auto-quit items that would free them. Empty when none was.
std::string busyStoresText(platform::Layout layout, const std::vector<BusyStore>& busy,
                           const std::string& notDone) {
    if (busy.empty())
        return "";
    std::string stores;
    std::vector<std::string> quits;
    for (const auto& b : busy) {
        stores += (stores.empty() ? "" : ", ") + b.browser + " " + b.store;
        const auto* entry = findCatalogueEntry(layout, b.browser);
        const auto quit = entry ? "\"" + entry->autoQuitItem() + "\"" : b.browser;
        if (std::find(quits.begin(), quits.end(), quit) == quits.end())
            quits.push_back(quit);
    }
    std::string offer;
    for (const auto& q : quits)
        offer += (offer.empty() ? "" : " and ") + q;
    return "In use by a running browser, " + notDone + ": " + stores + ". Quit it or mark " +
           offer + ", then try again.";
}

} // namespace

std::uint64_t bytesOf(const CountPair& pair) {
    if (pair.size >= 0)
        return static_cast<std::uint64_t>(pair.size);
    return static_cast<std::uint32_t>(pair.size);
}

BrowserDriver::BrowserDriver(core::Context& ctx, core::TaskRunner& runner,
                             BrowserCleaners& cleaners, CookieLists& cookies)
    : ctx_(ctx), runner_(runner), cleaners_(cleaners), cookies_(cookies),
      arrayBrowserMainList_(ArrayObj::make()), arrayBrowserSubList_(ArrayObj::make()) {
    scanTask_ = hookedTask(ctx_.frontend, TaskKind::Scan, "Browser", "reloadBrowserTableViews");
    cleanTask_ = hookedTask(ctx_.frontend, TaskKind::Clean, "Browser", "reloadBrowserTableViews");
    // The Browsers button tells of an abort of the page's own tasks.
    const auto showAborted = [&ui = ctx_.frontend] {
        ui.setSubtitle(MainButton::Browsers, std::string("Aborted"));
    };
    scanTask_.afterAbort = showAborted;
    cleanTask_.afterAbort = showAborted;
}

std::vector<const CatalogueEntry*> BrowserDriver::installedBrowsers() const {
    std::vector<const CatalogueEntry*> out;
    for (const auto& entry : browserCatalogue(ctx_.platform.layout()))
        if (BrowserLocations(ctx_.platform).browserInstalled(entry.browser))
            out.push_back(&entry);
    return out;
}

DictRef BrowserDriver::rootNamed(const std::string& name) const {
    for (const auto& root : arrayBrowserMainList_->dicts())
        if (core::description(root) == name)
            return root;
    return nullptr;
}

// ---- Catalogue ----

void BrowserDriver::populateBrowserData() {
    arrayBrowserMainList_->items.clear();
    for (const auto* entry : installedBrowsers())
        arrayBrowserMainList_->append(makeBrowserRootRecord(
            *entry, BrowserLocations(ctx_.platform).browserPath(entry->browser).string()));
    selectMainRow(-1);
}

bool BrowserDriver::appendMissingBrowsers() {
    bool appended = false;
    for (const auto* entry : installedBrowsers()) {
        if (rootNamed(entry->name))
            continue;
        arrayBrowserMainList_->append(makeBrowserRootRecord(
            *entry, BrowserLocations(ctx_.platform).browserPath(entry->browser).string()));
        appended = true;
    }
    return appended;
}

// ---- Buttons ----

void BrowserDriver::buttonScanClicked(core::Sender sender) {
    runner_.buttonClicked(scanTask_, sender, [this] { scanBrowsers(); });
}

void BrowserDriver::buttonCleanClicked(core::Sender sender) {
    runner_.buttonClicked(cleanTask_, sender, [this] { cleanBrowsers(); });
}

// ---- Workers ----

namespace {

SelectionTotals totalsOf(const std::map<std::string, CountPair>& counts) {
    SelectionTotals totals;
    for (const auto& [item, pair] : counts) {
        if (pair.count > 0)
            totals.count += static_cast<std::uint64_t>(pair.count);
        totals.bytes += bytesOf(pair);
    }
    return totals;
}

} // namespace

void BrowserDriver::scanBrowsers() {
    core::WorkerProgress progress(ctx_, runner_, scanTask_);
    scan(progress, true);
}

std::optional<BrowserDriver::Counts> BrowserDriver::countBrowser(const CatalogueEntry& entry,
                                                                 core::WorkerProgress& progress,
                                                                 bool stepBar) {
    const BrowserEntry* ops = cleaners_.find(entry.name);
    Counts counts;
    for (const auto& item : entry.scanOrder) {
        if (progress.aborted())
            return std::nullopt;
        CountPair pair;
        if (ops)
            if (auto counted = ops->countItem(item))
                pair = *counted;
        counts[item] = pair;
        if (stepBar)
            progress.increment();
    }
    return counts;
}

void BrowserDriver::storeCounts(const DictRef& root, const CatalogueEntry& entry,
                                const Counts& counts, std::uint64_t bytes) {
    if (!root)
        return;
    if (auto subs = core::subList(root))
        for (const auto& sub : subs->dicts()) {
            const auto name = core::description(sub);
            if (name == entry.autoQuitItem())
                continue;
            auto it = counts.find(name);
            core::setSize(sub, it == counts.end() ? 0 : bytesOf(it->second));
        }
    core::setSize(root, bytes);
}

bool BrowserDriver::scan(core::WorkerProgress& progress, bool ownsBar) {
    core::TaskFlags& flags = ctx_.flags;
    core::MainThread& main = ctx_.mainThread;
    core::Frontend& ui = ctx_.frontend;
    const core::TaskSpec& task = progress.task();

    if (ownsBar) {
        progress.prepare();
        cleaners_.busyStores().take();
    } else {
        runner_.waitForOtherTasks(task);
    }
    if (progress.aborted())
        return false;

    // A browser installed since the list was built joins it now.
    if (!flags.aborting(Category::Browsers, TaskKind::Scan) &&
        !flags.aborting(Category::Browsers, TaskKind::Clean)) {
        bool appended = false;
        main.invoke([this, &appended] { appended = appendMissingBrowsers(); });
        if (appended)
            main.invoke([&task] { task.reloadLists(); });
    }

    const auto browsers = installedBrowsers();
    std::uint64_t maximum = 0;
    for (const auto* entry : browsers)
        maximum += entry->progressWeight;
    if (ownsBar)
        progress.send(determinateMessage(maximum, false));

    SelectionTotals total;
    for (const auto* entry : browsers) {
        progress.status("Scanning " + entry->name + "...");
        const auto counts = countBrowser(*entry, progress, true);
        if (!counts)
            return false;
        const SelectionTotals found = totalsOf(*counts);
        total.count += found.count;
        total.bytes += found.bytes;
        main.invoke([this, entry, &counts, &found] {
            storeCounts(rootNamed(entry->name), *entry, *counts, found.bytes);
        });
    }

    main.invoke([this] {
        if (cookies_.dict())
            cookies_.save();
    });
    if (ownsBar) {
        // A store a running browser held was not counted: the result says so rather than
        // letting its items read as empty.
        const auto busy =
            busyStoresText(ctx_.platform.layout(), cleaners_.busyStores().take(), "not counted");
        progress.closeBar(maximum);
        progress.finish([&ui, &total, &busy] {
            ui.updateTextFieldResult(totalsText(total.bytes, total.count) +
                                     (busy.empty() ? "" : "\n" + busy));
        });
    }
    main.invoke([&ui, totalCount = total.count] {
        if (totalCount > 0)
            ui.setSubtitle(MainButton::Browsers,
                           "(" + std::to_string(totalCount) + " Items found)");
        else
            ui.setSubtitle(MainButton::Browsers, std::nullopt);
    });
    return true;
}

BrowserDriver::CleanPlan BrowserDriver::planFor(const std::string& browser,
                                                const std::vector<RowSnapshot>& items) const {
    CleanPlan plan;
    plan.browser = browser;
    const auto* entry = findCatalogueEntry(ctx_.platform.layout(), browser);
    for (const auto& item : items) {
        if (!item.marked)
            continue;
        const auto name = core::description(item.copy);
        if (entry && name == entry->autoQuitItem())
            plan.quit = true;
        plan.items.push_back(name);
    }
    // Today's session files tell the current session from the last ones only by being the
    // newest: the last ones go first, so the current one is not taken for one of them.
    if (ctx_.platform.layout() == platform::Layout::Linux)
        std::stable_partition(plan.items.begin(), plan.items.end(),
                              [](const std::string& item) { return item.starts_with("Last "); });
    return plan;
}

bool BrowserDriver::runPlan(const CleanPlan& plan, core::WorkerProgress& progress, bool stepBar) {
    const BrowserEntry* ops = cleaners_.find(plan.browser);
    const auto* entry = findCatalogueEntry(ctx_.platform.layout(), plan.browser);
    // The browser quits first, so it does not write back what is deleted next.
    if (plan.quit && ops && entry)
        ops->deleteItem(entry->autoQuitItem());
    if (stepBar)
        progress.increment();
    if (progress.aborted())
        return false;
    for (const auto& item : plan.items) {
        if (ops)
            ops->deleteItem(item);
        if (stepBar)
            progress.increment();
        if (progress.aborted())
            return false;
    }
    return true;
}

void BrowserDriver::cleanBrowsers() {
    core::WorkerProgress progress(ctx_, runner_, cleanTask_);
    core::MainThread& main = ctx_.mainThread;
    core::Frontend& ui = ctx_.frontend;

    progress.prepare();
    if (progress.aborted())
        return;

    // The marks as the page shows them; its controls stay disabled until the clean ends.
    std::uint64_t maximum = 0;
    std::vector<CleanPlan> plans;
    main.invoke([this, &maximum, &plans] {
        maximum = cleanProgressMaximum();
        for (const auto& root : arrayBrowserMainList_->dicts())
            if (core::isMarked(root))
                plans.push_back(
                    planFor(core::description(root), core::rowSnapshots(core::subList(root))));
    });
    progress.send(determinateMessage(maximum, true));

    cleaners_.busyStores().take();
    for (const auto& plan : plans) {
        progress.status("Cleaning " + plan.browser + "...");
        if (!runPlan(plan, progress, true))
            return;
    }
    // A store a running browser held was not cleaned: the clean does not claim it was.
    const auto busy =
        busyStoresText(ctx_.platform.layout(), cleaners_.busyStores().take(), "not cleaned");

    // The rescan shows what is left; the bar keeps moving towards the clean's maximum.
    if (!scan(progress, false))
        return;
    cleaners_.busyStores().take();

    progress.closeBar(maximum);
    main.invoke([this, &ui, &busy] {
        if (cookies_.dict())
            cookies_.save();
        ui.setSubtitle(MainButton::Browsers,
                       std::string(busy.empty() ? "Cleaning Done" : "Cleaning Incomplete"));
    });
    if (busy.empty())
        progress.finish();
    else
        progress.finish([&ui, &busy] { ui.updateTextFieldResult(busy); });
}

// ---- A preset's selection ----

bool BrowserDriver::drives(const std::string& description) const {
    return findCatalogueEntry(ctx_.platform.layout(), description) != nullptr;
}

std::optional<SelectionTotals> BrowserDriver::countSelection(const DictRef& record,
                                                             core::WorkerProgress& progress) {
    const auto selection = core::snapshotRecord(ctx_.mainThread, record);
    const auto* entry = findCatalogueEntry(ctx_.platform.layout(), selection.description);
    // A browser whose row's "Path" is gone (not installed) has nothing to measure.
    std::string installed;
    ctx_.mainThread.invoke([&record, &installed] { installed = core::path(record); });
    if (!entry || installed.empty() || !tpc::fs::entryExists(installed))
        return SelectionTotals{};
    const auto counts = countBrowser(*entry, progress, false);
    if (!counts)
        return std::nullopt;
    const SelectionTotals totals = totalsOf(*counts);
    ctx_.mainThread.invoke(
        [&record, entry, &counts, &totals] { storeCounts(record, *entry, *counts, totals.bytes); });
    return totals;
}

bool BrowserDriver::cleanSelection(const DictRef& record, core::WorkerProgress& progress) {
    const auto selection = core::snapshotRecord(ctx_.mainThread, record);
    if (!drives(selection.description))
        return true;
    return runPlan(planFor(selection.description, selection.children), progress, false);
}

// ---- Marking ----

std::vector<std::string> BrowserDriver::markOnly(const std::vector<std::string>& items) {
    for (const auto& root : arrayBrowserMainList_->dicts()) {
        core::setMark(root, false);
        core::markAll(core::subList(root), false);
    }
    std::vector<std::string> unknown;
    for (const auto& name : items) {
        bool found = false;
        for (const auto& root : arrayBrowserMainList_->dicts()) {
            const auto rootName = core::description(root);
            if (name == rootName) {
                core::setMark(root, true);
                found = true;
                continue;
            }
            if (!hasPrefixPath(name, rootName))
                continue;
            const auto itemName = name.substr(rootName.size() + 1);
            if (auto subs = core::subList(root))
                for (const auto& sub : subs->dicts())
                    if (core::description(sub) == itemName) {
                        core::setMark(sub, true);
                        core::setMark(root, true);
                        found = true;
                    }
        }
        if (!found)
            unknown.push_back(name);
    }
    scanTask_.reloadLists();
    return unknown;
}

void BrowserDriver::selectMainRow(int row) {
    const auto& rows = arrayBrowserMainList_->items;
    if (row >= 0 && static_cast<std::size_t>(row) < rows.size()) {
        if (auto subs = core::subList(rows[static_cast<std::size_t>(row)].dict())) {
            selectedMainRow_ = row;
            arrayBrowserSubList_ = subs;
            return;
        }
    }
    selectedMainRow_ = -1;
    arrayBrowserSubList_ = ArrayObj::make();
}

void BrowserDriver::browserMainListCheckBoxButtonClicked(core::CheckState shown) {
    markAllBrowserMainList(shown != core::CheckState::Off);
}

void BrowserDriver::browserSubListCheckBoxButtonClicked(core::CheckState shown) {
    markAllBrowserSubList(shown != core::CheckState::Off);
}

void BrowserDriver::setRowMark(int row, bool on) {
    const auto& rows = arrayBrowserMainList_->items;
    if (row < 0 || static_cast<std::size_t>(row) >= rows.size())
        return;
    if (auto root = rows[static_cast<std::size_t>(row)].dict()) {
        core::setMark(root, on);
        scanTask_.reloadLists();
    }
}

void BrowserDriver::markAllBrowserMainList(bool on) {
    core::markAll(arrayBrowserMainList_, on);
    scanTask_.reloadLists();
}

void BrowserDriver::markAllBrowserSubList(bool on) {
    if (selectedMainRow_ < 0)
        return;
    core::markAll(arrayBrowserSubList_, on);
    scanTask_.reloadLists();
}

core::CheckState BrowserDriver::reflectMarkStatusInBrowserMainList() const {
    return core::masterState(arrayBrowserMainList_);
}

core::CheckState BrowserDriver::reflectMarkStatusInBrowserSubList() const {
    return core::masterState(arrayBrowserSubList_);
}

bool BrowserDriver::enableOrDisableBrowserScanAndCleanButton() const {
    return core::countMarked(arrayBrowserMainList_) > 0;
}

// ---- Sorting ----

void BrowserDriver::browserMainListPopUpButtonClicked(core::SortChoice choice) {
    core::sortRows(arrayBrowserMainList_, choice, core::SortPolicy{true, true});
    selectMainRow(-1);
    scanTask_.reloadLists();
}

void BrowserDriver::browserSubListPopUpButtonClicked(core::SortChoice choice) {
    if (selectedMainRow_ < 0)
        return;
    core::sortRows(arrayBrowserSubList_, choice, core::SortPolicy{true, true});
    scanTask_.reloadLists();
}

core::SortChoice BrowserDriver::reflectPopUpButtonTitleInBrowsersMainList() const {
    return core::currentSort(arrayBrowserMainList_);
}

// ---- Progress arithmetic ----

std::uint64_t BrowserDriver::scanProgressMaximum() const {
    std::uint64_t maximum = 0;
    for (const auto* entry : installedBrowsers())
        maximum += entry->progressWeight;
    return maximum;
}

std::uint64_t BrowserDriver::cleanProgressMaximum() const {
    return scanProgressMaximum() + countMarkedInSubArrayOfArray(arrayBrowserMainList_);
}

std::uint32_t countMarkedInSubArrayOfArray(const ArrayRef& roots) {
    if (!roots)
        return 0;
    std::uint32_t n = 0;
    for (const auto& root : roots->dicts())
        n += static_cast<std::uint32_t>(core::countMarked(core::subList(root)));
    return n;
}

// ---- Lookup helpers ----

std::uint32_t indexOfUniqueObjectContainedInArray(const ArrayRef& array,
                                                  const std::string& object) {
    if (!array)
        return kNotFound;
    for (std::size_t i = 0; i < array->size(); ++i) {
        const auto* s = array->at(i).string();
        if (s && *s == object)
            return static_cast<std::uint32_t>(i);
    }
    return kNotFound;
}

std::uint32_t indexOfUniqueObjectContainedInDictArray(const ArrayRef& array, const std::string& key,
                                                      const std::string& object) {
    if (!array)
        return kNotFound;
    for (std::size_t i = 0; i < array->size(); ++i) {
        auto dict = array->at(i).dict();
        if (!dict)
            continue;
        const auto* s = dict->get(key).string();
        if (s && *s == object)
            return static_cast<std::uint32_t>(i);
    }
    return kNotFound;
}

std::uint32_t indexOfUniqueObjectContainedInDictArray(const ArrayRef& array,
                                                      const std::string& key1,
                                                      const std::string& key2,
                                                      const std::string& object) {
    if (!array)
        return kNotFound;
    for (std::size_t i = 0; i < array->size(); ++i) {
        auto dict = array->at(i).dict();
        if (!dict)
            continue;
        const auto* a = dict->get(key1).string();
        const auto* b = dict->get(key2).string();
        if (a && b && *a + *b == object)
            return static_cast<std::uint32_t>(i);
    }
    return kNotFound;
}

} // namespace tpc::browsers
