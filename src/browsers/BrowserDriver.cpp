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
#include "core/WorkerProgress.h"
#include "platform/Platform.h"

#include <map>
#include <utility>

namespace tpc::browsers {

namespace {

using core::ArrayObj;
using core::ArrayRef;
using core::Category;
using core::determinateMessage;
using core::DictRef;
using core::incrementMessage;
using core::MainButton;
using core::preparingMessage;
using core::ProgressMessage;
using core::statusMessage;
using core::TaskKind;
using core::TaskSpec;
using core::totalsText;

constexpr std::uint32_t kNotFound = 4294967295u;

bool hasPrefixPath(const std::string& name, const std::string& root) {
    return name.size() > root.size() + 1 && name.compare(0, root.size(), root) == 0 &&
           name[root.size()] == '/';
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
}

std::vector<const CatalogueEntry*> BrowserDriver::installedBrowsers() const {
    std::vector<const CatalogueEntry*> out;
    for (const auto& entry : browserCatalogue(ctx_.platform.layout()))
        if (ctx_.platform.browserInstalled(entry.browser))
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
        arrayBrowserMainList_->append(makeBrowserRootRecord(*entry));
    selectMainRow(-1);
}

bool BrowserDriver::appendMissingBrowsers() {
    bool appended = false;
    for (const auto* entry : installedBrowsers()) {
        if (rootNamed(entry->name))
            continue;
        arrayBrowserMainList_->append(makeBrowserRootRecord(*entry));
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

// "Done..." at the maximum, then " " at 0, then the bar hidden.
void BrowserDriver::closeBar(std::uint64_t maximum) {
    ProgressMessage done;
    done.doubleValue = maximum;
    done.status = "Done...";
    progress(done);
    ProgressMessage blank;
    blank.doubleValue = 0;
    blank.status = " ";
    progress(blank);
    ProgressMessage hide;
    hide.hideUnhide = 0;
    progress(hide);
}

void BrowserDriver::progress(const ProgressMessage& message) {
    ctx_.mainThread.invoke([this, &message] {
        bar_.apply(message);
        ctx_.frontend.updateProgress(message);
    });
}

bool BrowserDriver::aborted(const TaskSpec& task) {
    // The sheet closes: the next task starts from a fresh bar. Noted before the abort handling
    // clears the flags, so a task started right after it sees the bar free.
    if (ctx_.flags.aborting(task.category, task.kind))
        ctx_.mainThread.invoke([this] { bar_ = core::ProgressState{}; });
    if (!runner_.preProcessAbort(task))
        return false;
    ctx_.mainThread.invoke([this] {
        bar_ = core::ProgressState{};
        ctx_.frontend.setSubtitle(MainButton::Browsers, std::string("Aborted"));
    });
    return true;
}

void BrowserDriver::scanBrowsers() {
    bool ownsBar = false;
    ctx_.mainThread.invoke([this, &ownsBar] { ownsBar = bar_.determinate && bar_.value == 0; });
    scan(scanTask_, ownsBar);
}

bool BrowserDriver::scan(const TaskSpec& task, bool ownsBar) {
    core::TaskFlags& flags = ctx_.flags;
    core::MainThread& main = ctx_.mainThread;
    core::Frontend& ui = ctx_.frontend;

    if (ownsBar)
        progress(preparingMessage());
    runner_.waitForOtherTasks(task);
    if (aborted(task))
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
        progress(determinateMessage(maximum, false));

    std::uint64_t totalCount = 0;
    std::uint64_t totalSize = 0;
    for (const auto* entry : browsers) {
        progress(statusMessage("Scanning " + entry->name + "..."));
        const BrowserEntry* ops = cleaners_.find(entry->name);
        std::map<std::string, CountPair> pairs;
        for (const auto& item : entry->scanOrder) {
            if (aborted(task))
                return false;
            CountPair pair;
            if (ops)
                if (auto counted = ops->countItem(item))
                    pair = *counted;
            pairs[item] = pair;
            progress(incrementMessage());
        }

        std::uint64_t browserSize = 0;
        for (const auto& [item, pair] : pairs) {
            if (pair.count > 0)
                totalCount += static_cast<std::uint64_t>(pair.count);
            browserSize += bytesOf(pair);
        }
        totalSize += browserSize;
        main.invoke([this, entry, &pairs, browserSize] {
            auto root = rootNamed(entry->name);
            if (!root)
                return;
            if (auto subs = core::subList(root))
                for (const auto& sub : subs->dicts()) {
                    const auto name = core::description(sub);
                    if (name == entry->autoQuitItem())
                        continue;
                    auto it = pairs.find(name);
                    core::setSize(sub, it == pairs.end() ? 0 : bytesOf(it->second));
                }
            core::setSize(root, browserSize);
        });
    }

    main.invoke([this] {
        if (cookies_.dict())
            cookies_.save();
    });
    if (ownsBar) {
        closeBar(maximum);
        main.invoke([this, &task, &ui, &flags, totalSize, totalCount] {
            ui.endProgressWindow();
            ui.stopAnimating();
            task.reenableUI();
            task.reloadLists();
            bar_ = core::ProgressState{};
            flags.setAbort(task.category, task.kind, false);
            flags.setRunning(task.category, task.kind, false);
            ui.updateTextFieldResult(totalsText(totalSize, totalCount));
        });
    }
    main.invoke([&ui, totalCount] {
        if (totalCount > 0)
            ui.setSubtitle(MainButton::Browsers,
                           "(" + std::to_string(totalCount) + " Items found)");
        else
            ui.setSubtitle(MainButton::Browsers, std::nullopt);
    });
    return true;
}

void BrowserDriver::cleanBrowsers() {
    const TaskSpec& task = cleanTask_;
    core::MainThread& main = ctx_.mainThread;
    core::Frontend& ui = ctx_.frontend;
    const auto layout = ctx_.platform.layout();

    progress(preparingMessage());
    runner_.waitForOtherTasks(task);
    if (aborted(task))
        return;

    // The marks as the page shows them; its controls stay disabled until the clean ends.
    std::uint64_t maximum = 0;
    std::vector<CleanPlan> plans;
    main.invoke([this, &maximum, &plans, layout] {
        maximum = cleanProgressMaximum();
        for (const auto& root : arrayBrowserMainList_->dicts()) {
            if (!core::isMarked(root))
                continue;
            CleanPlan plan;
            plan.browser = core::description(root);
            const auto* entry = findCatalogueEntry(layout, plan.browser);
            if (auto subs = core::subList(root))
                for (const auto& sub : subs->dicts()) {
                    if (!core::isMarked(sub))
                        continue;
                    const auto name = core::description(sub);
                    if (entry && name == entry->autoQuitItem())
                        plan.quit = true;
                    plan.items.push_back(name);
                }
            plans.push_back(std::move(plan));
        }
    });
    progress(determinateMessage(maximum, true));

    for (const auto& plan : plans) {
        progress(statusMessage("Cleaning " + plan.browser + "..."));
        const BrowserEntry* ops = cleaners_.find(plan.browser);
        const auto* entry = findCatalogueEntry(layout, plan.browser);
        // The browser quits first, so it does not write back what is deleted next.
        if (plan.quit && ops && entry)
            ops->deleteItem(entry->autoQuitItem());
        progress(incrementMessage());
        if (aborted(task))
            return;
        for (const auto& item : plan.items) {
            if (ops)
                ops->deleteItem(item);
            progress(incrementMessage());
            if (aborted(task))
                return;
        }
    }

    // The rescan shows what is left; the bar keeps moving towards the clean's maximum.
    if (!scan(task, false))
        return;

    closeBar(maximum);
    main.invoke([this, &ui] {
        if (cookies_.dict())
            cookies_.save();
        ui.setSubtitle(MainButton::Browsers, std::string("Cleaning Done"));
    });
    main.invoke([this, &task, &ui] {
        ui.endProgressWindow();
        ui.stopAnimating();
        task.reenableUI();
        task.reloadLists();
        bar_ = core::ProgressState{};
        // The abort flag first (it also clears abortCleaning), the running flag last.
        ctx_.flags.setAbort(task.category, task.kind, false);
        ctx_.flags.setRunning(task.category, task.kind, false);
    });
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
