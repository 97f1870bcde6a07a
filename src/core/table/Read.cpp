#include "core/table/Read.h"

#include <climits>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>

#include "basis/Report.h"
#include "core/array/ReadRaw.h"
#include "util/IOBuffer.h"
#include "util/StringParser.h"

namespace Tavlin
{
namespace Core
{
namespace Table
{

namespace
{

log4cpp::Category& Log()
{
    static log4cpp::Category& sLog = log4cpp::Category::getInstance("Tavlin.Core.Table.Read");
    return sLog;
}

const int sHeaderBlock = 1024;
const int sColumnsStart = 1152;

// The packed form keeps set, object and id in one word: the set's top byte and two
// more bytes move to the first word, the top byte and the low 32 bits (sign-extended)
// make the second.
Quid UnpackQuid(uint64_t q)
{
    const uint64_t first = ((q & 0xff000000000000ULL) >> 8) | ((q & 0xffff00000000ULL) >> 32);
    const uint64_t low = static_cast<uint64_t>(static_cast<int64_t>(static_cast<int32_t>(q & 0xffffffffULL)));
    const uint64_t second = (q & ~0xffffffffffffffULL) | low;
    return Quid(first, second);
}

// Column 1: reserves the table to the array's width and fills the Quids.
bool ReadQuidColumn(FeatureTableTem* table, Util::IOBuffer* buffer)
{
    Array::Array2dUInt64* read = nullptr;
    const bool whole = Array::ReadRaw(read, buffer);
    std::unique_ptr<Array::Array2dUInt64> words(read);
    if (!words)
    {
        TLOG_ERROR(Log(), "[Read] col1 could not be read");
        return false;
    }
    const long long width = words->Width();
    const long long height = words->Height();
    if (width > INT_MAX || (height != 1 && height != 2))
    {
        TLOG_ERROR(Log(), "[Read] col1 is " << width << " x " << height << ", not one or two rows of Quids");
        return false;
    }
    if (width != table->Capacity() && !table->Reserve(static_cast<int>(width), false))
        return false;
    const unsigned long long* row0 = words->PixelPtr(0, 0);
    Quid* quids = table->mColumn1.mData;
    if (height == 2)
    {
        const unsigned long long* row1 = words->PixelPtr(0, 1);
        for (long long i = 0; i < width; ++i)
            quids[i] = Quid(row0[i], row1[i]);
    }
    else
    {
        for (long long i = 0; i < width; ++i)
            quids[i] = UnpackQuid(row0[i]);
    }
    return whole;
}

// Column 2: the array becomes the vector storage; it should hold `rows` vectors. The
// table's size is kept within the rows that arrived.
bool ReadVectorColumn(FeatureTableTem* table, Util::IOBuffer* buffer, int rows)
{
    Array::Array2dReal64* read = nullptr;
    const bool whole = Array::ReadRaw(read, buffer);
    if (!read)
    {
        TLOG_ERROR(Log(), "[Read] col2 could not be read");
        return false;
    }
    if (read->Width() > INT_MAX || read->Height() > INT_MAX)
    {
        TLOG_ERROR(Log(), "[Read] col2 is " << read->Width() << " x " << read->Height() << ", too large");
        delete read;
        return false;
    }
    table->mColumn2.SetStorage(read);
    table->mColumn2.SetSize(static_cast<int>(read->Height()));
    bool consistent = true;
    if (rows != table->mColumn2.Capacity())
    {
        TLOG_ERROR(Log(), "col2 has different size than col1");
        consistent = false;
    }
    if (table->mSize > table->mColumn2.Capacity())
        table->mSize = table->mColumn2.Capacity();
    return whole && consistent;
}

} // namespace

bool Read(FeatureTableTem* table, Util::IOBuffer* buffer, int nrColumns)
{
    if (!table)
    {
        TLOG_ERROR(Log(), "No table");
        return false;
    }
    if (!buffer || !buffer->Valid())
    {
        TLOG_ERROR(Log(), "[Read] invalid io buffer");
        return false;
    }
    const int64_t start = buffer->GetPosition();
    char block[sHeaderBlock + 1];
    std::memset(block, 0, sizeof(block));
    buffer->Read(block, sHeaderBlock);

    if (block[0] == 'T' && block[1] == 'a')
    {
        buffer->Seek(start, 0);
        const std::string line = buffer->ReadLine();
        if (line.compare(0, 13, "Tavlin::Table") == 0)
        {
            table->mInfo = buffer->ReadLine();
            return ReadOldHeader(table, buffer);
        }
        buffer->Seek(start + sHeaderBlock, 0);
    }

    int columns = 0;
    int size = 0;
    const int res = std::sscanf(block, "tavlintableversion: 2, columns: %d, size: %d", &columns, &size);
    if (res != 2)
    {
        TLOG_ERROR(Log(), "Header is not compatible: res==" << res << " (should be 2), size==" << size
                                                            << ", columns==" << columns << ", startPos==" << start);
        return false;
    }

    // Keys that are not known, the version line's among them, are passed over.
    Util::StringParser parser(block);
    while (!parser.IsEnd())
    {
        const std::string key = parser.GetString(':', false);
        const std::string value = parser.GetString('\n', true);
        if (key == "info")
            table->mInfo = value;
        else if (key.size() == 7 && key.compare(0, 6, "column") == 0 && key[6] >= '1' && key[6] <= '9')
        {
            const size_t index = static_cast<size_t>(key[6] - '1');
            if (table->mColumnNames.size() <= index)
                table->mColumnNames.resize(index + 1);
            table->mColumnNames[index] = value;
        }
    }

    if (!buffer->SetPosition(start + sColumnsStart))
    {
        TLOG_ERROR(Log(), "[Read] the table file ends inside its header");
        return false;
    }
    if (!ReadQuidColumn(table, buffer))
        return false;
    bool consistent = true;
    if (size != table->Capacity())
    {
        TLOG_ERROR(Log(), "col1 has different size than header");
        consistent = false;
    }
    // A size beyond the rows of column 1 would let readers of the table run past them.
    table->mSize = size < 0 ? 0 : (size > table->Capacity() ? table->Capacity() : size);
    if (nrColumns != -1 && nrColumns < 2)
        return consistent;
    return ReadVectorColumn(table, buffer, size) && consistent;
}

bool ReadOldHeader(FeatureTableTem* table, Util::IOBuffer* buffer)
{
    if (!table)
    {
        TLOG_ERROR(Log(), "No table");
        return false;
    }
    table->mColumnNames.clear();
    if (buffer && buffer->Valid())
        for (int i = 0; i < 9 && buffer->Available() != 0; ++i)
            table->mColumnNames.push_back(buffer->ReadLine());
    if (!ReadQuidColumn(table, buffer))
        return false;
    table->mSize = table->Capacity();
    return ReadVectorColumn(table, buffer, table->mSize);
}

} // namespace Table
} // namespace Core
} // namespace Tavlin
