// The codebook reader on arbitrary bytes, in each form it sniffs (descriptor file, raw
// array, table file); the words it returns are read whole.
#include <cstddef>
#include <cstdint>
#include <memory>

#include "FuzzSupport.h"
#include "core/feature/codebook/ReadCodebook.h"

using Tavlin::Core::Array::Array2dReal64;

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    FuzzSupport::QuietLogging();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    std::unique_ptr<Tavlin::Util::IOBuffer> buffer = FuzzSupport::BufferOf(data, size);
    std::unique_ptr<Array2dReal64> words(Tavlin::Core::Feature::ReadCodebookFromBuffer(buffer.get()));
    FuzzSupport::Touch(words.get());
    return 0;
}
