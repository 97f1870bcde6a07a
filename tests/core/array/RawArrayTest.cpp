#include "core/array/ArrayFactories.h"
#include "core/array/ArraySet.h"
#include "core/array/ReadRaw.h"
#include "core/array/WriteRaw.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "support/LogCapture.h"
#include "support/TestSupport.h"
#include "util/IOBuffer.h"
#include "util/IOBufferFile.h"

using namespace Tavlin::Core::Array;
using Tavlin::Util::IOBuffer;
using Tavlin::Util::IOBufferFile;
using TestSupport::LogCapture;
using TestSupport::TempDir;

namespace
{

// Counts the calls that move data, to see that blocks go in one piece.
class CountingBuffer : public IOBuffer
{
public:
    explicit CountingBuffer(int64_t size) : IOBuffer(size) {}
    int64_t Read(void* dst, int64_t count) override
    {
        mReads.push_back(count);
        return IOBuffer::Read(dst, count);
    }
    int64_t Write(const void* src, int64_t count) override
    {
        mWrites.push_back(count);
        return IOBuffer::Write(src, count);
    }
    std::vector<int64_t> mReads;
    std::vector<int64_t> mWrites;
};

// Pixel values that differ everywhere and are exact in binary.
Array2dReal64* MakeReal(long long width, long long height, long long border = 0)
{
    Array2dReal64* a = ArrayCreate<Array2dReal64>(width, height, border, border, nullptr, false);
    for (long long i = 0; i < static_cast<long long>(a->DataSize()); ++i)
        a->mData[i] = -1.0e300; // border marker
    for (long long y = 0; y < height; ++y)
        for (long long x = 0; x < width; ++x)
            *a->PixelPtr(x, y) = (y * 1000 + x) * 0.25 - 3.0;
    return a;
}

::testing::AssertionResult SameImage(Array2dReal64* a, Array2dReal64* b)
{
    if (!a || !b)
        return ::testing::AssertionFailure() << "null array";
    if (a->Width() != b->Width() || a->Height() != b->Height())
        return ::testing::AssertionFailure() << "size " << b->Width() << " x " << b->Height();
    for (long long y = 0; y < a->Height(); ++y)
        for (long long x = 0; x < a->Width(); ++x)
            if (*a->PixelPtr(x, y) != *b->PixelPtr(x, y))
                return ::testing::AssertionFailure() << "pixel " << x << "," << y;
    return ::testing::AssertionSuccess();
}

// A memory buffer holding the text padded with zeros to the 200 header bytes, then
// the payload.
std::unique_ptr<IOBuffer> RawBuffer(const std::string& header, const void* payload, size_t payloadSize)
{
    std::string bytes = header;
    bytes.resize(200, '\0');
    if (payloadSize > 0)
        bytes.append(static_cast<const char*>(payload), payloadSize);
    std::unique_ptr<IOBuffer> buffer(new IOBuffer(static_cast<int64_t>(bytes.size())));
    buffer->Write(bytes.data(), static_cast<int64_t>(bytes.size()));
    buffer->Rewind();
    return buffer;
}

std::unique_ptr<IOBuffer> TextBuffer(const std::string& text)
{
    std::unique_ptr<IOBuffer> buffer(new IOBuffer(static_cast<int64_t>(text.size())));
    buffer->Write(text.data(), static_cast<int64_t>(text.size()));
    buffer->Rewind();
    return buffer;
}

std::string HeaderText(IOBuffer& buffer, int64_t at)
{
    char header[201] = {0};
    int64_t keep = buffer.GetPosition();
    buffer.SetPosition(at);
    buffer.Read(header, 200);
    buffer.SetPosition(keep);
    return header;
}

} // namespace

