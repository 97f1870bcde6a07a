#include "basis/FileName.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include "basis/CmdOptions.h"
#include "support/TestSupport.h"

using namespace Tavlin;

TEST(FileNameParts, BaseExtensionConcatAndJoin)
{
    EXPECT_EQ(FileNameBase("dir.d/file"), "file");
    EXPECT_EQ(FileNameBase("dir/"), "");
    EXPECT_EQ(FileNameBase(".hidden"), "");
    EXPECT_EQ(FileNameBase("a.tar.gz"), "a.tar");
    EXPECT_EQ(FileNameBase("a/b.c/img"), "img");
    EXPECT_EQ(FileNameBase("a\\b/c\\img.png"), "img");

    EXPECT_EQ(FileNameExt("dir.d/file"), "");
    EXPECT_EQ(FileNameExt("x/photo.JPG", true), "jpg");
    EXPECT_EQ(FileNameExt("x/photo.JPG", false), "JPG");
    EXPECT_EQ(FileNameExt("photo."), "");

    EXPECT_EQ(FileNameConcat(".", "x"), "x");
    EXPECT_EQ(FileNameConcat("", "x"), "x");
    EXPECT_EQ(FileNameConcat("d", ""), "d");
    EXPECT_EQ(FileNameConcat("d/", "x"), "d/x");
    EXPECT_EQ(FileNameConcat("a", "/b"), "a//b");

    EXPECT_EQ(PathJoin("a/", "b"), "a/b");
    EXPECT_EQ(PathJoin("a", "/b"), "/b");
    EXPECT_EQ(PathJoin("", "b"), "b");
    EXPECT_EQ(PathJoin("a\\c\\d", "b"), "a/c\\d/b");
}

TEST(FileReading, LinesWithAndWithoutSkipping)
{
    TestSupport::TempDir dir;
    std::string name = dir.File("lines.txt");
    TestSupport::WriteTextFile(name, "one\r\n# comment\n\n\r\ntwo\nlast");
    std::vector<std::string> skipped;
    FileReadString(skipped, name, true, true);
    EXPECT_EQ(skipped, (std::vector<std::string>{"one", "two", "last"}));
    std::vector<std::string> all{"kept"};
    FileReadString(all, name, false, true);
    EXPECT_EQ(all, (std::vector<std::string>{"kept", "one", "# comment", "", "", "two", "last"}));

    testing::internal::CaptureStdout();
    FileReadString(all, dir.File("missing"), true, true);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Error opening (mode = r) file " + dir.File("missing") + "\n");
    EXPECT_EQ(all.size(), 7u);
    EXPECT_TRUE(FileExists(name));
    EXPECT_FALSE(FileExists(dir.File("missing")));

    // A line longer than the buffer arrives in pieces, nothing lost.
    TestSupport::WriteTextFile(name, std::string(250000, 'x') + "\n");
    std::vector<std::string> pieces;
    FileReadString(pieces, name, false, false);
    EXPECT_EQ(pieces.size(), 3u);
    EXPECT_EQ(pieces[0].size() + pieces[1].size() + pieces[2].size(), 250000u);
}

TEST(FileNameTemporary, TmpPathIsCreatedOnceAndNamesDiffer)
{
    TestSupport::TempDir dir;
    CmdOptions& options = CmdOptions::GetInstance();
    options.Reset();
    options.Initialise(false, false, false);
    std::string folder = dir.File("tmp dir/sub");
    ASSERT_EQ(options.DoParseArgs({"prog", "x", "--tmpPath", folder + "/"}, 1), "");

    EXPECT_EQ(GetTmpPath(), folder);
    EXPECT_TRUE(TestSupport::PathExists(folder));
    char host[257] = {0};
    gethostname(host, 256);
    std::string prefix = folder + "/tmpFile_" + host + "_" + std::to_string(getpid()) + "_";
    EXPECT_EQ(FileNameTmp(), prefix + "0");
    EXPECT_EQ(FileNameTmp(), prefix + "1");
}
