#include "core/CheckList.h"
#include "core/Keys.h"
#include "core/Record.h"

#include <gtest/gtest.h>

namespace tpc::core {
namespace {

DictRef row(const std::string& name, std::uint64_t bytes, int defaultPosition, int marked = 0) {
    return DictObj::make({{keys::DescriptionDictionary, DictObj::make({{keys::Description, name}})},
                          {keys::Size, Value(bytes)},
                          {keys::ValueForDefaultSort, defaultPosition},
                          {keys::SortedByItem, keys::DefaultSort},
                          {keys::Mark, marked}});
}

ArrayRef rows(std::initializer_list<DictRef> list) {
    auto out = ArrayObj::make();
    for (const auto& r : list)
        out->append(r);
    return out;
}

std::string names(const ArrayRef& list) {
    std::string out;
    for (const auto& r : list->dicts())
        out += description(r) + " ";
    return out;
}

bool everyRowHas(const ArrayRef& list, const char* key, const char* value) {
    for (const auto& r : list->dicts())
        if (r->getString(key) != value)
            return false;
    return true;
}

TEST(CheckList, MasterBoxIsTriStateAndAClickOnMixedMarksAll) {
    auto list = rows({row("a", 0, 1, 1), row("b", 0, 2, 0), row("c", 0, 3, 1)});
    EXPECT_EQ(countMarked(list), 2u);
    EXPECT_EQ(masterState(list), CheckState::Mixed);
    EXPECT_EQ(masterState(ArrayObj::make()), CheckState::Off);

    EXPECT_EQ(clickMaster(list, CheckState::Mixed), CheckState::On);
    EXPECT_EQ(masterState(list), CheckState::On);
    EXPECT_EQ(clickMaster(list, CheckState::On), CheckState::Off);
    EXPECT_EQ(countMarked(list), 0u);
    EXPECT_EQ(masterState(list), CheckState::Off);
}

TEST(CheckList, SortBySizeChosenTwiceGoesFirstDirectionThenReverses) {
    auto list = rows({row("a", 10, 1), row("b", 30, 2), row("c", 20, 3), row("d", 30, 4)});
    SortPolicy largestFirst{true, false};

    sortRows(list, SortChoice::Size, largestFirst);
    EXPECT_EQ(names(list), "b d c a ") << "descending, ties in their earlier order";
    EXPECT_TRUE(everyRowHas(list, keys::SortedByItem, keys::SortBySize));
    EXPECT_TRUE(everyRowHas(list, keys::SortedInDirection, keys::SortedDescending));
    EXPECT_EQ(currentSort(list), SortChoice::Size);

    sortRows(list, SortChoice::Size, largestFirst);
    EXPECT_EQ(names(list), "a c b d ");
    EXPECT_TRUE(everyRowHas(list, keys::SortedInDirection, keys::SortedAscending));
}

TEST(CheckList, NameSortIgnoresCaseAndDefaultSortIsNotRepeated) {
    auto list =
        rows({row("delta", 0, 1), row("Bravo", 0, 2), row("alpha", 0, 3), row("Charlie", 0, 4)});

    sortRows(list, SortChoice::Name);
    EXPECT_EQ(names(list), "alpha Bravo Charlie delta ");
    sortRows(list, SortChoice::Name);
    EXPECT_EQ(names(list), "delta Charlie Bravo alpha ");

    sortRows(list, SortChoice::Default);
    EXPECT_EQ(names(list), "delta Bravo alpha Charlie ");
    EXPECT_TRUE(everyRowHas(list, keys::SortedByItem, keys::DefaultSort));

    // Re-choosing the default sort changes nothing, even when the order has drifted.
    std::swap(list->items[0], list->items[3]);
    sortRows(list, SortChoice::Default);
    EXPECT_EQ(names(list), "Charlie Bravo alpha delta ");
}

TEST(CheckList, PreviousSortIsReappliedAndDefaultPositionsRenumbered) {
    auto list = rows({row("a", 5, 7), row("b", 9, 2), row("c", 1, 4)});
    sortRows(list, SortChoice::Size, SortPolicy{true, true});
    list->append(row("d", 3, 9));
    list->dicts().back()->set(keys::SortedByItem, keys::SortBySize);
    sortByPreviousSort(list);
    EXPECT_EQ(names(list), "c d a b ");

    renumberDefaultSort(list);
    EXPECT_EQ(names(list), "b c a d ");
    for (std::size_t i = 0; i < list->size(); ++i)
        EXPECT_EQ(list->items[i].dict()->getInt(keys::ValueForDefaultSort),
                  static_cast<std::int64_t>(i));
}

TEST(Record, LinkParentsReachesEveryLevel) {
    auto grandchild = row("g", 0, 1);
    auto child = row("c", 0, 1);
    child->set(keys::SubListArray, rows({grandchild}));
    auto top = row("t", 0, 1);
    top->set(keys::SubListArray, rows({child}));

    linkParents(rows({top}));
    EXPECT_EQ(parent(child), top);
    EXPECT_EQ(parent(grandchild), child);
    EXPECT_EQ(parent(top), nullptr);
}

} // namespace
} // namespace tpc::core
