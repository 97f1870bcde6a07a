#include "core/array/RecConvKernelSeparated.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

#if defined(__x86_64__) || defined(__i386__)
#include <immintrin.h>
#endif

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

#if defined(__x86_64__) || defined(__i386__)
// The row pass in AVX2 lanes: 4 G rows at once, one row per lane of G vectors, so that
// every x step of the recursion is one multiply and one add per kernel element and G
// independent chains hide the add latency. Each block of 4 x is transposed into the
// lanes (the scratch holds the forward results x-major for the backward pass) and the
// backward results are transposed back. Every lane does FilterRowsFixed's operations
// in its order, so each pixel gets the same bits.
TAVLIN_TARGET_AVX2 inline void Transpose4(__m256d& a, __m256d& b, __m256d& c, __m256d& d)
{
    const __m256d ab0 = _mm256_unpacklo_pd(a, b);
    const __m256d ab1 = _mm256_unpackhi_pd(a, b);
    const __m256d cd0 = _mm256_unpacklo_pd(c, d);
    const __m256d cd1 = _mm256_unpackhi_pd(c, d);
    a = _mm256_permute2f128_pd(ab0, cd0, 0x20);
    b = _mm256_permute2f128_pd(ab1, cd1, 0x20);
    c = _mm256_permute2f128_pd(ab0, cd0, 0x31);
    d = _mm256_permute2f128_pd(ab1, cd1, 0x31);
}

// Lane r of the result: rows[r][x].
TAVLIN_TARGET_AVX2 inline __m256d GatherColumn(double* const* rows, long long x)
{
    return _mm256_set_pd(rows[3][x], rows[2][x], rows[1][x], rows[0][x]);
}

TAVLIN_TARGET_AVX2 inline void ScatterColumn(double* const* rows, long long x, __m256d v)
{
    alignas(32) double lanes[4];
    _mm256_store_pd(lanes, v);
    for (int r = 0; r < 4; ++r)
        rows[r][x] = lanes[r];
}

// One forward step: 0.0 + k[0] w[0] + ... + k[N - 1] w[N - 1] + k[N] in, then the
// window moves on by the result.
template <int N>
TAVLIN_TARGET_AVX2 inline __m256d ForwardStep(__m256d* w, __m256d in, const __m256d* k)
{
    __m256d sum = _mm256_add_pd(_mm256_setzero_pd(), _mm256_mul_pd(k[0], w[0]));
    for (int i = 1; i < N; ++i)
        sum = _mm256_add_pd(sum, _mm256_mul_pd(k[i], w[i]));
    sum = _mm256_add_pd(sum, _mm256_mul_pd(k[N], in));
    for (int i = 0; i + 1 < N; ++i)
        w[i] = w[i + 1];
    w[N - 1] = sum;
    return sum;
}

// One backward step: 0.0 + k[N] in + k[N + 1] w[0] + ... + k[2N] w[N - 1], w[j - 1]
// holding the result j samples ahead.
template <int N>
TAVLIN_TARGET_AVX2 inline __m256d BackwardStep(__m256d* w, __m256d in, const __m256d* k)
{
    __m256d sum = _mm256_add_pd(_mm256_setzero_pd(), _mm256_mul_pd(k[N], in));
    for (int j = 1; j <= N; ++j)
        sum = _mm256_add_pd(sum, _mm256_mul_pd(k[N + j], w[j - 1]));
    for (int j = N - 1; j >= 1; --j)
        w[j] = w[j - 1];
    w[0] = sum;
    return sum;
}

