#include "util/IOBuffer.h"

#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "support/LogCapture.h"

using Tavlin::Util::IOBuffer;
using TestSupport::LogCapture;

namespace
{

// A memory buffer of exactly the given bytes, at position 0.
std::unique_ptr<IOBuffer> BufferOf(const std::string& bytes)
{
    std::unique_ptr<IOBuffer> buffer(new IOBuffer(static_cast<int64_t>(bytes.size())));
    EXPECT_EQ(buffer->Write(bytes.data(), static_cast<int64_t>(bytes.size())), static_cast<int64_t>(bytes.size()));
    buffer->Rewind();
    return buffer;
}

// The bytes from 0 to the position.
std::string Written(IOBuffer& buffer)
{
    int64_t end = buffer.GetPosition();
    std::string text(static_cast<size_t>(end), '\0');
    buffer.Rewind();
    buffer.Read(&text[0], end);
    return text;
}

// Compressible but not trivial: a slow ramp with a short period mixed in.
std::vector<unsigned char> PatternBytes(size_t size)
{
    std::vector<unsigned char> data(size);
    for (size_t i = 0; i < size; ++i)
        data[i] = static_cast<unsigned char>((i >> 12) + (i % 251));
    return data;
}

} // namespace

TEST(IOBufferMemory, ReportsNothingAvailableWithOneByteLeft)
{
    IOBuffer buffer(10);
    EXPECT_EQ(buffer.Size(), 10);
    EXPECT_EQ(buffer.Available(), 10);
    ASSERT_TRUE(buffer.SetPosition(9));
    EXPECT_EQ(buffer.Available(), 0);
    EXPECT_EQ(buffer.AvailableInt32(), 0);
    char byte = 0;
    EXPECT_EQ(buffer.Read(&byte, 1), 0);
    EXPECT_EQ(buffer.Write("x", 1), 0);
    EXPECT_EQ(buffer.GetPosition(), 9);
    ASSERT_TRUE(buffer.SetPosition(8));
    EXPECT_EQ(buffer.Available(), 2);

    LogCapture log("Tavlin.Util.IOBuffer");
    buffer.SetSize(5);
    EXPECT_EQ(buffer.Available(), 0);
    EXPECT_NE(log.Text().find("Available: position beyond size"), std::string::npos);
}

TEST(IOBufferMemory, PositionsOutsideTheSizeAreRefused)
{
    IOBuffer buffer(10);
    LogCapture log("Tavlin.Util.IOBuffer");
    EXPECT_TRUE(buffer.SetPosition(10));
    EXPECT_TRUE(buffer.SetPosition(4));
    EXPECT_FALSE(buffer.SetPosition(11));
    EXPECT_FALSE(buffer.SetPosition(-1));
    EXPECT_EQ(buffer.GetPosition(), 4);
    EXPECT_EQ(log.Text(), "[SetPosition] Invalid position value: 11\n[SetPosition] Invalid position value: -1\n");

    EXPECT_EQ(buffer.Seek(0, 3), -9);
    EXPECT_EQ(buffer.Seek(3, 1), 0);
    EXPECT_EQ(buffer.GetPosition(), 7);
    EXPECT_EQ(buffer.Seek(-2, 2), 0);
    EXPECT_EQ(buffer.GetPosition(), 8);
    EXPECT_EQ(buffer.Seek(1, 0), 0);
    EXPECT_EQ(buffer.GetPosition(), 1);
    EXPECT_EQ(buffer.Seek(20, 1), -1);
    EXPECT_EQ(buffer.GetPosition(), 1);
    buffer.FastForward();
    EXPECT_EQ(buffer.GetPosition(), 10);
    buffer.Rewind();
    EXPECT_EQ(buffer.GetPosition(), 0);

    buffer.SetPositionAndSize(4);
    EXPECT_EQ(buffer.Size(), 10);
    buffer.SetPositionAndSize(12);
    EXPECT_EQ(buffer.Size(), 12);
    EXPECT_EQ(buffer.GetPosition(), 12);
}

