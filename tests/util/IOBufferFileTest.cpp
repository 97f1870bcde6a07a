#include "util/IOBufferFile.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "support/LogCapture.h"
#include "support/TestSupport.h"

using Tavlin::Util::IOBuffer;
using Tavlin::Util::IOBufferFile;
using TestSupport::LogCapture;
using TestSupport::ReadTextFile;
using TestSupport::TempDir;
using TestSupport::WriteTextFile;

namespace
{

std::unique_ptr<IOBufferFile> OpenRead(const std::string& path, bool useMemory)
{
    return std::unique_ptr<IOBufferFile>(new IOBufferFile(path, true, useMemory, false));
}

} // namespace

TEST(IOBufferFileOpen, FailuresLeaveAnInvalidBufferAndSayWhy)
{
    TempDir dir;
    {
        LogCapture log("Tavlin.Util.IOBufferFile");
        IOBufferFile missing(dir.File("none.bin"), true, false, false);
        EXPECT_FALSE(missing.Valid());
        IOBufferFile missingMemory(dir.File("none.bin"), true, true, false);
        EXPECT_FALSE(missingMemory.Valid());
        EXPECT_EQ(log.Text(), "Failed to open (mode=rb) " + dir.File("none.bin") + "\n" + "Failed to open (mode=rb) " +
                                  dir.File("none.bin") + "\n");
        // An invalid buffer is inert.
        char out[8];
        EXPECT_EQ(missing.Read(out, 8), 0);
        EXPECT_EQ(missing.ReadLine(), "");
        EXPECT_EQ(missing.Write("abc", 3), 0);
        EXPECT_FALSE(missing.Puts("abc"));
        int value = 5;
        missing.NativeTypeRead(&value);
        EXPECT_EQ(value, 5);
        EXPECT_EQ(missingMemory.ReadLine(), "");
    }
    {
        LogCapture log("Tavlin.Util.IOBufferFile");
        IOBufferFile empty("", true, false, false);
        EXPECT_FALSE(empty.Valid());
        IOBufferFile writeMemory(dir.File("w.bin"), false, true, false);
        EXPECT_FALSE(writeMemory.Valid());
        EXPECT_FALSE(TestSupport::PathExists(dir.File("w.bin")));
        IOBufferFile noDir(dir.File("no/such/w.bin"), false, false, false);
        EXPECT_FALSE(noDir.Valid());
        EXPECT_EQ(log.Text(), "Cannot open file; path is empty\nuseMemory not supported for write mode\n"
                              "Failed to open (mode=w+b) " +
                                  dir.File("no/such/w.bin") + "\n");
    }
}

TEST(IOBufferFileWrite, StreamKeepsSizeAndPositionAndWritesTheTextForms)
{
    TempDir dir;
    std::string path = dir.File("out.txt");
    {
        IOBufferFile file(path, false, false, false);
        ASSERT_TRUE(file.Valid());
        EXPECT_EQ(file.Size(), 0);
        EXPECT_TRUE(file.Puts("header"));
        EXPECT_EQ(file.GetPosition(), 7);
        file.NativeTypeWrite(1.5);
        file.NativeTypeWrite(42);
        file.NativeTypeWrite(static_cast<unsigned char>(255));
        file.NativeTypeWrite(-7LL);
        EXPECT_EQ(file.Write("\nxyz", 4), 4);
        EXPECT_EQ(file.Size(), 7 + 19 + 4);
        EXPECT_EQ(file.GetPosition(), file.Size());
        // Back and overwrite: the size stays.
        ASSERT_TRUE(file.SetPosition(1));
        EXPECT_EQ(file.Write("E", 1), 1);
        EXPECT_EQ(file.Size(), 30);
        EXPECT_EQ(file.GetPosition(), 2);
    }
    EXPECT_EQ(ReadTextFile(path), "hEader\n1.500000 42 255 -7 \nxyz");

    // Update mode keeps the content and knows its size.
    {
        IOBufferFile file(path, false, false, true);
        ASSERT_TRUE(file.Valid());
        EXPECT_EQ(file.Size(), 30);
        ASSERT_TRUE(file.SetPosition(27));
        EXPECT_EQ(file.Write("XYZW", 4), 4);
        EXPECT_EQ(file.Size(), 31);
    }
    EXPECT_EQ(ReadTextFile(path), "hEader\n1.500000 42 255 -7 \nXYZW");

    // Writing to a read-only stream is refused by the stream and reported.
    {
        LogCapture log("Tavlin.Util.IOBufferFile");
        IOBufferFile file(path, true, false, false);
        EXPECT_EQ(file.Write("abc", 3), 0);
        EXPECT_EQ(log.Text(), "Bytes written to file (0) differs from bytes to write (3)\n");
    }
    EXPECT_EQ(ReadTextFile(path), "hEader\n1.500000 42 255 -7 \nXYZW");
}

