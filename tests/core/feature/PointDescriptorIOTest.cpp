#include "core/feature/PointDescriptorIO.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "core/array/Array2dTem.h"
#include "core/matrix/MatCreate.h"
#include "support/LogCapture.h"
#include "support/TestSupport.h"
#include "util/IOBuffer.h"
#include "util/IOBufferFile.h"

using Tavlin::Core::Array::Array2dReal64;
using Tavlin::Core::Feature::ReadBINDESC1FromBuffer;
using Tavlin::Core::Feature::WriteBINDESC1ToBuffer;
using Tavlin::Core::Feature::WriteVESK1ToBuffer;
using Tavlin::Core::Matrix::MatCreate;
using Tavlin::Util::IOBuffer;
using Tavlin::Util::IOBufferFile;
using TestSupport::LogCapture;

namespace
{

typedef std::unique_ptr<Array2dReal64> MatrixPtr;

const char* const kWriteVeskLog = "Core.Feature.PointDescriptorIO.WriteVESK1ToBuffer";
const char* const kWriteBinLog = "Core.Feature.PointDescriptorIO.WriteBINDESC1ToBuffer";
const char* const kReadLog = "Core.Feature.PointDescriptorIO.ReadBINDESC1FromBuffer";

MatrixPtr Matrix(int rows, int cols, const std::vector<double>& values)
{
    MatrixPtr m(MatCreate<Array2dReal64>(rows, cols));
    for (size_t i = 0; i < values.size(); ++i)
        m->mData[i] = values[i];
    return m;
}

// Point row i: 1-based coordinates, a scale, orientation 0 and a cornerness, all of
// them values that six digits keep exactly.
MatrixPtr Points(int rows)
{
    MatrixPtr m(MatCreate<Array2dReal64>(rows, 5));
    for (int i = 0; i < rows; ++i)
    {
        double* p = m->mData + i * 5;
        p[0] = 1.0 + 3 * i;
        p[1] = 2.0 + 0.5 * i;
        p[2] = 1.5 + 0.25 * i;
        p[3] = 0.0;
        p[4] = 0.0625 - 0.5 * i;
    }
    return m;
}

// Descriptor values that six digits keep exactly.
MatrixPtr Descriptors(int rows, int cols)
{
    MatrixPtr m(MatCreate<Array2dReal64>(rows, cols));
    for (int i = 0; i < rows * cols; ++i)
        m->mData[i] = (i % 37) * 0.125 - 1.0;
    return m;
}

enum Format
{
    kText,
    kBinary
};

// Runs a writer into a large memory buffer and returns what it wrote.
std::string Write(Format format, Array2dReal64* points, Array2dReal64* descriptors,
                  const std::string& type = std::string())
{
    IOBuffer buffer(1 << 20);
    if (format == kText)
        EXPECT_TRUE(WriteVESK1ToBuffer(&buffer, points, descriptors, type.empty() ? "CIRCLE" : type));
    else
        EXPECT_TRUE(WriteBINDESC1ToBuffer(&buffer, points, descriptors, type.empty() ? "CIRCLE  " : type));
    std::string bytes(static_cast<size_t>(buffer.GetPosition()), '\0');
    buffer.Rewind();
    buffer.Read(&bytes[0], static_cast<int64_t>(bytes.size()));
    return bytes;
}

std::unique_ptr<IOBuffer> BufferOf(const std::string& bytes)
{
    std::unique_ptr<IOBuffer> buffer(new IOBuffer(static_cast<int64_t>(bytes.size())));
    buffer->Write(bytes.data(), static_cast<int64_t>(bytes.size()));
    buffer->Rewind();
    return buffer;
}

struct ReadResult
{
    std::string type;
    MatrixPtr points;
    MatrixPtr descriptors;
};

ReadResult Read(const std::string& bytes, bool readPoints = true, bool readDescriptors = true)
{
    std::unique_ptr<IOBuffer> buffer = BufferOf(bytes);
    Array2dReal64* points = nullptr;
    Array2dReal64* descriptors = nullptr;
    ReadResult result;
    result.type = ReadBINDESC1FromBuffer(points, descriptors, buffer.get(), readPoints, readDescriptors);
    result.points.reset(points);
    result.descriptors.reset(descriptors);
    return result;
}

std::string BinaryHeader(int32_t elementsPerPoint, int32_t dimensionCount, int32_t pointCount,
                         int32_t bytesPerElement)
{
    std::string header = "BINDESC1CIRCLE  ";
    for (int32_t field : {elementsPerPoint, dimensionCount, pointCount, bytesPerElement})
        header.append(reinterpret_cast<const char*>(&field), 4);
    return header;
}

void ExpectSameValues(const Array2dReal64* expected, const Array2dReal64* actual)
{
    ASSERT_NE(actual, nullptr);
    ASSERT_EQ(actual->Width(), expected->Width());
    ASSERT_EQ(actual->Height(), expected->Height());
    for (long long i = 0; i < expected->Width() * expected->Height(); ++i)
        EXPECT_EQ(actual->mData[i], expected->mData[i]) << "value " << i;
}

} // namespace

