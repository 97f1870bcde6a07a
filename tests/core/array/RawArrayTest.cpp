#include "core/array/ArrayFactories.h"
#include "core/array/ReadRaw.h"
#include "core/array/WriteRaw.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "support/ImageCodecs.h"
#include "support/LogCapture.h"
#include "support/MemoryBuffer.h"
#include "support/SyntheticImage.h"
#include "support/TableFiles.h"
#include "support/TestSupport.h"

using namespace Tavlin::Core::Array;
using Tavlin::Util::IOBuffer;
using namespace TestSupport;

namespace
{

// Counts the calls that move data, to see that blocks go in one piece.
class CountingBuffer : public IOBuffer
{
public:
    explicit CountingBuffer(int64_t size) : IOBuffer(size) {}
    int64_t Read(void* dst, int64_t count) override { return mReads.push_back(count), IOBuffer::Read(dst, count); }
    int64_t Write(const void* src, int64_t count) override
    {
        return mWrites.push_back(count), IOBuffer::Write(src, count);
    }
    std::vector<int64_t> mReads, mWrites;
};

// Pixel values that differ everywhere and are exact in binary.
Array2dReal64* MakeReal(long long width, long long height, long long border = 0)
{
    return MakePlane(width, height, border, [](long long x, long long y) { return (y * 1000 + x) * 0.25 - 3.0; });
}

std::unique_ptr<IOBuffer> RawFile(const std::string& header, const std::string& payload = "")
{
    return MemoryBufferOf(RawArrayFileBytes(header, payload));
}

std::string HeaderText(IOBuffer& buffer, int64_t at) { return BufferBytes(buffer, at, 200).c_str(); }

template <class ArrayT>
std::unique_ptr<ArrayT> Read(IOBuffer* buffer)
{
    ArrayT* a = nullptr;
    ReadRaw(a, buffer);
    return std::unique_ptr<ArrayT>(a);
}

} // namespace

TEST(RawArrayWrite, PlainAndZlibRoundTripsWithTheirHeaders)
{
    // Version 1: the header padded to 200 bytes, then the rows as they are in memory.
    std::unique_ptr<Array2dReal64> source(MakeReal(7, 5));
    const std::string header = "version: 1, binary: 1, type: real64, elemSize: 1, width: 7, height: 5, nr: 1";
    for (int binary : {1, 2})
    {
        IOBuffer one(1000);
        WriteRaw(source.get(), &one, binary);
        EXPECT_EQ(BufferBytes(one, 0, one.GetPosition()),
                  RawArrayFileBytes(header, std::string(reinterpret_cast<const char*>(source->Data()), 7 * 5 * 8)));
        one.Rewind();
        EXPECT_TRUE(SameImage(source.get(), Read<Array2dReal64>(&one).get()));
    }
    LogCapture log("Tavlin.Core.Array.WriteRaw");
    IOBuffer text(1000);
    WriteRaw(source.get(), &text, 0);
    EXPECT_EQ(text.GetPosition(), 0);
    EXPECT_EQ(log.Text(), "Non-binary write has been eliminated\n");

    // Version 3, three arrays in one stream. Without border one run holds
    // 16 MiB / 800 row bytes = 20971 rows; with a border every row is a run.
    std::unique_ptr<Array2dReal64> plain(MakeReal(100, 50));
    std::unique_ptr<Array2dReal64> bordered(MakeReal(9, 4, 2));
    IOBuffer stream(200000);
    WriteRaw(plain.get(), &stream, 3);
    const int64_t firstEnd = stream.GetPosition();
    EXPECT_EQ(HeaderText(stream, 0),
              "version: 3, binary: 1, type: real64, elemSize: 1, width: 100, height: 50, nr: 1, zlib: 20971");
    EXPECT_LT(firstEnd, 200 + 100 * 50 * 8);
    WriteRaw(bordered.get(), &stream, 3);
    EXPECT_EQ(HeaderText(stream, firstEnd),
              "version: 3, binary: 1, type: real64, elemSize: 1, width: 9, height: 4, nr: 1, zlib: 1");
    WriteRaw(bordered.get(), &stream, 1);
    const int64_t end = stream.GetPosition();
    stream.Rewind();
    EXPECT_TRUE(SameImage(plain.get(), Read<Array2dReal64>(&stream).get()));
    EXPECT_EQ(stream.GetPosition(), firstEnd);
    EXPECT_TRUE(SameImage(bordered.get(), Read<Array2dReal64>(&stream).get()));
    EXPECT_TRUE(SameImage(bordered.get(), Read<Array2dReal64>(&stream).get()));
    EXPECT_EQ(stream.GetPosition(), end);

    // A row wider than 16 MiB leaves L = 0: plain data under a version 3 header.
    const long long wide = IOBuffer::sZlibChunkSize / 8 + 1;
    std::unique_ptr<Array2dReal64> row(MakePlane(wide, 1, 0, [](long long x, long long) { return x % 977 * 1.0; }));
    IOBuffer big(200 + wide * 8 + 16);
    WriteRaw(row.get(), &big, 3);
    EXPECT_EQ(HeaderText(big, 0), "version: 3, binary: 1, type: real64, elemSize: 1, width: " + std::to_string(wide) +
                                      ", height: 1, nr: 1, zlib: 0");
    EXPECT_EQ(big.GetPosition(), 200 + wide * 8);
    big.Rewind();
    EXPECT_TRUE(SameImage(row.get(), Read<Array2dReal64>(&big).get()));
}

