#pragma once
// Marking and sorting of the check-box lists, one rule for every list.

#include "core/Value.h"

#include <string>

namespace tpc::core {

enum class CheckState { Off, On, Mixed };

// The master check box over `rows`: On when every row is marked (Off for an empty list), Off
// when none is, Mixed otherwise.
CheckState masterState(const ArrayRef& rows);

// A click on the master check box showing `current`: the box moves to its next state (Off → On,
// On → Off, Mixed → On) and the rows follow it. Returns the new state.
CheckState clickMaster(const ArrayRef& rows, CheckState current);

// Sets every row's "Mark".
void markAll(const ArrayRef& rows, bool on);

// Number of rows whose "Mark" is 1.
std::size_t countMarked(const ArrayRef& rows);

// The sort pop-up's entries, by index.
enum class SortChoice { Default = 0, Name = 1, Size = 2 };

struct SortPolicy {
    // Direction of the first sort by name / by size (a sort not already in force).
    bool nameFirstAscending = true;
    bool sizeFirstAscending = true;
};

// Sorts `rows` by the pop-up choice, keeping the sort state in every row ("Sorted By Item",
// "Sorted In Direction"), as every list's sort pop-up does:
// - Default: by "Value For Default Sort" ascending; choosing it again changes nothing.
// - Name: by the "Description" inside "Description Dictionary", case-insensitively.
// - Size: by "Size".
// A choice not in force sorts in the policy's first direction. The choice in force reverses:
// ascending when the first row's direction is "Sorted Descending", descending otherwise.
// An empty list is left alone. The sort is stable.
void sortRows(const ArrayRef& rows, SortChoice choice, const SortPolicy& policy = {});

// Re-applies the sort recorded in the first row (after rows were added or removed).
void sortByPreviousSort(const ArrayRef& rows);

// The pop-up index matching the first row's "Sorted By Item" (0 for an empty list).
SortChoice currentSort(const ArrayRef& rows);

// Sorts by "Value For Default Sort" and renumbers it 0, 1, 2... in that order.
void renumberDefaultSort(const ArrayRef& rows);

} // namespace tpc::core
