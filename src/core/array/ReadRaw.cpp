#include "core/array/ReadRaw.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "basis/Report.h"
#include "core/array/ArrayFactories.h"
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
// Payloads beyond this are garbage headers; it also keeps every product in range.
const long long sMaxPayloadBytes = 1LL << 60;

log4cpp::Category& sLogBuffer = log4cpp::Category::getInstance("Tavlin.Util.IOBuffer");

struct RawHeader
{
    long long version = 0;
    long long binary = 0;
    long long elemSize = 0;
    long long width = 0;
    long long height = 0;
    long long nr = 0;
    std::string compressor;
    long long linesPerChunk = 0;
    // Derived: bytes of one row and of one array.
    long long rowBytes = 0;
    long long bytes = 0;
};

template <class ArrayT>
bool ReadHeader(Util::IOBuffer* buffer, RawHeader& h)
{
    return ReadRawHeader<ArrayT>(buffer, &h.version, &h.binary, &h.elemSize, &h.width, &h.height, &h.nr,
                                 h.compressor, &h.linesPerChunk);
}

// Beyond what the buffer can deliver, an announced payload is refused only past this
// margin, so that a truncated file of ordinary size still yields what arrived.
const long long sAllocationSlack = 1LL << 26;
// Arrays of no values cost the file nothing: a list of them stops here.
const long long sMostEmptyArrays = 1LL << 16;
// Deflate expands at most about 1032 times.
const long long sZlibRatio = 1100;

// Refuses sizes that no array can have, so that no product below overflows, and sizes
// that the rest of the buffer cannot fill, so that a garbage header allocates nothing.
template <class ArrayT>
bool ComputeSizes(RawHeader& h, Util::IOBuffer* buffer, int64_t payloadStart, log4cpp::Category& log,
                  const char* name)
{
    const long long valueSize = static_cast<long long>(sizeof(typename ArrayT::StorType));
    bool valid = h.width >= 0 && h.height >= 0 && h.nr >= 0;
    if (valid)
    {
        long long row = 0;
        long long all = 0;
        valid = !__builtin_mul_overflow(h.width, h.elemSize * valueSize, &row) &&
                !__builtin_mul_overflow(row, h.height, &all) && all <= sMaxPayloadBytes;
        h.rowBytes = row;
        h.bytes = all;
    }
    if (!valid)
    {
        TLOG_ERROR(log, "[" << name << "] invalid array size in header: width " << h.width << ", height " << h.height
                            << ", nr " << h.nr);
        return false;
    }
    const long long left = std::max<long long>(0, buffer->Size() - payloadStart);
    long long most = left;
    if (h.binary == 0)
        most = left * valueSize; // at least one character a value
    else if (h.linesPerChunk > 0)
        most = left < sMaxPayloadBytes / sZlibRatio ? left * sZlibRatio : sMaxPayloadBytes;
    if (h.bytes > most && h.bytes - most > sAllocationSlack)
    {
        TLOG_ERROR(log, "[" << name << "] header announces " << h.bytes << " bytes an array, the buffer holds "
                            << left);
        return false;
    }
    return true;
}

// The payload is written as one block from the first image pixel on.
template <class ArrayT>
bool TargetHolds(ArrayT* a, const RawHeader& h, log4cpp::Category& log, const char* name)
{
    const unsigned long long values = static_cast<unsigned long long>(h.bytes) / sizeof(typename ArrayT::StorType);
    const unsigned long long offset = a->mData ? static_cast<unsigned long long>(a->PixelPtr(0, 0) - a->mData) : 0;
    if ((values > 0 && !a->mData) || offset + values > a->DataSize())
    {
        TLOG_ERROR(log, "[" << name << "] target array " << a->Width() << " x " << a->Height() << " cannot hold "
                            << h.width << " x " << h.height);
        return false;
    }
    return true;
}

