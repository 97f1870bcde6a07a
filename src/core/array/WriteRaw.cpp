#include "core/array/WriteRaw.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "basis/Report.h"
#include "util/IOBuffer.h"

namespace Tavlin
{
namespace Core
{
namespace Array
{

namespace
{
const int sHeaderSize = 200;
log4cpp::Category& sLogBuffer = log4cpp::Category::getInstance("Tavlin.Util.IOBuffer");

// One array's rows: plain in one Write (or a row at a time with a border), or in
// compressed runs of linesPerChunk rows.
template <class ArrayT>
void WriteRawPayload(ArrayT* array, Util::IOBuffer* buffer, int binary, long long linesPerChunk, long long rowBytes)
{
    const long long height = array->Height();
    const bool bordered = array->BorderWidth() != 0;

    if (linesPerChunk < 1)
    {
        if (!bordered)
        {
            buffer->Write(array->PixelPtr(0, 0), height * rowBytes);
            return;
        }
        for (long long y = 0; y < height; ++y)
            buffer->Write(array->PixelPtr(0, y), rowBytes);
        return;
    }

    for (long long y = 0; y < height;)
    {
        const long long rows = std::min(linesPerChunk, height - y);
        // A bordered array has runs of one row, so every run is contiguous.
        if (binary == 3)
            buffer->WriteZlib(array->PixelPtr(0, y), rows * rowBytes);
        else
            TLOG_ERROR(sLogBuffer, "WriteBzip not supported");
        y += rows;
    }
}

// The header announces arrays.size() arrays of the first one's size; the callers
// have checked that they all have it.
template <class ArrayT>
void WriteRawArrays(const std::vector<ArrayT*>& arrays, Util::IOBuffer* buffer, int binary)
{
    ArrayT* array = arrays[0];
    const long long nr = static_cast<long long>(arrays.size());
    // The old compressed form is no longer written; plain takes its place.
    if (binary == 2)
        binary = 1;

    const long long width = array->Width();
    const long long height = array->Height();
    const long long rowBytes = width * ArrayT::ElemSize * static_cast<long long>(sizeof(typename ArrayT::StorType));
    const bool bordered = array->BorderWidth() != 0;
    long long linesPerChunk = 0;
    if (binary > 1)
        linesPerChunk = bordered ? 1 : (rowBytes > 0 ? Util::IOBuffer::sZlibChunkSize / rowBytes : 0);

    const std::string word = StorTypeWord<typename ArrayT::StorType>::Get();
    char header[sHeaderSize];
    std::memset(header, 0, sizeof(header));
    if (binary == 3)
    {
        std::string format = "version: 3, binary: 1, type: " + word +
                             ", elemSize: %lld, width: %lld, height: %lld, nr: %lld, zlib: %lld";
        std::snprintf(header, sizeof(header), format.c_str(), static_cast<long long>(ArrayT::ElemSize), width, height,
                      nr, linesPerChunk);
    }
    else
    {
        std::string format = "version: 1, binary: 1, type: " + word +
                             ", elemSize: %lld, width: %lld, height: %lld, nr: %lld";
        std::snprintf(header, sizeof(header), format.c_str(), static_cast<long long>(ArrayT::ElemSize), width, height,
                      nr);
    }
    buffer->Write(header, sHeaderSize);
    for (ArrayT* item : arrays)
        WriteRawPayload(item, buffer, binary, linesPerChunk, rowBytes);
}

} // namespace

template <class ArrayT>
void WriteRaw(ArrayT* array, Util::IOBuffer* buffer, int binary)
{
    static log4cpp::Category& sLog = log4cpp::Category::getInstance("Tavlin.Core.Array.WriteRaw");
    if (binary == 0)
    {
        TLOG_ERROR(sLog, "Non-binary write has been eliminated");
        return;
    }
    if (!array || !buffer || !buffer->Valid())
    {
        TLOG_ERROR(sLog, "[WriteRaw] no array or invalid io buffer");
        return;
    }
    WriteRawArrays(std::vector<ArrayT*>{array}, buffer, binary);
}

bool WriteRawList(const std::vector<Array2dReal64*>& list, Util::IOBuffer* buffer, int binary)
{
    static log4cpp::Category& sLog = log4cpp::Category::getInstance("Tavlin.Core.Array.WriteRawList");
    if (binary == 0)
    {
        TLOG_ERROR(sLog, "Non-binary write has been eliminated");
        return false;
    }
    if (list.empty() || !buffer || !buffer->Valid())
    {
        TLOG_ERROR(sLog, "[WriteRawList] no arrays or invalid io buffer");
        return false;
    }
    for (Array2dReal64* item : list)
    {
        if (!item || item->Width() != list[0]->Width() || item->Height() != list[0]->Height() ||
            item->BorderWidth() != list[0]->BorderWidth())
        {
            TLOG_ERROR(sLog, "[WriteRawList] the arrays of a list must have one size");
            return false;
        }
    }
    WriteRawArrays(list, buffer, binary);
    return true;
}

template void WriteRaw<Array2dReal64>(Array2dReal64*, Util::IOBuffer*, int);
template void WriteRaw<Array2dVec3UInt8>(Array2dVec3UInt8*, Util::IOBuffer*, int);

} // namespace Array
} // namespace Core
} // namespace Tavlin
