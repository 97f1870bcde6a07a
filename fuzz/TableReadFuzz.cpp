// The table file reader on arbitrary bytes, all columns and the Quids alone, into the
// Quid and vector column set it is used with; every row it reports is then read.
#include <cstddef>
#include <cstdint>
#include <memory>

#include "FuzzSupport.h"
#include "core/feature/FeatureTable.h"
#include "core/table/Read.h"

using Tavlin::Core::Feature::FeatureDefinition;
using Tavlin::Core::Feature::FeatureTable;

namespace
{

void ReadColumns(const uint8_t* data, size_t size, int nrColumns)
{
    std::unique_ptr<Tavlin::Util::IOBuffer> buffer = FuzzSupport::BufferOf(data, size);
    FeatureTable table(FeatureDefinition(""), 0, 1);
    table.mColumnNames = {"object", "values"};
    Tavlin::Core::Table::Read(&table, buffer.get(), nrColumns);
    volatile uint64_t sink = 0;
    for (int i = 0; i < table.Size(); ++i)
    {
        sink = sink + table.GetQuid(i).GetFirst();
        FuzzSupport::Touch(table.GetVector(i), table.GetVectorLength());
    }
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    FuzzSupport::QuietLogging();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    ReadColumns(data, size, -1);
    ReadColumns(data, size, 1);
    return 0;
}