TEST(RawArrayWrite, PlainFileRoundTripWithExactHeader)
{
    TempDir dir;
    std::unique_ptr<Array2dReal64> source(MakeReal(7, 5));
    {
        IOBufferFile out(dir.File("a.raw"), false, false, false);
        WriteRaw(source.get(), &out, 1);
        EXPECT_EQ(out.Size(), 200 + 7 * 5 * 8);
    }
    std::string bytes = TestSupport::ReadTextFile(dir.File("a.raw"));
    ASSERT_EQ(bytes.size(), 480u);
    std::string header = "version: 1, binary: 1, type: real64, elemSize: 1, width: 7, height: 5, nr: 1";
    EXPECT_EQ(bytes.substr(0, header.size()), header);
    EXPECT_EQ(bytes.substr(header.size(), 200 - header.size()), std::string(200 - header.size(), '\0'));
    double first = 0;
    std::memcpy(&first, bytes.data() + 200 + 8, 8);
    EXPECT_EQ(first, *source->PixelPtr(1, 0));

    for (bool useMemory : {false, true})
    {
        IOBufferFile in(dir.File("a.raw"), true, useMemory, false);
        long long version = 0, binary = 0, elemSize = 0, width = 0, height = 0, nr = 0, lines = -1;
        std::string compressor = "x";
        ASSERT_TRUE(ReadRawHeader<Array2dReal64>(&in, &version, &binary, &elemSize, &width, &height, &nr, compressor,
                                                 &lines));
        EXPECT_EQ(version, 1);
        EXPECT_EQ(binary, 1);
        EXPECT_EQ(width, 7);
        EXPECT_EQ(height, 5);
        EXPECT_EQ(nr, 1);
        EXPECT_EQ(lines, 0);
        in.Rewind();
        Array2dReal64* back = nullptr;
        ReadRaw(back, &in);
        std::unique_ptr<Array2dReal64> owned(back);
        ASSERT_TRUE(back);
        EXPECT_EQ(back->BorderWidth(), 0);
        EXPECT_TRUE(SameImage(source.get(), back));
        EXPECT_EQ(in.GetPosition(), 480);
    }

    // The old compressed form asked for gives a plain version 1 file; text is refused.
    IOBuffer two(1000);
    WriteRaw(source.get(), &two, 2);
    EXPECT_EQ(HeaderText(two, 0), header);
    EXPECT_EQ(two.GetPosition(), 480);
    LogCapture log("Tavlin.Core.Array.WriteRaw");
    IOBuffer text(1000);
    WriteRaw(source.get(), &text, 0);
    EXPECT_EQ(text.GetPosition(), 0);
    EXPECT_EQ(log.Text(), "Non-binary write has been eliminated\n");
}

TEST(RawArrayWrite, ZlibRoundTripsAndRunLengths)
{
    // Without border: one run of 16 MiB / row bytes rows.
    std::unique_ptr<Array2dReal64> plain(MakeReal(100, 50));
    IOBuffer stream(200000);
    WriteRaw(plain.get(), &stream, 3);
    EXPECT_EQ(HeaderText(stream, 0),
              "version: 3, binary: 1, type: real64, elemSize: 1, width: 100, height: 50, nr: 1, zlib: 20971");
    const int64_t firstEnd = stream.GetPosition();
    EXPECT_LT(firstEnd, 200 + 100 * 50 * 8);

    // With a border: one run per row, and only the image goes out.
    std::unique_ptr<Array2dReal64> bordered(MakeReal(9, 4, 2));
    WriteRaw(bordered.get(), &stream, 3);
    EXPECT_EQ(HeaderText(stream, firstEnd),
              "version: 3, binary: 1, type: real64, elemSize: 1, width: 9, height: 4, nr: 1, zlib: 1");
    const int64_t secondEnd = stream.GetPosition();
    WriteRaw(bordered.get(), &stream, 1);
    EXPECT_EQ(stream.GetPosition(), secondEnd + 200 + 9 * 4 * 8);

    // Three arrays one after the other in one stream.
    stream.Rewind();
    Array2dReal64* a = nullptr;
    Array2dReal64* b = nullptr;
    Array2dReal64* c = nullptr;
    ReadRaw(a, &stream);
    EXPECT_EQ(stream.GetPosition(), firstEnd);
    ReadRaw(b, &stream);
    EXPECT_EQ(stream.GetPosition(), secondEnd);
    ReadRaw(c, &stream);
    std::unique_ptr<Array2dReal64> ownA(a), ownB(b), ownC(c);
    EXPECT_TRUE(SameImage(plain.get(), a));
    EXPECT_TRUE(SameImage(bordered.get(), b));
    EXPECT_TRUE(SameImage(bordered.get(), c));

    // Rows wider than 16 MiB leave the run length 0: plain data under a version 3 header.
    const long long wide = IOBuffer::sZlibChunkSize / 8 + 1;
    std::unique_ptr<Array2dReal64> row(ArrayCreate<Array2dReal64>(wide, 1, 0, 0, nullptr, false));
    for (long long x = 0; x < wide; ++x)
        row->mData[x] = static_cast<double>(x % 977);
    IOBuffer big(200 + wide * 8 + 16);
    WriteRaw(row.get(), &big, 3);
    EXPECT_EQ(HeaderText(big, 0), "version: 3, binary: 1, type: real64, elemSize: 1, width: " + std::to_string(wide) +
                                      ", height: 1, nr: 1, zlib: 0");
    EXPECT_EQ(big.GetPosition(), 200 + wide * 8);
    big.Rewind();
    Array2dReal64* back = nullptr;
    ReadRaw(back, &big);
    std::unique_ptr<Array2dReal64> ownBack(back);
    EXPECT_TRUE(SameImage(row.get(), back));
}

