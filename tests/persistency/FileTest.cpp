#include "persistency/File.h"

#include <gtest/gtest.h>

#include <memory>

#include "persistency/FileSystem.h"
#include "support/LogCapture.h"
#include "support/TestSupport.h"
#include "util/IOBuffer.h"

using Tavlin::Persistency::File;
using Tavlin::Persistency::FileSystem;
using Tavlin::Util::IOBuffer;
using TestSupport::LogCapture;
using TestSupport::TempDir;

TEST(File, BuffersOnlyForValidFilesAndWritesOnlyWhenWritable)
{
    TempDir dir;
    FileSystem fs("", "");
    LogCapture log("Tavlin.Persistency.File");

    File none;
    EXPECT_FALSE(none.Valid());
    EXPECT_EQ(none.GetReadBuffer(), nullptr);
    EXPECT_EQ(none.GetWriteBuffer(), nullptr);
    File noFS(dir.File("x"), nullptr, true);
    EXPECT_FALSE(noFS.Valid());
    EXPECT_EQ(noFS.GetReadBuffer(), nullptr);
    File readOnly(dir.File("x"), &fs, false);
    EXPECT_EQ(readOnly.GetWriteBuffer(), nullptr);
    EXPECT_EQ(log.Text(), "Can't get read buffer for invalid file\nCan't get write buffer for invalid file\n"
                          "Can't get read buffer for invalid file\nCan't get write buffer for non-writable file\n");

    File writable(dir.File("x"), &fs, true);
    File copy = writable;
    EXPECT_EQ(copy.GetPath(), dir.File("x"));
    EXPECT_EQ(copy.GetFS(), &fs);
    {
        std::unique_ptr<IOBuffer> out(copy.GetWriteBuffer());
        ASSERT_TRUE(out);
        EXPECT_EQ(out->Write("abc", 3), 3);
    }
    // A missing file on disk gives no buffer (the open failure is the buffer's to say).
    EXPECT_EQ(File(dir.File("missing"), &fs, false).GetReadBuffer(), nullptr);
    std::unique_ptr<IOBuffer> in(readOnly.GetReadBuffer());
    ASSERT_TRUE(in);
    EXPECT_EQ(in->Size(), 3);
}
