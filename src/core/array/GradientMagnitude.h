// Gradient magnitudes sqrt(gx^2 + gy^2) of a run of pixels.
#ifndef TAVLIN_CORE_ARRAY_GRADIENTMAGNITUDE_H
#define TAVLIN_CORE_ARRAY_GRADIENTMAGNITUDE_H

namespace Tavlin
{
namespace Core
{
namespace Array
{

// m[i] = sqrt(gx[i] gx[i] + gy[i] gy[i]) for i < count, four at a time where the
// processor has AVX2: the square root is correctly rounded either way.
void GradientMagnitude(const double* gx, const double* gy, double* m, long long count);

} // namespace Array
} // namespace Core
} // namespace Tavlin

#endif