TEST(WriteVESK1ToBuffer, WritesTheDocumentedLines)
{
    auto points = Matrix(1, 5, {91, 192, 1.6, 0, 0.00123});
    auto descriptors = Matrix(1, 2, {12, 0.5});
    EXPECT_EQ(Write(kText, points.get(), descriptors.get()), "VESK1\n2\n1\n<CIRCLE 91 192 1.6 0 0.00123>; 12 0.5;\n");
    EXPECT_EQ(Write(kText, points.get(), nullptr), "VESK1\n0\n1\n<CIRCLE 91 192 1.6 0 0.00123>;;\n");
    // A descriptor matrix without rows counts as none.
    auto noRows = Matrix(0, 7, {});
    EXPECT_EQ(Write(kText, points.get(), noRows.get()), "VESK1\n0\n1\n<CIRCLE 91 192 1.6 0 0.00123>;;\n");

    // Six significant digits, exponent form outside [0.0001, 1000000).
    auto precise = Matrix(1, 5, {3.14159265, 1234567, -0.0, 0.00001234567, 999999.5});
    auto wide = Matrix(1, 3, {1.0 / 3.0, -2e-5, 100000.0});
    EXPECT_EQ(Write(kText, precise.get(), wide.get()),
              "VESK1\n3\n1\n<CIRCLE 3.14159 1.23457e+06 -0 1.23457e-05 1e+06>; 0.333333 -2e-05 100000;\n");
}

TEST(WriteVESK1ToBuffer, ZeroPointsGiveTheHeaderAlone)
{
    auto points = Matrix(0, 5, {});
    EXPECT_EQ(Write(kText, points.get(), nullptr), "VESK1\n0\n0\n");
    ReadResult r = Read("VESK1\n0\n0\n");
    EXPECT_EQ(r.type, "CIRCLE");
    ASSERT_NE(r.points, nullptr);
    ASSERT_NE(r.descriptors, nullptr);
    EXPECT_EQ(r.points->Height(), 0);
    EXPECT_EQ(r.points->Width(), 5);
    EXPECT_EQ(r.descriptors->Height(), 0);
}

TEST(WriteBINDESC1ToBuffer, LaysOutHeaderPointsAndDescriptors)
{
    auto points = Points(2);
    auto descriptors = Descriptors(2, 3);
    const std::string bytes = Write(kBinary, points.get(), descriptors.get());
    ASSERT_EQ(bytes.size(), 32u + 2 * 5 * 8 + 2 * 3 * 8);
    EXPECT_EQ(bytes.substr(0, 32), BinaryHeader(5, 3, 2, 8));
    double value;
    std::memcpy(&value, bytes.data() + 32 + 5 * 8, 8);
    EXPECT_EQ(value, points->mData[5]);
    std::memcpy(&value, bytes.data() + 32 + 10 * 8 + 8, 8);
    EXPECT_EQ(value, descriptors->mData[1]);

    // Zero points: the 32-byte header alone; without descriptors dimensionCount is 0.
    auto none = Matrix(0, 5, {});
    EXPECT_EQ(Write(kBinary, none.get(), nullptr), BinaryHeader(5, 0, 0, 8));
    EXPECT_EQ(Write(kBinary, points.get(), nullptr).substr(0, 32), BinaryHeader(5, 0, 2, 8));
}

TEST(WriteBINDESC1ToBuffer, TypeOfAnotherLengthIsACodingError)
{
    LogCapture log(kWriteBinLog, log4cpp::Priority::ERROR);
    auto points = Points(1);
    const std::string bytes = Write(kBinary, points.get(), nullptr, "CIRCLE");
    EXPECT_EQ(log.Text(), "Coding error: your datatype specification should be 8 bytes long\n");
    EXPECT_EQ(bytes.substr(8, 8), "UNKNOWN ");
    EXPECT_EQ(Read(bytes).type, "UNKNOWN ");
}