TEST(IOBufferMemory, ReadAndWriteStopAtTheAvailableBytes)
{
    IOBuffer buffer(10);
    EXPECT_EQ(buffer.Write("0123456789AB", 12), 10);
    EXPECT_EQ(buffer.GetPosition(), 10);
    EXPECT_EQ(buffer.Size(), 10);
    ASSERT_TRUE(buffer.SetPosition(7));
    EXPECT_EQ(buffer.Write("xyz!", 4), 3);
    buffer.Rewind();
    char out[16] = {0};
    EXPECT_EQ(buffer.Read(out, 16), 10);
    EXPECT_EQ(std::string(out, 10), "0123456xyz");
    ASSERT_TRUE(buffer.SetPosition(6));
    EXPECT_EQ(buffer.Read(out, 2), 2);
    EXPECT_EQ(std::string(out, 2), "6x");
}

TEST(IOBufferMemory, ReadLineDropsLineFeedAndOneCarriageReturn)
{
    std::unique_ptr<IOBuffer> buffer = BufferOf("ab\r\ncd");
    EXPECT_EQ(buffer->ReadLine(), "ab");
    EXPECT_EQ(buffer->ReadLine(), "cd");
    EXPECT_EQ(buffer->ReadLine(), "");
    EXPECT_EQ(buffer->GetPosition(), 6);

    buffer = BufferOf("a\rb\r\r\n\nxy\n\n");
    EXPECT_EQ(buffer->ReadLine(), "a\rb\r");
    EXPECT_EQ(buffer->ReadLine(), "");
    EXPECT_EQ(buffer->ReadLine(), "xy");
    // One byte left: nothing is available, yet the line feed there is consumed.
    EXPECT_EQ(buffer->GetPosition(), 10);
    EXPECT_EQ(buffer->ReadLine(), "");
    EXPECT_EQ(buffer->GetPosition(), 11);

    // A last line of one byte is never read.
    buffer = BufferOf("ab\nc");
    EXPECT_EQ(buffer->ReadLine(), "ab");
    EXPECT_EQ(buffer->ReadLine(), "");
    EXPECT_EQ(buffer->GetPosition(), 3);
}

TEST(IOBufferMemory, GetsCopiesWithoutTerminatorAndSkipsTheLineFeed)
{
    std::unique_ptr<IOBuffer> buffer = BufferOf("hello\nworld\nabc\nz");
    char out[32];
    std::memset(out, '#', sizeof(out));
    EXPECT_EQ(buffer->Gets(out, 32), 5);
    EXPECT_EQ(std::string(out, 6), "hello#");
    EXPECT_EQ(buffer->GetPosition(), 6);
    // The size limit stops the copy; the byte then at the position is no line feed.
    EXPECT_EQ(buffer->Gets(out, 3), 3);
    EXPECT_EQ(std::string(out, 3), "wor");
    EXPECT_EQ(buffer->GetPosition(), 9);
    // Stopped by the limit right before a line feed, which is consumed all the same.
    EXPECT_EQ(buffer->Gets(out, 2), 2);
    EXPECT_EQ(std::string(out, 2), "ld");
    EXPECT_EQ(buffer->GetPosition(), 12);
    EXPECT_EQ(buffer->Gets(out, 32), 3);
    EXPECT_EQ(buffer->GetPosition(), 16);
    EXPECT_EQ(buffer->Gets(out, 32), 0);
}

TEST(IOBufferMemory, PutsAddsLineFeedAndTruncatesToFit)
{
    IOBuffer buffer(10);
    EXPECT_TRUE(buffer.Puts(std::string("abc")));
    EXPECT_EQ(buffer.GetPosition(), 4);
    EXPECT_FALSE(buffer.Puts("0123456789"));
    EXPECT_EQ(buffer.GetPosition(), 10);
    EXPECT_EQ(Written(buffer), "abc\n01234\n");

    // Text as long as the space left does not fit, since the line feed needs a byte.
    IOBuffer exact(4);
    EXPECT_FALSE(exact.Puts("abcd"));
    EXPECT_EQ(Written(exact), "abc\n");
    EXPECT_FALSE(exact.Puts("more"));
    EXPECT_EQ(exact.GetPosition(), 4);
}

