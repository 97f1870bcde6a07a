// The Laplacian Lxx + Lyy of a plane, or the sum of the three channel Laplacians of a
// colour image, by either Gaussian path, scaled by sigma to a power.
#ifndef TAVLIN_CORE_ARRAY_LAPLACIAN_H
#define TAVLIN_CORE_ARRAY_LAPLACIAN_H

#include "core/array/Array2dTem.h"

namespace Tavlin
{
namespace Core
{
namespace Array
{

// scalePower 2 gives the scale-normalised Laplacian; 0 or below leaves it unscaled.
// With recGauss the precision is truncated to the recursive filter order.
void Laplacian(Array2dReal64*& dst, Array2dReal64* src, double sigma, int scalePower, bool recGauss,
               double precision);
void Laplacian(Array2dReal64*& dst, Array2dVec3Real64* src, double sigma, int scalePower, bool recGauss,
               double precision);

} // namespace Array
} // namespace Core
} // namespace Tavlin

#endif
