#include "platform/SharedFileList.h"

#include <gtest/gtest.h>

namespace tpc::platform {
namespace {

using core::ArrayObj;
using core::Data;
using core::DictObj;
using core::Value;

TEST(SharedFileListTest, ItemsAreFoundThroughTheController) {
    auto items = ArrayObj::make({Value(DictObj::make())});
    auto plist = DictObj::make(
        {{"RecentDocuments", Value(DictObj::make({{"Controller", "CustomListItems"},
                                                  {"CustomListItems", Value(items)}}))}});
    EXPECT_EQ(controlledItems(plist, "RecentDocuments"), items);
    EXPECT_EQ(controlledItems(plist, "RecentServers"), nullptr);
    EXPECT_EQ(controlledItems(nullptr, "RecentDocuments"), nullptr);

    auto list = plist->getDict("RecentDocuments");
    list->set("Controller", "Missing");
    EXPECT_EQ(controlledItems(plist, "RecentDocuments"), nullptr);
    list->set("Controller", 3);
    EXPECT_EQ(controlledItems(plist, "RecentDocuments"), nullptr);
    list->set("Controller", "CustomListItems");
    list->set("CustomListItems", "not an array");
    EXPECT_EQ(controlledItems(plist, "RecentDocuments"), nullptr);
}

TEST(SharedFileListTest, SizesAddDataBytesAndUtf16Units) {
    auto items = ArrayObj::make({
        Value(DictObj::make({{"Bookmark", Value(Data(40, 0))},
                             {"Icon", Value(Data(7, 1))},
                             {"Name", "Report.pdf"}})),
        // "é" is one unit, "😀" (beyond the Basic Multilingual Plane) two.
        Value(DictObj::make({{"Name", "Caf\xC3\xA9 \xF0\x9F\x98\x80"}, {"Other", "ignored"}})),
        Value(DictObj::make({{"Bookmark", 12}})), // neither data nor text
        Value("not a dictionary"),
    });
    EXPECT_EQ(sizeofCustomListItemsArrayElements(items), 40u + 7 + 10 + 7);
    EXPECT_EQ(sizeofCustomListItemsArrayElements(ArrayObj::make()), 0u);
    EXPECT_EQ(sizeofCustomListItemsArrayElements(nullptr), 0u);
}

} // namespace
} // namespace tpc::platform
