#include "core/matrix/VectorQuantize.h"

#include <cblas.h>
#ifdef __SSE2__
#include <emmintrin.h>
#endif

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <vector>

#include "core/matrix/MatCreate.h"
#include "core/matrix/MatNorm2Dist.h"

namespace Tavlin
{
namespace Core
{
namespace Matrix
{

using Array::Array2dReal64;

Array2dReal64* VectorQuantizeX(Array2dReal64* data, Array2dReal64* codebook)
{
    std::unique_ptr<Array2dReal64> distances(MatNorm2DistTransposed(data, codebook));
    if (!distances)
        return nullptr;
    const long long rows = distances->mHeight;
    const long long words = distances->mWidth;
    Array2dReal64* result = MatCreate<Array2dReal64>(static_cast<int>(rows), 2);
    const double* d = distances->mData;
    double* out = result->mData;
    for (long long i = 0; i < rows; ++i, d += words, out += 2)
    {
        double best = sVectorQuantizeFar;
        long long index = 0;
        for (long long j = 0; j < words; ++j)
        {
            if (best > d[j])
            {
                index = j;
                best = d[j];
            }
        }
        out[0] = static_cast<double>(index);
        out[1] = best;
    }
    return result;
}

long long VectorQuantizeBlockRows(long long codebookRows)
{
    // An empty codebook bounds nothing: the cap applies.
    const long long quotient = codebookRows > 0 ? 20000000 / codebookRows : 10000;
    return std::max(1LL, std::min(quotient, 10000LL));
}

namespace
{

// Words are searched in pieces of this many, each with its own smallest value.
const long long sPiece = 256;

// u[j] = |(aa + bb[j]) + (-2 c[j])|, the squared distances before the square root,
// written over c; returns the smallest of them (a NaN is never taken).
double SquaredDistancesAndMinimum(double* c, const double* bb, double aa, long long n)
{
    long long j = 0;
    double smallest = std::numeric_limits<double>::infinity();
#ifdef __SSE2__
    const __m128d vaa = _mm_set1_pd(aa);
    const __m128d minusTwo = _mm_set1_pd(-2.0);
    const __m128d noSign = _mm_castsi128_pd(_mm_set1_epi64x(0x7fffffffffffffffLL));
    __m128d m0 = _mm_set1_pd(smallest), m1 = m0;
    for (; j + 4 <= n; j += 4)
    {
        const __m128d u0 =
            _mm_and_pd(_mm_add_pd(_mm_add_pd(vaa, _mm_loadu_pd(bb + j)), _mm_mul_pd(minusTwo, _mm_loadu_pd(c + j))),
                       noSign);
        const __m128d u1 = _mm_and_pd(
            _mm_add_pd(_mm_add_pd(vaa, _mm_loadu_pd(bb + j + 2)), _mm_mul_pd(minusTwo, _mm_loadu_pd(c + j + 2))),
            noSign);
        _mm_storeu_pd(c + j, u0);
        _mm_storeu_pd(c + j + 2, u1);
        // minpd returns its second operand when the first is NaN.
        m0 = _mm_min_pd(u0, m0);
        m1 = _mm_min_pd(u1, m1);
    }
    double lanes[4];
    _mm_storeu_pd(lanes, m0);
    _mm_storeu_pd(lanes + 2, m1);
    for (double lane : lanes)
        smallest = lane < smallest ? lane : smallest;
#endif
    for (; j < n; ++j)
    {
        const double cross = -2.0 * c[j];
        c[j] = std::fabs((aa + bb[j]) + cross);
        smallest = c[j] < smallest ? c[j] : smallest;
    }
    return smallest;
}

} // namespace

Array2dReal64* VectorQuantize(Array2dReal64* data, Array2dReal64* codebook)
{
    const long long rows = data->mHeight;
    const long long width = data->mWidth;
    const long long words = codebook->mHeight;
    // Shapes the search below does not cover take the plain route, with its messages.
    if (rows == 0 || words == 0 || width == 0 || codebook->mWidth != width)
        return VectorQuantizePlain(data, codebook);

    // The distances are those of MatNorm2DistInternal, sqrt(|(|x|^2 + |y|^2) - 2 x.y|),
    // with the same sums in the same order; the product is taken a few hundred rows at
    // a time so that each block is searched while it is still in the cache. As sqrt
    // never decreases, the nearest word is the first one whose square root equals that
    // of the smallest squared value: only words within a hair of it need a root.
    std::vector<double> bT(static_cast<size_t>(width * words));
    for (long long j = 0; j < words; ++j)
    {
        const double* src = codebook->mData + j * width;
        for (long long k = 0; k < width; ++k)
            bT[k * words + j] = src[k];
    }
    std::vector<double> bb(static_cast<size_t>(words), 0.0);
    for (long long k = 0; k < width; ++k)
    {
        const double* row = bT.data() + k * words;
        for (long long j = 0; j < words; ++j)
        {
            const double square = row[j] * row[j];
            bb[j] += square;
        }
    }

    const long long block = std::max(1LL, std::min(VectorQuantizeBlockRows(words), (1LL << 19) / words));
    std::vector<double> product(static_cast<size_t>(std::min(block, rows) * words));
    std::unique_ptr<Array2dReal64> result(MatCreate<Array2dReal64>(static_cast<int>(rows), 2));
    const long long pieces = (words + sPiece - 1) / sPiece;
    std::vector<double> pieceSmallest(static_cast<size_t>(pieces));
    double* out = result->mData;
    for (long long start = 0; start < rows; start += block)
    {
        const long long count = std::min(block, rows - start);
        const double* a = data->mData + start * width;
        cblas_dgemm(CblasRowMajor, CblasNoTrans, CblasNoTrans, static_cast<int>(count), static_cast<int>(words),
                    static_cast<int>(width), 1.0, a, static_cast<int>(width), bT.data(), static_cast<int>(words), 0.0,
                    product.data(), static_cast<int>(words));
        for (long long i = 0; i < count; ++i, a += width, out += 2)
        {
            double aa = 0.0;
            for (long long k = 0; k < width; ++k)
            {
                const double square = a[k] * a[k];
                aa += square;
            }
            double* u = product.data() + i * words;
            double smallest = std::numeric_limits<double>::infinity();
            for (long long p = 0; p < pieces; ++p)
            {
                const long long first = p * sPiece;
                pieceSmallest[p] = SquaredDistancesAndMinimum(u + first, bb.data() + first, aa,
                                                              std::min(sPiece, words - first));
                smallest = pieceSmallest[p] < smallest ? pieceSmallest[p] : smallest;
            }
            const double best = std::sqrt(smallest);
            if (best < sVectorQuantizeFar)
            {
                // Squared values whose root may still equal best lie within a relative
                // 1e-15 or so of the smallest; the bound is generous. Only pieces that
                // hold such a value are searched, in order.
                const double bound = smallest * (1.0 + 1e-9);
                long long index = 0;
                for (long long p = 0; p < pieces; ++p)
                {
                    if (!(pieceSmallest[p] <= bound))
                        continue;
                    const long long end = std::min((p + 1) * sPiece, words);
                    for (index = p * sPiece; index < end; ++index)
                        if (u[index] <= bound && std::sqrt(u[index]) == best)
                            break;
                    if (index < end)
                        break;
                }
                out[0] = static_cast<double>(index);
                out[1] = best;
            }
            else
            {
                out[0] = 0.0;
                out[1] = sVectorQuantizeFar;
            }
        }
    }
    return result.release();
}

Array2dReal64* VectorQuantizePlain(Array2dReal64* data, Array2dReal64* codebook)
{
    const long long chunk = VectorQuantizeBlockRows(codebook->mHeight);
    const long long rows = data->mHeight;
    const long long width = data->mWidth;
    std::unique_ptr<Array2dReal64> result(MatCreate<Array2dReal64>(static_cast<int>(rows), 2));
    for (long long start = 0; start < rows; start += chunk)
    {
        const long long count = std::min(chunk, rows - start);
        std::unique_ptr<Array2dReal64> block(
            MatCreate<Array2dReal64>(static_cast<int>(count), static_cast<int>(width), data->mData + start * width, true));
        std::unique_ptr<Array2dReal64> part(VectorQuantizeX(block.get(), codebook));
        if (!part)
            return nullptr;
        std::copy_n(part->mData, count * 2, result->mData + start * 2);
    }
    return result.release();
}

} // namespace Matrix
} // namespace Core
} // namespace Tavlin
