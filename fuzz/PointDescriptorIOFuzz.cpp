// The descriptor file reader (binary BINDESC1 and text VESK1) on arbitrary bytes, asked
// for points, descriptors or both; what it hands out is read whole. A text point line
// of another kind throws a text, which the programs catch at their outermost frame.
#include <cstddef>
#include <cstdint>
#include <memory>

#include "FuzzSupport.h"
#include "core/feature/PointDescriptorIO.h"

using Tavlin::Core::Array::Array2dReal64;

namespace
{

void ReadAs(const uint8_t* data, size_t size, bool readPoints, bool readDescriptors)
{
    std::unique_ptr<Tavlin::Util::IOBuffer> buffer = FuzzSupport::BufferOf(data, size);
    Array2dReal64* points = nullptr;
    Array2dReal64* descriptors = nullptr;
    try
    {
        Tavlin::Core::Feature::ReadBINDESC1FromBuffer(points, descriptors, buffer.get(), readPoints, readDescriptors);
    }
    catch (const char*)
    {
    }
    std::unique_ptr<Array2dReal64> ownPoints(points), ownDescriptors(descriptors);
    FuzzSupport::Touch(points);
    FuzzSupport::Touch(descriptors);
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    FuzzSupport::QuietLogging();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    ReadAs(data, size, true, true);
    ReadAs(data, size, true, false);
    ReadAs(data, size, false, true);
    return 0;
}
