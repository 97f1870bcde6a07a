#include "core/feature/StringIsFullyNumeric.h"

#include <gtest/gtest.h>

using Tavlin::Core::Feature::StringIsFullyNumeric;

TEST(StringIsFullyNumeric, AcceptsDigitsOnlyAndTheEmptyString)
{
    EXPECT_TRUE(StringIsFullyNumeric(""));
    EXPECT_TRUE(StringIsFullyNumeric("0"));
    EXPECT_TRUE(StringIsFullyNumeric("9"));
    EXPECT_TRUE(StringIsFullyNumeric("0123456789"));
    EXPECT_FALSE(StringIsFullyNumeric("n1"));
    EXPECT_FALSE(StringIsFullyNumeric("1a"));
    EXPECT_FALSE(StringIsFullyNumeric("-1"));
    EXPECT_FALSE(StringIsFullyNumeric("1.5"));
    EXPECT_FALSE(StringIsFullyNumeric(" 1"));
    EXPECT_FALSE(StringIsFullyNumeric("/"));
    EXPECT_FALSE(StringIsFullyNumeric(":"));
}
