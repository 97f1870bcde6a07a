#include "util/PropertySet.h"

#include <gtest/gtest.h>

#include <sstream>

using Tavlin::Util::PropertySet;

TEST(PropertySetValues, AddGetAndBothDefaults)
{
    PropertySet set;
    set.Add("a", "1");
    set.Add("b", "");
    set.Add("a", "2");
    ASSERT_EQ(set.Size(), 2u);
    EXPECT_EQ(set.GetKey(0), "a");
    EXPECT_EQ(set.GetString("a", "x"), "2");
    EXPECT_EQ(set.GetString("c", "x"), "x");
    EXPECT_EQ(set.GetString("b", "x"), "");
    EXPECT_EQ(set.GetInt("b", 5), 5);
    EXPECT_EQ(set.GetInt("c", 6), 6);
    EXPECT_EQ(set.GetInt("a", 6), 2);

    const char* falseValues[] = {"", "0", "false", "no"};
    const char* trueValues[] = {"off", "yes", "1", "2", "anything"};
    for (const char* value : falseValues)
    {
        set.Add("flag", value);
        EXPECT_FALSE(set.GetBool("flag")) << value;
    }
    for (const char* value : trueValues)
    {
        set.Add("flag", value);
        EXPECT_TRUE(set.GetBool("flag")) << value;
    }
    EXPECT_FALSE(set.GetBool("missing"));
}

TEST(PropertySetText, ParseAppendAndTextForm)
{
    PropertySet set;
    set.Add("old", "x");
    set.Parse("a=1 b c=3");
    ASSERT_EQ(set.Size(), 1u);
    EXPECT_EQ(set.GetString("a", ""), "1");

    set.Parse("  a=1=2\tk=  ");
    EXPECT_EQ(set.GetString("a", ""), "1=2");
    EXPECT_EQ(set.GetString("k", "x"), "");

    PropertySet target;
    target.Parse("x=1 y=2");
    PropertySet source;
    source.Parse("y=3 z=4");
    Tavlin::Util::Append(&target, &source);
    std::ostringstream text;
    text << target;
    EXPECT_EQ(text.str(), "x=1 y=3 z=4 ");

    PropertySet back;
    back.Parse(text.str());
    std::ostringstream again;
    again << back;
    EXPECT_EQ(again.str(), text.str());
}
