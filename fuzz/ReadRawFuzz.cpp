// The raw array readers on arbitrary bytes: each array type, one array and the list.
#include <cstddef>
#include <cstdint>
#include <vector>

#include "FuzzSupport.h"
#include "core/array/ArrayFactories.h"
#include "core/array/ReadRaw.h"

using namespace Tavlin::Core::Array;

namespace
{

// Into a new array, then once more from where the first read stopped (arrays may
// follow one another in a stream), and into an array made beforehand, whose size a
// version 2 header keeps.
template <class ArrayT>
void ReadOne(const uint8_t* data, size_t size)
{
    std::unique_ptr<Tavlin::Util::IOBuffer> buffer = FuzzSupport::BufferOf(data, size);
    ArrayT* array = nullptr;
    ReadRaw(array, buffer.get());
    delete array;
    array = nullptr;
    ReadRaw(array, buffer.get());
    delete array;

    buffer->Rewind();
    std::unique_ptr<ArrayT> given(ArrayCreate<ArrayT>(3, 2, 0, 0, nullptr, false));
    ArrayT* target = given.get();
    ReadRaw(target, buffer.get());
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
    {
        FuzzSupport::Touch(a);
        delete a;
    }

    // A list that holds one array already.
    buffer->Rewind();
    std::vector<Array2dReal64*> given = {ArrayCreate<Array2dReal64>(2, 2, 0, 0, nullptr, false)};
    ReadRawList(given, buffer.get());
    for (Array2dReal64* a : given)
        delete a;
    return 0;
}
