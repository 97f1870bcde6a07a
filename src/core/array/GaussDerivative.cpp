#include "core/array/GaussDerivative.h"

#include <cmath>
#include <new>

#include "core/array/ConvKernelSeparated.h"

namespace Tavlin
{
namespace Core
{
namespace Array
{

Array2dReal64* MakeGaussDerivativeKernel(double sigma, int order, double precision, long long limit)
{
    long long size = 2 * static_cast<int>(sigma * precision + 0.5) + 1;
    // Never wider than the image, and odd, so the mirror always reaches.
    const long long oddLimit = (limit % 2 == 1) ? limit : limit - 1;
    if (size > oddLimit)
        size = oddLimit;
    if (size < 1)
        size = 1; // an empty image still gets a valid kernel
    const long long h = size / 2;

    double* block = static_cast<double*>(::operator new(static_cast<size_t>(size) * sizeof(double)));
    double* c = block + h;
    c[0] = 1.0;
    double sum = 1.0;
    for (long long i = 1; i <= h; ++i)
    {
        const double g = std::exp(static_cast<double>(i) * (-0.5 * static_cast<double>(i)) / (sigma * sigma));
        c[i] = g;
        c[-i] = g;
        sum += g + g;
    }
    for (long long x = -h; x <= h; ++x)
        c[x] /= sum;

    if (order >= 1)
    {
        // Hermite recurrence on the normalised Gaussian; odd orders are negated since
        // the convolution loop correlates.
        const double t = 1.0 / (sigma * sigma);
        for (long long ix = -h; ix <= h; ++ix)
        {
            const double x = static_cast<double>(ix);
            double previous = c[ix];
            double current = -(x * t) * c[ix];
            for (int k = 1; k <= order - 1; ++k)
            {
                const double next = static_cast<double>(-k) * t * previous - x * t * current;
                previous = current;
                current = next;
            }
            c[ix] = (order % 2 == 1) ? -current : current;
        }
    }
    return new Array2dReal64(size, 1, 0, 0, block, false, false);
}

void GaussDerivative(Array2dReal64*& dst, Array2dReal64* src, double sigma, int orderX, int orderY,
                     double precision)
{
    Array2dReal64* kernelX = MakeGaussDerivativeKernel(sigma, orderX, precision, src->mWidth);
    Array2dReal64* kernelY = MakeGaussDerivativeKernel(sigma, orderY, precision, src->mHeight);
    ConvKernelSeparated(dst, src, kernelX, kernelY, 6, nullptr);
    delete kernelX;
    delete kernelY;
}

void GaussSmoothInPlace(Array2dReal64*& a, double sigma, double precision)
{
    Array2dReal64* kernelX = MakeGaussDerivativeKernel(sigma, 0, precision, a->mWidth);
    Array2dReal64* kernelY = MakeGaussDerivativeKernel(sigma, 0, precision, a->mHeight);
    ConvKernelSeparatedInPlace(a, kernelX, kernelY);
    delete kernelX;
    delete kernelY;
}

} // namespace Array
} // namespace Core
} // namespace Tavlin
