#include "core/feature/PointDescriptorIO.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "core/matrix/MatCreate.h"
#include "support/LogCapture.h"
#include "support/MemoryBuffer.h"
#include "support/TestSupport.h"
#include "util/IOBuffer.h"
#include "util/IOBufferFile.h"

using Tavlin::Core::Array::Array2dReal64;
using Tavlin::Core::Feature::ReadBINDESC1FromBuffer;
using Tavlin::Core::Feature::WriteBINDESC1ToBuffer;
using Tavlin::Core::Feature::WriteVESK1ToBuffer;
using Tavlin::Util::IOBuffer;
using TestSupport::LogCapture;

namespace
{

typedef std::unique_ptr<Array2dReal64> MatrixPtr;

const char* const kWriteVeskLog = "Core.Feature.PointDescriptorIO.WriteVESK1ToBuffer";
const char* const kWriteBinLog = "Core.Feature.PointDescriptorIO.WriteBINDESC1ToBuffer";
const char* const kReadLog = "Core.Feature.PointDescriptorIO.ReadBINDESC1FromBuffer";

// `values` row by row; without values, numbers that six digits keep exactly.
MatrixPtr Matrix(int rows, int cols, const std::vector<double>& values = {})
{
    MatrixPtr m(Tavlin::Core::Matrix::MatCreate<Array2dReal64>(rows, cols));
    for (int i = 0; i < rows * cols; ++i)
        m->mData[i] = values.empty() ? (i % 37) * 0.125 - 1.0 : values[i];
    return m;
}

// Width, height and the values: one comparable value per matrix, {} for none.
std::vector<double> Contents(const Array2dReal64* m)
{
    if (!m)
        return {};
    std::vector<double> v{double(m->mWidth), double(m->mHeight)};
    v.insert(v.end(), m->mData, m->mData + m->mWidth * m->mHeight);
    return v;
}

enum Format
{
    kText,
    kBinary
};

std::string Write(Format format, Array2dReal64* points, Array2dReal64* descriptors, const std::string& type = "")
{
    IOBuffer buffer(1 << 20);
    if (format == kText)
        EXPECT_TRUE(WriteVESK1ToBuffer(&buffer, points, descriptors, type.empty() ? "CIRCLE" : type));
    else
        EXPECT_TRUE(WriteBINDESC1ToBuffer(&buffer, points, descriptors, type.empty() ? "CIRCLE  " : type));
    return TestSupport::BufferBytes(buffer, 0, buffer.GetPosition());
}

struct ReadResult
{
    std::string type;
    MatrixPtr points;
    MatrixPtr descriptors;
    std::string thrown;
};

ReadResult Read(const std::string& bytes, bool readPoints = true, bool readDescriptors = true)
{
    std::unique_ptr<IOBuffer> buffer = TestSupport::MemoryBufferOf(bytes);
    Array2dReal64* points = nullptr;
    Array2dReal64* descriptors = nullptr;
    ReadResult result;
    try
    {
        result.type = ReadBINDESC1FromBuffer(points, descriptors, buffer.get(), readPoints, readDescriptors);
    }
    catch (const char* text)
    {
        result.thrown = text;
    }
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

} // namespace

TEST(PointDescriptorWriters, WriteTheDocumentedTextAndBinaryLayouts)
{
    auto points = Matrix(1, 5, {91, 192, 1.6, 0, 0.00123});
    auto descriptors = Matrix(1, 2, {12, 0.5});
    auto noRows = Matrix(0, 7);
    EXPECT_EQ(Write(kText, points.get(), descriptors.get()), "VESK1\n2\n1\n<CIRCLE 91 192 1.6 0 0.00123>; 12 0.5;\n");
    // No descriptors, or a descriptor matrix without rows: an empty field.
    for (Array2dReal64* none : {static_cast<Array2dReal64*>(nullptr), noRows.get()})
        EXPECT_EQ(Write(kText, points.get(), none), "VESK1\n0\n1\n<CIRCLE 91 192 1.6 0 0.00123>;;\n");
    // Six significant digits, exponent form outside [0.0001, 1000000).
    auto precise = Matrix(1, 5, {3.14159265, 1234567, -0.0, 0.00001234567, 999999.5});
    auto wide = Matrix(1, 3, {1.0 / 3.0, -2e-5, 100000.0});
    EXPECT_EQ(Write(kText, precise.get(), wide.get()),
              "VESK1\n3\n1\n<CIRCLE 3.14159 1.23457e+06 -0 1.23457e-05 1e+06>; 0.333333 -2e-05 100000;\n");
    auto zero = Matrix(0, 5);
    EXPECT_EQ(Write(kText, zero.get(), nullptr), "VESK1\n0\n0\n");

    // Binary: header, all point rows, then all descriptor rows.
    auto two = Matrix(2, 5);
    auto three = Matrix(2, 3, {10, 11, 12, 13, 14, 15});
    const std::string bytes = Write(kBinary, two.get(), three.get());
    EXPECT_EQ(bytes, BinaryHeader(5, 3, 2, 8) + std::string(reinterpret_cast<const char*>(two->mData), 80) +
                         std::string(reinterpret_cast<const char*>(three->mData), 48));
    EXPECT_EQ(Write(kBinary, zero.get(), nullptr), BinaryHeader(5, 0, 0, 8));
    EXPECT_EQ(Write(kBinary, two.get(), nullptr).substr(0, 32), BinaryHeader(5, 0, 2, 8));
}

TEST(PointDescriptorWriters, ReportCodingErrorsAndHeightMismatch)
{
    auto points = Matrix(3, 5);
    auto descriptors = Matrix(2, 2, {1, 2, 3, 4});
    LogCapture veskLog(kWriteVeskLog);
    const std::string text = Write(kText, points.get(), descriptors.get());
    EXPECT_EQ(veskLog.Text(), "Dimension mismatch in points/descriptors: 3 2\n");
    EXPECT_NE(text.find(">; 3 4;\n<CIRCLE"), std::string::npos);
    EXPECT_EQ(text.substr(text.size() - 8), ">; 0 0;\n");

    LogCapture binLog(kWriteBinLog, log4cpp::Priority::ERROR);
    ReadResult r = Read(Write(kBinary, points.get(), descriptors.get()));
    EXPECT_EQ(Contents(r.descriptors.get()), (std::vector<double>{2, 3, 1, 2, 3, 4, 0, 0}));
    // A type of another length is written as "UNKNOWN ".
    EXPECT_EQ(Read(Write(kBinary, points.get(), nullptr, "CIRCLE")).type, "UNKNOWN ");
    EXPECT_EQ(binLog.Text(), "Dimension mismatch in points/descriptors: 3 2\n"
                             "Coding error: your datatype specification should be 8 bytes long\n");
}

TEST(ReadBINDESC1FromBuffer, RoundTripsBothFormats)
{
    // Binary keeps every bit, NaN and negative zero included.
    const double nan = std::numeric_limits<double>::quiet_NaN();
    auto odd = Matrix(2, 5, {-0.0, 1e-310, 3.141592653589793, nan, 1e300, 7, 8, 9, 10, 11});
    auto thirds = Matrix(2, 4, {0.1, 0.2, 0.3, -1.0 / 3.0, 1, 2, 3, 4});
    ReadResult bits = Read(Write(kBinary, odd.get(), thirds.get()));
    EXPECT_EQ(bits.type, "CIRCLE  ");
    ASSERT_TRUE(bits.points && bits.descriptors);
    EXPECT_EQ(std::memcmp(bits.points->mData, odd->mData, 10 * sizeof(double)), 0);
    EXPECT_EQ(std::memcmp(bits.descriptors->mData, thirds->mData, 8 * sizeof(double)), 0);

    // Text keeps six digits.
    auto points = Matrix(4, 5);
    auto descriptors = Matrix(4, 2, {3.14159265, 2.718281828, 1e-7, 123456789, 0.5, -0.25, 1, 2});
    ReadResult text = Read(Write(kText, points.get(), descriptors.get()));
    EXPECT_EQ(text.type, "CIRCLE");
    EXPECT_EQ(Contents(text.points.get()), Contents(points.get()));
    EXPECT_EQ(Contents(text.descriptors.get()), (std::vector<double>{2, 4, 3.14159, 2.71828, 1e-7, 123457000, 0.5,
                                                                     -0.25, 1, 2}));

    const std::string types[] = {"CIRCLE", "CIRCLE  "};
    auto zero = Matrix(0, 5);
    auto six = Matrix(1, 6, {1, 2, 3, 4, 5, 6});
    for (Format format : {kText, kBinary})
    {
        // Zero points: empty matrices of 5 and 0 columns.
        ReadResult empty = Read(Write(format, zero.get(), nullptr));
        EXPECT_EQ(empty.type, types[format]);
        EXPECT_EQ(Contents(empty.points.get()), (std::vector<double>{5, 0}));
        EXPECT_EQ(Contents(empty.descriptors.get()), (std::vector<double>{0, 0}));
        // Points without descriptors: a descriptor matrix of 0 columns.
        ReadResult bare = Read(Write(format, points.get(), nullptr));
        EXPECT_EQ(Contents(bare.points.get()), Contents(points.get()));
        EXPECT_EQ(Contents(bare.descriptors.get()), (std::vector<double>{0, 4}));
    }
    // Binary keeps a point width other than 5; the text reader takes five columns.
    EXPECT_EQ(Contents(Read(Write(kBinary, six.get(), nullptr)).points.get()), Contents(six.get()));
    EXPECT_EQ(Contents(Read(Write(kText, six.get(), nullptr)).points.get()), (std::vector<double>{5, 1, 1, 2, 3, 4, 5}));
}

TEST(ReadBINDESC1FromBuffer, ReadsOnlyWhatIsAskedForFromDisk)
{
    TestSupport::TempDir dir;
    auto points = Matrix(20, 5);
    auto descriptors = Matrix(20, 16);
    for (Format format : {kText, kBinary})
    {
        const std::string path = dir.File("points");
        TestSupport::WriteTextFile(path, Write(format, points.get(), descriptors.get()));
        for (int wanted = 1; wanted <= 2; ++wanted)
        {
            Tavlin::Util::IOBufferFile in(path, true, false, false);
            // An output not asked for is left as it was.
            Array2dReal64 sentinel(1, 1, 0, 0);
            Array2dReal64* p = &sentinel;
            Array2dReal64* d = &sentinel;
            EXPECT_EQ(ReadBINDESC1FromBuffer(p, d, &in, wanted == 1, wanted == 2), format ? "CIRCLE  " : "CIRCLE");
            MatrixPtr owned(wanted == 1 ? p : d);
            EXPECT_EQ(wanted == 1 ? d : p, &sentinel);
            EXPECT_EQ(Contents(owned.get()), Contents(wanted == 1 ? points.get() : descriptors.get()));
            if (format == kBinary && wanted == 1)
            {
                EXPECT_EQ(in.GetPosition(), 32 + 20 * 5 * 8); // the descriptors stay unread
            }
        }
    }
}

TEST(ReadBINDESC1FromBuffer, AnswersBadFilesWithMessages)
{
    struct Case
    {
        std::string file;
        std::string type;
        std::string message;
    } cases[] = {
        {BinaryHeader(5, 0, 1, 4) + std::string(20, '\0'), "",
         "Can only read BINDESC1 with 8 bytes per element (double)\n"},
        {std::string("\x7f" "ELF\x02\x01\x01\0 garbage follows", 24), "ERROR",
         "Unknown format to read point descriptors from: \x7f" "ELF\x02\x01\x01\n"},
        {"", "ERROR", "Unknown format to read point descriptors from: \n"},
        // The magic with a further character passes the 5-byte test, then fails the line test.
        {"VESK1x\n0\n0\n", "", "Unsupported region format: VESK1x\n"},
        {"VESK1\n-3\n2\n", "", "Invalid VESK1 header"},
        {"VESK1\n128\n2000000000\n<CIRCLE 1 2 3 4 5>;;\n", "", "Invalid VESK1 header"},
        {"VESK1\n2000000000\n1000\n", "", "Invalid VESK1 header"},
        {BinaryHeader(5, 0, -1, 8), "", "Invalid BINDESC1 header"},
        {BinaryHeader(2147483647, 2147483647, 2147483647, 8), "", "Truncated BINDESC1 data"},
    };
    for (const Case& c : cases)
    {
        LogCapture log(kReadLog, log4cpp::Priority::ERROR);
        ReadResult r = Read(c.file);
        EXPECT_EQ(r.type, c.type) << c.message;
        EXPECT_FALSE(r.points || r.descriptors) << c.message;
        EXPECT_NE(log.Text().find(c.message), std::string::npos) << log.Text();
    }

    // Binary files cut anywhere give a message and no matrices.
    auto points = Matrix(6, 5);
    auto descriptors = Matrix(6, 8);
    const std::string whole = Write(kBinary, points.get(), descriptors.get());
    for (size_t length : {size_t(8), size_t(12), size_t(31), size_t(32), size_t(100), whole.size() - 8,
                          whole.size() - 1})
    {
        LogCapture log(kReadLog, log4cpp::Priority::ERROR);
        ReadResult r = Read(whole.substr(0, length));
        EXPECT_EQ(r.type, "") << "length " << length;
        EXPECT_FALSE(r.points || r.descriptors) << "length " << length;
        EXPECT_NE(log.Text().find("Truncated BINDESC1"), std::string::npos) << log.Text();
    }
    // Cut inside the descriptors, the points alone can still be read.
    EXPECT_EQ(Contents(Read(whole.substr(0, whole.size() - 8), true, false).points.get()), Contents(points.get()));
}

TEST(ReadBINDESC1FromBuffer, RefusesPointsWithoutValues)
{
    // 134 million points of no values and 6 descriptor values each, in a 32-byte file.
    const std::string file =
        TestSupport::FuzzFinding("PointDescriptorIO", "points-of-no-values.bin");
    ASSERT_EQ(file.size(), 32u);
    for (int wanted = 1; wanted <= 3; ++wanted)
    {
        LogCapture log(kReadLog, log4cpp::Priority::ERROR);
        ReadResult r = Read(file, wanted & 1, wanted & 2);
        EXPECT_EQ(r.type, "") << wanted;
        EXPECT_FALSE(r.points || r.descriptors) << wanted;
        EXPECT_NE(log.Text().find("Invalid BINDESC1 header: elementsPerPoint=0, dimensionCount=6, "
                                  "pointCount=134217732"),
                  std::string::npos)
            << log.Text();
    }
    // No points need no point values.
    auto none = Matrix(0, 0);
    EXPECT_EQ(Read(Write(kBinary, none.get(), nullptr)).type, "CIRCLE  ");
}

TEST(ReadBINDESC1FromBuffer, TextPointLinesThatAreNotCirclesThrow)
{
    auto points = Matrix(3, 5);
    auto descriptors = Matrix(3, 2, {1, 2, 3, 4, 5, 6});
    const std::string whole = Write(kText, points.get(), descriptors.get());
    // Header and first point line only: the missing second region is empty.
    const std::string cut = whole.substr(0, whole.find("<CIRCLE", whole.find("<CIRCLE") + 1));
    const std::string square = "VESK1\n1\n2\n<CIRCLE 1 2 3 4 5>; 7;\n<SQUARE 1 2 3 4 5>; 8;\n";
    // The throw happens even when the log level hides the message.
    const struct
    {
        std::string file;
        bool readDescriptors;
        log4cpp::Priority::Value priority;
        std::string log;
    } cases[] = {{cut, true, log4cpp::Priority::ERROR, "Unsupported region: \n"},
                 {square, false, log4cpp::Priority::ERROR, "Unsupported region: <SQUARE 1 2 3 4 5>\n"},
                 {square, true, log4cpp::Priority::FATAL, ""}};
    for (const auto& c : cases)
    {
        LogCapture log(kReadLog, c.priority);
        ReadResult r = Read(c.file, true, c.readDescriptors);
        EXPECT_EQ(r.thrown, "Unsupported serialization type!");
        EXPECT_FALSE(r.points || r.descriptors);
        EXPECT_EQ(log.Text(), c.log);
    }
    // Without points wanted the type is never looked at; missing rows read as zeros.
    ReadResult r = Read(square, false, true);
    EXPECT_EQ(r.type, "CIRCLE");
    EXPECT_EQ(Contents(r.descriptors.get()), (std::vector<double>{1, 2, 7, 8}));
    EXPECT_EQ(Contents(Read(cut, false, true).descriptors.get()), (std::vector<double>{2, 3, 1, 2, 0, 0, 0, 0}));
}
