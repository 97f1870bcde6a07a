#include "core/array/LaplacianAtPoints.h"

#include <cmath>

#include "core/array/GaussDerivative.h"

namespace Tavlin
{
namespace Core
{
namespace Array
{

namespace
{

// Pixel i of a line of n pixels, mirrored with the edge pixel repeated; kernels are
// never wider than the image, so one reflection reaches.
inline long long Mirror(long long i, long long n)
{
    if (i < 0)
        return -1 - i;
    if (i >= n)
        return 2 * n - 1 - i;
    return i;
}

} // namespace

template <class ArrayT>
LaplacianAtPoints<ArrayT>::LaplacianAtPoints(ArrayT* image, double sigma, int scalePower, double precision)
    : mWidth(image->mWidth), mHeight(image->mHeight)
{
    mXX.reset(MakeGaussDerivativeKernel(sigma, 2, precision, mWidth));
    mY0.reset(MakeGaussDerivativeKernel(sigma, 0, precision, mHeight));
    mX0.reset(MakeGaussDerivativeKernel(sigma, 0, precision, mWidth));
    mYY.reset(MakeGaussDerivativeKernel(sigma, 2, precision, mHeight));
    mFactor = 1.0;
    for (int i = 0; i < scalePower; ++i)
        mFactor *= sigma;
    for (int c = 0; c < 3; ++c)
        mViews[c] = View{image->PixelPtr(0, 0) + (c < ArrayT::ElemSize ? c : 0), image->RowStride(),
                         ArrayT::ElemSize};
}

template <class ArrayT>
double LaplacianAtPoints<ArrayT>::CostPerPixel() const
{
    return static_cast<double>(mXX->mWidth + 1) * static_cast<double>(mY0->mWidth) +
           static_cast<double>(mX0->mWidth + 1) * static_cast<double>(mYY->mWidth);
}

template <class ArrayT>
double LaplacianAtPoints<ArrayT>::CostWholeImage() const
{
    return static_cast<double>(mXX->mWidth + mY0->mWidth + mX0->mWidth + mYY->mWidth);
}

// Horizontal sums per row first, then the vertical sum of them, each in tap order from
// 0.0, as the separable filter computes them.
template <class ArrayT>
double LaplacianAtPoints<ArrayT>::SeparableAt(const View& v, long long y, const Array2dReal64* kx,
                                              const Array2dReal64* ky)
{
    const long long nx = kx->mWidth;
    const long long ny = ky->mWidth;
    const long long hy = ny / 2;
    const double* kxp = kx->PixelPtr(0, 0);
    const double* kyp = ky->PixelPtr(0, 0);
    const long long* columns = mColumns.data();
    // The row sums are independent: four rows at a time, each walked along its own
    // taps in order, so no sum waits on one chain of additions.
    mRows.resize(static_cast<size_t>(ny));
    mRowSums.resize(static_cast<size_t>(ny));
    const double** rows = mRows.data();
    double* t = mRowSums.data();
    for (long long k = 0; k < ny; ++k)
        rows[k] = v.origin + Mirror(y - hy + k, mHeight) * v.stride;
    long long k = 0;
    for (; k + 4 <= ny; k += 4)
    {
        const double* r0 = rows[k];
        const double* r1 = rows[k + 1];
        const double* r2 = rows[k + 2];
        const double* r3 = rows[k + 3];
        double t0 = 0.0, t1 = 0.0, t2 = 0.0, t3 = 0.0;
        for (long long m = 0; m < nx; ++m)
        {
            const double km = kxp[m];
            const long long cm = columns[m];
            t0 += km * r0[cm];
            t1 += km * r1[cm];
            t2 += km * r2[cm];
            t3 += km * r3[cm];
        }
        t[k] = t0;
        t[k + 1] = t1;
        t[k + 2] = t2;
        t[k + 3] = t3;
    }
    for (; k < ny; ++k)
    {
        const double* r = rows[k];
        double tk = 0.0;
        for (long long m = 0; m < nx; ++m)
            tk += kxp[m] * r[columns[m]];
        t[k] = tk;
    }
    double sum = 0.0;
    for (long long j = 0; j < ny; ++j)
        sum += kyp[j] * t[j];
    return sum;
}

template <class ArrayT>
double LaplacianAtPoints<ArrayT>::At(long long x, long long y)
{
    const long long nx = mXX->mWidth; // the x kernels of both terms have this width
    const long long hx = nx / 2;
    mColumns.resize(static_cast<size_t>(nx));
    for (long long m = 0; m < nx; ++m)
        mColumns[m] = Mirror(x - hx + m, mWidth) * mViews[0].step;
    double value = 0.0;
    for (int c = 0; c < ArrayT::ElemSize; ++c)
    {
        const double lxx = SeparableAt(mViews[c], y, mXX.get(), mY0.get());
        const double lyy = SeparableAt(mViews[c], y, mX0.get(), mYY.get());
        const double lap = (lxx + lyy) * mFactor;
        value = c == 0 ? lap : value + lap;
    }
    return std::fabs(value);
}

template class LaplacianAtPoints<Array2dReal64>;
template class LaplacianAtPoints<Array2dVec3Real64>;

} // namespace Array
} // namespace Core
} // namespace Tavlin
