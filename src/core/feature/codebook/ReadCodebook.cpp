#include "core/feature/codebook/ReadCodebook.h"

#include <algorithm>
#include <cstring>
#include <memory>

#include "basis/Report.h"
#include "core/array/ArrayFactories.h"
#include "core/array/ReadRaw.h"
#include "core/feature/PointDescriptorIO.h"
#include "core/table/Read.h"
#include "core/vector/VectorTem.h"
#include "util/IOBuffer.h"

namespace Tavlin
{
namespace Core
{
namespace Feature
{

namespace
{

log4cpp::Category& Log()
{
    static log4cpp::Category& sLog = log4cpp::Category::getInstance("Tavlin.Core.Feature.ReadCodebookFromBuffer");
    return sLog;
}

const int sSniffBytes = 2048;

bool StartsWith(const char* text, const char* magic)
{
    return std::strncmp(text, magic, std::strlen(magic)) == 0;
}

// The text reader takes missing point lines for words of zeros; a codebook must not.
// Every point line the file announced must be there whole: point part and values each
// closed by ";".
bool HasAllPointLines(Util::IOBuffer* buffer, long long pointLines)
{
    buffer->Seek(0, 0);
    for (long long i = 0; i < 3 + pointLines; ++i)
    {
        if (buffer->Available() == 0)
            return false;
        const std::string line = buffer->ReadLine();
        if (i >= 3 && (line.empty() || line.back() != ';' || std::count(line.begin(), line.end(), ';') < 2))
            return false;
    }
    return true;
}

} // namespace

Array::Array2dReal64* ReadCodebookFromBuffer(Util::IOBuffer* buffer)
{
    if (!buffer || !buffer->Valid())
    {
        TLOG_ERROR(Log(), "[ReadCodebookFromBuffer] IOBuffer is 0");
        return nullptr;
    }
    char block[sSniffBytes + 1];
    std::memset(block, 0, sizeof(block));
    buffer->Seek(0, 0);
    buffer->Read(block, sSniffBytes);
    buffer->Seek(0, 0);

    if (StartsWith(block, "VESK1") || StartsWith(block, "BINDESC1"))
    {
        // A descriptor file doubles as a codebook: each point's descriptor is one word.
        Array::Array2dReal64* points = nullptr;
        Array::Array2dReal64* words = nullptr;
        ReadBINDESC1FromBuffer(points, words, buffer, false, true);
        std::unique_ptr<Array::Array2dReal64> read(words);
        if (!read)
        {
            TLOG_ERROR(Log(), "[ReadCodebookFromBuffer] descriptor file without readable descriptors");
            return nullptr;
        }
        if (StartsWith(block, "VESK1") && !HasAllPointLines(buffer, read->Height()))
        {
            TLOG_ERROR(Log(), "[ReadCodebookFromBuffer] VESK1 file ends before its " << read->Height()
                                                                                      << " point lines");
            return nullptr;
        }
        return read.release();
    }
    if (StartsWith(block, "version: "))
    {
        Array::Array2dReal64* read = nullptr;
        const bool whole = Array::ReadRaw(read, buffer);
        std::unique_ptr<Array::Array2dReal64> words(read);
        if (!whole)
        {
            TLOG_ERROR(Log(), "[ReadCodebookFromBuffer] raw array could not be read whole");
            return nullptr;
        }
        // Words of no values: a few header bytes could stand for hundreds of millions.
        if (words->Width() == 0 && words->Height() > 0)
        {
            TLOG_ERROR(Log(), "[ReadCodebookFromBuffer] raw array of " << words->Height() << " words without values");
            return nullptr;
        }
        return words.release();
    }

    std::unique_ptr<FeatureTable> table(ReadCodebookTable(buffer));
    if (!table)
        return nullptr;
    // The Quids are dropped; the storage is copied element after element.
    const Array::Array2dReal64* storage = table->mColumn2.GetStorage();
    Array::Array2dReal64* words = Array::ArrayCreateOrNull<Array::Array2dReal64>(storage->Width(), storage->Height());
    if (words && storage->DataSize() > 0)
        std::memcpy(words->mData, storage->mData, storage->DataSize() * sizeof(double));
    return words;
}

FeatureTable* ReadCodebookTable(Util::IOBuffer* buffer)
{
    if (!buffer || !buffer->Valid())
    {
        TLOG_ERROR(Log(), "[ReadCodebookTable] IOBuffer is 0");
        return nullptr;
    }
    // Length and capacity come from the file.
    std::unique_ptr<FeatureTable> table(new FeatureTable(FeatureDefinition(""), 0, 1));
    table->mColumnNames = {"object", "values"};
    buffer->Seek(0, 0);
    if (!Table::Read(table.get(), buffer, -1))
    {
        TLOG_ERROR(Log(), "[ReadCodebookTable] not a readable table file");
        return nullptr;
    }
    return table.release();
}

FeatureTable* ReadCodebook_MatToFeatureTable(Array::Array2dReal64* matrix)
{
    if (!matrix)
    {
        TLOG_ERROR(Log(), "[ReadCodebook_MatToFeatureTable] no matrix");
        return nullptr;
    }
    const int rows = static_cast<int>(matrix->Height());
    const int columns = static_cast<int>(matrix->Width());
    FeatureTable* table = new FeatureTable(FeatureDefinition(""), rows, columns);
    for (int i = 0; i < rows; ++i)
        table->Add(Quid::FromParts(0, 0, static_cast<uint64_t>(i), 0),
                   Vector::VectorTem<double>(columns, matrix->PixelPtr(0, i), true));
    return table;
}

} // namespace Feature
} // namespace Core
} // namespace Tavlin