TEST(PointDescriptorWriters, ReportHeightMismatchAndWriteZerosForMissingRows)
{
    auto points = Points(3);
    auto descriptors = Matrix(2, 2, {1, 2, 3, 4});
    {
        LogCapture log(kWriteVeskLog);
        const std::string text = Write(kText, points.get(), descriptors.get());
        EXPECT_EQ(log.Text(), "Dimension mismatch in points/descriptors: 3 2\n");
        EXPECT_NE(text.find(">; 3 4;\n<CIRCLE"), std::string::npos);
        EXPECT_EQ(text.substr(text.size() - 8), ">; 0 0;\n");
    }
    {
        LogCapture log(kWriteBinLog, log4cpp::Priority::ERROR);
        ReadResult r = Read(Write(kBinary, points.get(), descriptors.get()));
        EXPECT_EQ(log.Text(), "Dimension mismatch in points/descriptors: 3 2\n");
        ASSERT_NE(r.descriptors, nullptr);
        ASSERT_EQ(r.descriptors->Height(), 3);
        EXPECT_EQ(r.descriptors->mData[3], 4.0);
        EXPECT_EQ(r.descriptors->mData[4], 0.0);
        EXPECT_EQ(r.descriptors->mData[5], 0.0);
    }
}

TEST(ReadBINDESC1FromBuffer, BinaryRoundTripKeepsEveryBit)
{
    const double nan = std::numeric_limits<double>::quiet_NaN();
    auto points = Matrix(2, 5, {-0.0, 1e-310, 3.141592653589793, nan, 1e300, 7, 8, 9, 10, 11});
    auto descriptors = Matrix(2, 4, {0.1, 0.2, 0.3, -1.0 / 3.0, 1, 2, 3, 4});
    ReadResult r = Read(Write(kBinary, points.get(), descriptors.get()));
    EXPECT_EQ(r.type, "CIRCLE  ");
    ASSERT_NE(r.points, nullptr);
    ASSERT_NE(r.descriptors, nullptr);
    EXPECT_EQ(std::memcmp(r.points->mData, points->mData, 10 * sizeof(double)), 0);
    EXPECT_EQ(std::memcmp(r.descriptors->mData, descriptors->mData, 8 * sizeof(double)), 0);

    // Zero points, and points without descriptors: a matrix of 0 columns.
    auto none = Matrix(0, 5, {});
    ReadResult empty = Read(Write(kBinary, none.get(), nullptr));
    EXPECT_EQ(empty.type, "CIRCLE  ");
    ASSERT_NE(empty.points, nullptr);
    EXPECT_EQ(empty.points->Height(), 0);
    ASSERT_NE(empty.descriptors, nullptr);
    EXPECT_EQ(empty.descriptors->Height(), 0);
    ReadResult bare = Read(Write(kBinary, points.get(), nullptr));
    ASSERT_NE(bare.descriptors, nullptr);
    EXPECT_EQ(bare.descriptors->Height(), 2);
    EXPECT_EQ(bare.descriptors->Width(), 0);
    EXPECT_EQ(bare.points->mData[2], 3.141592653589793);

    // A stored point width other than 5 comes back as it was.
    auto six = Matrix(1, 6, {1, 2, 3, 4, 5, 6});
    ReadResult sixRead = Read(Write(kBinary, six.get(), nullptr));
    ExpectSameValues(six.get(), sixRead.points.get());
}

