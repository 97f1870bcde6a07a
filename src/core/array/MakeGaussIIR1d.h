// Recursive (IIR) approximations of the Gaussian by the pole method. A recursive
// kernel is an Array2dReal64 of height 1 and width 2N + 1 for filter order N: element
// N holds the input gain B, elements N - j and N + j both the feedback weight of the
// output j samples back, so one kernel serves the forward pass (elements 0 .. N) and
// the backward pass (elements N .. 2N).
#ifndef TAVLIN_CORE_ARRAY_MAKEGAUSSIIR1D_H
#define TAVLIN_CORE_ARRAY_MAKEGAUSSIIR1D_H

#include "core/array/Array2dTem.h"

namespace Tavlin
{
namespace Core
{
namespace Array
{

// Filter order min(precision, 5); the derivative order (at most 2) selects the pole
// set. The standard deviation of the filter is within 1e-6 of sigma and its gain at
// zero frequency is 1. Owned by the caller.
Array2dReal64* MakeGaussIIR1d(double sigma, int order, int precision);

// A third-order kernel from closed-form fits of the scaling, seven values in the
// layout above.
void YvVfilterCoef(double sigma, double* coef);

} // namespace Array
} // namespace Core
} // namespace Tavlin

#endif
