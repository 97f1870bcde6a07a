#include "basis/String.h"

#include <gtest/gtest.h>

#include "basis/StringList.h"

using namespace Tavlin;
using Strings = std::vector<std::string>;

TEST(StringConversion, ReadsTheLeadingNumberAndIgnoresTheRest)
{
    EXPECT_EQ(atoi("12abc"), 12);
    EXPECT_EQ(atoi("abc"), 0);
    EXPECT_EQ(atoi("1e3"), 1);
    EXPECT_EQ(atoi("  -7"), -7);
    EXPECT_EQ(atol("123456789012x"), 123456789012LL);
    EXPECT_DOUBLE_EQ(atof("1e3"), 1000.0);
    EXPECT_DOUBLE_EQ(atof("x1"), 0.0);
}

TEST(StringHelpers, PrefixSuffixTailAndReplace)
{
    EXPECT_TRUE(StringStartsWith("data::x", "data::"));
    EXPECT_FALSE(StringStartsWith("da", "data::"));
    EXPECT_TRUE(StringEndsWith("opponentsift", "sift"));
    EXPECT_FALSE(StringEndsWith("ft", "sift"));
    EXPECT_EQ(StringTail("a:b:c", ':', false), "b:c");
    EXPECT_EQ(StringTail("a:b:c", ':', true), ":b:c");
    EXPECT_EQ(StringTail("abc", ':', true), "");

    std::string text = "aXbXc";
    EXPECT_EQ(StringReplaceAll(text, "X", "--"), "a--b--c");
    EXPECT_EQ(text, "a--b--c");
    // From the start again: a replacement that completes a new match is replaced too.
    std::string again = "aaab", once = "aaab", later = "x.x.x";
    EXPECT_EQ(StringReplaceAll(again, "ab", "b", true), "b");
    EXPECT_EQ(StringReplaceAll(once, "ab", "b", false), "aab");
    EXPECT_EQ(StringReplaceAll(later, ".", "/", false, 2), "x.x/x");
}

TEST(StringListSplit, KeepsOrDropsEmptyPieces)
{
    EXPECT_EQ(StringList("a;;b", ';', false), (Strings{"a", "b"}));
    EXPECT_EQ(StringList("a;;b", ';', true), (Strings{"a", "", "b"}));
    EXPECT_EQ(StringList("a;b;", ';', true), (Strings{"a", "b"}));
    EXPECT_EQ(StringList(";a", ';', true), (Strings{"", "a"}));
    EXPECT_EQ(StringList("", ';', false), (Strings{""}));
    EXPECT_EQ(StringList("", ';', true), (Strings{""}));
    EXPECT_EQ(StringList(";;", ';', false), (Strings{""}));
}