TEST(ReadBINDESC1FromBuffer, TextRoundTripKeepsSixDigits)
{
    auto points = Points(4);
    auto descriptors = Matrix(4, 2, {3.14159265, 2.718281828, 1e-7, 123456789, 0.5, -0.25, 1, 2});
    ReadResult r = Read(Write(kText, points.get(), descriptors.get()));
    EXPECT_EQ(r.type, "CIRCLE");
    ExpectSameValues(points.get(), r.points.get());
    ASSERT_NE(r.descriptors, nullptr);
    const double expected[8] = {3.14159, 2.71828, 1e-7, 123457000, 0.5, -0.25, 1, 2};
    for (int i = 0; i < 8; ++i)
        EXPECT_EQ(r.descriptors->mData[i], expected[i]);

    // Points without descriptors: a matrix of 0 columns.
    ReadResult bare = Read(Write(kText, points.get(), nullptr));
    ExpectSameValues(points.get(), bare.points.get());
    ASSERT_NE(bare.descriptors, nullptr);
    EXPECT_EQ(bare.descriptors->Width(), 0);
    EXPECT_EQ(bare.descriptors->Height(), 4);

    // The text writer prints every point column, the reader takes five.
    auto six = Matrix(1, 6, {1, 2, 3, 4, 5, 6});
    ReadResult sixRead = Read(Write(kText, six.get(), nullptr));
    ASSERT_NE(sixRead.points, nullptr);
    EXPECT_EQ(sixRead.points->Width(), 5);
    EXPECT_EQ(sixRead.points->mData[4], 5.0);
}

TEST(ReadBINDESC1FromBuffer, DescriptorsAloneAreTheSameFromBothFormats)
{
    auto points = Points(5);
    auto descriptors = Descriptors(5, 9);
    for (Format format : {kText, kBinary})
    {
        std::unique_ptr<IOBuffer> buffer = BufferOf(Write(format, points.get(), descriptors.get()));
        Array2dReal64 sentinel(1, 1, 0, 0);
        Array2dReal64* unwanted = &sentinel;
        Array2dReal64* read = nullptr;
        ReadBINDESC1FromBuffer(unwanted, read, buffer.get(), false, true);
        MatrixPtr owned(read);
        EXPECT_EQ(unwanted, &sentinel);
        ExpectSameValues(descriptors.get(), read);
    }
    // Only the points: the descriptors stay unread and their output untouched.
    std::unique_ptr<IOBuffer> buffer = BufferOf(Write(kBinary, points.get(), descriptors.get()));
    Array2dReal64* readPoints = nullptr;
    Array2dReal64* noDescriptors = nullptr;
    EXPECT_EQ(ReadBINDESC1FromBuffer(readPoints, noDescriptors, buffer.get(), true, false), "CIRCLE  ");
    MatrixPtr owned(readPoints);
    EXPECT_EQ(noDescriptors, nullptr);
    ExpectSameValues(points.get(), readPoints);
    EXPECT_EQ(buffer->GetPosition(), 32 + 5 * 5 * 8);
}

TEST(ReadBINDESC1FromBuffer, FilesOnDiskReadInBothBufferModes)
{
    TestSupport::TempDir dir;
    auto points = Points(20);
    auto descriptors = Descriptors(20, 16);
    for (Format format : {kText, kBinary})
    {
        const std::string path = dir.File(format == kText ? "points.txt" : "points.bin");
        {
            IOBufferFile out(path, false, false, false);
            ASSERT_TRUE(out.Valid());
            if (format == kText)
                ASSERT_TRUE(WriteVESK1ToBuffer(&out, points.get(), descriptors.get(), "CIRCLE"));
            else
                ASSERT_TRUE(WriteBINDESC1ToBuffer(&out, points.get(), descriptors.get(), "CIRCLE  "));
        }
        for (bool useMemory : {true, false})
        {
            IOBufferFile in(path, true, useMemory, false);
            ASSERT_TRUE(in.Valid());
            Array2dReal64* p = nullptr;
            Array2dReal64* d = nullptr;
            const std::string type = ReadBINDESC1FromBuffer(p, d, &in, true, true);
            MatrixPtr ownedP(p);
            MatrixPtr ownedD(d);
            EXPECT_EQ(type, format == kText ? "CIRCLE" : "CIRCLE  ");
            ExpectSameValues(points.get(), p);
            ExpectSameValues(descriptors.get(), d);
        }
    }
}

TEST(ReadBINDESC1FromBuffer, RefusesFourBytesPerElement)
{
    LogCapture log(kReadLog, log4cpp::Priority::ERROR);
    const std::string file = BinaryHeader(5, 0, 1, 4) + std::string(20, '\0');
    ReadResult r = Read(file);
    EXPECT_EQ(r.type, "");
    EXPECT_EQ(r.points, nullptr);
    EXPECT_EQ(r.descriptors, nullptr);
    EXPECT_EQ(log.Text(), "Can only read BINDESC1 with 8 bytes per element (double)\n");
}