TEST(IOBufferFileRead, MemoryAndStreamModesAgreeOnTheSameBytes)
{
    TempDir dir;
    std::string path = dir.File("in.bin");
    std::string bytes = "0123456789\nline two\r\n";
    for (int i = 0; i < 300; ++i)
        bytes += static_cast<char>(i * 37);
    WriteTextFile(path, bytes);

    for (bool useMemory : {false, true})
    {
        SCOPED_TRACE(useMemory ? "memory" : "stream");
        std::unique_ptr<IOBufferFile> file = OpenRead(path, useMemory);
        ASSERT_TRUE(file->Valid());
        EXPECT_EQ(file->Size(), static_cast<int64_t>(bytes.size()));
        char head[4];
        EXPECT_EQ(file->Read(head, 4), 4);
        EXPECT_EQ(std::string(head, 4), "0123");
        EXPECT_EQ(file->ReadLine(), "456789");
        EXPECT_EQ(file->ReadLine(), "line two");
        std::vector<char> rest(400);
        EXPECT_EQ(file->Read(rest.data(), 400), 300);
        EXPECT_EQ(std::string(rest.data(), 300), bytes.substr(bytes.size() - 300));
        EXPECT_EQ(file->Read(rest.data(), 1), 0);
        EXPECT_EQ(file->ReadLine(), "");

        // One byte left: nothing available, nothing read.
        ASSERT_TRUE(file->SetPosition(file->Size() - 1));
        EXPECT_EQ(file->Available(), 0);
        EXPECT_EQ(file->Read(rest.data(), 1), 0);
        EXPECT_EQ(file->GetPosition(), file->Size() - 1);

        LogCapture log("Tavlin.Util.IOBuffer");
        EXPECT_FALSE(file->SetPosition(file->Size() + 1));
        EXPECT_EQ(file->GetPosition(), file->Size() - 1);
        EXPECT_EQ(log.Text(), "[SetPosition] Invalid position value: " + std::to_string(bytes.size() + 1) + "\n");
        ASSERT_TRUE(file->SetPosition(2));
        EXPECT_EQ(file->Read(head, 2), 2);
        EXPECT_EQ(std::string(head, 2), "23");
    }
}

TEST(IOBufferFileRead, LineEndsDifferBetweenStreamAndMemory)
{
    TempDir dir;
    std::string path = dir.File("lines.txt");
    WriteTextFile(path, "ab\r\ncd\rx\nhello\nlast");

    std::unique_ptr<IOBufferFile> stream = OpenRead(path, false);
    std::unique_ptr<IOBufferFile> memory = OpenRead(path, true);
    EXPECT_EQ(stream->ReadLine(), "ab");
    EXPECT_EQ(memory->ReadLine(), "ab");
    // A carriage return in mid-line ends the line only in stream mode.
    EXPECT_EQ(stream->ReadLine(), "cd");
    EXPECT_EQ(memory->ReadLine(), "cd\rx");
    EXPECT_EQ(stream->GetPosition(), memory->GetPosition());

    // Stream Gets: fgets semantics, the count allowed is returned.
    char out[32];
    std::memset(out, '#', sizeof(out));
    EXPECT_EQ(stream->Gets(out, 32), 10);
    EXPECT_STREQ(out, "hello\n");
    std::memset(out, '#', sizeof(out));
    EXPECT_EQ(memory->Gets(out, 32), 5);
    EXPECT_EQ(std::string(out, 6), "hello#");
    EXPECT_EQ(stream->GetPosition(), memory->GetPosition());

    EXPECT_EQ(stream->ReadLine(), "last");
    EXPECT_EQ(memory->ReadLine(), "last");
    EXPECT_EQ(stream->ReadLine(), "");
    EXPECT_EQ(memory->ReadLine(), "");
}

