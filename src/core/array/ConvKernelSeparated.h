// Separable convolution of a plane with a horizontal and a vertical kernel, over
// mirrored borders: equal to a 2-D correlation with the mirrored image. Kernels are
// Array2dReal64 of height 1 and odd width, centre in the middle.
#ifndef TAVLIN_CORE_ARRAY_CONVKERNELSEPARATED_H
#define TAVLIN_CORE_ARRAY_CONVKERNELSEPARATED_H

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

// dispatchId 6 is the default loop order. The source is used as it stands when its
// border is wide enough, and then its border is overwritten; otherwise it is left
// alone. A null dst, or one that is the source with a wide border, is created anew,
// bordered at least as wide as the kernels reach.
void ConvKernelSeparated(Array2dReal64*& dst, Array2dReal64* src, Array2dReal64* kernelX, Array2dReal64* kernelY,
                         int dispatchId, Util::TimePlot* plot);

// The same convolution written over the plane itself, which the horizontal pass no
// longer needs once done: one plane less alive. `a` is replaced by a widened copy when
// its border is too narrow. The border is left as the passes leave it.
void ConvKernelSeparatedInPlace(Array2dReal64*& a, Array2dReal64* kernelX, Array2dReal64* kernelY);

} // namespace Array
} // namespace Core
} // namespace Tavlin

#endif