TEST(RawArrayWrite, CodebookBlockMovesInOneCall)
{
    std::unique_ptr<Array2dReal64> codebook(MakeReal(128, 4096));
    CountingBuffer buffer(200 + 128 * 4096 * 8 + 16);
    WriteRaw(codebook.get(), &buffer, 1);
    EXPECT_EQ(buffer.mWrites, (std::vector<int64_t>{200, 128 * 4096 * 8}));
    buffer.Rewind();
    Array2dReal64* back = nullptr;
    ReadRaw(back, &buffer);
    std::unique_ptr<Array2dReal64> owned(back);
    EXPECT_EQ(buffer.mReads, (std::vector<int64_t>{128 * 4096 * 8}));
    EXPECT_TRUE(SameImage(codebook.get(), back));
}

TEST(RawArrayRead, OtherTypesVersionsAndCounts)
{
    // uint8 with three values a pixel, and uint64.
    unsigned char rgb[12] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 255};
    std::unique_ptr<IOBuffer> image =
        RawBuffer("version: 1, binary: 1, type: uint8, elemSize: 3, width: 2, height: 2, nr: 1", rgb, 12);
    Array2dVec3UInt8* pixels = nullptr;
    ReadRaw(pixels, image.get());
    std::unique_ptr<Array2dVec3UInt8> ownPixels(pixels);
    ASSERT_TRUE(pixels);
    EXPECT_EQ(pixels->PixelPtr(1, 1)[2], 255);
    EXPECT_EQ(pixels->PixelPtr(0, 1)[0], 7);

    unsigned long long wide[3] = {1, 1ULL << 40, ~0ULL};
    std::unique_ptr<IOBuffer> words =
        RawBuffer("version: 3, binary: 1, type: uint64, elemSize: 1, width: 3, height: 1, nr: 1, zlib: 0", wide, 24);
    Array2dUInt64* values = nullptr;
    ReadRaw(values, words.get());
    std::unique_ptr<Array2dUInt64> ownValues(values);
    ASSERT_TRUE(values);
    EXPECT_EQ(values->mData[1], 1ULL << 40);
    EXPECT_EQ(values->mData[2], ~0ULL);

    // nr 3: ReadRaw keeps the last, ReadRawList gives all, reusing what the list has.
    double three[6] = {1, 2, 3, 4, 5, 6};
    std::unique_ptr<IOBuffer> list =
        RawBuffer("version: 1, binary: 1, type: real64, elemSize: 1, width: 2, height: 1, nr: 3", three, 48);
    Array2dReal64* last = nullptr;
    ReadRaw(last, list.get());
    std::unique_ptr<Array2dReal64> ownLast(last);
    ASSERT_TRUE(last);
    EXPECT_EQ(last->mData[0], 5);
    EXPECT_EQ(last->mData[1], 6);
    list->Rewind();
    std::vector<Array2dReal64*> arrays = {ArrayCreate<Array2dReal64>(2, 1, 0, 0, nullptr, false)};
    Array2dReal64* reused = arrays[0];
    ReadRawList(arrays, list.get());
    ASSERT_EQ(arrays.size(), 3u);
    EXPECT_EQ(arrays[0], reused);
    EXPECT_EQ(arrays[0]->mData[1], 2);
    EXPECT_EQ(arrays[2]->mData[0], 5);
    for (Array2dReal64* a : arrays)
        delete a;

    // Version 2 has no dimensions: the caller's stay.
    std::unique_ptr<IOBuffer> old = RawBuffer("version: 2, binary: 1, type: real64, elemSize: 1, nr: 4", nullptr, 0);
    long long version = 0, binary = 0, elemSize = 0, width = 11, height = 12, nr = 0, lines = 9;
    std::string compressor;
    EXPECT_TRUE(ReadRawHeader<Array2dReal64>(old.get(), &version, &binary, &elemSize, &width, &height, &nr,
                                             compressor, &lines));
    EXPECT_EQ(version, 2);
    EXPECT_EQ(nr, 4);
    EXPECT_EQ(width, 11);
    EXPECT_EQ(height, 12);
    EXPECT_EQ(lines, 0);

    ArraySet<Array2dReal64> set(3);
    EXPECT_EQ(set.Size(), 3);
    EXPECT_EQ(set.mArrays[2], nullptr);
    EXPECT_EQ(set.mNames[2], "");
    EXPECT_EQ(ArraySet<Array2dReal64>(0).mNames.size(), 0u);
}

