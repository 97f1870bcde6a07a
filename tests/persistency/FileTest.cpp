#include "persistency/File.h"

#include <gtest/gtest.h>

#include <memory>

#include "persistency/FileSystem.h"
#include "support/LogCapture.h"
#include "support/TestSupport.h"
#include "util/IOBuffer.h"

using Tavlin::Persistency::File;
using Tavlin::Util::IOBuffer;

TEST(File, BuffersOnlyForValidFilesAndWritesOnlyWhenWritable)
{
    TestSupport::TempDir dir;
    Tavlin::Persistency::FileSystem fs("", "");
    TestSupport::LogCapture log("Tavlin.Persistency.File");
    File none;
    File noFS(dir.File("x"), nullptr, true);
    File readOnly(dir.File("x"), &fs, false);
    EXPECT_FALSE(none.Valid());
    EXPECT_FALSE(noFS.Valid());
    EXPECT_EQ(none.GetReadBuffer(), nullptr);
    EXPECT_EQ(none.GetWriteBuffer(), nullptr);
    EXPECT_EQ(noFS.GetReadBuffer(), nullptr);
    EXPECT_EQ(readOnly.GetWriteBuffer(), nullptr);
    EXPECT_EQ(log.Text(), "Can't get read buffer for invalid file\nCan't get write buffer for invalid file\n"
                          "Can't get read buffer for invalid file\nCan't get write buffer for non-writable file\n");

    // A copy writes where the original would; a missing file gives no read buffer.
    File copy = File(dir.File("x"), &fs, true);
    EXPECT_EQ(copy.GetFS(), &fs);
    std::unique_ptr<IOBuffer> out(copy.GetWriteBuffer());
    ASSERT_TRUE(out);
    EXPECT_EQ(out->Write("abc", 3), 3);
    out.reset();
    EXPECT_EQ(File(dir.File("missing"), &fs, false).GetReadBuffer(), nullptr);
    std::unique_ptr<IOBuffer> in(readOnly.GetReadBuffer());
    ASSERT_TRUE(in);
    EXPECT_EQ(in->Size(), 3);
}
