#include "persistency/File.h"

#include <gtest/gtest.h>

#include "persistency/FileSystem.h"
#include "support/LogCapture.h"

using Tavlin::Persistency::File;

TEST(File, BuffersOnlyForValidFilesAndWritesOnlyWhenWritable)
{
    Tavlin::Persistency::FileSystem fs("", "");
    TestSupport::LogCapture log("Tavlin.Persistency.File");
    File none;
    File noFS("x", nullptr, true);
    File readOnly("x", &fs, false);
    EXPECT_FALSE(none.Valid());
    EXPECT_FALSE(noFS.Valid());
    EXPECT_TRUE(readOnly.Valid());
    EXPECT_EQ(none.GetReadBuffer(), nullptr);
    EXPECT_EQ(none.GetWriteBuffer(), nullptr);
    EXPECT_EQ(noFS.GetReadBuffer(), nullptr);
    EXPECT_EQ(readOnly.GetWriteBuffer(), nullptr);
    EXPECT_EQ(log.Text(), "Can't get read buffer for invalid file\nCan't get write buffer for invalid file\n"
                          "Can't get read buffer for invalid file\nCan't get write buffer for non-writable file\n");
    // A copy is the same file.
    File copy = readOnly;
    EXPECT_EQ(copy.GetPath(), "x");
    EXPECT_EQ(copy.GetFS(), &fs);
    EXPECT_FALSE(copy.IsWritable());
}
