#include "core/SizeText.h"
#include "core/Keys.h"

#include <gtest/gtest.h>

namespace tpc::core {
namespace {

TEST(SizeText, UnitBoundariesInSinglePrecision) {
    EXPECT_EQ(getFormattedStringForSize(0), "0.00 KB");
    EXPECT_EQ(getFormattedStringForSize(512), "0.51 KB");
    EXPECT_EQ(getFormattedStringForSize(999999), "1000.00 KB");
    EXPECT_EQ(getFormattedStringForSize(1000000), "1.00 MB");
    EXPECT_EQ(getFormattedStringForSize(999999999), "1000.00 MB");
    EXPECT_EQ(getFormattedStringForSize(1000000000), "1.00 GB");
    EXPECT_EQ(getFormattedStringForSize(123456789012ULL), "123.46 GB");
    // Where single and double precision round differently.
    EXPECT_EQ(getFormattedStringForSize(1065000), "1.07 MB");
    EXPECT_EQ(getFormattedStringForSize(4005000000ULL), "4.01 GB");
}

TEST(SizeText, MissingSizeReadsAsZeroAndSetSizeKeepsTextInStep) {
    EXPECT_EQ(checkForNil(Value()), Value(0));
    EXPECT_EQ(checkForNil(Value(42u)), Value(42));

    auto rec = DictObj::make();
    setSize(rec, 1500000);
    EXPECT_EQ(rec->getUInt(keys::Size), 1500000u);
    EXPECT_EQ(rec->getString(keys::SizeFormattedString), "1.50 MB");
}

} // namespace
} // namespace tpc::core