TEST(RawArrayRead, TextPayloadInStreamAndMemory)
{
    TempDir dir;
    std::string path = dir.File("text.raw");
    TestSupport::WriteTextFile(path, "version: 1, binary: 0, type: real64, elemSize: 1, width: 3, height: 1, nr: 2\n"
                                     "1.5 2 3 -4 5.25 6 \nafter\n");
    for (bool useMemory : {false, true})
    {
        SCOPED_TRACE(useMemory ? "memory" : "stream");
        IOBufferFile in(path, true, useMemory, false);
        std::vector<Array2dReal64*> list;
        ReadRawList(list, &in);
        ASSERT_EQ(list.size(), 2u);
        EXPECT_EQ(list[0]->mData[0], 1.5);
        EXPECT_EQ(list[1]->mData[0], -4);
        EXPECT_EQ(list[1]->mData[2], 6);
        EXPECT_EQ(in.ReadLine(), "after");
        for (Array2dReal64* a : list)
            delete a;
        in.Rewind();
        Array2dReal64* last = nullptr;
        ReadRaw(last, &in);
        std::unique_ptr<Array2dReal64> owned(last);
        ASSERT_TRUE(last);
        EXPECT_EQ(last->mData[1], 5.25);
    }
}

TEST(RawArrayRead, RefusesForeignHeadersWithTheirMessages)
{
    std::unique_ptr<Array2dReal64> source(MakeReal(3, 2));
    IOBuffer file(1000);
    WriteRaw(source.get(), &file, 1);
    const std::string header = "version: 1, binary: 1, type: real64, elemSize: 1, width: 3, height: 2, nr: 1";
    {
        LogCapture log("Tavlin.Core.Array.ReadRawHeader");
        file.Rewind();
        Array2dVec3UInt8* image = nullptr;
        ReadRaw(image, &file);
        EXPECT_EQ(image, nullptr);
        file.Rewind();
        Array2dUInt64* words = nullptr;
        ReadRaw(words, &file);
        EXPECT_EQ(words, nullptr);
        EXPECT_EQ(log.Text(), "Header type 1 is not compatible: res==1 (should be 5), elemSize==0 (should be 3), buf==[" +
                                  header + "]\nHeader type 1 is not compatible: res==1 (should be 5), elemSize==0 "
                                           "(should be 1), buf==[" +
                                  header + "]\n");
    }
    struct Case
    {
        const char* header;
        const char* message;
    };
    const Case cases[] = {
        {"", "Could not determine version\n"},
        {"\x7f\x45garbage\x01", "Could not determine version\n"},
        {"version: 7, binary: 1", "Unknown version 7\n"},
        {"version: 3, binary: 1, type: real64, elemSize: 1, width: 3, height: 2, nr: 1",
         "Header type 3 is not compatible: res==5 (should be 6), elemSize==1 (should be 1), buf==[version: 3, binary: "
         "1, type: real64, elemSize: 1, width: 3, height: 2, nr: 1]\n"},
        {"version: 1, binary: 1, type: real64, elemSize: 2, width: 3, height: 2, nr: 1",
         "Header type 1 is not compatible: res==5 (should be 5), elemSize==2 (should be 1), buf==[version: 1, binary: "
         "1, type: real64, elemSize: 2, width: 3, height: 2, nr: 1]\n"},
    };
    for (const Case& c : cases)
    {
        LogCapture log("Tavlin.Core.Array.ReadRawHeader");
        std::unique_ptr<IOBuffer> buffer = RawBuffer(c.header, nullptr, 0);
        Array2dReal64* a = nullptr;
        ReadRaw(a, buffer.get());
        EXPECT_EQ(a, nullptr);
        std::vector<Array2dReal64*> list;
        buffer->Rewind();
        ReadRawList(list, buffer.get());
        EXPECT_TRUE(list.empty());
        std::string once = c.message;
        EXPECT_EQ(log.Text(), once + once) << c.header;
    }
    // Not even a header's worth of bytes.
    LogCapture log("Tavlin.Core.Array.ReadRawHeader");
    IOBuffer empty(0);
    Array2dReal64* a = nullptr;
    ReadRaw(a, &empty);
    EXPECT_EQ(a, nullptr);
    EXPECT_EQ(log.Text(), "Could not determine version\n");
}

