#include "util/StringParser.h"

#include <gtest/gtest.h>

using Tavlin::Util::StringParser;

TEST(StringParserFields, StepsOverDelimitersAndUsesTheTextUp)
{
    StringParser plus("1+2");
    EXPECT_EQ(plus.GetInt('+', false, true), 1);
    EXPECT_EQ(plus.GetInt('+', false, true), 2);
    EXPECT_TRUE(plus.IsEnd());

    StringParser leading("+1");
    EXPECT_EQ(leading.GetInt('+', false, true), 1);
    EXPECT_TRUE(leading.IsEnd());

    StringParser doubled("a,,b, c");
    EXPECT_EQ(doubled.GetString(',', false), "a");
    EXPECT_EQ(doubled.GetString(',', false), "b");
    EXPECT_EQ(doubled.GetString(',', false), "c");
    EXPECT_TRUE(doubled.IsEnd());

    // Without skipping, the cursor rests on the delimiter, which the next call steps over.
    StringParser stay("0.5;2.25x;7");
    EXPECT_DOUBLE_EQ(stay.GetDouble(';', false, false), 0.5);
    EXPECT_EQ(stay.GetPosition(), 3u);
    EXPECT_DOUBLE_EQ(stay.GetDouble(';', false, false), 2.25);
    EXPECT_EQ(stay.GetInt(';', false, false), 7);
    EXPECT_TRUE(stay.IsEnd());

    StringParser bad("abc");
    EXPECT_EQ(bad.GetInt(',', false, true), 0);

    StringParser positioned("abc", 99);
    EXPECT_TRUE(positioned.IsEnd());
    EXPECT_EQ(positioned.GetString(',', false), "");
}