// rows[4 g + r] for g < G; scratch holds (width + N) 4 G doubles, 32-byte aligned.
template <int N, int G>
TAVLIN_TARGET_AVX2 void FilterRowsAvx2(double* const* rows, long long width, const double* kernel, double* scratch)
{
    const long long count = width + N;
    const long long blocked = count / 4 * 4;
    const long long stride = 4 * G;
    __m256d k[2 * N + 1];
    for (int i = 0; i <= 2 * N; ++i)
        k[i] = _mm256_set1_pd(kernel[i]);
    __m256d w[G][N];
    for (int g = 0; g < G; ++g)
        for (int i = 0; i < N; ++i)
            w[g][i] = GatherColumn(rows + 4 * g, i - N);

    for (long long x = 0; x < blocked; x += 4)
        for (int g = 0; g < G; ++g)
        {
            double* const* r = rows + 4 * g;
            __m256d v[4] = {_mm256_loadu_pd(r[0] + x), _mm256_loadu_pd(r[1] + x), _mm256_loadu_pd(r[2] + x),
                            _mm256_loadu_pd(r[3] + x)};
            Transpose4(v[0], v[1], v[2], v[3]);
            for (int j = 0; j < 4; ++j)
                _mm256_store_pd(scratch + (x + j) * stride + 4 * g, ForwardStep<N>(w[g], v[j], k));
        }
    for (long long x = blocked; x < count; ++x)
        for (int g = 0; g < G; ++g)
            _mm256_store_pd(scratch + x * stride + 4 * g, ForwardStep<N>(w[g], GatherColumn(rows + 4 * g, x), k));

    for (int g = 0; g < G; ++g)
    {
        const __m256d last = w[g][N - 1];
        for (int j = 0; j < N; ++j)
        {
            ScatterColumn(rows + 4 * g, count + j, last);
            w[g][j] = last;
        }
    }

    for (long long x = count - 1; x >= blocked; --x)
        for (int g = 0; g < G; ++g)
            ScatterColumn(rows + 4 * g, x,
                          BackwardStep<N>(w[g], _mm256_load_pd(scratch + x * stride + 4 * g), k));
    for (long long x = blocked - 4; x >= 0; x -= 4)
        for (int g = 0; g < G; ++g)
        {
            __m256d v[4];
            for (int j = 3; j >= 0; --j)
                v[j] = BackwardStep<N>(w[g], _mm256_load_pd(scratch + (x + j) * stride + 4 * g), k);
            Transpose4(v[0], v[1], v[2], v[3]);
            double* const* r = rows + 4 * g;
            for (int i = 0; i < 4; ++i)
                _mm256_storeu_pd(r[i] + x, v[i]);
        }
}

// 16 rows at a time, then 4, and the last few rows one by one in plain code.
template <int N>
TAVLIN_TARGET_AVX2 void FilterRowsOfOrderAvx2(Array2dReal64* a, const double* k, double* scratch)
{
    long long y = 0;
    double* rows[16];
    for (; y + 16 <= a->mHeight; y += 16)
    {
        for (int r = 0; r < 16; ++r)
            rows[r] = a->PixelPtr(0, y + r);
        FilterRowsAvx2<N, 4>(rows, a->mWidth, k, scratch);
    }
    for (; y + 4 <= a->mHeight; y += 4)
    {
        for (int r = 0; r < 4; ++r)
            rows[r] = a->PixelPtr(0, y + r);
        FilterRowsAvx2<N, 1>(rows, a->mWidth, k, scratch);
    }
    for (; y < a->mHeight; ++y)
    {
        double* row = a->PixelPtr(0, y);
        FilterRowsFixed<N, 1>(&row, a->mWidth, k);
    }
}

// Scratch for FilterRowsAvx2 with up to 16 rows, aligned to 32 bytes; left
// uninitialised, as every value is written before it is read.
double* RowScratch(std::unique_ptr<double[]>& storage, long long width, long long n)
{
    storage.reset(new double[static_cast<size_t>(16 * (width + n) + 4)]);
    const uintptr_t address = reinterpret_cast<uintptr_t>(storage.get());
    return storage.get() + ((32 - address % 32) % 32) / sizeof(double);
}

bool FilterRowsVector(Array2dReal64* a, const double* k, long long n)
{
    if (!CpuHasAvx2() || n < 1 || n > 5)
        return false;
    std::unique_ptr<double[]> storage;
    double* scratch = RowScratch(storage, a->mWidth, n);
    switch (n)
    {
    case 1: FilterRowsOfOrderAvx2<1>(a, k, scratch); break;
    case 2: FilterRowsOfOrderAvx2<2>(a, k, scratch); break;
    case 3: FilterRowsOfOrderAvx2<3>(a, k, scratch); break;
    case 4: FilterRowsOfOrderAvx2<4>(a, k, scratch); break;
    default: FilterRowsOfOrderAvx2<5>(a, k, scratch); break;
    }
    return true;
}
#else
bool FilterRowsVector(Array2dReal64*, const double*, long long)
{
    return false;
}
#endif

