// The generic one-dimensional passes of separable convolution, horizontal (_H) and
// vertical (_V), with the multiply and accumulate handed in as trait objects. Each
// result pixel is sum over k of kernel[k] x source(x - n/2 + k) along the axis, added in
// the order of k from 0.0: a correlation, the kernel is not flipped. The result array
// drives the loops over its image; the source must carry a border of n/2 along the
// axis, filled by the caller. Dispatch ids 0 to 2 give the same result; any other id
// writes nothing.
//
// Planes of doubles are computed in blocks of adjacent results whose sums stay in
// registers over all taps, the taps in order: every pixel's sum keeps its order, and
// the independent pixels of a block go through the vector unit together. These loops
// are compiled three times, plain, for AVX2 and for AVX-512 (whose 32 registers hold
// larger blocks), and the form the processor has is taken.
#ifndef TAVLIN_CORE_ARRAY_FUNCGENCONV2DSEPDISPATCH_H
#define TAVLIN_CORE_ARRAY_FUNCGENCONV2DSEPDISPATCH_H

#include <algorithm>
#include <cstring>
#include <memory>

#include "basis/CpuFeatures.h"
#include "core/array/Array2dTem.h"
#include "core/array/TraitBpo.h"

namespace Tavlin
{
namespace Core
{
namespace Array
{
namespace Pattern
{

// Four adjacent doubles; the sums of a block are arrays of these, so that they surely
// stay in registers. (No function returns one: the plain build has no such registers.)
typedef double Quad __attribute__((vector_size(32)));

TAVLIN_ALWAYS_INLINE void LoadQuad(Quad& v, const double* p)
{
    std::memcpy(&v, p, sizeof(v));
}


// One result: taps `step` apart.
TAVLIN_ALWAYS_INLINE double OneSum(const double* tap0, long long step, const double* k, long long n)
{
    double acc = 0.0;
    for (long long t = 0; t < n; ++t)
        acc += k[t] * tap0[t * step];
    return acc;
}

// 4 Q adjacent results of one row, taps one pixel apart: for each tap in order,
// sum[i] += k[t] x tap0[t + i].
template <int Q>
TAVLIN_ALWAYS_INLINE void RowStrip(double* d, const double* tap0, const double* k, long long n)
{
    Quad acc[Q];
    for (int i = 0; i < Q; ++i)
        acc[i] = Quad{0.0, 0.0, 0.0, 0.0};
    for (long long t = 0; t < n; ++t)
    {
        const double kt = k[t];
        const Quad kv = {kt, kt, kt, kt};
        for (int i = 0; i < Q; ++i)
        {
            Quad v;
            LoadQuad(v, tap0 + t + 4 * i);
            acc[i] += kv * v;
        }
    }
    std::memcpy(d, acc, sizeof(acc));
}

// Source row s (tap r) into result rows first..last of a block: tap r - j of row j.
// kq holds each kernel value four times over, loaded as a vector: spreading one value
// over a vector would take the vector unit from the sums.
template <int R, int C>
TAVLIN_ALWAYS_INLINE void AddSourceRow(Quad (&acc)[R][C], const double* s, const double* kq, long long r, int first,
                                       int last)
{
    Quad v[C];
    for (int c = 0; c < C; ++c)
        LoadQuad(v[c], s + 4 * c);
    for (int j = first; j <= last; ++j)
    {
        Quad kv;
        LoadQuad(kv, kq + 4 * (r - j));
        for (int c = 0; c < C; ++c)
            acc[j][c] += kv * v[c];
    }
}

// R result rows of 4 C adjacent results, taps `step` apart down the columns. Source
// row r is tap r - j of result row j, so each source vector loaded serves every row of
// the block that has it as a tap; each result still adds its taps in order from 0.0.
// tap0 is the first tap of the block's first row; needs n >= R.
template <int R, int C>
TAVLIN_ALWAYS_INLINE void ColumnBlock(double* d, long long dStride, const double* tap0, long long step,
                                      const double* kq, long long n)
{
    Quad acc[R][C];
    for (int j = 0; j < R; ++j)
        for (int c = 0; c < C; ++c)
            acc[j][c] = Quad{0.0, 0.0, 0.0, 0.0};
    for (long long r = 0; r < R - 1; ++r)
        AddSourceRow(acc, tap0 + r * step, kq, r, 0, static_cast<int>(r));
    for (long long r = R - 1; r < n; ++r)
        AddSourceRow(acc, tap0 + r * step, kq, r, 0, R - 1);
    for (long long r = n; r < n + R - 1; ++r)
        AddSourceRow(acc, tap0 + r * step, kq, r, static_cast<int>(r - n) + 1, R - 1);
    for (int j = 0; j < R; ++j)
        std::memcpy(d + j * dStride, acc[j], sizeof(acc[j]));
}

// Result plane and first tap of its first pixel, strides in doubles.
struct DoublePass
{
    double* dst;
    long long dStride;
    const double* tap0;
    long long sStride;
    long long width;
    long long height;
    const double* k;
    long long n;
};

template <int Q>
TAVLIN_ALWAYS_INLINE void RowsOfTaps(const DoublePass& p)
{
    for (long long y = 0; y < p.height; ++y)
    {
        double* d = p.dst + y * p.dStride;
        const double* s = p.tap0 + y * p.sStride;
        long long x = 0;
        for (; x + 4 * Q <= p.width; x += 4 * Q)
            RowStrip<Q>(d + x, s + x, p.k, p.n);
        for (; x + 4 <= p.width; x += 4)
            RowStrip<1>(d + x, s + x, p.k, p.n);
        for (; x < p.width; ++x)
            d[x] = OneSum(s + x, 1, p.k, p.n);
    }
}

// R rows from row y on, across the whole width; kq as for AddSourceRow.
template <int R, int C>
TAVLIN_ALWAYS_INLINE void ColumnsAcross(const DoublePass& p, long long y, const double* kq)
{
    double* d = p.dst + y * p.dStride;
    const double* s = p.tap0 + y * p.sStride;
    long long x = 0;
    for (; x + 4 * C <= p.width; x += 4 * C)
        ColumnBlock<R, C>(d + x, p.dStride, s + x, p.sStride, kq, p.n);
    for (; x + 4 <= p.width; x += 4)
        ColumnBlock<R, 1>(d + x, p.dStride, s + x, p.sStride, kq, p.n);
    for (; x < p.width; ++x)
        for (int j = 0; j < R; ++j)
            d[j * p.dStride + x] = OneSum(s + j * p.sStride + x, p.sStride, p.k, p.n);
}

// The source rows that one row of blocks reads should still be in the cache for the
// next rows of blocks, which read them again: on wide planes the columns are taken in
// tiles of equal width (a multiple of `unit`) whose rows fit in about 256 KiB.
inline long long ColumnTileWidth(long long width, long long rows, long long unit)
{
    const long long fits = std::max(1LL, (256 << 10) / (rows * static_cast<long long>(sizeof(double))));
    const long long tiles = (fits < width) ? (width + fits - 1) / fits : 1;
    const long long tile = (width + tiles - 1) / tiles;
    return tile + (unit - tile % unit) % unit;
}

template <int R, int C>
TAVLIN_ALWAYS_INLINE void ColumnsOfTaps(const DoublePass& p)
{
    std::unique_ptr<double[]> kq(new double[static_cast<size_t>(4 * p.n)]);
    for (long long t = 0; t < 4 * p.n; ++t)
        kq[t] = p.k[t / 4];
    const long long tile = ColumnTileWidth(p.width, p.n + R - 1, 4 * C);
    for (long long x0 = 0; x0 < p.width; x0 += tile)
    {
        DoublePass t = p;
        t.dst += x0;
        t.tap0 += x0;
        t.width = (p.width - x0 < tile) ? p.width - x0 : tile;
        long long y = 0;
        if (p.n >= R)
            for (; y + R <= p.height; y += R)
                ColumnsAcross<R, C>(t, y, kq.get());
        for (; y < p.height; ++y)
            ColumnsAcross<1, C>(t, y, kq.get());
    }
}

// Block shapes per instruction set, chosen by timing: with 16 registers the vertical
// pass does best with 3 x 3 vectors, with 32 with 4 x 5; the rows take the widest strip
// that does not run out of registers.
inline void DoublePassPlain(const DoublePass& p, bool down)
{
    if (down)
        ColumnsOfTaps<4, 2>(p);
    else
        RowsOfTaps<8>(p);
}

TAVLIN_TARGET_AVX2 inline void DoublePassAvx2(const DoublePass& p, bool down)
{
    if (down)
        ColumnsOfTaps<3, 3>(p);
    else
        RowsOfTaps<8>(p);
}

TAVLIN_TARGET_AVX512 inline void DoublePassAvx512(const DoublePass& p, bool down)
{
    if (down)
        ColumnsOfTaps<4, 5>(p);
    else
        RowsOfTaps<16>(p);
}

inline void DoublePassByCpu(const DoublePass& p, bool down)
{
    if (CpuHasAvx512())
        DoublePassAvx512(p, down);
    else if (CpuHasAvx2())
        DoublePassAvx2(p, down);
    else
        DoublePassPlain(p, down);
}

// Any other element types: one result at a time.
template <class DstT, class KerT, class MulT, class AddT, class Tap0T>
void ConvolveByTaps(DstT* dst, KerT* kernel, MulT mul, AddT add, int dispatchId, Tap0T tap0, long long step)
{
    if (dispatchId < 0 || dispatchId > 2)
        return;
    const long long n = kernel->mWidth;
    const typename KerT::StorType* k = kernel->PixelPtr(0, 0);
    for (long long y = 0; y < dst->mHeight; ++y)
        for (long long x = 0; x < dst->mWidth; ++x)
        {
            const auto* s = tap0(x, y);
            typename DstT::StorType acc = 0.0;
            for (long long t = 0; t < n; ++t)
                add(acc, mul(k[t], s[t * step]));
            *dst->PixelPtr(x, y) = acc;
        }
}

template <class DstT, class SrcT, class KerT, class MulT, class AddT>
void FuncGenConv2dSepDispatch_H(DstT* dst, SrcT* src, KerT* kernel, MulT mul, AddT add, int dispatchId)
{
    const long long h = kernel->mWidth / 2;
    ConvolveByTaps(
        dst, kernel, mul, add, dispatchId,
        [src, h](long long x, long long y) { return static_cast<const typename SrcT::StorType*>(src->PixelPtr(x - h, y)); },
        SrcT::ElemSize);
}

template <class DstT, class SrcT, class KerT, class MulT, class AddT>
void FuncGenConv2dSepDispatch_V(DstT* dst, SrcT* src, KerT* kernel, MulT mul, AddT add, int dispatchId)
{
    const long long h = kernel->mWidth / 2;
    ConvolveByTaps(
        dst, kernel, mul, add, dispatchId,
        [src, h](long long x, long long y) { return static_cast<const typename SrcT::StorType*>(src->PixelPtr(x, y - h)); },
        src->RowStride());
}

// Planes of doubles: the blocked loops, from the source's first tap of the first result.
inline void DoublePlanePass(Array2dReal64* dst, const double* firstTap, long long sourceStride, Array2dReal64* kernel,
                            int dispatchId, bool down)
{
    if (dispatchId < 0 || dispatchId > 2)
        return;
    DoublePassByCpu({dst->PixelPtr(0, 0), dst->RowStride(), firstTap, sourceStride, dst->mWidth, dst->mHeight,
                     kernel->PixelPtr(0, 0), kernel->mWidth},
                    down);
}

inline void FuncGenConv2dSepDispatch_H(Array2dReal64* dst, Array2dReal64* src, Array2dReal64* kernel,
                                       Trait::BpoMul<double, double, double>, Trait::BpoAddAssign<double, double>,
                                       int dispatchId)
{
    DoublePlanePass(dst, src->PixelPtr(-(kernel->mWidth / 2), 0), src->RowStride(), kernel, dispatchId, false);
}

inline void FuncGenConv2dSepDispatch_V(Array2dReal64* dst, Array2dReal64* src, Array2dReal64* kernel,
                                       Trait::BpoMul<double, double, double>, Trait::BpoAddAssign<double, double>,
                                       int dispatchId)
{
    DoublePlanePass(dst, src->PixelPtr(0, -(kernel->mWidth / 2)), src->RowStride(), kernel, dispatchId, true);
}

} // namespace Pattern
} // namespace Array
} // namespace Core
} // namespace Tavlin

#endif