// Reads one array's payload into a. False when it did not arrive whole; later
// compressed runs of the same array are still tried.
template <class ArrayT>
bool ReadPayload(ArrayT* a, Util::IOBuffer* buffer, const RawHeader& h, log4cpp::Category& log)
{
    typedef typename ArrayT::StorType StorType;
    if (h.binary == 0)
    {
        StorType* values = a->PixelPtr(0, 0);
        const long long count = h.bytes / static_cast<long long>(sizeof(StorType));
        for (long long i = 0; i < count; ++i)
        {
            int64_t before = buffer->GetPosition();
            buffer->NativeTypeRead(values + i);
            if (buffer->GetPosition() == before)
            {
                TLOG_ERROR(log, "read " << i << " values instead of " << count);
                return false;
            }
        }
        return true;
    }

    unsigned char* block = reinterpret_cast<unsigned char*>(a->PixelPtr(0, 0));
    if (h.linesPerChunk < 1)
    {
        int64_t count = buffer->Read(block, h.bytes);
        if (count != h.bytes)
        {
            TLOG_ERROR(log, "read " << count << " bytes instead of " << h.bytes);
            return false;
        }
        return true;
    }

    bool complete = true;
    for (long long y = 0; y < h.height;)
    {
        const long long rows = std::min(h.linesPerChunk, h.height - y);
        const long long runBytes = rows * h.rowBytes;
        const int64_t before = buffer->GetPosition();
        int64_t count = 0;
        if (h.compressor == "zlib")
            count = buffer->ReadZlib(block + y * h.rowBytes, runBytes);
        else if (h.compressor == "bzip")
            TLOG_ERROR(sLogBuffer, "ReadBzip not supported");
        else
            TLOG_ERROR(log, "Unknown compressor: " << h.compressor);
        if (count != runBytes)
        {
            TLOG_ERROR(log, "read " << count << " bytes instead of " << runBytes);
            complete = false;
        }
        // No later run can be read when this one moved nothing.
        if (buffer->GetPosition() == before)
            return false;
        y += rows;
    }
    return complete;
}

} // namespace

template <class ArrayT>
bool ReadRawHeader(Util::IOBuffer* buffer, long long* version, long long* binary, long long* elemSize,
                   long long* width, long long* height, long long* nr, std::string& compressor,
                   long long* linesPerChunk)
{
    static log4cpp::Category& sLog = log4cpp::Category::getInstance("Tavlin.Core.Array.ReadRawHeader");
    if (!buffer || !buffer->Valid())
    {
        TLOG_ERROR(sLog, "[ReadRawHeader] invalid io buffer");
        return false;
    }
    char block[sHeaderSize + 1];
    std::memset(block, 0, sizeof(block));
    buffer->Gets(block, sHeaderSize);

    if (std::sscanf(block, "version: %lld", version) != 1)
    {
        TLOG_ERROR(sLog, "Could not determine version");
        return false;
    }
    *linesPerChunk = 0;
    const std::string word = StorTypeWord<typename ArrayT::StorType>::Get();
    const long long required = ArrayT::ElemSize;
    int parsed = 0;
    int expected = 0;
    int stated = 0;
    switch (*version)
    {
    case 1:
    {
        std::string format = "version: 1, binary: %lld, type: " + word +
                             ", elemSize: %lld, width: %lld, height: %lld, nr: %lld";
        parsed = std::sscanf(block, format.c_str(), binary, elemSize, width, height, nr);
        expected = stated = 5;
        break;
    }
    case 2:
    {
        std::string format = "version: 2, binary: %lld, type: " + word + ", elemSize: %lld, nr: %lld";
        parsed = std::sscanf(block, format.c_str(), binary, elemSize, nr);
        expected = stated = 3;
        break;
    }
    case 3:
    {
        std::string format = "version: 3, binary: %lld, type: " + word +
                             ", elemSize: %lld, width: %lld, height: %lld, nr: %lld, %4s: %lld";
        char name[5] = {0, 0, 0, 0, 0};
        parsed = std::sscanf(block, format.c_str(), binary, elemSize, width, height, nr, name, linesPerChunk);
        compressor = name;
        expected = 7;
        // The message has always said 6 here.
        stated = 6;
        break;
    }
    default:
        TLOG_ERROR(sLog, "Unknown version " << *version);
        return false;
    }
    if (parsed == expected && *elemSize == required)
        return true;
    TLOG_ERROR(sLog, "Header type " << *version << " is not compatible: res==" << parsed << " (should be " << stated
                                    << "), elemSize==" << *elemSize << " (should be " << required << "), buf==["
                                    << block << "]");
    return false;
}

