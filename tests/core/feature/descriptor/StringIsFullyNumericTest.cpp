#include "core/feature/descriptor/StringIsFullyNumeric.h"

#include <gtest/gtest.h>

using Tavlin::Core::Feature::StringIsFullyNumeric;

TEST(StringIsFullyNumeric, AcceptsDigitsOnlyAndTheEmptyString)
{
    for (const char* yes : {"", "0", "9", "0123456789"})
        EXPECT_TRUE(StringIsFullyNumeric(yes)) << yes;
    // "/" and ":" border the digits in ASCII.
    for (const char* no : {"n1", "1a", "-1", "1.5", " 1", "/", ":"})
        EXPECT_FALSE(StringIsFullyNumeric(no)) << no;
}
