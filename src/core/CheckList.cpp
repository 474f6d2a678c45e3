#include "core/CheckList.h"

#include "core/Keys.h"
#include "core/Record.h"

#include <algorithm>
#include <cctype>
#include <functional>

namespace tpc::core {

namespace {

const char* sortName(SortChoice choice) {
    switch (choice) {
    case SortChoice::Name:
        return keys::SortByName;
    case SortChoice::Size:
        return keys::SortBySize;
    case SortChoice::Default:
        break;
    }
    return keys::DefaultSort;
}

std::int64_t defaultPosition(const DictRef& rec) {
    return rec ? rec->getInt(keys::ValueForDefaultSort) : 0;
}

// Case-insensitive three-way compare of the rows' shown names.
int compareNames(const DictRef& a, const DictRef& b) {
    const std::string x = description(a), y = description(b);
    const std::size_t n = std::min(x.size(), y.size());
    for (std::size_t i = 0; i < n; ++i) {
        const int cx = std::tolower(static_cast<unsigned char>(x[i]));
        const int cy = std::tolower(static_cast<unsigned char>(y[i]));
        if (cx != cy)
            return cx < cy ? -1 : 1;
    }
    if (x.size() == y.size())
        return 0;
    return x.size() < y.size() ? -1 : 1;
}

// Rows in order by `less`; rows that compare equal keep their order.
void stableSort(const ArrayRef& rows, bool ascending,
                const std::function<bool(const DictRef&, const DictRef&)>& less) {
    std::stable_sort(rows->items.begin(), rows->items.end(), [&](const Value& a, const Value& b) {
        return ascending ? less(a.dict(), b.dict()) : less(b.dict(), a.dict());
    });
}

void sortBy(const ArrayRef& rows, SortChoice choice, bool ascending) {
    switch (choice) {
    case SortChoice::Default:
        stableSort(rows, ascending, [](const DictRef& a, const DictRef& b) {
            return defaultPosition(a) < defaultPosition(b);
        });
        break;
    case SortChoice::Name:
        stableSort(rows, ascending,
                   [](const DictRef& a, const DictRef& b) { return compareNames(a, b) < 0; });
        break;
    case SortChoice::Size:
        stableSort(rows, ascending,
                   [](const DictRef& a, const DictRef& b) { return size(a) < size(b); });
        break;
    }
}

void storeInEveryRow(const ArrayRef& rows, const char* key, const char* value) {
    for (const auto& row : rows->dicts())
        row->set(key, value);
}

DictRef firstRow(const ArrayRef& rows) {
    return rows && !rows->empty() ? rows->at(0).dict() : nullptr;
}

} // namespace

CheckState masterState(const ArrayRef& rows) {
    const std::size_t total = rows ? rows->size() : 0;
    const std::size_t marked = countMarked(rows);
    if (total == 0 || marked == 0)
        return CheckState::Off;
    return marked == total ? CheckState::On : CheckState::Mixed;
}

CheckState clickMaster(const ArrayRef& rows, CheckState current) {
    // A click on the mixed state goes on to the state after it, which is On.
    const CheckState next = current == CheckState::On ? CheckState::Off : CheckState::On;
    markAll(rows, next == CheckState::On);
    return next;
}

void markAll(const ArrayRef& rows, bool on) {
    if (!rows)
        return;
    for (const auto& row : rows->dicts())
        setMark(row, on);
}

std::size_t countMarked(const ArrayRef& rows) {
    if (!rows)
        return 0;
    std::size_t n = 0;
    for (const auto& item : rows->items)
        if (isMarked(item.dict()))
            ++n;
    return n;
}

void sortRows(const ArrayRef& rows, SortChoice choice, const SortPolicy& policy) {
    if (!rows || rows->empty())
        return;
    const DictRef first = firstRow(rows);
    const std::string inForce = first ? first->getString(keys::SortedByItem) : std::string();
    const bool alreadyInForce = inForce == sortName(choice);

    if (choice == SortChoice::Default) {
        if (alreadyInForce)
            return;
        sortBy(rows, SortChoice::Default, true);
        storeInEveryRow(rows, keys::SortedByItem, keys::DefaultSort);
        return;
    }

    bool ascending;
    if (alreadyInForce)
        ascending = first->getString(keys::SortedInDirection) == keys::SortedDescending;
    else
        ascending =
            choice == SortChoice::Name ? policy.nameFirstAscending : policy.sizeFirstAscending;
    sortBy(rows, choice, ascending);
    storeInEveryRow(rows, keys::SortedByItem, sortName(choice));
    storeInEveryRow(rows, keys::SortedInDirection,
                    ascending ? keys::SortedAscending : keys::SortedDescending);
}

void sortByPreviousSort(const ArrayRef& rows) {
    const DictRef first = firstRow(rows);
    if (!first)
        return;
    const std::string by = first->getString(keys::SortedByItem);
    const bool ascending = first->getString(keys::SortedInDirection) == keys::SortedAscending;
    if (by == keys::DefaultSort)
        sortBy(rows, SortChoice::Default, true);
    else if (by == keys::SortByName)
        sortBy(rows, SortChoice::Name, ascending);
    else if (by == keys::SortBySize)
        sortBy(rows, SortChoice::Size, ascending);
}

SortChoice currentSort(const ArrayRef& rows) {
    const DictRef first = firstRow(rows);
    const std::string by = first ? first->getString(keys::SortedByItem) : std::string();
    if (by == keys::SortByName)
        return SortChoice::Name;
    if (by == keys::SortBySize)
        return SortChoice::Size;
    return SortChoice::Default;
}

void renumberDefaultSort(const ArrayRef& rows) {
    if (!rows)
        return;
    sortBy(rows, SortChoice::Default, true);
    std::int64_t position = 0;
    for (const auto& row : rows->dicts())
        row->set(keys::ValueForDefaultSort, Value(position++));
}

} // namespace tpc::core
