#include "util/IOBufferFile.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "support/LogCapture.h"
#include "support/TestSupport.h"

using Tavlin::Util::IOBufferFile;
using namespace TestSupport;

namespace
{

std::unique_ptr<IOBufferFile> OpenRead(const std::string& path, bool useMemory)
{
    return std::unique_ptr<IOBufferFile>(new IOBufferFile(path, true, useMemory, false));
}

} // namespace

TEST(IOBufferFile, OpenFailuresLeaveAnInertBufferAndSayWhy)
{
    TempDir dir;
    LogCapture log("Tavlin.Util.IOBufferFile");
    for (bool useMemory : {false, true})
    {
        // Not valid, and inert.
        IOBufferFile missing(dir.File("none.bin"), true, useMemory, false);
        char out[8];
        int value = 5;
        missing.NativeTypeRead(&value);
        EXPECT_TRUE(!missing.Valid() && missing.Read(out, 8) == 0 && missing.ReadLine().empty() &&
                    missing.Write("abc", 3) == 0 && value == 5);
    }
    EXPECT_FALSE(IOBufferFile("", true, false, false).Valid());
    EXPECT_FALSE(IOBufferFile(dir.File("w.bin"), false, true, false).Valid());
    EXPECT_FALSE(PathExists(dir.File("w.bin")));
    EXPECT_FALSE(IOBufferFile(dir.File("no/such/w.bin"), false, false, false).Valid());
    const std::string missing = "Failed to open (mode=rb) " + dir.File("none.bin") + "\n";
    EXPECT_EQ(log.Text(), missing + missing +
                              "Cannot open file; path is empty\nuseMemory not supported for write mode\n"
                              "Failed to open (mode=w+b) " + dir.File("no/such/w.bin") + "\n");
}

TEST(IOBufferFile, WrittenByStreamReadBackAlikeInStreamAndMemoryMode)
{
    TempDir dir;
    const std::string path = dir.File("mixed.bin");
    std::vector<unsigned char> data(100000);
    for (size_t i = 0; i < data.size(); ++i)
        data[i] = static_cast<unsigned char>(i * i % 253);
    int64_t zlibStart = 0;
    {
        IOBufferFile file(path, false, false, false);
        ASSERT_TRUE(file.Valid());
        EXPECT_TRUE(file.Puts("head\rer"));
        file.NativeTypeWrite(1.5);
        file.NativeTypeWrite(42);
        EXPECT_EQ(file.Write("junk \n", 6), 6);
        zlibStart = file.GetPosition();
        ASSERT_TRUE(file.WriteZlib(data.data(), static_cast<int64_t>(data.size())));
        EXPECT_EQ(file.Write("tail\r\nz", 7), 7);
        EXPECT_EQ(file.GetPosition(), file.Size());
    }
    const std::string bytes = ReadTextFile(path);
    EXPECT_EQ(bytes.substr(0, zlibStart), "head\rer\n1.500000 42 junk \n");
    WriteTextFile(dir.File("empty"), "");

    for (bool useMemory : {false, true})
    {
        SCOPED_TRACE(useMemory ? "memory" : "stream");
        std::unique_ptr<IOBufferFile> file = OpenRead(path, useMemory);
        ASSERT_TRUE(file->Valid());
        EXPECT_EQ(file->Size(), static_cast<int64_t>(bytes.size()));
        // A carriage return in mid-line ends the line only in stream mode.
        EXPECT_EQ(file->ReadLine(), useMemory ? "head\rer" : "head");
        ASSERT_TRUE(file->SetPosition(8));
        double a = 0;
        int b = 0, c = 99;
        file->NativeTypeRead(&a);
        file->NativeTypeRead(&b);
        // The stream stops right behind the digits, memory behind the blank.
        EXPECT_EQ(file->GetPosition(), useMemory ? 20 : 19);
        file->NativeTypeRead(&c);
        EXPECT_EQ(a, 1.5);
        EXPECT_EQ(b, 42);
        EXPECT_EQ(c, 99);
        ASSERT_TRUE(file->SetPosition(zlibStart));
        std::vector<unsigned char> back(data.size());
        EXPECT_EQ(file->ReadZlib(back.data(), static_cast<int64_t>(back.size())), static_cast<int64_t>(data.size()));
        EXPECT_TRUE(back == data);
        EXPECT_EQ(file->ReadLine(), "tail");
        // One byte left: nothing available, nothing read.
        EXPECT_EQ(file->Available(), 0);
        char out[4] = {'#', '#', '#', '#'};
        EXPECT_EQ(file->Read(out, 1), 0);
        LogCapture log("Tavlin.Util.IOBuffer");
        EXPECT_FALSE(file->SetPosition(file->Size() + 1));
        EXPECT_EQ(file->GetPosition(), file->Size() - 1);
        EXPECT_EQ(log.Text(), "[SetPosition] Invalid position value: " + std::to_string(bytes.size() + 1) + "\n");

        std::unique_ptr<IOBufferFile> empty = OpenRead(dir.File("empty"), useMemory);
        ASSERT_TRUE(empty->Valid());
        EXPECT_TRUE(empty->Read(out, 4) == 0 && empty->Gets(out, 4) == 0 && out[0] == '#' && empty->ReadLine().empty());
    }
}

