#include "extensions/ExtensionsDriver.h"

#include "core/Frontend.h"
#include "core/Keys.h"
#include "core/MainThread.h"
#include "core/Record.h"
#include "core/SizeText.h"
#include "core/TaskFlags.h"
#include "core/TaskTexts.h"
#include "extensions/DiskSize.h"
#include "extensions/ExtensionCatalogue.h"
#include "extensions/ExtensionKeys.h"
#include "extensions/ExtensionRecords.h"
#include "fs/Folders.h"
#include "platform/Platform.h"

#include <filesystem>
#include <utility>

namespace tpc::extensions {

namespace {

using core::DictRef;
using core::MainButton;
using core::TaskKind;

// The folder entry the desktop's file manager leaves everywhere; never an add-on.
constexpr const char* kFinderInfoFile = ".DS_Store";
// Sorting by name starts A to Z, by size largest first.
constexpr core::SortPolicy kExtSortPolicy{true, false};

std::optional<std::string> extSubtitle(std::uint64_t count) {
    if (count == 0)
        return std::nullopt;
    return "(" + std::to_string(count) + " Items found)";
}

// A login item is shown by its application's name: the last component of its path without the
// extension ("/Applications/Foo.app" gives "Foo").
std::string loginItemName(std::string path) {
    while (path.size() > 1 && path.back() == '/')
        path.pop_back();
    const std::string last = std::filesystem::path(path).filename().string();
    const auto dot = last.rfind('.');
    return dot == std::string::npos || dot == 0 ? last : last.substr(0, dot);
}

bool isUnder(const std::string& name, const std::string& root) {
    return name.size() > root.size() + 1 && name.compare(0, root.size(), root) == 0 &&
           name[root.size()] == '/';
}

} // namespace

ExtensionsDriver::ExtensionsDriver(core::Context& ctx, core::TaskRunner& runner,
                                   erase::Deleter& deleter)
    : ctx_(ctx), runner_(runner), removal_(ctx.platform, deleter, ctx.log),
      arrayExtMainList_(core::ArrayObj::make()), arrayExtSubList_(core::ArrayObj::make()) {
    scanTask_ = hookedTask(ctx_.frontend, TaskKind::Scan, "Ext", "reloadExtTableViews");
    cleanTask_ = hookedTask(ctx_.frontend, TaskKind::Clean, "Ext", "reloadExtTableViews");
    // An aborted scan or clean says so on the result line.
    const auto showAborted = [&ui = ctx_.frontend] {
        ui.updateTextFieldResult(std::string("Aborted"));
    };
    scanTask_.afterAbort = showAborted;
    cleanTask_.afterAbort = showAborted;
}

void ExtensionsDriver::reload() {
    hook(ctx_.frontend, hooks.reloadLists, "reloadExtTableViews");
}

void ExtensionsDriver::emptyLists() {
    arrayExtMainList_->items.clear();
    selectMainRow(-1);
}

// ---- Buttons ----

void ExtensionsDriver::buttonScanClicked(core::Sender sender) {
    runner_.buttonClicked(scanTask_, sender, [this] { scanExtensions(); });
}

void ExtensionsDriver::buttonCleanClicked(core::Sender sender) {
    runner_.buttonClicked(cleanTask_, sender, [this] { cleanExtensions(); });
}

void ExtensionsDriver::extManagerPageOpened() {
    emptyLists();
    reload();
    ctx_.flags.setChangesMade(false);
    buttonScanClicked(core::Sender::Button);
}

// ---- The scan ----

void ExtensionsDriver::scanExtensions() {
    core::WorkerProgress progress(ctx_, runner_, scanTask_);
    scan(progress, true);
}

void ExtensionsDriver::appendRoot(const DictRef& root) {
    ctx_.mainThread.invoke([this, &root] {
        root->set(core::keys::ValueForDefaultSort,
                  static_cast<std::int64_t>(arrayExtMainList_->size() + 1));
        arrayExtMainList_->append(root);
    });
}

void ExtensionsDriver::appendItem(const DictRef& root, const std::string& name,
                                  const std::string& path, std::uint64_t size,
                                  bool sessionLoginItem, Totals& totals) {
    ctx_.mainThread.invoke([&] {
        const auto items = core::subList(root);
        if (!items)
            return;
        const auto position = static_cast<std::int64_t>(items->size() + 1);
        auto item = makeExtensionItem(name, path, size, position, sessionLoginItem);
        item->parent = root;
        items->append(item);
    });
    totals.count += 1;
    totals.bytes += size;
}

bool ExtensionsDriver::scanCategory(const CategorySource& source, core::WorkerProgress& progress,
                                    Totals& totals) {
    DictRef root;
    for (const auto& folder : source.folders) {
        std::vector<std::string> names;
        for (auto& name : tpc::fs::folderNamesFollowingLinks(folder))
            if (name != kFinderInfoFile)
                names.push_back(std::move(name));
        // A folder with nothing in it but the file manager's file does not bring the category.
        if (names.empty())
            continue;
        if (!root) {
            root = makeCategoryRoot(source, 0);
            appendRoot(root);
        }
        for (const auto& name : names) {
            if (progress.aborted())
                return false;
            const auto itemName = source.itemName ? source.itemName(folder, name) : std::nullopt;
            if (!itemName)
                continue;
            const std::filesystem::path path = folder / name;
            appendItem(root, *itemName, path.string(), onDiskSizeForPath(path, &ctx_.log), false,
                       totals);
        }
    }
    if (!root && source.alwaysListed) {
        root = makeCategoryRoot(source, 0);
        appendRoot(root);
    }
    if (root && source.sessionLoginItems) {
        // Read once; an item whose application cannot be found is not in the answer.
        for (const auto& path : ctx_.platform.loginItems().resolvedItemPaths()) {
            if (progress.aborted())
                return false;
            appendItem(root, loginItemName(path), path, 0, true, totals);
        }
    }
    if (root)
        ctx_.mainThread.invoke([&root] {
            std::uint64_t sum = 0;
            if (const auto items = core::subList(root))
                for (const auto& item : items->dicts())
                    sum += core::size(item);
            core::setSize(root, sum);
        });
    return true;
}

bool ExtensionsDriver::scan(core::WorkerProgress& progress, bool ownsBar) {
    // The lists are emptied at once; the page is told without waiting for it.
    ctx_.mainThread.post([this] {
        if (arrayExtMainList_->empty())
            return;
        emptyLists();
        reload();
    });
    if (ownsBar)
        progress.prepare();
    if (progress.aborted())
        return false;

    Totals totals;
    for (const auto& source : extensionCategories(ctx_.platform)) {
        if (!source.offered)
            continue;
        progress.status(source.progressText);
        if (!scanCategory(source, progress, totals))
            return false;
    }

    core::Frontend& ui = ctx_.frontend;
    const auto subtitle = [&ui, count = totals.count] {
        ui.setSubtitle(MainButton::Extensions, extSubtitle(count));
    };
    if (!ownsBar) {
        // The clean's rescan: the clean keeps the bar, the sheet and the result line.
        ctx_.mainThread.invoke([this, &subtitle] {
            subtitle();
            reload();
        });
        return true;
    }
    core::ProgressMessage stop;
    stop.startStopAnimation = 1;
    progress.send(stop);
    progress.send(core::determinateMessage(100, false));
    progress.closeBar(100);
    progress.finish([&ui, &subtitle, totals] {
        ui.updateTextFieldResult(core::totalsText(totals.bytes, totals.count));
        subtitle();
    });
    return true;
}

// ---- The clean ----

std::vector<ExtensionsDriver::CategoryPlan> ExtensionsDriver::cleanPlan() {
    std::vector<CategoryPlan> plan;
    ctx_.mainThread.invoke([this, &plan] {
        for (const auto& root : arrayExtMainList_->dicts()) {
            CategoryPlan category{core::description(root), core::isMarked(root), {}};
            if (const auto items = core::subList(root))
                for (const auto& item : items->dicts())
                    if (core::isMarked(item))
                        category.items.push_back(MarkedItem{
                            core::path(item), item->has(keys::HasTargetFileDeleteOption)});
            plan.push_back(std::move(category));
        }
    });
    return plan;
}

void ExtensionsDriver::cleanExtensions() {
    core::WorkerProgress progress(ctx_, runner_, cleanTask_);
    progress.prepare();
    if (progress.aborted())
        return;
    progress.status("Cleaning Extensions...");

    // The marks as the page shows them now; its controls stay disabled until the clean ends.
    for (const auto& category : cleanPlan()) {
        // Between categories only: a category once begun is removed to its end.
        if (progress.aborted())
            return;
        if (!category.marked)
            continue;
        progress.status("Cleaning " + category.title + "...");
        for (const auto& item : category.items)
            removal_.removeItem(category.title, item);
    }
    if (progress.aborted())
        return;

    core::ProgressMessage stop;
    stop.startStopAnimation = 1;
    progress.send(stop);
    progress.send(core::determinateMessage(100, false));
    progress.status("Cleaning Extensions...");
    // The rescan rebuilds both lists under the clean's own sheet and flags.
    if (!scan(progress, false))
        return;
    progress.closeBar(100);
    progress.finish(
        [&ui = ctx_.frontend] { ui.updateTextFieldResult(std::string("Cleaning Done")); });
}

// ---- Selection and marking ----

void ExtensionsDriver::selectMainRow(int row) {
    const auto& rows = arrayExtMainList_->items;
    if (row >= 0 && static_cast<std::size_t>(row) < rows.size()) {
        if (auto items = core::subList(rows[static_cast<std::size_t>(row)].dict())) {
            selectedMainRow_ = row;
            arrayExtSubList_ = items;
            return;
        }
    }
    selectedMainRow_ = -1;
    arrayExtSubList_ = core::ArrayObj::make();
}

std::vector<std::string> ExtensionsDriver::markOnly(const std::vector<std::string>& items) {
    for (const auto& root : arrayExtMainList_->dicts()) {
        core::setMark(root, false);
        core::markAll(core::subList(root), false);
    }
    std::vector<std::string> unknown;
    for (const auto& name : items) {
        bool found = false;
        for (const auto& root : arrayExtMainList_->dicts()) {
            const std::string title = core::description(root);
            if (name == title) {
                core::setMark(root, true);
                found = true;
                continue;
            }
            const auto subs = core::subList(root);
            if (!subs || !isUnder(name, title))
                continue;
            const std::string itemName = name.substr(title.size() + 1);
            for (const auto& item : subs->dicts())
                if (core::description(item) == itemName) {
                    core::setMark(item, true);
                    core::setMark(root, true);
                    found = true;
                }
        }
        if (!found)
            unknown.push_back(name);
    }
    reload();
    return unknown;
}

void ExtensionsDriver::setRowMark(int row, bool on) {
    const auto& rows = arrayExtMainList_->items;
    if (row < 0 || static_cast<std::size_t>(row) >= rows.size())
        return;
    if (auto root = rows[static_cast<std::size_t>(row)].dict()) {
        core::setMark(root, on);
        reload();
    }
}

void ExtensionsDriver::setSubRowMark(int row, bool on) {
    const auto& rows = arrayExtSubList_->items;
    if (selectedMainRow_ < 0 || row < 0 || static_cast<std::size_t>(row) >= rows.size())
        return;
    if (auto item = rows[static_cast<std::size_t>(row)].dict()) {
        core::setMark(item, on);
        reload();
    }
}

void ExtensionsDriver::extMainListCheckBoxButtonClicked(core::CheckState shown) {
    markAllExtMainList(shown != core::CheckState::Off);
}

void ExtensionsDriver::extSubListCheckBoxButtonClicked(core::CheckState shown) {
    markAllExtSubList(shown != core::CheckState::Off);
}

void ExtensionsDriver::markAllExtMainList(bool on) {
    core::markAll(arrayExtMainList_, on);
    reload();
}

void ExtensionsDriver::markAllExtSubList(bool on) {
    if (selectedMainRow_ < 0)
        return;
    core::markAll(arrayExtSubList_, on);
    reload();
}

core::CheckState ExtensionsDriver::reflectMarkStatusInExtMainList() const {
    return core::masterState(arrayExtMainList_);
}

core::CheckState ExtensionsDriver::reflectMarkStatusInExtSubList() const {
    return core::masterState(arrayExtSubList_);
}

bool ExtensionsDriver::enableOrDisableExtScanAndCleanButton() const {
    return core::countMarked(arrayExtMainList_) > 0;
}

// ---- Sorting ----

void ExtensionsDriver::extMainListPopUpButtonClicked(core::SortChoice choice) {
    core::sortRows(arrayExtMainList_, choice, kExtSortPolicy);
    selectMainRow(-1);
    reload();
}

void ExtensionsDriver::extSubListPopUpButtonClicked(core::SortChoice choice) {
    if (selectedMainRow_ < 0)
        return;
    core::sortRows(arrayExtSubList_, choice, kExtSortPolicy);
    reload();
}

core::SortChoice ExtensionsDriver::reflectPopUpButtonTitleInExtMainList() const {
    return core::currentSort(arrayExtMainList_);
}

core::SortChoice ExtensionsDriver::reflectPopUpButtonTitleInExtSubList() const {
    return core::currentSort(arrayExtSubList_);
}

} // namespace tpc::extensions
