// Separable recursive filtering of a plane in place: for each row, then for each
// column, a forward and a backward pass of the recursive kernel (see MakeGaussIIR1d)
// over replicated borders.
#ifndef TAVLIN_CORE_ARRAY_RECCONVKERNELSEPARATED_H
#define TAVLIN_CORE_ARRAY_RECCONVKERNELSEPARATED_H

#include "core/array/Array2dTem.h"

namespace Tavlin
{
namespace Util
{
class TimePlot;
}

namespace Core
{
namespace Array
{

// The result needs borders of twice the filter order on each axis. When src has them,
// dst (created if null) receives a copy of src and is filtered in place, src itself
// when dst is src; otherwise dst is replaced by a widened copy, a previous dst other
// than src being deleted.
void RecConvKernelSeparated(Array2dReal64*& dst, Array2dReal64* src, Array2dReal64* kernelX,
                            Array2dReal64* kernelY, Util::TimePlot* plot);

} // namespace Array
} // namespace Core
} // namespace Tavlin

#endif
