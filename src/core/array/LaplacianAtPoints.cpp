#include "core/array/LaplacianAtPoints.h"

#include <cmath>

#if defined(__x86_64__)
#include <immintrin.h>
#endif

#include "basis/CpuFeatures.h"
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
// 0.0, as the separable filter computes them. Both terms read the same rows and
// columns, their x kernels having one width: tA gets the sums of row k with kxa,
// tB with kxb.
namespace
{

TAVLIN_ALWAYS_INLINE void RowSumsPlain(const double* const* rows, long long ny, const long long* columns,
                                       long long nx, const double* ka, const double* kb, double* tA, double* tB)
{
    // The row sums are independent: four rows at a time, each walked along its own
    // taps in order, so no sum waits on one chain of additions.
    long long k = 0;
    for (; k + 4 <= ny; k += 4)
    {
        const double* r0 = rows[k];
        const double* r1 = rows[k + 1];
        const double* r2 = rows[k + 2];
        const double* r3 = rows[k + 3];
        double a0 = 0.0, a1 = 0.0, a2 = 0.0, a3 = 0.0;
        double b0 = 0.0, b1 = 0.0, b2 = 0.0, b3 = 0.0;
        for (long long m = 0; m < nx; ++m)
        {
            const long long cm = columns[m];
            const double v0 = r0[cm], v1 = r1[cm], v2 = r2[cm], v3 = r3[cm];
            const double km = ka[m];
            a0 += km * v0;
            a1 += km * v1;
            a2 += km * v2;
            a3 += km * v3;
            const double lm = kb[m];
            b0 += lm * v0;
            b1 += lm * v1;
            b2 += lm * v2;
            b3 += lm * v3;
        }
        tA[k] = a0;
        tA[k + 1] = a1;
        tA[k + 2] = a2;
        tA[k + 3] = a3;
        tB[k] = b0;
        tB[k + 1] = b1;
        tB[k + 2] = b2;
        tB[k + 3] = b3;
    }
    for (; k < ny; ++k)
    {
        const double* r = rows[k];
        double a = 0.0;
        double b = 0.0;
        for (long long m = 0; m < nx; ++m)
        {
            a += ka[m] * r[columns[m]];
            b += kb[m] * r[columns[m]];
        }
        tA[k] = a;
        tB[k] = b;
    }
}

#if defined(__x86_64__)
// The same sums with four rows in the lanes of one register, gathered tap by tap.
TAVLIN_TARGET_AVX2 void RowSumsAvx2(const double* const* rows, long long ny, const long long* columns, long long nx,
                                    const double* ka, const double* kb, double* tA, double* tB)
{
    long long k = 0;
    for (; k + 4 <= ny; k += 4)
    {
        const double* base = rows[k];
        const __m256i offsets = _mm256_set_epi64x(rows[k + 3] - base, rows[k + 2] - base, rows[k + 1] - base, 0);
        __m256d a = _mm256_setzero_pd();
        __m256d b = _mm256_setzero_pd();
        for (long long m = 0; m < nx; ++m)
        {
            const __m256i at = _mm256_add_epi64(offsets, _mm256_set1_epi64x(columns[m]));
            const __m256d v = _mm256_i64gather_pd(base, at, 8);
            a = _mm256_add_pd(a, _mm256_mul_pd(_mm256_set1_pd(ka[m]), v));
            b = _mm256_add_pd(b, _mm256_mul_pd(_mm256_set1_pd(kb[m]), v));
        }
        _mm256_storeu_pd(tA + k, a);
        _mm256_storeu_pd(tB + k, b);
    }
    RowSumsPlain(rows + k, ny - k, columns, nx, ka, kb, tA + k, tB + k);
}

// Four rows of four adjacent columns turned into four vectors of one column each.
TAVLIN_TARGET_AVX2 inline void Transpose4(const double* const* p, long long m, __m256d* c)
{
    const __m256d u0 = _mm256_loadu_pd(p[0] + m);
    const __m256d u1 = _mm256_loadu_pd(p[1] + m);
    const __m256d u2 = _mm256_loadu_pd(p[2] + m);
    const __m256d u3 = _mm256_loadu_pd(p[3] + m);
    const __m256d t0 = _mm256_unpacklo_pd(u0, u1);
    const __m256d t1 = _mm256_unpackhi_pd(u0, u1);
    const __m256d t2 = _mm256_unpacklo_pd(u2, u3);
    const __m256d t3 = _mm256_unpackhi_pd(u2, u3);
    c[0] = _mm256_permute2f128_pd(t0, t2, 0x20);
    c[1] = _mm256_permute2f128_pd(t1, t3, 0x20);
    c[2] = _mm256_permute2f128_pd(t0, t2, 0x31);
    c[3] = _mm256_permute2f128_pd(t1, t3, 0x31);
}

// The same sums when the columns are adjacent (no mirrored edge, one value per pixel):
// 4 kGroups rows at a time, in groups of four lanes, their columns turned into lanes by
// in-register transposes instead of gathers; several groups keep several chains of
// additions going at once. Returns the number of rows done.
template <int kGroups>
TAVLIN_TARGET_AVX2 inline long long RowSumsAdjacentGroups(const double* const* rows, long long ny, long long column0,
                                                          long long nx, const double* ka, const double* kb,
                                                          double* tA, double* tB)
{
    const long long body = nx - nx % 4;
    long long k = 0;
    for (; k + 4 * kGroups <= ny; k += 4 * kGroups)
    {
        const double* p[4 * kGroups];
        for (int i = 0; i < 4 * kGroups; ++i)
            p[i] = rows[k + i] + column0;
        __m256d a[kGroups];
        __m256d b[kGroups];
        for (int g = 0; g < kGroups; ++g)
            a[g] = b[g] = _mm256_setzero_pd();
        for (long long m = 0; m < body; m += 4)
        {
            __m256d c[kGroups][4];
            for (int g = 0; g < kGroups; ++g)
                Transpose4(p + 4 * g, m, c[g]);
            for (int j = 0; j < 4; ++j)
            {
                const __m256d km = _mm256_set1_pd(ka[m + j]);
                const __m256d lm = _mm256_set1_pd(kb[m + j]);
                for (int g = 0; g < kGroups; ++g)
                {
                    a[g] = _mm256_add_pd(a[g], _mm256_mul_pd(km, c[g][j]));
                    b[g] = _mm256_add_pd(b[g], _mm256_mul_pd(lm, c[g][j]));
                }
            }
        }
        for (long long m = body; m < nx; ++m)
        {
            const __m256d km = _mm256_set1_pd(ka[m]);
            const __m256d lm = _mm256_set1_pd(kb[m]);
            for (int g = 0; g < kGroups; ++g)
            {
                const double* const* q = p + 4 * g;
                const __m256d v = _mm256_set_pd(q[3][m], q[2][m], q[1][m], q[0][m]);
                a[g] = _mm256_add_pd(a[g], _mm256_mul_pd(km, v));
                b[g] = _mm256_add_pd(b[g], _mm256_mul_pd(lm, v));
            }
        }
        for (int g = 0; g < kGroups; ++g)
        {
            _mm256_storeu_pd(tA + k + 4 * g, a[g]);
            _mm256_storeu_pd(tB + k + 4 * g, b[g]);
        }
    }
    return k;
}

// columns: adjacent, from columns[0] on.
TAVLIN_TARGET_AVX2 void RowSumsAdjacentAvx2(const double* const* rows, long long ny, const long long* columns,
                                            long long nx, const double* ka, const double* kb, double* tA, double* tB)
{
    long long k = RowSumsAdjacentGroups<3>(rows, ny, columns[0], nx, ka, kb, tA, tB);
    k += RowSumsAdjacentGroups<1>(rows + k, ny - k, columns[0], nx, ka, kb, tA + k, tB + k);
    RowSumsPlain(rows + k, ny - k, columns, nx, ka, kb, tA + k, tB + k);
}
#endif

} // namespace

