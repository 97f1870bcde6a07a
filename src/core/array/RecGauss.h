// The recursive path of Gaussian filtering: smoothing whose cost does not grow with
// sigma, by a forward-backward recursive filter over replicated borders; derivatives
// by three-tap differences of the smoothed plane over mirrored borders.
#ifndef TAVLIN_CORE_ARRAY_RECGAUSS_H
#define TAVLIN_CORE_ARRAY_RECGAUSS_H

#include "core/array/Array2dTem.h"

namespace Tavlin
{
namespace Core
{
namespace Array
{

// precision is the filter order (3 by default, at most 5). Orders 1 and 2 per axis
// select the pole set tuned for them and the differences (-0.5, 0, 0.5) or (1, -2, 1).
void RecGauss(Array2dReal64*& dst, Array2dReal64* src, double sigmaX, double sigmaY, int orderX, int orderY,
              int precision);

// The smoothing step of RecGauss alone: the plane whose differences give the derivative
// of those orders, in a new array owned by the caller.
Array2dReal64* RecGaussSmoothing(Array2dReal64* src, double sigmaX, double sigmaY, int orderX, int orderY,
                                 int precision);

} // namespace Array
} // namespace Core
} // namespace Tavlin

#endif