TEST(IOBufferMemory, NativeValuesTextFormAndRoundTrip)
{
    IOBuffer buffer(256);
    buffer.NativeTypeWrite(1.5);
    buffer.NativeTypeWrite(42);
    EXPECT_EQ(Written(buffer), "1.500000 42 ");

    buffer.Rewind();
    buffer.NativeTypeWrite(static_cast<char>(-5));
    buffer.NativeTypeWrite(static_cast<unsigned char>(200));
    buffer.NativeTypeWrite(static_cast<short>(-30000));
    buffer.NativeTypeWrite(static_cast<unsigned short>(65535));
    buffer.NativeTypeWrite(-2147483647);
    buffer.NativeTypeWrite(4000000000u);
    buffer.NativeTypeWrite(-9000000000000000000LL);
    buffer.NativeTypeWrite(std::numeric_limits<unsigned long long>::max());
    buffer.NativeTypeWrite(0.1234567f);
    buffer.NativeTypeWrite(-2.0000004);
    int64_t end = buffer.GetPosition();
    std::string text = Written(buffer);
    EXPECT_EQ(text, "-5 200 -30000 65535 -2147483647 4000000000 -9000000000000000000 "
                    "18446744073709551615 0.123457 -2.000000 ");

    // A char is parsed as an int but only its own byte is stored.
    struct
    {
        char value;
        char guard[3];
    } narrow = {0, {'g', 'g', 'g'}};
    unsigned char uc = 0;
    short s = 0;
    unsigned short us = 0;
    int i = 0;
    unsigned int ui = 0;
    long long ll = 0;
    unsigned long long ull = 0;
    float f = 0;
    double d = 0;
    buffer.Rewind();
    buffer.NativeTypeRead(&narrow.value);
    buffer.NativeTypeRead(&uc);
    buffer.NativeTypeRead(&s);
    buffer.NativeTypeRead(&us);
    buffer.NativeTypeRead(&i);
    buffer.NativeTypeRead(&ui);
    buffer.NativeTypeRead(&ll);
    buffer.NativeTypeRead(&ull);
    buffer.NativeTypeRead(&f);
    buffer.NativeTypeRead(&d);
    EXPECT_EQ(narrow.value, -5);
    EXPECT_EQ(std::string(narrow.guard, 3), "ggg");
    EXPECT_EQ(uc, 200);
    EXPECT_EQ(s, -30000);
    EXPECT_EQ(us, 65535);
    EXPECT_EQ(i, -2147483647);
    EXPECT_EQ(ui, 4000000000u);
    EXPECT_EQ(ll, -9000000000000000000LL);
    EXPECT_EQ(ull, std::numeric_limits<unsigned long long>::max());
    EXPECT_FLOAT_EQ(f, 0.123457f);
    EXPECT_DOUBLE_EQ(d, -2.0);
    // Each read moves behind the blank.
    EXPECT_EQ(buffer.GetPosition(), end);
}

TEST(IOBufferMemory, NativeReadOfGarbageOrNothingKeepsTheValue)
{
    std::unique_ptr<IOBuffer> buffer = BufferOf("abc 7");
    int value = 99;
    buffer->NativeTypeRead(&value);
    EXPECT_EQ(value, 99);
    EXPECT_EQ(buffer->GetPosition(), 4);
    // The last value lacks its blank: read all the same, the position stops at the end.
    buffer->NativeTypeRead(&value);
    EXPECT_EQ(value, 7);
    EXPECT_EQ(buffer->GetPosition(), 5);
    buffer->NativeTypeRead(&value);
    EXPECT_EQ(value, 7);

    IOBuffer empty(0);
    double d = 3.0;
    empty.NativeTypeRead(&d);
    EXPECT_EQ(d, 3.0);
    EXPECT_EQ(empty.ReadLine(), "");
    char out[4];
    EXPECT_EQ(empty.Gets(out, 4), 0);
    EXPECT_FALSE(empty.Puts("x"));
}