template <class ArrayT>
double LaplacianAtPoints<ArrayT>::PairAt(const View& v, long long y)
{
    const long long nx = mXX->mWidth;
    const long long ny = mY0->mWidth;
    const long long hy = ny / 2;
    mRows.resize(static_cast<size_t>(ny));
    mRowSums.resize(static_cast<size_t>(2 * ny));
    const double** rows = mRows.data();
    double* tXX = mRowSums.data();
    double* tX0 = tXX + ny;
    for (long long k = 0; k < ny; ++k)
        rows[k] = v.origin + Mirror(y - hy + k, mHeight) * v.stride;
#if defined(__x86_64__)
    const long long* columns = mColumns.data();
    if (CpuHasAvx2() && v.step == 1 && mColumnsAdjacent)
        RowSumsAdjacentAvx2(rows, ny, columns, nx, mXX->PixelPtr(0, 0), mX0->PixelPtr(0, 0), tXX, tX0);
    else if (CpuHasAvx2())
        RowSumsAvx2(rows, ny, mColumns.data(), nx, mXX->PixelPtr(0, 0), mX0->PixelPtr(0, 0), tXX, tX0);
    else
#endif
        RowSumsPlain(rows, ny, mColumns.data(), nx, mXX->PixelPtr(0, 0), mX0->PixelPtr(0, 0), tXX, tX0);
    const double* y0 = mY0->PixelPtr(0, 0);
    const double* yy = mYY->PixelPtr(0, 0);
    double lxx = 0.0;
    for (long long j = 0; j < ny; ++j)
        lxx += y0[j] * tXX[j];
    double lyy = 0.0;
    for (long long j = 0; j < ny; ++j)
        lyy += yy[j] * tX0[j];
    return (lxx + lyy) * mFactor;
}

template <class ArrayT>
double LaplacianAtPoints<ArrayT>::At(long long x, long long y)
{
    const long long nx = mXX->mWidth; // the x kernels of both terms have this width
    const long long hx = nx / 2;
    mColumns.resize(static_cast<size_t>(nx));
    mColumnsAdjacent = x - hx >= 0 && x + hx < mWidth;
    for (long long m = 0; m < nx; ++m)
        mColumns[m] = Mirror(x - hx + m, mWidth) * mViews[0].step;
    double value = 0.0;
    for (int c = 0; c < ArrayT::ElemSize; ++c)
    {
        const double lap = PairAt(mViews[c], y);
        value = c == 0 ? lap : value + lap;
    }
    return std::fabs(value);
}

template class LaplacianAtPoints<Array2dReal64>;
template class LaplacianAtPoints<Array2dVec3Real64>;

} // namespace Array
} // namespace Core
} // namespace Tavlin
