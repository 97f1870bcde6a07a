#include "core/feature/PointDescriptorIO.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

#include "basis/Report.h"
#include "core/matrix/MatCreate.h"
#include "util/DefaultFloatText.h"
#include "util/IOBuffer.h"
#include "util/StringParser.h"

namespace Tavlin
{
namespace Core
{
namespace Feature
{

using Array::Array2dReal64;

namespace
{

log4cpp::Category& sLogVesk = log4cpp::Category::getInstance("Core.Feature.PointDescriptorIO.WriteVESK1ToBuffer");
log4cpp::Category& sLogBin = log4cpp::Category::getInstance("Core.Feature.PointDescriptorIO.WriteBINDESC1ToBuffer");
log4cpp::Category& sLogRead =
    log4cpp::Category::getInstance("Core.Feature.PointDescriptorIO.ReadBINDESC1FromBuffer");

// Shapes shared by both writers. descriptorLength is 0 without descriptor rows.
struct WriteShape
{
    long long count;
    long long pointWidth;
    long long descriptorLength;
    long long descriptorRows;
};

WriteShape MeasureAndCheck(Array2dReal64* points, Array2dReal64* descriptors, log4cpp::Category& log)
{
    WriteShape shape;
    shape.count = points->mHeight;
    shape.pointWidth = points->mWidth;
    shape.descriptorLength = 0;
    shape.descriptorRows = 0;
    if (descriptors && descriptors->mHeight > 0)
    {
        shape.descriptorLength = descriptors->mWidth;
        shape.descriptorRows = descriptors->mHeight;
        if (shape.descriptorRows != shape.count)
            TLOG_ERROR(log, "Dimension mismatch in points/descriptors: " << shape.count << " " << shape.descriptorRows);
    }
    return shape;
}

bool CheckArguments(Util::IOBuffer* buffer, Array2dReal64* points, log4cpp::Category& log)
{
    if (!buffer || !points)
    {
        TLOG_ERROR(log, "[ERROR] Nothing to write: " << (buffer ? "no points" : "no io buffer"));
        return false;
    }
    return true;
}

// Writes and counts what the buffer did not take.
class CheckedWriter
{
public:
    explicit CheckedWriter(Util::IOBuffer* buffer) : mBuffer(buffer), mShort(0) {}

    void Write(const void* data, int64_t count)
    {
        if (count > 0)
            mShort += count - mBuffer->Write(data, count);
    }

