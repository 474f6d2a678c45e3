#pragma once
// What a preset asks of a cleaning category. A preset holds category records (copies of a page's
// rows, or a row built to hold a page's list) that name their category by "Description":
// "Safari", "Firefox", "Google Chrome", "Chromium" (linux layout), "Opera", "File Eraser",
// "Clean App Junk", "Clean System Junk". The category that drives a record counts and cleans what
// the record's children select, inside the caller's own task, so a preset never needs a cleaner's
// header.
//
// Threads: countSelection and cleanSelection run on the caller's worker thread, inside the task
// the caller started (a preset scan or clean). They never start a task and never touch the
// category page's flags, lists or progress sheet. `progress` is the caller's: they test its abort
// before every item (progress.aborted(), which winds the caller's task down when it was asked to
// abort) and send no progress message of their own, so the caller's bar and texts stay its own.
// The record is read and written on the main thread only (through MainThread::invoke), as every
// list the interface shows is.

#include "core/Value.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace tpc::core {

class MainThread;
class WorkerProgress;

struct SelectionTotals {
    std::uint64_t count = 0;
    std::uint64_t bytes = 0;
};

class CategoryDispatch {
public:
    virtual ~CategoryDispatch() = default;

    // Whether this category counts and cleans category records of this "Description".
    virtual bool drives(const std::string& description) const = 0;

    // Measures what each child of the record selects, marked or not, and stores the result in
    // the child ("Size", "Size Formatted String", and what the category's page shows beside them,
    // such as "Count"); the record's own "Size" becomes the children's sum. Answers the item
    // count and bytes found. A record the category does not drive (or a browser that is not
    // installed) answers zero and is left alone. nullopt when the caller's task was aborted
    // meanwhile: it has been wound down and the caller returns at once.
    virtual std::optional<SelectionTotals> countSelection(const DictRef& record,
                                                          WorkerProgress& progress) = 0;

    // Removes what the record's marked children select (a browser whose auto-quit child is
    // marked is asked to quit first). A record the category does not drive removes nothing.
    // False when the caller's task was aborted meanwhile (wound down as for countSelection).
    virtual bool cleanSelection(const DictRef& record, WorkerProgress& progress) = 0;
};

// A row of a list as a worker sees it: the record (changed on the main thread only), a deep copy
// taken on the main thread for the worker to read, and whether the row was marked then.
struct RowSnapshot {
    DictRef record;
    DictRef copy;
    bool marked = false;
};

// Every row of `rows`; called on the main thread. A row that is not a dictionary is left out; a
// null list gives none.
std::vector<RowSnapshot> rowSnapshots(const ArrayRef& rows);

// A category record as a worker sees it: its "Description" and its children.
struct RecordSnapshot {
    std::string description;
    std::vector<RowSnapshot> children;
};
// Read on the main thread (waited for); a null record gives an empty snapshot.
RecordSnapshot snapshotRecord(MainThread& main, const DictRef& record);

// The selection operations of a category whose preset record holds rows of its own list: the
// record is read on the main thread, and one whose "Description" is not `drives` is left alone
// (a count of nothing; a clean that removes nothing). The count's total becomes the record's size.
using RowsCount = std::function<std::optional<SelectionTotals>(const std::vector<RowSnapshot>&)>;
using RowsClean = std::function<bool(const std::vector<RowSnapshot>&)>;
std::optional<SelectionTotals> countRowSelection(MainThread& main, const DictRef& record,
                                                 const std::string& drives, const RowsCount& count);
bool cleanRowSelection(MainThread& main, const DictRef& record, const std::string& drives,
                       const RowsClean& clean);

} // namespace tpc::core
