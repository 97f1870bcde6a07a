#include "util/PropertySet.h"

#include <gtest/gtest.h>

#include <memory>
#include <sstream>

#include "persistency/File.h"
#include "persistency/FileSystem.h"
#include "support/LogCapture.h"
#include "support/TestSupport.h"
#include "util/IOBuffer.h"

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

TEST(PropertySetFile, WriteThenReadAddsToTheSetAndOlderScoredForm)
{
    TestSupport::TempDir dir;
    Tavlin::Persistency::FileSystem fs("", "");
    Tavlin::Persistency::File file(dir.File("set.txt"), &fs, true);
    PropertySet written;
    written.Parse("a=1 path=x=y");
    ASSERT_TRUE(Tavlin::Util::Write(&written, file));
    EXPECT_EQ(TestSupport::ReadTextFile(dir.File("set.txt")), "a=1 path=x=y \n");
    PropertySet read;
    read.Parse("a=old keep=k");
    ASSERT_TRUE(Tavlin::Util::Read(&read, file));
    std::ostringstream text;
    text << read;
    EXPECT_EQ(text.str(), "a=1 keep=k path=x=y ");

    // A "value: <number>" line before the pairs.
    TestSupport::WriteTextFile(dir.File("scored.txt"), "value: 0.250\nb=2 c=3\n");
    PropertySet scored;
    ASSERT_TRUE(Tavlin::Util::Read(&scored, Tavlin::Persistency::File(dir.File("scored.txt"), &fs, false)));
    std::ostringstream scoredText;
    scoredText << scored;
    EXPECT_EQ(scoredText.str(), "value=0.25 b=2 c=3 ");

    // A memory buffer too small for the line keeps what fits.
    Tavlin::Util::IOBuffer small(6);
    PropertySet one;
    one.Add("key", "value");
    EXPECT_TRUE(Tavlin::Util::Write(&one, &small));
    small.Rewind();
    EXPECT_EQ(small.ReadLine(), "key=v");
}

TEST(PropertySetFile, RefusesBadInputWithAMessage)
{
    TestSupport::TempDir dir;
    Tavlin::Persistency::FileSystem fs("", "");
    PropertySet set;
    {
        TestSupport::LogCapture readLog("Tavlin.Util.PropertySet.Read");
        TestSupport::LogCapture writeLog("Tavlin.Util.PropertySet.Write");
        Tavlin::Util::Read(&set, static_cast<Tavlin::Util::IOBuffer*>(nullptr));
        EXPECT_FALSE(Tavlin::Util::Write(&set, static_cast<Tavlin::Util::IOBuffer*>(nullptr)));
        TestSupport::WriteTextFile(dir.File("bad.txt"), "score: 1\na=1\n");
        EXPECT_TRUE(Tavlin::Util::Read(&set, Tavlin::Persistency::File(dir.File("bad.txt"), &fs, false)));
        EXPECT_EQ(readLog.Text(), "Invalid io buffer\nParse error in bestfile: score unexpected\n");
        EXPECT_EQ(writeLog.Text(), "invalid io buffer\n");
    }
    // No buffer for a missing or invalid file; empty and garbage files add nothing.
    EXPECT_FALSE(Tavlin::Util::Read(&set, Tavlin::Persistency::File(dir.File("none.txt"), &fs, false)));
    EXPECT_FALSE(Tavlin::Util::Read(&set, Tavlin::Persistency::File()));
    EXPECT_FALSE(Tavlin::Util::Write(&set, Tavlin::Persistency::File()));
    TestSupport::WriteTextFile(dir.File("empty.txt"), "");
    TestSupport::WriteTextFile(dir.File("garbage.txt"), std::string("\x01\x02 nothing\xff="));
    for (const char* name : {"empty.txt", "garbage.txt"})
        EXPECT_TRUE(Tavlin::Util::Read(&set, Tavlin::Persistency::File(dir.File(name), &fs, false))) << name;
    EXPECT_EQ(set.Size(), 0u);
}