TEST(IOBufferZlib, RoundTripOverMoreThanOneChunk)
{
    const size_t size = static_cast<size_t>(IOBuffer::sZlibChunkSize) + 1000;
    std::vector<unsigned char> data = PatternBytes(size);
    IOBuffer stream(static_cast<int64_t>(size / 4));
    ASSERT_TRUE(stream.WriteZlib(data.data(), static_cast<int64_t>(size)));
    int64_t streamEnd = stream.GetPosition();
    ASSERT_LT(streamEnd, stream.Size());

    stream.Rewind();
    int32_t chunkCount = 0;
    int64_t total = 0;
    stream.Read(&chunkCount, 4);
    stream.Read(&total, 8);
    EXPECT_EQ(chunkCount, 2);
    EXPECT_EQ(total, static_cast<int64_t>(size));

    std::vector<unsigned char> back(size, 0);
    stream.Rewind();
    EXPECT_EQ(stream.ReadZlib(back.data(), static_cast<int64_t>(size)), static_cast<int64_t>(size));
    EXPECT_EQ(stream.GetPosition(), streamEnd);
    EXPECT_TRUE(back == data);
}

TEST(IOBufferZlib, RefusesTooSmallCapacityAndSurvivesBrokenStreams)
{
    const size_t size = 5000;
    std::vector<unsigned char> data = PatternBytes(size);
    IOBuffer stream(20000);
    ASSERT_TRUE(stream.WriteZlib(data.data(), static_cast<int64_t>(size)));
    const int64_t streamEnd = stream.GetPosition();
    std::string bytes = Written(stream);
    std::vector<unsigned char> back(size + 1, 0xEE);

    {
        LogCapture log("Tavlin.Util.IOBuffer");
        stream.Rewind();
        EXPECT_EQ(stream.ReadZlib(back.data(), static_cast<int64_t>(size) - 1), 0);
        EXPECT_EQ(stream.GetPosition(), 12);
        EXPECT_EQ(log.Text(), "ReadZlib: Buffer to small\n");
    }
    {
        // Truncated inside the compressed data, inside the chunk size, inside the header.
        for (size_t keep : {bytes.size() - 10, size_t(14), size_t(6), size_t(0)})
        {
            LogCapture log("Tavlin.Util.IOBuffer");
            std::unique_ptr<IOBuffer> cut = BufferOf(bytes.substr(0, keep));
            EXPECT_EQ(cut->ReadZlib(back.data(), static_cast<int64_t>(size)), 0) << keep;
            EXPECT_NE(log.Text().find("ReadZlib: "), std::string::npos) << keep;
            EXPECT_EQ(back[size], 0xEE);
        }
    }
    {
        // Damaged compressed bytes: the chunk is reported and not counted.
        std::string damaged = bytes;
        for (size_t i = 20; i < 60; ++i)
            damaged[i] = static_cast<char>(~damaged[i]);
        LogCapture log("Tavlin.Util.IOBuffer");
        std::unique_ptr<IOBuffer> buffer = BufferOf(damaged);
        EXPECT_EQ(buffer->ReadZlib(back.data(), static_cast<int64_t>(size)), 0);
        EXPECT_EQ(log.Text().find("ReadZlib: Decompression failed (" + std::to_string(bytes.size() - 16) + " 5000 5000 "),
                  0u);
        EXPECT_EQ(buffer->GetPosition(), streamEnd);
    }
    {
        LogCapture log("Tavlin.Util.IOBuffer");
        std::unique_ptr<IOBuffer> garbage = BufferOf(std::string(64, '\x7f'));
        EXPECT_EQ(garbage->ReadZlib(back.data(), static_cast<int64_t>(size)), 0);
        EXPECT_NE(log.Text().find("ReadZlib: "), std::string::npos);
    }
}
