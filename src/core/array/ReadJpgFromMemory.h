// JPEG decoding from a memory block with libjpeg into an interleaved 8-bit RGB array
// without border. Grey, YCbCr/RGB, CMYK and YCCK files are accepted; four-component
// files are converted from CMYK, inverted or not as the Adobe marker says. A truncated
// file decodes to its full size (the source feeds an end-of-image marker when the data
// run out), and a corrupt one is a warning, never an error: library failures jump back
// through gReadJpgJmpbuf. The jump buffer and the message buffer are each thread's own,
// so threads may decode at the same time.
#ifndef TAVLIN_CORE_ARRAY_READJPGFROMMEMORY_H
#define TAVLIN_CORE_ARRAY_READJPGFROMMEMORY_H

#include <csetjmp>
#include <cstdio>
#include <string>

#include <jpeglib.h>

#include "core/array/Array2dTem.h"

namespace Tavlin
{
namespace Core
{
namespace Array
{

// Where library errors jump to, and the text of the last one, per thread.
extern thread_local jmp_buf gReadJpgJmpbuf;
extern thread_local char gJpgErrorBuffer[JMSG_LENGTH_MAX];

// The library's error_exit: formats the message into gJpgErrorBuffer and jumps.
void JpgLinkErrorFunc(j_common_ptr cinfo);

// "JCS_UNKNOWN" .. "JCS_YCCK" for 0 .. 5, "NO_JCS_VALUE" otherwise.
std::string JpgColorSpace2String(J_COLOR_SPACE colorSpace);

// Decodes size bytes at data into dst, creating it when null (sizes are not compared
// otherwise). On failure dst keeps what it had, possibly partly written.
template <class ArrayT>
void ReadJpgFromMemory(ArrayT*& dst, char* data, int size);

extern template void ReadJpgFromMemory<Array2dVec3UInt8>(Array2dVec3UInt8*&, char*, int);

} // namespace Array
} // namespace Core
} // namespace Tavlin

#endif