TEST(ReadBINDESC1FromBuffer, AnswersGarbageEmptyAndWrongMagicWithMessages)
{
    LogCapture log(kReadLog, log4cpp::Priority::ERROR);
    ReadResult garbage = Read(std::string("\x7f" "ELF\x02\x01\x01\0 garbage follows", 24));
    EXPECT_EQ(garbage.type, "ERROR");
    EXPECT_EQ(garbage.points, nullptr);
    EXPECT_EQ(log.Text(), "Unknown format to read point descriptors from: \x7f" "ELF\x02\x01\x01\n");

    LogCapture emptyLog(kReadLog, log4cpp::Priority::ERROR);
    ReadResult empty = Read("");
    EXPECT_EQ(empty.type, "ERROR");
    EXPECT_EQ(emptyLog.Text(), "Unknown format to read point descriptors from: \n");

    // The magic with a further character passes the 5-byte test, then fails the line test.
    LogCapture lineLog(kReadLog, log4cpp::Priority::ERROR);
    ReadResult longer = Read("VESK1x\n0\n0\n");
    EXPECT_EQ(longer.type, "");
    EXPECT_EQ(longer.points, nullptr);
    EXPECT_EQ(lineLog.Text(), "Unsupported region format: VESK1x\n");

    // Text that says nothing sensible about its counts.
    LogCapture countLog(kReadLog, log4cpp::Priority::ERROR);
    EXPECT_EQ(Read("VESK1\n-3\n2\n").type, "");
    EXPECT_EQ(Read("VESK1\n128\n2000000000\n<CIRCLE 1 2 3 4 5>;;\n").type, "");
    EXPECT_EQ(Read("VESK1\n2000000000\n1000\n").type, "");
    EXPECT_NE(countLog.Text().find("Invalid VESK1 header"), std::string::npos);

    // Binary headers of negative or enormous counts.
    LogCapture binaryLog(kReadLog, log4cpp::Priority::ERROR);
    EXPECT_EQ(Read(BinaryHeader(5, 0, -1, 8)).type, "");
    EXPECT_EQ(Read(BinaryHeader(2147483647, 2147483647, 2147483647, 8)).type, "");
    EXPECT_NE(binaryLog.Text().find("Invalid BINDESC1 header"), std::string::npos);
    EXPECT_NE(binaryLog.Text().find("Truncated BINDESC1 data"), std::string::npos);
}

TEST(ReadBINDESC1FromBuffer, TruncatedBinaryFilesGiveMessagesAndNoMatrices)
{
    auto points = Points(6);
    auto descriptors = Descriptors(6, 8);
    const std::string whole = Write(kBinary, points.get(), descriptors.get());
    for (size_t length : {size_t(8), size_t(12), size_t(31), size_t(32), size_t(100), whole.size() - 8,
                          whole.size() - 1})
    {
        LogCapture log(kReadLog, log4cpp::Priority::ERROR);
        ReadResult r = Read(whole.substr(0, length));
        EXPECT_EQ(r.type, "") << "length " << length;
        EXPECT_EQ(r.points, nullptr);
        EXPECT_EQ(r.descriptors, nullptr);
        EXPECT_NE(log.Text().find("Truncated BINDESC1"), std::string::npos) << log.Text();
    }
    // Cut inside the descriptors, the points alone can still be read.
    ReadResult pointsOnly = Read(whole.substr(0, whole.size() - 8), true, false);
    EXPECT_EQ(pointsOnly.type, "CIRCLE  ");
    ExpectSameValues(points.get(), pointsOnly.points.get());
}

TEST(ReadBINDESC1FromBuffer, TruncatedTextThrowsForPointsAndGivesZeroDescriptors)
{
    auto points = Points(3);
    auto descriptors = Matrix(3, 2, {1, 2, 3, 4, 5, 6});
    const std::string whole = Write(kText, points.get(), descriptors.get());
    // Keep the header and the first point line.
    const std::string cut = whole.substr(0, whole.find("<CIRCLE", whole.find("<CIRCLE") + 1));
    {
        LogCapture log(kReadLog, log4cpp::Priority::ERROR);
        std::unique_ptr<IOBuffer> buffer = BufferOf(cut);
        Array2dReal64* p = nullptr;
        Array2dReal64* d = nullptr;
        bool thrown = false;
        try
        {
            ReadBINDESC1FromBuffer(p, d, buffer.get(), true, true);
        }
        catch (const char* text)
        {
            thrown = true;
            EXPECT_STREQ(text, "Unsupported serialization type!");
        }
        EXPECT_TRUE(thrown);
        EXPECT_EQ(p, nullptr);
        EXPECT_EQ(d, nullptr);
        EXPECT_EQ(log.Text(), "Unsupported region: \n");
    }
    ReadResult r = Read(cut, false, true);
    EXPECT_EQ(r.type, "CIRCLE");
    ASSERT_NE(r.descriptors, nullptr);
    const double expected[6] = {1, 2, 0, 0, 0, 0};
    for (int i = 0; i < 6; ++i)
        EXPECT_EQ(r.descriptors->mData[i], expected[i]);
}