TEST(RawArrayWrite, ListsGoOutUnderOneHeaderAndComeBackWhole)
{
    std::unique_ptr<Array2dReal64> a(MakeReal(6, 4)), b(MakeReal(6, 4)), c(MakeReal(6, 4));
    b->mData[3] = -7.5;
    c->mData[20] = 1e300;
    for (int binary : {1, 3})
    {
        IOBuffer buffer(10000);
        ASSERT_TRUE(WriteRawList({a.get(), b.get(), c.get()}, &buffer, binary));
        EXPECT_EQ(HeaderText(buffer, 0), binary == 1
                                             ? "version: 1, binary: 1, type: real64, elemSize: 1, width: 6, height: 4, nr: 3"
                                             : "version: 3, binary: 1, type: real64, elemSize: 1, width: 6, height: 4, "
                                               "nr: 3, zlib: 349525");
        const int64_t end = buffer.GetPosition();
        buffer.Rewind();
        Owned<Array2dReal64> list;
        EXPECT_TRUE(ReadRawList(list.p, &buffer));
        ASSERT_EQ(list.p.size(), 3u);
        EXPECT_TRUE(SameImage(a.get(), list.p[0]));
        EXPECT_TRUE(SameImage(b.get(), list.p[1]));
        EXPECT_TRUE(SameImage(c.get(), list.p[2]));
        EXPECT_EQ(buffer.GetPosition(), end);
    }

    // Arrays of different sizes, an empty list or the text form write nothing.
    std::unique_ptr<Array2dReal64> other(MakeReal(5, 4));
    LogCapture log("Tavlin.Core.Array.WriteRawList");
    IOBuffer refused(10000);
    EXPECT_FALSE(WriteRawList({a.get(), other.get()}, &refused, 3));
    EXPECT_FALSE(WriteRawList({}, &refused, 3));
    EXPECT_FALSE(WriteRawList({a.get()}, &refused, 0));
    EXPECT_EQ(refused.GetPosition(), 0);
    EXPECT_EQ(log.Text(), "[WriteRawList] the arrays of a list must have one size\n"
                          "[WriteRawList] no arrays or invalid io buffer\n"
                          "Non-binary write has been eliminated\n");
}

TEST(RawArrayWrite, CodebookBlockMovesInOneCall)
{
    std::unique_ptr<Array2dReal64> codebook(MakeReal(128, 4096));
    CountingBuffer buffer(200 + 128 * 4096 * 8 + 16);
    WriteRaw(codebook.get(), &buffer, 1);
    EXPECT_EQ(buffer.mWrites, (std::vector<int64_t>{200, 128 * 4096 * 8}));
    buffer.Rewind();
    std::unique_ptr<Array2dReal64> back = Read<Array2dReal64>(&buffer);
    EXPECT_EQ(buffer.mReads, (std::vector<int64_t>{128 * 4096 * 8}));
    EXPECT_TRUE(SameImage(codebook.get(), back.get()));
}