void FilterRows(Array2dReal64* a, const double* k, long long n)
{
    if (FilterRowsVector(a, k, n))
        return;
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

// out[x] = 0.0 + k[0] s[0][x] + ... + k[taps - 1] s[taps - 1][x] for every column x.
// out may be one of the source rows: each column reads its own pixels before its
// result is written. With the count T known the sum stays in a register; otherwise it
// is gathered in acc.
template <int T>
TAVLIN_ALWAYS_INLINE void SumRows(double* out, const double* const* s, const double* k, long long taps,
                                  long long width, double* __restrict acc)
{
    if (T > 0)
    {
        const double* src[T > 0 ? T : 1];
        double c[T > 0 ? T : 1];
        for (int i = 0; i < T; ++i)
        {
            src[i] = s[i];
            c[i] = k[i];
        }
#pragma GCC ivdep
        for (long long x = 0; x < width; ++x)
        {
            double sum = 0.0;
            for (int i = 0; i < T; ++i)
                sum += c[i] * src[i][x];
            out[x] = sum;
        }
        return;
    }
    const double k0 = k[0];
    const double* __restrict s0 = s[0];
    for (long long x = 0; x < width; ++x)
    {
        double sum = 0.0;
        sum += k0 * s0[x];
        acc[x] = sum;
    }
    for (long long i = 1; i < taps; ++i)
    {
        const double ki = k[i];
        const double* __restrict si = s[i];
        for (long long x = 0; x < width; ++x)
            acc[x] += ki * si[x];
    }
    std::memcpy(out, acc, static_cast<size_t>(width) * sizeof(double));
}

// Columns filtered together. A plane that fits in the last-level cache is filtered
// across its whole width; a larger one in strips of about 1 MB, which stay in the
// second-level cache from the forward pass to the backward pass.
long long ColumnStrip(long long width, long long rows)
{
    const long long rowBytes = static_cast<long long>(sizeof(double)) * std::max(rows, 1LL);
    if (width * rowBytes <= (8LL << 20))
        return std::max(width, 1LL);
    return std::max(64LL, (1LL << 20) / rowBytes / 8 * 8);
}

// The column passes for a strip of image columns at a time, a row at a time, so
// that the independent columns share the vector unit; every pixel's sums keep their
// order. Rows height + m .. height + 2m - 1 keep their replicated input: the samples
// past the forward pass's end are read from a copy of its last row instead. T is
// m + 1 when known, else 0; src holds m + 1 pointers, acc a row when T is 0.
template <int T>
TAVLIN_ALWAYS_INLINE void FilterColumnsWith(Array2dReal64* a, const double* k, long long m, const double** src,
                                            double* acc, double* lastRow)
{
    const long long width = a->mWidth;
    const long long height = a->mHeight;
    const long long strip = ColumnStrip(width, height + 2 * m);

    for (long long x0 = 0; x0 < width; x0 += strip)
    {
        const long long w = std::min(strip, width - x0);
        double* last = lastRow + x0;
        for (long long y = 0; y < height + m; ++y)
        {
            for (long long i = 0; i <= m; ++i)
                src[i] = a->PixelPtr(x0, y - m + i);
            SumRows<T>(a->PixelPtr(x0, y), src, k, m + 1, w, acc);
        }
        std::memcpy(last, a->PixelPtr(x0, height + m - 1), static_cast<size_t>(w) * sizeof(double));

        for (long long y = height + m - 1; y >= 0; --y)
        {
            for (long long i = 0; i <= m; ++i)
                src[i] = y + i < height + m ? a->PixelPtr(x0, y + i) : last;
            SumRows<T>(a->PixelPtr(x0, y), src, k + m, m + 1, w, acc);
        }
    }
}

template <int T>
TAVLIN_TARGET_AVX2 void FilterColumnsAvx2(Array2dReal64* a, const double* k, long long m, const double** src,
                                          double* acc, double* lastRow)
{
    FilterColumnsWith<T>(a, k, m, src, acc, lastRow);
}

template <int T>
void FilterColumnsOfOrder(Array2dReal64* a, const double* k, long long m, const double** src, double* acc,
                          double* lastRow)
{
    if (CpuHasAvx2())
        FilterColumnsAvx2<T>(a, k, m, src, acc, lastRow);
    else
        FilterColumnsWith<T>(a, k, m, src, acc, lastRow);
}

void FilterColumns(Array2dReal64* a, const double* k, long long m)
{
    std::unique_ptr<double[]> lastRow(new double[static_cast<size_t>(a->mWidth)]);
    std::vector<const double*> src(static_cast<size_t>(m + 1));
    std::vector<double> acc;
    switch (m)
    {
    case 0: FilterColumnsOfOrder<1>(a, k, m, src.data(), nullptr, lastRow.get()); return;
    case 1: FilterColumnsOfOrder<2>(a, k, m, src.data(), nullptr, lastRow.get()); return;
    case 2: FilterColumnsOfOrder<3>(a, k, m, src.data(), nullptr, lastRow.get()); return;
    case 3: FilterColumnsOfOrder<4>(a, k, m, src.data(), nullptr, lastRow.get()); return;
    case 4: FilterColumnsOfOrder<5>(a, k, m, src.data(), nullptr, lastRow.get()); return;
    case 5: FilterColumnsOfOrder<6>(a, k, m, src.data(), nullptr, lastRow.get()); return;
    default:
        acc.resize(static_cast<size_t>(a->mWidth));
        FilterColumnsOfOrder<0>(a, k, m, src.data(), acc.data(), lastRow.get());
    }
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