TEST(ReadBINDESC1FromBuffer, PointLineOfAnotherTypeThrows)
{
    const std::string file = "VESK1\n1\n2\n<CIRCLE 1 2 3 4 5>; 7;\n<SQUARE 1 2 3 4 5>; 8;\n";
    LogCapture log(kReadLog, log4cpp::Priority::FATAL);
    Array2dReal64* p = nullptr;
    Array2dReal64* d = nullptr;
    std::unique_ptr<IOBuffer> buffer = BufferOf(file);
    // The throw happens even when the log level hides the message.
    EXPECT_THROW(ReadBINDESC1FromBuffer(p, d, buffer.get(), true, true), const char*);
    EXPECT_EQ(log.Text(), "");
    EXPECT_EQ(p, nullptr);

    LogCapture errorLog(kReadLog, log4cpp::Priority::ERROR);
    std::unique_ptr<IOBuffer> again = BufferOf(file);
    try
    {
        ReadBINDESC1FromBuffer(p, d, again.get(), true, false);
        ADD_FAILURE() << "no throw";
    }
    catch (const char* text)
    {
        EXPECT_STREQ(text, "Unsupported serialization type!");
    }
    EXPECT_EQ(errorLog.Text(), "Unsupported region: <SQUARE 1 2 3 4 5>\n");

    // Without points wanted the type is never looked at.
    ReadResult r = Read(file, false, true);
    EXPECT_EQ(r.type, "CIRCLE");
    ASSERT_NE(r.descriptors, nullptr);
    EXPECT_EQ(r.descriptors->mData[1], 8.0);
}

TEST(PointDescriptorWriters, WriteOnlyTheImageRowsOfBorderedMatricesAndRefuseMissingInput)
{
    MatrixPtr points(new Array2dReal64(5, 2, 1, 1));
    MatrixPtr descriptors(new Array2dReal64(3, 2, 2, 1));
    for (uint64_t i = 0; i < points->DataSize(); ++i)
        points->mData[i] = -99.0;
    for (uint64_t i = 0; i < descriptors->DataSize(); ++i)
        descriptors->mData[i] = -99.0;
    auto plainPoints = Points(2);
    auto plainDescriptors = Descriptors(2, 3);
    for (int y = 0; y < 2; ++y)
    {
        std::memcpy(points->PixelPtr(0, y), plainPoints->mData + y * 5, 5 * sizeof(double));
        std::memcpy(descriptors->PixelPtr(0, y), plainDescriptors->mData + y * 3, 3 * sizeof(double));
    }
    EXPECT_EQ(Write(kBinary, points.get(), descriptors.get()),
              Write(kBinary, plainPoints.get(), plainDescriptors.get()));
    EXPECT_EQ(Write(kText, points.get(), descriptors.get()), Write(kText, plainPoints.get(), plainDescriptors.get()));

    LogCapture veskLog(kWriteVeskLog, log4cpp::Priority::ERROR);
    LogCapture binLog(kWriteBinLog, log4cpp::Priority::ERROR);
    IOBuffer buffer(64);
    EXPECT_FALSE(WriteVESK1ToBuffer(&buffer, nullptr, nullptr, "CIRCLE"));
    EXPECT_FALSE(WriteBINDESC1ToBuffer(nullptr, plainPoints.get(), nullptr, "CIRCLE  "));
    EXPECT_EQ(buffer.GetPosition(), 0);
    EXPECT_NE(veskLog.Text().find("no points"), std::string::npos);
    EXPECT_NE(binLog.Text().find("no io buffer"), std::string::npos);
    // A buffer too small for the file is reported.
    EXPECT_FALSE(WriteBINDESC1ToBuffer(&buffer, plainPoints.get(), nullptr, "CIRCLE  "));
    EXPECT_NE(binLog.Text().find("The buffer did not take"), std::string::npos);
}
