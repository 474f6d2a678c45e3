// Adding paths to the file eraser list: whole components decide what lies inside what, a listed
// path is never listed twice, and the user is told when paths were refused or replaced.

#include "EraserHarness.h"

#include "core/SizeText.h"

#include <gtest/gtest.h>

namespace tpc::test::eraser {
namespace {

using tpc::eraser::EraserList;
namespace ek = tpc::eraser::keys;
namespace ck = core::keys;
using Paths = std::vector<std::string>;

const char* kReplaced =
    "All or some paths already in the list were replaced by their enclosing folders";
const char* kAlready = "All or some paths were already added to list";

class AddRule : public ::testing::Test {
protected:
    void SetUp() override {
        writeFile(h.files() / "d/x.txt", "abc");
        writeFile(h.files() / "d/sub/y", "12345");
        writeFile(h.files() / "other", "z");
        h.start();
    }
    EraserHarness h;
};

TEST_F(AddRule, AFolderReplacesTheListedPathsItHoldsAndSaysSo) {
    h.add({h.at("d/x.txt"), h.at("other"), h.at("d/sub/y")});
    EXPECT_TRUE(h.alerts().empty());

    const auto outcome = h.add({h.at("d")});
    EXPECT_TRUE(outcome.replaced);
    EXPECT_FALSE(outcome.alreadyAdded);
    EXPECT_EQ(h.paths(), (Paths{h.at("other"), h.at("d")}));
    // Positions stay unique after the removal, in the order of adding.
    EXPECT_EQ(h.row(h.at("other"))->getInt(ck::ValueForDefaultSort), 0);
    EXPECT_EQ(h.row(h.at("d"))->getInt(ck::ValueForDefaultSort), 1);

    const auto alerts = h.alerts();
    ASSERT_EQ(alerts.size(), 1u);
    EXPECT_EQ(alerts[0].title, "Path(s) inconsistencies !");
    EXPECT_EQ(alerts[0].message, kReplaced);
    EXPECT_EQ(alerts[0].defaultButton, "OK");
    EXPECT_FALSE(alerts[0].alternateButton);
}

TEST_F(AddRule, APathInsideOrEqualToAListedOneIsRefused) {
    h.add({h.at("d")});
    auto outcome = h.add({h.at("d/sub/y")});
    EXPECT_TRUE(outcome.alreadyAdded);
    EXPECT_EQ(outcome.added, 0u);
    ASSERT_EQ(h.alerts().size(), 1u);
    EXPECT_EQ(h.alerts()[0].message, kAlready);

    // The same folder, spelt differently, in one go and again later: still one row.
    outcome = h.add({h.at("d") + "/", h.at("d/sub/.."), h.at("d/./")});
    EXPECT_TRUE(outcome.alreadyAdded);
    EXPECT_FALSE(outcome.replaced);
    EXPECT_EQ(h.paths(), (Paths{h.at("d")}));

    // Within one confirmation too.
    outcome = h.add({h.at("other"), h.at("other")});
    EXPECT_EQ(outcome.added, 1u);
    EXPECT_TRUE(outcome.alreadyAdded);
    EXPECT_EQ(h.paths(), (Paths{h.at("d"), h.at("other")}));

    // Whole components decide: "/a/b" neither holds nor lies in "/a/bc".
    writeFile(h.files() / "a/bc", "1");
    fs::create_directories(h.files() / "a/b");
    outcome = h.add({h.at("a/bc"), h.at("a/b")});
    EXPECT_EQ(outcome.added, 2u);
    EXPECT_FALSE(outcome.alreadyAdded || outcome.replaced);
}

TEST_F(AddRule, BothFlagsGiveTheCombinedMessage) {
    h.add({h.at("d/x.txt"), h.at("other")});
    const auto outcome = h.add({h.at("other"), h.at("d")});
    EXPECT_TRUE(outcome.alreadyAdded);
    EXPECT_TRUE(outcome.replaced);
    EXPECT_EQ(h.paths(), (Paths{h.at("other"), h.at("d")}));
    ASSERT_EQ(h.alerts().size(), 1u);
    EXPECT_EQ(h.alerts()[0].message,
              "All or some paths were already added to list, and all or some paths already in "
              "the list were replaced by their enclosing folders");
    EXPECT_EQ(EraserList::inconsistencyMessage({}), "");
}

TEST_F(AddRule, NewRowsAreMarkedUnsizedAndKnowWhetherTheyAreFolders) {
    fs::create_symlink(h.files() / "d", h.files() / "link");
    h.add({h.at("d"), h.at("other"), h.at("link")});
    const auto folder = h.row(h.at("d"));
    ASSERT_TRUE(folder);
    EXPECT_EQ(core::description(folder), "d");
    EXPECT_EQ(core::mark(folder), 1);
    EXPECT_TRUE(folder->getBool(ek::IsAFolder));
    EXPECT_FALSE(folder->getBool(ek::DeleteOption));
    EXPECT_TRUE(folder->getBool(ck::IsRootItem));
    EXPECT_EQ(folder->getString(ck::SortedByItem), ck::DefaultSort);
    EXPECT_FALSE(h.row(h.at("other"))->getBool(ek::IsAFolder));
    // A link is never taken for its target.
    EXPECT_FALSE(h.row(h.at("link"))->getBool(ek::IsAFolder));

    // Only folders offer the option.
    EXPECT_FALSE(h.list().setDeleteOption(h.list().findRow(h.at("other")), true));
    EXPECT_TRUE(h.list().setDeleteOption(h.list().findRow(h.at("d")), true));

    h.restart();
    EXPECT_EQ(h.paths(), (Paths{h.at("d"), h.at("other"), h.at("link")}));
    EXPECT_TRUE(h.row(h.at("d"))->getBool(ek::DeleteOption));
}

TEST_F(AddRule, RowsJoinTheSortInForceAndRemovingRenumbersTheOrderOfAdding) {
    writeFile(h.files() / "a", "1");
    writeFile(h.files() / "b", "1");
    h.add({h.at("other"), h.at("d")});
    h.list().foldersPopUpButtonClicked(core::SortChoice::Name);
    h.add({h.at("b"), h.at("a")});
    EXPECT_EQ(h.paths(), (Paths{h.at("a"), h.at("b"), h.at("d"), h.at("other")}));
    EXPECT_EQ(h.list().reflectPopUpButtonTitleInFolders(), core::SortChoice::Name);

    h.list().removeRows({1, 2, 99});
    EXPECT_EQ(h.paths(), (Paths{h.at("a"), h.at("other")}));
    EXPECT_FALSE(h.flags().changesMade());
    h.list().foldersPopUpButtonClicked(core::SortChoice::Default);
    EXPECT_EQ(h.paths(), (Paths{h.at("other"), h.at("a")}));
    EXPECT_EQ(h.row(h.at("a"))->getInt(ck::ValueForDefaultSort), 1);

    h.list().removeAll();
    EXPECT_TRUE(h.flags().changesMade());
    h.restart();
    EXPECT_TRUE(h.paths().empty());
}

} // namespace
} // namespace tpc::test::eraser
