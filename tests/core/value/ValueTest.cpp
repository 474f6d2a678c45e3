#include "core/Value.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>

namespace tpc::core {
namespace {

TEST(ValueDeepCopy, KeepsSharingInsideTheCopyAndIsIndependentOfTheOriginal) {
    auto shared = DictObj::make({{"Mark", 1}});
    auto list = ArrayObj::make({Value(shared), Value(shared)});
    auto root = DictObj::make({{"rows", list}, {"first", shared}});
    shared->parent = root;

    Value copy = Value(root).deepCopy();
    auto rows = copy.dict()->getArray("rows");
    ASSERT_TRUE(rows);
    EXPECT_NE(rows, list);
    EXPECT_EQ(rows->at(0).dict(), rows->at(1).dict()) << "one record shown twice stays one";
    EXPECT_EQ(rows->at(0).dict(), copy.dict()->getDict("first"));
    EXPECT_EQ(rows->at(0).dict()->parent.lock(), nullptr) << "parent links are not copied";
    EXPECT_EQ(copy, Value(root));

    rows->at(0).dict()->set("Mark", 0);
    EXPECT_EQ(shared->getInt("Mark"), 1);
    EXPECT_NE(copy, Value(root));
}

TEST(ValueDeepCopy, ReproducesACycleWithoutLoopingOrSharingWithTheOriginal) {
    auto a = DictObj::make();
    auto kids = ArrayObj::make({Value(a)});
    a->set("Sub List Array", kids);

    Value copy = Value(a).deepCopy();
    auto copiedKids = copy.dict()->getArray("Sub List Array");
    ASSERT_TRUE(copiedKids);
    EXPECT_EQ(copiedKids->at(0).dict(), copy.dict());
    EXPECT_NE(copy.dict(), a);
    a->remove("Sub List Array"); // break the original cycle so it is freed
    copy.dict()->remove("Sub List Array");
}

TEST(ValueEquality, NumbersCompareByValueAcrossKinds) {
    EXPECT_EQ(Value(1), Value(1u));
    EXPECT_EQ(Value(true), Value(1));
    EXPECT_EQ(Value(2.0), Value(2ull));
    EXPECT_NE(Value(2.5), Value(2));
    EXPECT_NE(Value(-1), Value(std::numeric_limits<std::uint64_t>::max()));
    EXPECT_EQ(Value(-5), Value(-5.0));
    EXPECT_NE(Value(0), Value("0"));
    EXPECT_NE(Value(0), Value());
    EXPECT_EQ(Value(), Value(nullptr));
}

TEST(ValueCoercion, IntUIntAndBoolReadEveryNumberKind) {
    EXPECT_EQ(Value(2.7).toInt(), 2);
    EXPECT_EQ(Value(-2.7).toInt(), -2);
    EXPECT_EQ(Value(2.7).toUInt(), 2u);
    EXPECT_EQ(Value(true).toInt(), 1);
    EXPECT_EQ(Value(std::numeric_limits<std::uint64_t>::max()).toUInt(),
              std::numeric_limits<std::uint64_t>::max());
    EXPECT_EQ(Value(1e30).toInt(), std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(Value(1e30).toUInt(), std::numeric_limits<std::uint64_t>::max());
    EXPECT_EQ(Value(std::nan("")).toInt(7), 7);
    EXPECT_EQ(Value("12").toInt(7), 7) << "strings are not numbers";
    EXPECT_EQ(Value().toUInt(3), 3u);

    EXPECT_TRUE(Value(0.5).toBool());
    EXPECT_FALSE(Value(0u).toBool(true));
    EXPECT_TRUE(Value(-1).toBool());
    EXPECT_TRUE(Value("NO").toBool(true)) << "a string gives the default";
    EXPECT_FALSE(Value::newDict().toBool());
}

} // namespace
} // namespace tpc::core
