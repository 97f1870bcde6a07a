// The finite path of Gaussian filtering: sampled Gaussian and Gaussian-derivative
// kernels, applied separably over mirrored borders. The kernel reaches precision x
// sigma pixels each side but is never wider than the image.
#ifndef TAVLIN_CORE_ARRAY_GAUSSDERIVATIVE_H
#define TAVLIN_CORE_ARRAY_GAUSSDERIVATIVE_H

#include "core/array/Array2dTem.h"

namespace Tavlin
{
namespace Core
{
namespace Array
{

// The one-dimensional kernel for one axis whose image extent is `limit`: a smoothing
// kernel summing to 1 for order 0, else the order-th derivative of it, signed for the
// correlation loop (a first derivative responds positively to a rising signal).
// Owned by the caller.
Array2dReal64* MakeGaussDerivativeKernel(double sigma, int order, double precision, long long limit);

// Smoothing (orders 0) or derivative of src with the same sigma on both axes.
void GaussDerivative(Array2dReal64*& dst, Array2dReal64* src, double sigma, int orderX, int orderY,
                     double precision);

// The smoothing (orders 0) of GaussDerivative written over the plane itself; `a` may be
// replaced by a widened copy.
void GaussSmoothInPlace(Array2dReal64*& a, double sigma, double precision);

} // namespace Array
} // namespace Core
} // namespace Tavlin

#endif
