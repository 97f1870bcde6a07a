#include "core/array/RecConvKernelSeparated.h"

#include <cstring>
#include <vector>

#include "basis/CpuFeatures.h"
#include "core/array/ArrayFactories.h"
#include "core/array/PatSetBorder.h"

namespace Tavlin
{
namespace Core
{
namespace Array
{

namespace
{

// Forward then backward pass over one row of `width` pixels in place; p[-2n ..
// width + 2n - 1] must exist, the left border holding the replicated first pixel.
void FilterRow(double* p, long long width, const double* k, long long n)
{
    for (long long x = 0; x < width + n; ++x)
    {
        const double* v = p + x - n;
        double sum = 0.0;
        for (long long i = 0; i <= n; ++i)
            sum += k[i] * v[i];
        p[x] = sum;
    }
    for (long long x = width + n; x < width + 2 * n; ++x)
        p[x] = p[width + n - 1];
    for (long long x = width + n - 1; x >= 0; --x)
    {
        const double* v = p + x - n;
        double sum = 0.0;
        for (long long i = n; i <= 2 * n; ++i)
            sum += k[i] * v[i];
        p[x] = sum;
    }
}

// FilterRow for R rows at once with the order N known: the last outputs stay in
// registers instead of being read back right after their store, and the R
// independent recursions overlap in the pipeline. Same sums in the same order.
template <int N, int R>
void FilterRowsFixed(double* const* rows, long long width, const double* kernel)
{
    double k[2 * N + 1];
    for (int i = 0; i <= 2 * N; ++i)
        k[i] = kernel[i];
    double w[R][N];
    for (int r = 0; r < R; ++r)
        for (int i = 0; i < N; ++i)
            w[r][i] = rows[r][i - N];
    for (long long x = 0; x < width + N; ++x)
        for (int r = 0; r < R; ++r)
        {
            double sum = 0.0;
            for (int i = 0; i < N; ++i)
                sum += k[i] * w[r][i];
            sum += k[N] * rows[r][x];
            rows[r][x] = sum;
            for (int i = 0; i + 1 < N; ++i)
                w[r][i] = w[r][i + 1];
            w[r][N - 1] = sum;
        }
    // w[r][j - 1] holds the output j samples ahead.
    for (int r = 0; r < R; ++r)
        for (int j = 0; j < N; ++j)
        {
            rows[r][width + N + j] = w[r][N - 1];
            w[r][j] = w[r][N - 1];
        }
    for (long long x = width + N - 1; x >= 0; --x)
        for (int r = 0; r < R; ++r)
        {
            double sum = 0.0;
            sum += k[N] * rows[r][x];
            for (int j = 1; j <= N; ++j)
                sum += k[N + j] * w[r][j - 1];
            rows[r][x] = sum;
            for (int j = N - 1; j >= 1; --j)
                w[r][j] = w[r][j - 1];
            w[r][0] = sum;
        }
}

template <int N>
void FilterRowsOfOrder(Array2dReal64* a, const double* k)
{
    const int kRows = 4;
    long long y = 0;
    for (; y + kRows <= a->mHeight; y += kRows)
    {
        double* rows[kRows];
        for (int r = 0; r < kRows; ++r)
            rows[r] = a->PixelPtr(0, y + r);
        FilterRowsFixed<N, kRows>(rows, a->mWidth, k);
    }
    for (; y < a->mHeight; ++y)
    {
        double* row = a->PixelPtr(0, y);
        FilterRowsFixed<N, 1>(&row, a->mWidth, k);
    }
}

void FilterRows(Array2dReal64* a, const double* k, long long n)
{
    switch (n)
    {
    case 1: FilterRowsOfOrder<1>(a, k); return;
    case 2: FilterRowsOfOrder<2>(a, k); return;
    case 3: FilterRowsOfOrder<3>(a, k); return;
    case 4: FilterRowsOfOrder<4>(a, k); return;
    case 5: FilterRowsOfOrder<5>(a, k); return;
    default:
        for (long long y = 0; y < a->mHeight; ++y)
            FilterRow(a->PixelPtr(0, y), a->mWidth, k, n);
    }
}

// acc[x] = 0.0 + k s[x]: the first term of a sum, as added to a cleared accumulator.
TAVLIN_ALWAYS_INLINE void StartSums(double* __restrict acc, const double* __restrict s, double k, long long width)
{
    for (long long x = 0; x < width; ++x)
    {
        double sum = 0.0;
        sum += k * s[x];
        acc[x] = sum;
    }
}

// The column passes for all image columns at once, a row at a time, so that the
// independent columns share the vector unit; every pixel's sums keep their order.
// Rows height + m .. height + 2m - 1 keep their replicated input: the samples past
// the forward pass's end are read from a copy of its last row instead.
TAVLIN_ALWAYS_INLINE void FilterColumnsWith(Array2dReal64* a, const double* k, long long m, double* __restrict acc,
                                            double* __restrict lastRow)
{
    const long long width = a->mWidth;
    const long long height = a->mHeight;

    for (long long y = 0; y < height + m; ++y)
    {
        StartSums(acc, a->PixelPtr(0, y - m), k[0], width);
        for (long long i = 1; i <= m; ++i)
        {
            const double ki = k[i];
            const double* __restrict s = a->PixelPtr(0, y - m + i);
            for (long long x = 0; x < width; ++x)
                acc[x] += ki * s[x];
        }
        std::memcpy(a->PixelPtr(0, y), acc, static_cast<size_t>(width) * sizeof(double));
    }
    if (width > 0)
        std::memcpy(lastRow, a->PixelPtr(0, height + m - 1), static_cast<size_t>(width) * sizeof(double));

    for (long long y = height + m - 1; y >= 0; --y)
    {
        StartSums(acc, a->PixelPtr(0, y), k[m], width);
        for (long long i = m + 1; i <= 2 * m; ++i)
        {
            const long long row = y - m + i;
            const double ki = k[i];
            const double* __restrict s = row < height + m ? a->PixelPtr(0, row) : lastRow;
            for (long long x = 0; x < width; ++x)
                acc[x] += ki * s[x];
        }
        std::memcpy(a->PixelPtr(0, y), acc, static_cast<size_t>(width) * sizeof(double));
    }
}

TAVLIN_TARGET_AVX2 void FilterColumnsAvx2(Array2dReal64* a, const double* k, long long m, double* acc,
                                          double* lastRow)
{
    FilterColumnsWith(a, k, m, acc, lastRow);
}

void FilterColumns(Array2dReal64* a, const double* k, long long m)
{
    std::vector<double> accumulator(static_cast<size_t>(a->mWidth));
    std::vector<double> lastRow(static_cast<size_t>(a->mWidth));
    if (CpuHasAvx2())
        FilterColumnsAvx2(a, k, m, accumulator.data(), lastRow.data());
    else
        FilterColumnsWith(a, k, m, accumulator.data(), lastRow.data());
}

} // namespace

void RecConvKernelSeparated(Array2dReal64*& dst, Array2dReal64* src, Array2dReal64* kernelX,
                            Array2dReal64* kernelY, Util::TimePlot*)
{
    const long long n = kernelX->mWidth / 2;
    const long long m = kernelY->mWidth / 2;
    const long long bx = 2 * n;
    const long long by = 2 * m;
    if (src->mBorderWidth < bx || src->mBorderHeight < by)
    {
        Array2dReal64* copy = ArrayClone<Array2dReal64>(src, bx, by);
        CopyImageRows(copy, src);
        if (dst && dst != src)
            delete dst;
        dst = copy;
    }
    else if (dst != src)
    {
        if (!dst)
            dst = ArrayClone<Array2dReal64>(src, 0, 0);
        CopyImageRows(dst, src);
    }
    Array2dReal64* work = dst;
    if (work->mHeight < 1)
        return;

    Pattern::PatSetBorder(work, static_cast<int>(bx), 0, Pattern::BorderPropagateNormalized, 0.0, 1.0, 1.0, 1.0,
                          1.0);
    FilterRows(work, kernelX->PixelPtr(0, 0), n);

    Pattern::PatSetBorder(work, 0, static_cast<int>(by), Pattern::BorderPropagateNormalized, 0.0, 1.0, 1.0, 1.0,
                          1.0);
    FilterColumns(work, kernelY->PixelPtr(0, 0), m);
}

} // namespace Array
} // namespace Core
} // namespace Tavlin