    // False, after a logged error, when bytes were dropped.
    bool Done(log4cpp::Category& log)
    {
        if (mShort != 0)
            TLOG_ERROR(log, "[ERROR] The buffer did not take " << mShort << " bytes");
        return mShort == 0;
    }

private:
    Util::IOBuffer* mBuffer;
    int64_t mShort;
};

// The first `rows` rows, in one block when they are contiguous.
void WriteRows(CheckedWriter& writer, Array2dReal64* matrix, long long rows, long long width)
{
    if (matrix->mBorderWidth == 0 && matrix->mBorderHeight == 0)
    {
        writer.Write(matrix->mData, rows * width * 8);
        return;
    }
    for (long long i = 0; i < rows; ++i)
        writer.Write(matrix->PixelPtr(0, i), width * 8);
}

bool Fails(const std::unique_ptr<Array2dReal64>& matrix)
{
    return !matrix->mData && matrix->mDataSize > 0;
}

} // namespace

bool WriteVESK1ToBuffer(Util::IOBuffer* buffer, Array2dReal64* points, Array2dReal64* descriptors, std::string type)
{
    if (!CheckArguments(buffer, points, sLogVesk))
        return false;
    CheckedWriter writer(buffer);
    writer.Write("VESK1\n", 6);
    const WriteShape shape = MeasureAndCheck(points, descriptors, sLogVesk);

    const std::string head = std::to_string(shape.descriptorLength) + "\n" + std::to_string(shape.count) + "\n";
    writer.Write(head.data(), static_cast<int64_t>(head.size()));

    // Each line is formatted straight into a buffer that holds the longest one.
    const size_t longest = 1 + type.size() + 2 + 2 +
                           static_cast<size_t>(shape.pointWidth + shape.descriptorLength) *
                               (1 + static_cast<size_t>(Util::sDefaultFloatTextMax));
    std::vector<char> text(longest);
    for (long long i = 0; i < shape.count; ++i)
    {
        char* p = text.data();
        *p++ = '<';
        p = std::copy(type.begin(), type.end(), p);
        const double* point = points->PixelPtr(0, i);
        for (long long k = 0; k < shape.pointWidth; ++k)
        {
            *p++ = ' ';
            p += Util::FormatDefaultFloat(point[k], p);
        }
        *p++ = '>';
        *p++ = ';';
        const double* descriptor = i < shape.descriptorRows ? descriptors->PixelPtr(0, i) : nullptr;
        for (long long k = 0; k < shape.descriptorLength; ++k)
        {
            *p++ = ' ';
            if (descriptor)
                p += Util::FormatDefaultFloat(descriptor[k], p);
            else
                *p++ = '0';
        }
        *p++ = ';';
        *p++ = '\n';
        writer.Write(text.data(), static_cast<int64_t>(p - text.data()));
    }
    return writer.Done(sLogVesk);
}

bool WriteBINDESC1ToBuffer(Util::IOBuffer* buffer, Array2dReal64* points, Array2dReal64* descriptors,
                           std::string type)
{
    if (!CheckArguments(buffer, points, sLogBin))
        return false;
    const WriteShape shape = MeasureAndCheck(points, descriptors, sLogBin);
    if (type.size() != 8)
    {
        TLOG_ERROR(sLogBin, "Coding error: your datatype specification should be 8 bytes long");
        type = "UNKNOWN ";
    }

    CheckedWriter writer(buffer);
    TLOG_DEBUG(sLogBin, "Writing header...");
    writer.Write("BINDESC1", 8);
    writer.Write(type.data(), 8);
    const int32_t header[4] = {static_cast<int32_t>(shape.pointWidth), static_cast<int32_t>(shape.descriptorLength),
                               static_cast<int32_t>(shape.count), 8};
    for (int32_t field : header)
        writer.Write(&field, 4);
    TLOG_DEBUG(sLogBin, "Wrote full header");

    WriteRows(writer, points, shape.count, shape.pointWidth);
    if (shape.descriptorLength != 0)
    {
        const long long present = std::min(shape.count, shape.descriptorRows);
        WriteRows(writer, descriptors, present, shape.descriptorLength);
        const std::vector<double> zeros(static_cast<size_t>(shape.descriptorLength), 0.0);
        for (long long i = present; i < shape.count; ++i)
            writer.Write(zeros.data(), shape.descriptorLength * 8);
    }
    return writer.Done(sLogBin);
}

namespace
{

std::string ReadBinary(Array2dReal64*& points, Array2dReal64*& descriptors, Util::IOBuffer* buffer, bool readPoints,
                       bool readDescriptors)
{
    char type[9] = {0};
    std::memcpy(type, "UNKNOWN ", 8);
    int32_t elementsPerPoint = 0;
    int32_t dimensionCount = 0;
    int32_t pointCount = 0;
    int32_t bytesPerElement = 8;

    TLOG_DEBUG(sLogRead, "Reading header...");
    int64_t got = buffer->Read(type, 8);
    got += buffer->Read(&elementsPerPoint, 4);
    got += buffer->Read(&dimensionCount, 4);
    got += buffer->Read(&pointCount, 4);
    got += buffer->Read(&bytesPerElement, 4);
    TLOG_DEBUG(sLogRead, "Read full header");
    if (got != 24)
    {
        TLOG_ERROR(sLogRead, "[ERROR] Truncated BINDESC1 header: " << got + 8 << " of 32 bytes");
        return "";
    }
    if (bytesPerElement != 8)
    {
        TLOG_ERROR(sLogRead, "Can only read BINDESC1 with 8 bytes per element (double)");
        return "";
    }
    // Points always have values: rows of none would let a header of a few bytes announce
    // two billion points that the file need not hold.
    if (elementsPerPoint < 0 || dimensionCount < 0 || pointCount < 0 || (pointCount > 0 && elementsPerPoint == 0))
    {
        TLOG_ERROR(sLogRead, "[ERROR] Invalid BINDESC1 header: elementsPerPoint=" << elementsPerPoint
                                 << ", dimensionCount=" << dimensionCount << ", pointCount=" << pointCount);
        return "";
    }

    // Sizes in 64 bits, so that blocks of 2 GiB and more are read whole; compared in
    // values first so that a garbage header cannot overflow them.
    const int64_t pointValues = static_cast<int64_t>(pointCount) * elementsPerPoint;
    const int64_t descriptorValues = static_cast<int64_t>(pointCount) * dimensionCount;
    const int64_t neededValues = pointValues + (readDescriptors ? descriptorValues : 0);
    const int64_t left = buffer->Size() - buffer->GetPosition();
    if (neededValues > left / 8)
    {
        TLOG_ERROR(sLogRead, "[ERROR] Truncated BINDESC1 data: the header announces "
                                 << pointCount << " points of " << elementsPerPoint << " and " << dimensionCount
                                 << " values, " << left << " bytes are left");
        return "";
    }

    std::unique_ptr<Array2dReal64> pointMatrix;
    if (readPoints)
    {
        pointMatrix.reset(Matrix::MatCreate<Array2dReal64>(pointCount, elementsPerPoint));
        if (Fails(pointMatrix))
            return "";
        const int64_t bytes = pointValues * 8;
        const int64_t read = bytes > 0 ? buffer->Read(pointMatrix->mData, bytes) : 0;
        if (read != bytes)
        {
            TLOG_ERROR(sLogRead, "[ERROR] Read " << read << " bytes of points instead of " << bytes);
            return "";
        }
    }
    else
    {
        buffer->Seek(pointValues * 8, 1);
    }

    std::unique_ptr<Array2dReal64> descriptorMatrix;
    if (readDescriptors)
    {
        descriptorMatrix.reset(Matrix::MatCreate<Array2dReal64>(pointCount, dimensionCount));
        if (Fails(descriptorMatrix))
            return "";
        const int64_t bytes = descriptorValues * 8;
        const int64_t read = bytes > 0 ? buffer->Read(descriptorMatrix->mData, bytes) : 0;
        if (read != bytes)
        {
            TLOG_ERROR(sLogRead, "[ERROR] Read " << read << " bytes of descriptors instead of " << bytes);
            return "";
        }
    }

    if (readPoints)
        points = pointMatrix.release();
    if (readDescriptors)
        descriptors = descriptorMatrix.release();
    return type;
}

std::string ReadText(Array2dReal64*& points, Array2dReal64*& descriptors, Util::IOBuffer* buffer, bool readPoints,
                     bool readDescriptors)
{
    buffer->Seek(0, 0);
    const std::string magic = buffer->ReadLine();
    if (magic != "VESK1")
    {
        TLOG_ERROR(sLogRead, "Unsupported region format: " << magic);
        return "";
    }
    const int dimensionCount = Util::StringParser(buffer->ReadLine()).GetInt(' ', false);
    const int pointCount = Util::StringParser(buffer->ReadLine()).GetInt(' ', false);
    TLOG_DEBUG(sLogRead, "Reading file; dimensionCount = " << dimensionCount << "; pointCount = " << pointCount);

    // Missing lines read as empty ones, but counts far beyond what the rest of the file
    // could describe (a value takes at least two characters) come from garbage.
    const int64_t left = buffer->Size() - buffer->GetPosition();
    const int64_t values = static_cast<int64_t>(pointCount) * (static_cast<int64_t>(dimensionCount) + 5);
    if (dimensionCount < 0 || pointCount < 0 || values > 4 * (left + 1024))
    {
        TLOG_ERROR(sLogRead, "[ERROR] Invalid VESK1 header: dimensionCount = "
                                 << dimensionCount << "; pointCount = " << pointCount << "; " << left
                                 << " bytes are left");
        return "";
    }

    std::unique_ptr<Array2dReal64> pointMatrix;
    std::unique_ptr<Array2dReal64> descriptorMatrix;
    if (readPoints)
    {
        pointMatrix.reset(Matrix::MatCreate<Array2dReal64>(pointCount, 5));
        if (Fails(pointMatrix))
            return "";
    }
    if (readDescriptors)
    {
        descriptorMatrix.reset(Matrix::MatCreate<Array2dReal64>(pointCount, dimensionCount));
        if (Fails(descriptorMatrix))
            return "";
    }

    for (int i = 0; i < pointCount; ++i)
    {
        Util::StringParser parser(buffer->ReadLine());
        const std::string pointPart = parser.GetString(';', false);
        if (readPoints)
        {
            if (pointPart.compare(0, 8, "<CIRCLE ") != 0)
            {
                TLOG_ERROR(sLogRead, "Unsupported region: " << pointPart);
                throw "Unsupported serialization type!";
            }
            Util::StringParser fields(pointPart);
            fields.GetString(' ', false);
            double* row = pointMatrix->mData + static_cast<int64_t>(i) * 5;
            for (int k = 0; k < 4; ++k)
                row[k] = fields.GetDouble(' ', false);
            row[4] = fields.GetDouble('>', false);
        }
        if (readDescriptors)
        {
            Util::StringParser values(parser.GetString(';', false));
            double* row = descriptorMatrix->mData + static_cast<int64_t>(i) * dimensionCount;
            for (int k = 0; k < dimensionCount; ++k)
                row[k] = values.GetDouble(' ', false);
        }
    }

    if (readPoints)
        points = pointMatrix.release();
    if (readDescriptors)
        descriptors = descriptorMatrix.release();
    return "CIRCLE";
}

} // namespace

std::string ReadBINDESC1FromBuffer(Array2dReal64*& points, Array2dReal64*& descriptors, Util::IOBuffer* buffer,
                                   bool readPoints, bool readDescriptors)
{
    if (!buffer || !buffer->Valid())
    {
        TLOG_ERROR(sLogRead, "[ERROR] Invalid io buffer");
        return "";
    }
    char magic[9] = {0};
    buffer->Read(magic, 8);
    if (std::strcmp(magic, "BINDESC1") == 0)
        return ReadBinary(points, descriptors, buffer, readPoints, readDescriptors);
    if (std::strncmp(magic, "VESK1", 5) != 0)
    {
        TLOG_ERROR(sLogRead, "Unknown format to read point descriptors from: " << magic);
        return "ERROR";
    }
    return ReadText(points, descriptors, buffer, readPoints, readDescriptors);
}

} // namespace Feature
} // namespace Core
} // namespace Tavlin
