// PNG encoding with libpng into an IOBuffer, the path every file of the system is
// written through: 8-bit RGB, not interlaced, the array's border left out. Library
// errors and short writes end in one logged error and false; the jump back from
// libpng lands in a frame that owns nothing but the library's own structures.
#ifndef TAVLIN_CORE_ARRAY_WRITEPNG_H
#define TAVLIN_CORE_ARRAY_WRITEPNG_H

#include "core/array/Array2dTem.h"

namespace Tavlin
{
namespace Util
{
class IOBuffer;
}

namespace Core
{
namespace Array
{

// Writes the image pixels of array at the buffer's position. False after a reported
// failure (no array, invalid buffer, an empty image, a library error, a buffer that
// took fewer bytes than given); what was written by then stays in the buffer.
template <class ArrayT>
bool WritePng(ArrayT* array, Util::IOBuffer* buffer);

extern template bool WritePng<Array2dVec3UInt8>(Array2dVec3UInt8*, Util::IOBuffer*);

} // namespace Array
} // namespace Core
} // namespace Tavlin

#endif