TEST(IOBufferFileRead, NativeValuesInBothModes)
{
    TempDir dir;
    std::string path = dir.File("values.txt");
    WriteTextFile(path, "17 -3 2.500000 200 junk ");
    for (bool useMemory : {false, true})
    {
        SCOPED_TRACE(useMemory ? "memory" : "stream");
        std::unique_ptr<IOBufferFile> file = OpenRead(path, useMemory);
        long long a = 0;
        short b = 0;
        double c = 0;
        unsigned char d = 0;
        int e = 99;
        file->NativeTypeRead(&a);
        file->NativeTypeRead(&b);
        file->NativeTypeRead(&c);
        // The stream stops right behind the digits, memory behind the blank.
        EXPECT_EQ(file->GetPosition(), useMemory ? 15 : 14);
        file->NativeTypeRead(&d);
        file->NativeTypeRead(&e);
        EXPECT_EQ(a, 17);
        EXPECT_EQ(b, -3);
        EXPECT_EQ(c, 2.5);
        EXPECT_EQ(d, 200);
        EXPECT_EQ(e, 99);
    }
}

TEST(IOBufferFileRead, EmptyFileAndOverlongLine)
{
    TempDir dir;
    WriteTextFile(dir.File("empty"), "");
    for (bool useMemory : {false, true})
    {
        std::unique_ptr<IOBufferFile> file = OpenRead(dir.File("empty"), useMemory);
        ASSERT_TRUE(file->Valid());
        EXPECT_EQ(file->Size(), 0);
        char out[4] = {'#', '#', '#', '#'};
        EXPECT_EQ(file->Read(out, 4), 0);
        EXPECT_EQ(file->Gets(out, 4), 0);
        EXPECT_EQ(out[0], '#');
        EXPECT_EQ(file->ReadLine(), "");
        double value = 4.0;
        file->NativeTypeRead(&value);
        EXPECT_EQ(value, 4.0);
        EXPECT_EQ(file->GetPosition(), 0);
    }

    std::string longLine(1048576 + 10, 'q');
    WriteTextFile(dir.File("long"), longLine + "\nnext\n");
    LogCapture log("Tavlin.Util.IOBufferFile");
    std::unique_ptr<IOBufferFile> file = OpenRead(dir.File("long"), false);
    EXPECT_EQ(file->ReadLine(), std::string(1048575, 'q'));
    EXPECT_EQ(log.Text(), "[ReadLine]: line larger than buffer\n");
    EXPECT_EQ(file->GetPosition(), 1048575);
}

TEST(IOBufferFileZlib, StreamRoundTripThroughAFile)
{
    TempDir dir;
    std::string path = dir.File("z.bin");
    std::vector<unsigned char> data(100000);
    for (size_t i = 0; i < data.size(); ++i)
        data[i] = static_cast<unsigned char>(i * i % 253);
    {
        IOBufferFile file(path, false, false, false);
        file.Write("pre", 3);
        ASSERT_TRUE(file.WriteZlib(data.data(), static_cast<int64_t>(data.size())));
        file.Write("post", 4);
    }
    for (bool useMemory : {false, true})
    {
        std::unique_ptr<IOBufferFile> file = OpenRead(path, useMemory);
        ASSERT_TRUE(file->SetPosition(3));
        std::vector<unsigned char> back(data.size());
        EXPECT_EQ(file->ReadZlib(back.data(), static_cast<int64_t>(back.size())), static_cast<int64_t>(data.size()));
        EXPECT_TRUE(back == data);
        char tail[4];
        EXPECT_EQ(file->Read(tail, 4), 4);
        EXPECT_EQ(std::string(tail, 4), "post");
    }
}
