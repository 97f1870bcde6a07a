// PNG decoding from a memory block with libpng into an interleaved 8-bit RGB array
// without border. Any non-interlaced PNG is accepted: 16-bit samples keep their high
// byte, palettes become RGB, grey of 1, 2 or 4 bits is scaled to 8 and spread over the
// three channels, and alpha is dropped without compositing. Interlaced files are
// refused. Library errors jump back through gReadPngJmpbuf; the stream never reads
// past the block, so a truncated file ends in a library error. The jump buffer is
// each thread's own, so threads may decode at the same time.
#ifndef TAVLIN_CORE_ARRAY_READPNGFROMMEMORY_H
#define TAVLIN_CORE_ARRAY_READPNGFROMMEMORY_H

#include <csetjmp>

#include "core/array/Array2dTem.h"

namespace Tavlin
{
namespace Core
{
namespace Array
{

// Where library errors jump to, per thread.
extern thread_local jmp_buf gReadPngJmpbuf;

// Decodes size bytes at data into dst, creating it when null (sizes are not compared
// otherwise). On failure dst keeps what it had, possibly partly written.
template <class ArrayT>
void ReadPngFromMemory(ArrayT*& dst, char* data, int size);

extern template void ReadPngFromMemory<Array2dVec3UInt8>(Array2dVec3UInt8*&, char*, int);

} // namespace Array
} // namespace Core
} // namespace Tavlin

#endif
