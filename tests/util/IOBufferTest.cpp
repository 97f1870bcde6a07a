#include "util/IOBuffer.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "support/LogCapture.h"
#include "support/MemoryBuffer.h"

using Tavlin::Util::IOBuffer;
using TestSupport::LogCapture;
using TestSupport::MemoryBufferOf;

namespace
{

std::string Written(IOBuffer& buffer) { return TestSupport::BufferBytes(buffer, 0, buffer.GetPosition()); }

template <class T>
T ReadBack(IOBuffer& buffer, T initial = T())
{
    buffer.NativeTypeRead(&initial);
    return initial;
}

// Writes `value` into a fresh buffer, expects `text`, and reads `back` from it up to
// the end of the text.
template <class T>
void ExpectNativeText(T value, const std::string& text, T back)
{
    IOBuffer buffer(64);
    buffer.NativeTypeWrite(value);
    EXPECT_EQ(Written(buffer), text);
    buffer.Rewind();
    EXPECT_EQ(ReadBack<T>(buffer), back) << text;
    EXPECT_EQ(buffer.GetPosition(), static_cast<int64_t>(text.size())) << text;
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

TEST(IOBufferMemory, AvailableSetPositionAndSeek)
{
    // Nothing available with one byte left; a write of more than is available is cut.
    IOBuffer buffer(10);
    EXPECT_EQ(buffer.Write("0123456789AB", 12), 10);
    ASSERT_TRUE(buffer.SetPosition(7));
    EXPECT_EQ(buffer.Write("xyz!", 4), 3);
    char out[16] = {0};
    ASSERT_TRUE(buffer.SetPosition(9));
    EXPECT_EQ(buffer.Available(), 0);
    EXPECT_EQ(buffer.Read(out, 1), 0);
    EXPECT_EQ(buffer.Write("x", 1), 0);
    ASSERT_TRUE(buffer.SetPosition(8));
    EXPECT_EQ(buffer.Available(), 2);
    buffer.Rewind();
    EXPECT_EQ(buffer.Read(out, 16), 10);
    EXPECT_EQ(std::string(out, 10), "0123456xyz");

    LogCapture log("Tavlin.Util.IOBuffer");
    EXPECT_TRUE(buffer.SetPosition(10));
    EXPECT_TRUE(buffer.SetPosition(4));
    EXPECT_FALSE(buffer.SetPosition(11));
    EXPECT_FALSE(buffer.SetPosition(-1));
    EXPECT_EQ(buffer.GetPosition(), 4);
    EXPECT_EQ(log.Text(), "[SetPosition] Invalid position value: 11\n[SetPosition] Invalid position value: -1\n");
    // (offset, whence, result, position after).
    const int seeks[][4] = {{0, 3, -9, 4}, {3, 1, 0, 7}, {-2, 2, 0, 8}, {1, 0, 0, 1}, {20, 1, -1, 1}};
    for (const auto& s : seeks)
    {
        EXPECT_EQ(buffer.Seek(s[0], s[1]), s[2]) << s[0] << "," << s[1];
        EXPECT_EQ(buffer.GetPosition(), s[3]) << s[0] << "," << s[1];
    }
    buffer.SetPositionAndSize(12);
    EXPECT_EQ(buffer.Size(), 12);
    buffer.SetSize(5);
    EXPECT_EQ(buffer.Available(), 0);
    EXPECT_NE(log.Text().find("Available: position beyond size"), std::string::npos);
}

TEST(IOBufferMemory, ReadLineGetsAndPutsHandleLineEnds)
{
    // ReadLine drops the line feed and one carriage return before it.
    std::unique_ptr<IOBuffer> buffer = MemoryBufferOf("ab\r\ncd");
    for (const char* line : {"ab", "cd", ""})
        EXPECT_EQ(buffer->ReadLine(), line);
    buffer = MemoryBufferOf("a\rb\r\r\n\nxy\n\n");
    for (const char* line : {"a\rb\r", "", "xy"})
        EXPECT_EQ(buffer->ReadLine(), line);
    // One byte left: nothing is available, yet the line feed there is consumed.
    EXPECT_EQ(buffer->GetPosition(), 10);
    EXPECT_EQ(buffer->ReadLine(), "");
    EXPECT_EQ(buffer->GetPosition(), 11);
    // A last line of one byte is never read.
    buffer = MemoryBufferOf("ab\nc");
    EXPECT_EQ(buffer->ReadLine(), "ab");
    EXPECT_EQ(buffer->ReadLine(), "");
    EXPECT_EQ(buffer->GetPosition(), 3);

    // Gets copies without terminator; a line feed behind the copy is consumed, also
    // when the limit stopped the copy right before it, but not in mid-line.
    buffer = MemoryBufferOf("hello\nworld\nz");
    char out[8];
    std::memset(out, '#', sizeof(out));
    EXPECT_EQ(buffer->Gets(out, 8), 5);
    EXPECT_EQ(std::string(out, 6), "hello#");
    EXPECT_EQ(buffer->Gets(out, 3), 3);
    EXPECT_EQ(buffer->GetPosition(), 9);
    EXPECT_EQ(buffer->Gets(out, 2), 2);
    EXPECT_EQ(std::string(out, 3), "ldr");
    EXPECT_EQ(buffer->GetPosition(), 12);
    EXPECT_EQ(buffer->Gets(out, 8), 0);

    // Puts adds a line feed; what does not fit is cut, keeping a byte for the line feed.
    IOBuffer lines(10);
    EXPECT_TRUE(lines.Puts(std::string("abc")));
    EXPECT_FALSE(lines.Puts("0123456789"));
    EXPECT_EQ(Written(lines), "abc\n01234\n");
    IOBuffer exact(4);
    EXPECT_FALSE(exact.Puts("abcd"));
    EXPECT_EQ(Written(exact), "abc\n");
}

TEST(IOBufferMemory, NativeValuesTextFormRoundTripAndGarbage)
{
    ExpectNativeText(1.5, "1.500000 ", 1.5);
    ExpectNativeText(42, "42 ", 42);
    ExpectNativeText<unsigned char>(200, "200 ", 200);
    ExpectNativeText<short>(-30000, "-30000 ", -30000);
    ExpectNativeText<unsigned short>(65535, "65535 ", 65535);
    ExpectNativeText(4000000000u, "4000000000 ", 4000000000u);
    ExpectNativeText(-9000000000000000000LL, "-9000000000000000000 ", -9000000000000000000LL);
    ExpectNativeText(~0ULL, "18446744073709551615 ", ~0ULL);
    // Six decimals only.
    ExpectNativeText(0.1234567f, "0.123457 ", 0.123457f);
    ExpectNativeText(-2.0000004, "-2.000000 ", -2.0);
    // A char is parsed as an int but only its own byte is stored.
    IOBuffer buffer(8);
    buffer.NativeTypeWrite(static_cast<char>(-5));
    EXPECT_EQ(Written(buffer), "-5 ");
    buffer.Rewind();
    char narrow[4] = {0, 'g', 'g', 'g'};
    buffer.NativeTypeRead(narrow);
    EXPECT_EQ(std::string(narrow, 4), "\xfbggg");

    // Garbage or nothing keeps the value; the last value needs no blank behind it.
    std::unique_ptr<IOBuffer> text = MemoryBufferOf("abc 7");
    EXPECT_EQ(ReadBack(*text, 99), 99);
    EXPECT_EQ(text->GetPosition(), 4);
    EXPECT_EQ(ReadBack(*text, 99), 7);
    EXPECT_EQ(text->GetPosition(), 5);
    EXPECT_EQ(ReadBack(*text, 99), 99);
    IOBuffer empty(0);
    EXPECT_EQ(ReadBack(empty, 3.0), 3.0);
    EXPECT_EQ(empty.ReadLine(), "");
    EXPECT_FALSE(empty.Puts("x"));
}

TEST(IOBufferZlib, RoundTripOverMoreThanOneChunk)
{
    const int64_t size = IOBuffer::sZlibChunkSize + 1000;
    std::vector<unsigned char> data = PatternBytes(static_cast<size_t>(size));
    IOBuffer stream(size / 4);
    ASSERT_TRUE(stream.WriteZlib(data.data(), size));
    const int64_t streamEnd = stream.GetPosition();
    // Chunk count and total in front.
    const std::string head = TestSupport::BufferBytes(stream, 0, 12);
    EXPECT_EQ(head.substr(0, 4), std::string("\2\0\0\0", 4));
    EXPECT_EQ(head.substr(4), std::string(reinterpret_cast<const char*>(&size), 8));
    std::vector<unsigned char> back(data.size(), 0);
    stream.Rewind();
    EXPECT_EQ(stream.ReadZlib(back.data(), size), size);
    EXPECT_EQ(stream.GetPosition(), streamEnd);
    EXPECT_TRUE(back == data);
}

TEST(IOBufferZlib, TooSmallCapacityTruncatedDamagedAndGarbageStreamsAreReported)
{
    const size_t size = 5000;
    std::vector<unsigned char> data = PatternBytes(size);
    IOBuffer stream(20000);
    ASSERT_TRUE(stream.WriteZlib(data.data(), static_cast<int64_t>(size)));
    const std::string bytes = Written(stream);
    std::string damaged = bytes;
    for (size_t i = 20; i < 60; ++i)
        damaged[i] = static_cast<char>(~damaged[i]);
    std::vector<unsigned char> back(size + 1, 0xEE);
    // Too small a capacity (one byte: no chunk is read); cut inside the compressed data,
    // the chunk size, the header; garbage; a damaged chunk, passed over.
    const std::string sizes = std::to_string(bytes.size() - 16) + " 5000 5000 ";
    const std::pair<std::string, std::string> cases[] = {
        {bytes, "ReadZlib: Buffer to small\n"},       {bytes.substr(0, bytes.size() - 10), "ReadZlib: "},
        {bytes.substr(0, 14), "ReadZlib: "},          {bytes.substr(0, 6), "ReadZlib: "},
        {std::string(), "ReadZlib: "},                {std::string(64, '\x7f'), "ReadZlib: "},
        {damaged, "ReadZlib: Decompression failed (" + sizes}};
    const int64_t ends[] = {12, -1, -1, -1, -1, -1, static_cast<int64_t>(bytes.size())};
    for (int i = 0; i < 7; ++i)
    {
        LogCapture log("Tavlin.Util.IOBuffer");
        std::unique_ptr<IOBuffer> buffer = MemoryBufferOf(cases[i].first);
        EXPECT_EQ(buffer->ReadZlib(back.data(), static_cast<int64_t>(i == 0 ? size - 1 : size)), 0) << i;
        EXPECT_EQ(log.Text().substr(0, cases[i].second.size()), cases[i].second) << i;
        EXPECT_EQ(back[size], 0xEE);
        EXPECT_TRUE(ends[i] < 0 || buffer->GetPosition() == ends[i]) << i;
    }
}