template <class ArrayT>
bool ReadRaw(ArrayT*& dst, Util::IOBuffer* buffer)
{
    static log4cpp::Category& sLog = log4cpp::Category::getInstance("Tavlin.Core.Array.ReadRaw");
    if (!buffer || !buffer->Valid())
    {
        TLOG_ERROR(sLog, "[ReadRaw] invalid io buffer");
        return false;
    }
    const int64_t start = buffer->GetPosition();
    RawHeader h;
    if (dst)
    {
        h.width = dst->Width();
        h.height = dst->Height();
    }
    if (!ReadHeader<ArrayT>(buffer, h) ||
        !ComputeSizes<ArrayT>(h, buffer, h.binary == 0 ? buffer->GetPosition() : start + sHeaderSize, sLog,
                              "ReadRaw"))
        return false;

    const bool created = !dst;
    if (created)
        dst = ArrayCreate<ArrayT>(h.width, h.height, 0, 0, nullptr, false);
    if (!TargetHolds(dst, h, sLog, "ReadRaw"))
    {
        if (created)
        {
            delete dst;
            dst = nullptr;
        }
        return false;
    }

    if (h.binary != 0)
        buffer->SetPosition(start + sHeaderSize);
    // Empty arrays have nothing to read, unless compressed runs stand in the stream.
    const bool empty = h.bytes == 0 && !(h.binary != 0 && h.linesPerChunk > 0 && h.height > 0);
    bool complete = true;
    for (long long i = 0; i < h.nr && !empty && complete; ++i)
        complete = ReadPayload(dst, buffer, h, sLog);
    if (h.binary == 0)
        buffer->ReadLine();
    return complete;
}

template <class ArrayT>
bool ReadRawList(std::vector<ArrayT*>& list, Util::IOBuffer* buffer)
{
    static log4cpp::Category& sLog = log4cpp::Category::getInstance("Tavlin.Core.Array.ReadRawList");
    if (!buffer || !buffer->Valid())
    {
        TLOG_ERROR(sLog, "[ReadRawList] invalid io buffer");
        return false;
    }
    const int64_t start = buffer->GetPosition();
    RawHeader h;
    if (!list.empty() && list[0])
    {
        h.width = list[0]->Width();
        h.height = list[0]->Height();
    }
    if (!ReadHeader<ArrayT>(buffer, h))
        return false;
    // A text payload follows the header line, a binary one the 200 header bytes.
    const int64_t payloadStart = h.binary == 0 ? buffer->GetPosition() : start + sHeaderSize;
    if (!ComputeSizes<ArrayT>(h, buffer, payloadStart, sLog, "ReadRawList"))
        return false;

    // A garbage count must not make millions of arrays: each array needs at least its
    // plain bytes, 12 bytes a compressed run, or two characters a text value.
    long long least = h.bytes;
    if (h.binary == 0)
        least = 2 * (h.bytes / static_cast<long long>(sizeof(typename ArrayT::StorType)));
    else if (h.linesPerChunk > 0)
        least = 12 * (h.height / h.linesPerChunk + (h.height % h.linesPerChunk != 0)); // any run length
    const long long left = std::max<long long>(0, buffer->Size() - payloadStart);
    const long long most = least > 0 ? left / least + 1 : sMostEmptyArrays;
    long long nr = h.nr;
    if (nr > most)
    {
        TLOG_ERROR(sLog, "[ReadRawList] header announces " << nr << " arrays, the buffer holds at most " << most);
        nr = most;
    }

    while (static_cast<long long>(list.size()) < nr)
        list.push_back(ArrayCreate<ArrayT>(h.width, h.height, 0, 0, nullptr, false));
    for (long long i = 0; i < nr; ++i)
        if (!list[i] || !TargetHolds(list[i], h, sLog, "ReadRawList"))
            return false;

    if (h.binary != 0)
        buffer->SetPosition(start + sHeaderSize);
    bool complete = nr == h.nr;
    for (long long i = 0; i < nr; ++i)
        if (!ReadPayload(list[i], buffer, h, sLog))
        {
            complete = false;
            break;
        }
    if (h.binary == 0)
        buffer->ReadLine();
    return complete;
}

template bool ReadRawHeader<Array2dReal64>(Util::IOBuffer*, long long*, long long*, long long*, long long*,
                                           long long*, long long*, std::string&, long long*);
template bool ReadRawHeader<Array2dUInt64>(Util::IOBuffer*, long long*, long long*, long long*, long long*,
                                           long long*, long long*, std::string&, long long*);
template bool ReadRawHeader<Array2dVec3UInt8>(Util::IOBuffer*, long long*, long long*, long long*, long long*,
                                              long long*, long long*, std::string&, long long*);
template bool ReadRaw<Array2dReal64>(Array2dReal64*&, Util::IOBuffer*);
template bool ReadRaw<Array2dUInt64>(Array2dUInt64*&, Util::IOBuffer*);
template bool ReadRaw<Array2dVec3UInt8>(Array2dVec3UInt8*&, Util::IOBuffer*);
template bool ReadRawList<Array2dReal64>(std::vector<Array2dReal64*>&, Util::IOBuffer*);

} // namespace Array
} // namespace Core
} // namespace Tavlin