TEST(RawArrayRead, OtherTypesCountsAndTextPayloads)
{
    std::unique_ptr<Array2dVec3UInt8> pixels = Read<Array2dVec3UInt8>(
        RawFile("version: 1, binary: 1, type: uint8, elemSize: 3, width: 2, height: 2, nr: 1",
                "\1\2\3\4\5\6\7\10\11\12\13\377").get());
    ASSERT_TRUE(pixels);
    EXPECT_EQ(pixels->PixelPtr(1, 1)[2], 255);
    EXPECT_EQ(pixels->PixelPtr(0, 1)[0], 7);

    // Version 3 with 0 lines per chunk is plain.
    std::unique_ptr<Array2dUInt64> values = Read<Array2dUInt64>(
        RawFile("version: 3, binary: 1, type: uint64, elemSize: 1, width: 2, height: 1, nr: 1, zlib: 0",
                BytesOf(std::vector<uint64_t>{1ULL << 40, ~0ULL}))
            .get());
    ASSERT_TRUE(values);
    EXPECT_EQ(values->mData[1], ~0ULL);

    // nr 3: ReadRaw keeps the last, ReadRawList gives all, reusing what the list has.
    const std::string threeHeader = "version: 1, binary: 1, type: real64, elemSize: 1, width: 2, height: 1, nr: 3";
    std::unique_ptr<IOBuffer> list = RawFile(threeHeader, BytesOf(std::vector<double>{1, 2, 3, 4, 5, 6}));
    std::unique_ptr<Array2dReal64> last = Read<Array2dReal64>(list.get());
    ASSERT_TRUE(last);
    EXPECT_EQ(last->mData[0], 5);
    list->Rewind();
    Owned<Array2dReal64> arrays({last.release()});
    ReadRawList(arrays.p, list.get());
    ASSERT_EQ(arrays.p.size(), 3u);
    EXPECT_EQ(arrays.p[0]->mData[1], 2);
    EXPECT_EQ(arrays.p[2]->mData[0], 5);

    // Text payload; reading stops behind the values.
    std::unique_ptr<IOBuffer> text = MemoryBufferOf(
        "version: 1, binary: 0, type: real64, elemSize: 1, width: 3, height: 1, nr: 2\n1.5 2 3 -4 5.25 6 \nafter\n");
    Owned<Array2dReal64> texts;
    ReadRawList(texts.p, text.get());
    ASSERT_EQ(texts.p.size(), 2u);
    EXPECT_EQ(texts.p[0]->mData[0], 1.5);
    EXPECT_EQ(texts.p[1]->mData[1], 5.25);
    EXPECT_EQ(text->ReadLine(), "after");
}

TEST(RawArrayRead, RefusesForeignHeadersWithTheirMessages)
{
    const std::string real = "version: 1, binary: 1, type: real64, elemSize: 1, width: 3, height: 2, nr: 1";
    {
        // The type word real64 on readers of other types.
        std::unique_ptr<IOBuffer> file = RawFile(real, std::string(48, '\0'));
        LogCapture log("Tavlin.Core.Array.ReadRawHeader");
        EXPECT_FALSE(Read<Array2dVec3UInt8>(file.get()));
        file->Rewind();
        EXPECT_FALSE(Read<Array2dUInt64>(file.get()));
        const std::string line = "Header type 1 is not compatible: res==1 (should be 5), elemSize==0 (should be ";
        EXPECT_EQ(log.Text(), line + "3), buf==[" + real + "]\n" + line + "1), buf==[" + real + "]\n");
    }
    const std::string v3 = "version: 3" + real.substr(10);
    const std::string pair = "version: 1, binary: 1, type: real64, elemSize: 2, width: 3, height: 2, nr: 1";
    const std::pair<std::string, std::string> cases[] = {
        {"", "Could not determine version\n"},
        {"\x7f\x45garbage\x01", "Could not determine version\n"},
        {"version: 7, binary: 1", "Unknown version 7\n"},
        {v3, "Header type 3 is not compatible: res==5 (should be 6), elemSize==1 (should be 1), buf==[" + v3 + "]\n"},
        {pair, "Header type 1 is not compatible: res==5 (should be 5), elemSize==2 (should be 1), buf==[" + pair + "]\n"},
    };
    for (const auto& c : cases)
    {
        // Both readers: nothing made, the header's message once each.
        LogCapture log("Tavlin.Core.Array.ReadRawHeader");
        std::unique_ptr<IOBuffer> buffer = RawFile(c.first);
        EXPECT_FALSE(Read<Array2dReal64>(buffer.get()));
        buffer->Rewind();
        Owned<Array2dReal64> list;
        ReadRawList(list.p, buffer.get());
        EXPECT_TRUE(list.p.empty());
        EXPECT_EQ(log.Text(), c.second + c.second) << c.first;
    }
    // Not even a header's worth of bytes.
    LogCapture log("Tavlin.Core.Array.ReadRawHeader");
    IOBuffer empty(0);
    EXPECT_FALSE(Read<Array2dReal64>(&empty));
    EXPECT_EQ(log.Text(), "Could not determine version\n");
}

