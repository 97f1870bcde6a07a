#include "core/array/GradientMagnitude.h"

#include <cmath>

#if defined(__x86_64__)
#include <immintrin.h>
#endif

#include "basis/CpuFeatures.h"

namespace Tavlin
{
namespace Core
{
namespace Array
{

namespace
{

void GradientMagnitudePlain(const double* gx, const double* gy, double* m, long long count)
{
    for (long long i = 0; i < count; ++i)
        m[i] = std::sqrt(gx[i] * gx[i] + gy[i] * gy[i]);
}

#if defined(__x86_64__)
// The square root by hand: the library's, kept for its error report on negative
// arguments, which a sum of squares never is, holds the loop to one value at a time.
TAVLIN_TARGET_AVX2 void GradientMagnitudeAvx2(const double* gx, const double* gy, double* m, long long count)
{
    long long i = 0;
    for (; i + 4 <= count; i += 4)
    {
        const __m256d a = _mm256_loadu_pd(gx + i);
        const __m256d b = _mm256_loadu_pd(gy + i);
        _mm256_storeu_pd(m + i, _mm256_sqrt_pd(_mm256_add_pd(_mm256_mul_pd(a, a), _mm256_mul_pd(b, b))));
    }
    GradientMagnitudePlain(gx + i, gy + i, m + i, count - i);
}
#endif

} // namespace

void GradientMagnitude(const double* gx, const double* gy, double* m, long long count)
{
#if defined(__x86_64__)
    if (CpuHasAvx2())
    {
        GradientMagnitudeAvx2(gx, gy, m, count);
        return;
    }
#endif
    GradientMagnitudePlain(gx, gy, m, count);
}

} // namespace Array
} // namespace Core
} // namespace Tavlin
