#include "eraser/EraserList.h"

#include "core/Keys.h"
#include "core/Record.h"
#include "core/Settings.h"
#include "core/SizeText.h"
#include "core/TaskFlags.h"
#include "core/Utf8.h"
#include "eraser/EraserPaths.h"
#include "fs/Entries.h"

#include <algorithm>

namespace tpc::eraser {

namespace {

using core::ArrayObj;
using core::DictObj;
using core::DictRef;
using core::Value;
namespace ck = core::keys;

constexpr std::int64_t kFileEraserIndex = -4;

// The default-sort position of the row added after `count` others: the order of adding.
std::int64_t sortDefaultForCount(std::size_t count) {
    return static_cast<std::int64_t>(count);
}

DictRef newRecord(const std::string& path, std::size_t rowsBefore) {
    auto rec = DictObj::make({
        {ck::DescriptionDictionary,
         Value(DictObj::make({{ck::Description, lastComponent(path)}, {ck::Path, path}}))},
        {ck::Mark, 1},
        {keys::IsAFolder, fs::isFolderNoFollow(path)},
        {keys::DeleteOption, false},
        {ck::IsRootItem, true},
        {ck::SortedByItem, ck::DefaultSort},
        {ck::ValueForDefaultSort, Value(sortDefaultForCount(rowsBefore))},
    });
    core::setSize(rec, 0);
    return rec;
}

DictRef emptyFolders() {
    return DictObj::make({{ck::PresetName, ck::FileEraserName},
                          {ck::PresetIndex, Value(kFileEraserIndex)},
                          {keys::ArrayOfFolders, Value::newArray()}});
}

} // namespace

EraserList::EraserList(core::Context& ctx)
    : ctx_(ctx), dictFolders_(emptyFolders()),
      arrayFolders_(dictFolders_->getArray(keys::ArrayOfFolders)) {}

void EraserList::loadShredder() {
    core::Settings& settings = ctx_.settings;
    if (!settings.folderExists()) {
        settings.ensureFolder();
    } else if (settings.fileExists(ck::FileEraserName)) {
        auto loaded = settings.load(ck::FileEraserName);
        if (loaded.status == core::Settings::LoadStatus::Loaded) {
            dictFolders_ = loaded.dict;
            if (dictFolders_->getString(ck::PresetName) != ck::FileEraserName)
                dictFolders_->set(ck::PresetName, ck::FileEraserName);
            arrayFolders_ = dictFolders_->getArray(keys::ArrayOfFolders);
            if (!arrayFolders_) {
                arrayFolders_ = ArrayObj::make();
                dictFolders_->set(keys::ArrayOfFolders, Value(arrayFolders_));
            }
            // Only records can be rows; anything else a damaged file holds is left out.
            std::erase_if(arrayFolders_->items, [](const Value& v) { return !v.isDict(); });
            return;
        }
    }
    dictFolders_ = emptyFolders();
    arrayFolders_ = dictFolders_->getArray(keys::ArrayOfFolders);
    save();
}

EraserList::AddOutcome EraserList::addPaths(const std::vector<std::string>& paths) {
    AddOutcome outcome;
    // The sort in force before adding; the new rows join it.
    const DictRef first = arrayFolders_->empty() ? nullptr : arrayFolders_->at(0).dict();
    const std::string sortedBy = first ? first->getString(ck::SortedByItem) : std::string();
    const std::string direction = first ? first->getString(ck::SortedInDirection) : std::string();

    for (const auto& chosen : paths) {
        if (chosen.empty() || chosen.front() != '/')
            continue;
        // The list is kept in a property list, whose strings are UTF-8: any other name could
        // only be stored as some other path.
        if (!storablePath(chosen)) {
            outcome.refused.push_back(chosen);
            continue;
        }
        const std::string added = normalisedPath(chosen);
        bool refused = false;
        std::vector<DictRef> enclosed;
        for (const auto& row : arrayFolders_->dicts()) {
            const std::string listed = normalisedPath(core::path(row));
            if (listed == added || liesInside(added, listed)) {
                refused = true;
                break;
            }
            if (liesInside(listed, added))
                enclosed.push_back(row);
        }
        if (refused) {
            outcome.alreadyAdded = true;
            continue;
        }
        if (!enclosed.empty()) {
            outcome.replaced = true;
            std::erase_if(arrayFolders_->items, [&enclosed](const Value& v) {
                return std::find(enclosed.begin(), enclosed.end(), v.dict()) != enclosed.end();
            });
            // Positions stay unique, so the order of adding survives the removal.
            core::renumberDefaultSort(arrayFolders_);
        }
        arrayFolders_->append(Value(newRecord(added, arrayFolders_->size())));
        ++outcome.added;
    }

    if (!sortedBy.empty() && sortedBy != ck::DefaultSort)
        for (const auto& row : arrayFolders_->dicts()) {
            row->set(ck::SortedByItem, sortedBy);
            row->set(ck::SortedInDirection, direction);
        }
    core::sortByPreviousSort(arrayFolders_);
    save();
    return outcome;
}

std::string EraserList::refusalMessage(const AddOutcome& outcome) {
    if (outcome.refused.empty())
        return {};
    std::string message = outcome.refused.size() == 1
                              ? "This path was not added: its name is not valid UTF-8 text, which "
                                "the list cannot keep:"
                              : "These paths were not added: their names are not valid UTF-8 "
                                "text, which the list cannot keep:";
    for (const auto& path : outcome.refused)
        message += "\n" + core::displayText(path);
    return message;
}

std::string EraserList::inconsistencyMessage(const AddOutcome& outcome) {
    if (outcome.alreadyAdded && outcome.replaced)
        return "All or some paths were already added to list, and all or some paths already in "
               "the list were replaced by their enclosing folders";
    if (outcome.alreadyAdded)
        return "All or some paths were already added to list";
    if (outcome.replaced)
        return "All or some paths already in the list were replaced by their enclosing folders";
    return {};
}

void EraserList::removeRows(std::vector<int> rows) {
    std::sort(rows.begin(), rows.end());
    rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
    auto& items = arrayFolders_->items;
    for (auto it = rows.rbegin(); it != rows.rend(); ++it)
        if (*it >= 0 && static_cast<std::size_t>(*it) < items.size())
            items.erase(items.begin() + *it);
    sortFoldersArrayAfterDeletion();
    save();
}

void EraserList::removeAll() {
    arrayFolders_->items.clear();
    ctx_.flags.setChangesMade(true);
    sortFoldersArrayAfterDeletion();
    save();
}

void EraserList::sortFoldersArrayAfterDeletion() {
    core::renumberDefaultSort(arrayFolders_);
    core::sortByPreviousSort(arrayFolders_);
}

void EraserList::foldersCheckBoxButtonClicked(core::CheckState shown) {
    markAllFolders(shown != core::CheckState::Off);
}

void EraserList::markAllFolders(bool on) {
    core::markAll(arrayFolders_, on);
    save();
}

void EraserList::setRowMark(int row, bool on) {
    if (row < 0 || static_cast<std::size_t>(row) >= arrayFolders_->size())
        return;
    if (auto rec = arrayFolders_->at(static_cast<std::size_t>(row)).dict()) {
        core::setMark(rec, on);
        save();
    }
}

core::CheckState EraserList::reflectMarkStatusInFolders() const {
    return core::masterState(arrayFolders_);
}

bool EraserList::enableOrDisableFoldersCleanButton() const {
    return core::countMarked(arrayFolders_) > 0;
}

bool EraserList::setDeleteOption(int row, bool contentsOnly) {
    if (row < 0 || static_cast<std::size_t>(row) >= arrayFolders_->size())
        return false;
    auto rec = arrayFolders_->at(static_cast<std::size_t>(row)).dict();
    if (!rec || !rec->getBool(keys::IsAFolder))
        return false;
    rec->set(keys::DeleteOption, contentsOnly);
    save();
    return true;
}

void EraserList::foldersPopUpButtonClicked(core::SortChoice choice) {
    core::sortRows(arrayFolders_, choice, core::SortPolicy{true, true});
    save();
}

core::SortChoice EraserList::reflectPopUpButtonTitleInFolders() const {
    return core::currentSort(arrayFolders_);
}

int EraserList::findRow(const std::string& path) const {
    const std::string wanted = normalisedPath(path);
    if (wanted.empty())
        return -1;
    const auto& items = arrayFolders_->items;
    for (std::size_t i = 0; i < items.size(); ++i)
        if (normalisedPath(core::path(items[i].dict())) == wanted)
            return static_cast<int>(i);
    return -1;
}

void EraserList::save() {
    ctx_.settings.flushPresetData(dictFolders_);
}

} // namespace tpc::eraser
