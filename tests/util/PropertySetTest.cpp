#include "util/PropertySet.h"

#include <gtest/gtest.h>

#include <sstream>

#include "persistency/File.h"
#include "persistency/FileSystem.h"
#include "support/LogCapture.h"
#include "support/TestSupport.h"
#include "util/IOBuffer.h"

using Tavlin::Persistency::File;
using Tavlin::Util::PropertySet;

namespace
{
std::string Text(const PropertySet& set)
{
    std::ostringstream out;
    out << set;
    return out.str();
}
} // namespace

TEST(PropertySetValues, AddGetAndBothDefaults)
{
    PropertySet set;
    set.Add("a", "1");
    set.Add("b", "");
    set.Add("a", "2");
    EXPECT_EQ(Text(set), "a=2 b= ");
    EXPECT_EQ(set.GetString("c", "x"), "x");
    EXPECT_EQ(set.GetString("b", "x"), "");
    EXPECT_EQ(set.GetInt("b", 5), 5);
    EXPECT_EQ(set.GetInt("c", 6), 6);
    EXPECT_EQ(set.GetInt("a", 6), 2);

    auto boolOf = [&set](const char* value) {
        set.Add("flag", value);
        return set.GetBool("flag");
    };
    for (const char* value : {"", "0", "false", "no"})
        EXPECT_FALSE(boolOf(value)) << value;
    for (const char* value : {"off", "yes", "1", "anything"})
        EXPECT_TRUE(boolOf(value)) << value;
    EXPECT_FALSE(set.GetBool("missing"));
}

TEST(PropertySetText, ParseAppendAndTextForm)
{
    PropertySet set;
    set.Add("old", "x");
    set.Parse("a=1 b c=3");
    EXPECT_EQ(Text(set), "a=1 ");
    set.Parse("  a=1=2\tk=  ");
    EXPECT_EQ(Text(set), "a=1=2 k= ");

    PropertySet target, source;
    target.Parse("x=1 y=2");
    source.Parse("y=3 z=4");
    Tavlin::Util::Append(&target, &source);
    EXPECT_EQ(Text(target), "x=1 y=3 z=4 ");
    PropertySet back;
    back.Parse(Text(target));
    EXPECT_EQ(Text(back), Text(target));
}

TEST(PropertySetFile, WriteThenReadAddsToTheSetAndOlderScoredForm)
{
    TestSupport::TempDir dir;
    Tavlin::Persistency::FileSystem fs("", "");
    File file(dir.File("set.txt"), &fs, true);
    PropertySet written;
    written.Parse("a=1 path=x=y");
    ASSERT_TRUE(Tavlin::Util::Write(&written, file));
    EXPECT_EQ(TestSupport::ReadTextFile(dir.File("set.txt")), "a=1 path=x=y \n");
    PropertySet read;
    read.Parse("a=old keep=k");
    ASSERT_TRUE(Tavlin::Util::Read(&read, file));
    EXPECT_EQ(Text(read), "a=1 keep=k path=x=y ");

    TestSupport::WriteTextFile(dir.File("scored.txt"), "value: 0.250\nb=2 c=3\n");
    PropertySet scored;
    ASSERT_TRUE(Tavlin::Util::Read(&scored, File(dir.File("scored.txt"), &fs, false)));
    EXPECT_EQ(Text(scored), "value=0.25 b=2 c=3 ");
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
        EXPECT_TRUE(Tavlin::Util::Read(&set, File(dir.File("bad.txt"), &fs, false)));
        EXPECT_EQ(readLog.Text(), "Invalid io buffer\nParse error in bestfile: score unexpected\n");
        EXPECT_EQ(writeLog.Text(), "invalid io buffer\n");
    }
    // No buffer for a missing or invalid file; empty and garbage files add nothing.
    EXPECT_FALSE(Tavlin::Util::Read(&set, File(dir.File("none.txt"), &fs, false)));
    EXPECT_FALSE(Tavlin::Util::Write(&set, File()));
    TestSupport::WriteTextFile(dir.File("empty.txt"), "");
    TestSupport::WriteTextFile(dir.File("garbage.txt"), std::string("\x01\x02 nothing\xff="));
    EXPECT_TRUE(Tavlin::Util::Read(&set, File(dir.File("empty.txt"), &fs, false)));
    EXPECT_TRUE(Tavlin::Util::Read(&set, File(dir.File("garbage.txt"), &fs, false)));
    EXPECT_EQ(set.Size(), 0u);
}
