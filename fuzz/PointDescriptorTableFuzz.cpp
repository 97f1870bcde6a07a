// A regions or descriptor file imported into a point table, as the driver reads given
// regions; every point and descriptor of the table is then read.
#include <cstddef>
#include <cstdint>
#include <memory>

#include "FuzzSupport.h"
#include "core/feature/PointDescriptorTable.h"

using Tavlin::Core::Feature::FeatureDefinition;
using Tavlin::Core::Feature::PointDescriptorTable;

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    FuzzSupport::QuietLogging();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    std::unique_ptr<Tavlin::Util::IOBuffer> buffer = FuzzSupport::BufferOf(data, size);
    std::unique_ptr<PointDescriptorTable> table;
    try
    {
        table.reset(PointDescriptorTable::ImportFromBuffer(FeatureDefinition("sift"), buffer.get(), 0));
    }
    catch (const char*)
    {
    }
    if (!table)
        return 0;
    const int64_t size64 = table->Size();
    FuzzSupport::Touch(table->X(), size64);
    FuzzSupport::Touch(table->Y(), size64);
    FuzzSupport::Touch(table->Scale(), size64);
    FuzzSupport::Touch(table->Orientation(), size64);
    FuzzSupport::Touch(table->Cornerness(), size64);
    for (int i = 0; i < table->Size(); ++i)
        FuzzSupport::Touch(table->GetDescriptor(i), table->GetDescriptorLength());
    return 0;
}