TEST(RawArrayRead, TruncatedAndImplausiblePayloadsAreReported)
{
    std::unique_ptr<Array2dReal64> source(MakeReal(40, 30));
    IOBuffer plain(20000);
    WriteRaw(source.get(), &plain, 1);
    IOBuffer packed(20000);
    WriteRaw(source.get(), &packed, 3);
    const std::string plainBytes = HeaderText(plain, 0); // sanity of the writer
    ASSERT_FALSE(plainBytes.empty());

    // Plain payload cut short: the array keeps what arrived.
    {
        std::vector<char> bytes(static_cast<size_t>(plain.GetPosition()) - 100);
        plain.Rewind();
        plain.Read(bytes.data(), static_cast<int64_t>(bytes.size()));
        std::unique_ptr<IOBuffer> cut = TextBuffer(std::string(bytes.begin(), bytes.end()));
        LogCapture log("Tavlin.Core.Array.ReadRaw");
        Array2dReal64* a = nullptr;
        ReadRaw(a, cut.get());
        std::unique_ptr<Array2dReal64> owned(a);
        ASSERT_TRUE(a);
        EXPECT_EQ(log.Text(), "read " + std::to_string(40 * 30 * 8 - 100) + " bytes instead of 9600\n");
        EXPECT_EQ(*a->PixelPtr(5, 3), *source->PixelPtr(5, 3));
    }
    // Compressed payload cut short, and cut inside its stream header.
    for (int64_t keep : {packed.GetPosition() - 20, int64_t(205)})
    {
        std::vector<char> bytes(static_cast<size_t>(keep));
        packed.Rewind();
        packed.Read(bytes.data(), keep);
        std::unique_ptr<IOBuffer> cut = TextBuffer(std::string(bytes.begin(), bytes.end()));
        LogCapture log("Tavlin.Core.Array.ReadRaw");
        LogCapture zlibLog("Tavlin.Util.IOBuffer");
        std::vector<Array2dReal64*> list;
        ReadRawList(list, cut.get());
        EXPECT_EQ(list.size(), 1u);
        for (Array2dReal64* a : list)
            delete a;
        EXPECT_NE(zlibLog.Text().find("ReadZlib: "), std::string::npos);
        Array2dReal64* a = nullptr;
        cut->Rewind();
        ReadRaw(a, cut.get());
        std::unique_ptr<Array2dReal64> owned(a);
        EXPECT_EQ(log.Text(), "read 0 bytes instead of 9600\n");
    }
    // Compressors that cannot be read.
    {
        LogCapture log("Tavlin.Core.Array.ReadRaw");
        LogCapture bufferLog("Tavlin.Util.IOBuffer");
        std::unique_ptr<IOBuffer> lzma = RawBuffer(
            "version: 3, binary: 1, type: real64, elemSize: 1, width: 2, height: 2, nr: 1, lzma: 1", "0123456789", 10);
        std::unique_ptr<IOBuffer> bzip = RawBuffer(
            "version: 3, binary: 1, type: real64, elemSize: 1, width: 2, height: 2, nr: 1, bzip: 1", "0123456789", 10);
        Array2dReal64* a = nullptr;
        ReadRaw(a, lzma.get());
        std::unique_ptr<Array2dReal64> ownA(a);
        Array2dReal64* b = nullptr;
        ReadRaw(b, bzip.get());
        std::unique_ptr<Array2dReal64> ownB(b);
        EXPECT_EQ(log.Text(), "Unknown compressor: lzma\nread 0 bytes instead of 16\nread 0 bytes instead of 16\n");
        EXPECT_EQ(bufferLog.Text(), "ReadBzip not supported\n");
    }
    // Sizes no array can have, counts no buffer can hold, targets too small.
    {
        LogCapture log("Tavlin.Core.Array.ReadRaw");
        std::unique_ptr<IOBuffer> negative =
            RawBuffer("version: 1, binary: 1, type: real64, elemSize: 1, width: -5, height: 2, nr: 1", nullptr, 0);
        std::unique_ptr<IOBuffer> huge = RawBuffer(
            "version: 1, binary: 1, type: real64, elemSize: 1, width: 4000000000000, height: 4000000000000, nr: 1",
            nullptr, 0);
        Array2dReal64* a = nullptr;
        ReadRaw(a, negative.get());
        ReadRaw(a, huge.get());
        EXPECT_EQ(a, nullptr);
        EXPECT_EQ(log.Text(), "[ReadRaw] invalid array size in header: width -5, height 2, nr 1\n"
                              "[ReadRaw] invalid array size in header: width 4000000000000, height 4000000000000, "
                              "nr 1\n");

        std::unique_ptr<IOBuffer> small =
            RawBuffer("version: 1, binary: 1, type: real64, elemSize: 1, width: 4, height: 4, nr: 1", nullptr, 0);
        std::unique_ptr<Array2dReal64> target(ArrayCreate<Array2dReal64>(2, 2, 0, 0, nullptr, false));
        Array2dReal64* given = target.get();
        ReadRaw(given, small.get());
        EXPECT_EQ(given, target.get());
        EXPECT_NE(log.Text().find("[ReadRaw] target array 2 x 2 cannot hold 4 x 4"), std::string::npos);
    }
    {
        double one[2] = {1, 2};
        LogCapture log("Tavlin.Core.Array.ReadRawList");
        std::unique_ptr<IOBuffer> many = RawBuffer(
            "version: 1, binary: 1, type: real64, elemSize: 1, width: 2, height: 1, nr: 1000000000000", one, 16);
        std::vector<Array2dReal64*> list;
        ReadRawList(list, many.get());
        ASSERT_EQ(list.size(), 2u);
        EXPECT_EQ(list[0]->mData[1], 2);
        for (Array2dReal64* a : list)
            delete a;
        EXPECT_EQ(log.Text(), "[ReadRawList] header announces 1000000000000 arrays, the buffer holds at most 2\n"
                              "read 0 bytes instead of 16\n");
    }
    // Text that stops, or is not made of numbers.
    for (const char* payload : {"1 2 ", "1 x 3 4 "})
    {
        LogCapture log("Tavlin.Core.Array.ReadRaw");
        TempDir dir;
        TestSupport::WriteTextFile(dir.File("t.raw"),
                                   std::string("version: 1, binary: 0, type: real64, elemSize: 1, width: 2, height: 2, "
                                               "nr: 1\n") +
                                       payload);
        IOBufferFile in(dir.File("t.raw"), true, false, false);
        Array2dReal64* a = nullptr;
        ReadRaw(a, &in);
        std::unique_ptr<Array2dReal64> owned(a);
        ASSERT_TRUE(a);
        EXPECT_EQ(a->mData[0], 1);
        EXPECT_NE(log.Text().find(" values instead of 4\n"), std::string::npos) << payload;
    }
}
