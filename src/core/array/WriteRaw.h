// Writer of the raw array file (see ReadRaw.h): one array, binary, either plain
// (binary 1, version 1 header) or compressed (binary 3, version 3 header) in runs of
// rows of at most 16 MiB, each run one chunked zlib stream. A row wider than that
// leaves the run length 0, which means plain storage under the version 3 header. An
// array without border width goes out in one Write. Instances: Array2dReal64, and
// Array2dVec3UInt8 for patches written as diagnostics.
#ifndef TAVLIN_CORE_ARRAY_WRITERAW_H
#define TAVLIN_CORE_ARRAY_WRITERAW_H

#include <vector>

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

// binary: 1 plain, 3 zlib; 2 is taken for 1; 0 (text) is refused with an error.
template <class ArrayT>
void WriteRaw(ArrayT* array, Util::IOBuffer* buffer, int binary);

// All arrays of the list in one file (its header announces their number), as the
// list readers take it; they must share one size and border. False, after a logged
// error, when nothing was written.
bool WriteRawList(const std::vector<Array2dReal64*>& list, Util::IOBuffer* buffer, int binary);

extern template void WriteRaw<Array2dReal64>(Array2dReal64*, Util::IOBuffer*, int);
extern template void WriteRaw<Array2dVec3UInt8>(Array2dVec3UInt8*, Util::IOBuffer*, int);

} // namespace Array
} // namespace Core
} // namespace Tavlin

#endif
