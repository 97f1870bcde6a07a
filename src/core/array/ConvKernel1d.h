// Convolution of a plane with one kernel along one axis, over mirrored borders.
#ifndef TAVLIN_CORE_ARRAY_CONVKERNEL1D_H
#define TAVLIN_CORE_ARRAY_CONVKERNEL1D_H

#include "core/array/Array2dTem.h"

namespace Tavlin
{
namespace Core
{
namespace Array
{

// dimension 1 is horizontal, any other value vertical. The source's border along that
// axis is overwritten when wide enough; otherwise a widened copy is made. A null dst,
// or one that is the working source, is created anew.
void ConvKernel1d(Array2dReal64*& dst, Array2dReal64* src, int dimension, Array2dReal64* kernel);

} // namespace Array
} // namespace Core
} // namespace Tavlin

#endif
