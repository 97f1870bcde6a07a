// The raw array readers on arbitrary bytes: each array type, one array and the list.
#include <cstddef>
#include <cstdint>
#include <vector>

#include "FuzzSupport.h"
#include "core/array/ReadRaw.h"

using namespace Tavlin::Core::Array;

namespace
{

template <class ArrayT>
void ReadOne(const uint8_t* data, size_t size)
{
    std::unique_ptr<Tavlin::Util::IOBuffer> buffer = FuzzSupport::BufferOf(data, size);
    ArrayT* array = nullptr;
    ReadRaw(array, buffer.get());
    delete array;
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    FuzzSupport::QuietLogging();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    ReadOne<Array2dReal64>(data, size);
    ReadOne<Array2dUInt64>(data, size);
    ReadOne<Array2dVec3UInt8>(data, size);

    std::unique_ptr<Tavlin::Util::IOBuffer> buffer = FuzzSupport::BufferOf(data, size);
    std::vector<Array2dReal64*> list;
    ReadRawList(list, buffer.get());
    for (Array2dReal64* a : list)
        delete a;
    return 0;
}