TEST(RawArrayRead, TruncatedAndImplausiblePayloadsAreReported)
{
    std::unique_ptr<Array2dReal64> source(MakeReal(40, 30));
    IOBuffer plain(20000), packed(20000);
    WriteRaw(source.get(), &plain, 1);
    WriteRaw(source.get(), &packed, 3);
    const std::string real = "version: 1, binary: 1, type: real64, elemSize: 1, ";
    const std::string real3 = "version: 3, binary: 1, type: real64, elemSize: 1, width: 2, height: 2, nr: 1, ";
    const struct
    {
        std::string bytes;
        bool created;
        std::string message, bufferNote; // ReadRaw's log, a part of IOBuffer's
    } cases[] = {
        {BufferBytes(plain, 0, plain.GetPosition() - 100), true, "read 9500 bytes instead of 9600\n", ""},
        {BufferBytes(packed, 0, packed.GetPosition() - 20), true, "read 0 bytes instead of 9600\n", "ReadZlib: "},
        {BufferBytes(packed, 0, 205), true, "read 0 bytes instead of 9600\n", "ReadZlib: "},
        {RawArrayFileBytes(real3 + "lzma: 1", "0123456789"), true,
         "Unknown compressor: lzma\nread 0 bytes instead of 16\n", ""},
        {RawArrayFileBytes(real3 + "bzip: 1", "0123456789"), true, "read 0 bytes instead of 16\n",
         "ReadBzip not supported\n"},
        {RawArrayFileBytes(real + "width: -5, height: 2, nr: 1"), false,
         "[ReadRaw] invalid array size in header: width -5, height 2, nr 1\n", ""},
        {RawArrayFileBytes(real + "width: 4000000000000, height: 4000000000000, nr: 1"), false,
         "[ReadRaw] invalid array size in header: width 4000000000000, height 4000000000000, nr 1\n", ""},
        // Far more than the file could hold: refused before anything is allocated.
        {RawArrayFileBytes(real + "width: 100000, height: 100000, nr: 1", "0123456789"), false,
         "[ReadRaw] header announces 80000000000 bytes an array, the buffer holds 10\n", ""},
        {RawArrayFileBytes("version: 3, binary: 1, type: real64, elemSize: 1, width: 9000, height: 9000, nr: 1, "
                           "zlib: 1"),
         false,
         "[ReadRaw] header announces 648000000 bytes an array, the buffer holds 0\n", ""},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.message);
        LogCapture log("Tavlin.Core.Array.ReadRaw");
        LogCapture bufferLog("Tavlin.Util.IOBuffer");
        Array2dReal64* read = nullptr;
        EXPECT_FALSE(ReadRaw(read, MemoryBufferOf(c.bytes).get()));
        std::unique_ptr<Array2dReal64> a(read);
        EXPECT_EQ(static_cast<bool>(a), c.created);
        EXPECT_EQ(log.Text(), c.message);
        EXPECT_NE(bufferLog.Text().find(c.bufferNote), std::string::npos) << bufferLog.Text();
    }
    // What arrived stays.
    EXPECT_EQ(*Read<Array2dReal64>(MemoryBufferOf(cases[0].bytes).get())->PixelPtr(5, 3), *source->PixelPtr(5, 3));

    // A count no buffer can hold.
    LogCapture listLog("Tavlin.Core.Array.ReadRawList");
    std::unique_ptr<IOBuffer> many =
        RawFile(real + "width: 2, height: 1, nr: 1000000000000", BytesOf(std::vector<double>{1, 2}));
    Owned<Array2dReal64> list;
    ReadRawList(list.p, many.get());
    ASSERT_EQ(list.p.size(), 2u);
    EXPECT_EQ(list.p[0]->mData[1], 2);
    EXPECT_EQ(listLog.Text(), "[ReadRawList] header announces 1000000000000 arrays, the buffer holds at most 2\n"
                              "read 0 bytes instead of 16\n");

    // Empty arrays cost the file nothing, so their count is capped. Found by fuzzing.
    LogCapture emptyLog("Tavlin.Core.Array.ReadRawList");
    std::unique_ptr<IOBuffer> empties = MemoryBufferOf(
        TestSupport::FuzzFinding("ReadRaw", "261000-empty-arrays.raw"));
    Owned<Array2dReal64> emptyList;
    EXPECT_FALSE(ReadRawList(emptyList.p, empties.get()));
    EXPECT_EQ(emptyList.p.size(), 65536u);
    EXPECT_EQ(emptyLog.Text(), "[ReadRawList] header announces 261000 arrays, the buffer holds at most 65536\n");

    // A run length near the largest integer (found by fuzzing; the sanitizer build
    // checks that no sum overflows): one run per array, whose garbage does not inflate.
    LogCapture runLog("Tavlin.Core.Array.ReadRawList");
    std::unique_ptr<IOBuffer> hugeRuns = MemoryBufferOf(
        TestSupport::FuzzFinding("ReadRaw", "huge-run-length.raw"));
    Owned<Array2dReal64> runList;
    EXPECT_FALSE(ReadRawList(runList.p, hugeRuns.get()));
    EXPECT_EQ(runList.p.size(), 3u);
    EXPECT_EQ(runLog.Text(), "read 0 bytes instead of 32\n");
}