TEST(IOBufferFile, StreamGetsKeepsTheLineFeedAndLongLinesAreCut)
{
    TempDir dir;
    WriteTextFile(dir.File("lines.txt"), "hello\nlast");
    char out[32];
    std::memset(out, '#', sizeof(out));
    // fgets semantics: terminator, line feed kept, the count allowed returned.
    EXPECT_EQ(OpenRead(dir.File("lines.txt"), false)->Gets(out, 32), 10);
    EXPECT_STREQ(out, "hello\n");
    std::memset(out, '#', sizeof(out));
    EXPECT_EQ(OpenRead(dir.File("lines.txt"), true)->Gets(out, 32), 5);
    EXPECT_EQ(std::string(out, 6), "hello#");

    WriteTextFile(dir.File("long"), std::string(1048576 + 10, 'q') + "\nnext\n");
    LogCapture log("Tavlin.Util.IOBufferFile");
    std::unique_ptr<IOBufferFile> file = OpenRead(dir.File("long"), false);
    EXPECT_EQ(file->ReadLine(), std::string(1048575, 'q'));
    EXPECT_EQ(log.Text(), "[ReadLine]: line larger than buffer\n");
    EXPECT_EQ(file->GetPosition(), 1048575);
}

TEST(IOBufferFile, OverwriteKeepsTheSizeUpdateKeepsTheContentReadOnlyRefuses)
{
    TempDir dir;
    const std::string path = dir.File("out.txt");
    {
        IOBufferFile file(path, false, false, false);
        EXPECT_EQ(file.Write("header", 6), 6);
        ASSERT_TRUE(file.SetPosition(1));
        EXPECT_EQ(file.Write("E", 1), 1);
        EXPECT_EQ(file.Size(), 6);
        EXPECT_EQ(file.GetPosition(), 2);
    }
    {
        IOBufferFile file(path, false, false, true);
        EXPECT_EQ(file.Size(), 6);
        ASSERT_TRUE(file.SetPosition(4));
        EXPECT_EQ(file.Write("XYZ", 3), 3);
        EXPECT_EQ(file.Size(), 7);
    }
    {
        LogCapture log("Tavlin.Util.IOBufferFile");
        IOBufferFile file(path, true, false, false);
        EXPECT_EQ(file.Write("abc", 3), 0);
        EXPECT_EQ(log.Text(), "Bytes written to file (0) differs from bytes to write (3)\n");
    }
    EXPECT_EQ(ReadTextFile(path), "hEadXYZ");
}
