// The generic one-dimensional passes of separable convolution, horizontal (_H) and
// vertical (_V), with the multiply and accumulate handed in as trait objects. Each
// result pixel is sum over k of kernel[k] x source(x - n/2 + k) along the axis, added in
// the order of k from 0.0: a correlation, the kernel is not flipped. The result array
// drives the loops over its image; the source must carry a border of n/2 along the
// axis, filled by the caller. Dispatch ids 0 to 2 give the same result; any other id
// writes nothing.
//
// Results are computed in strips of adjacent pixels whose sums stay in registers over
// all taps, the taps in order: every pixel's sum keeps its order, and the independent
// pixels of a strip go through the vector unit together. The loops are compiled twice,
// the second time for AVX2, taken where the processor has it.
#ifndef TAVLIN_CORE_ARRAY_FUNCGENCONV2DSEPDISPATCH_H
#define TAVLIN_CORE_ARRAY_FUNCGENCONV2DSEPDISPATCH_H

#include <cstring>

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

// One strip of kStripWidth results: for each tap t in order, sum[i] += k[t] x
// tap0[t step + i], the sums starting from 0.0 and held in registers for all taps.
const long long kStripWidth = 32;

template <class DstStor, class SrcStor, class KerStor, class MulT, class AddT>
TAVLIN_ALWAYS_INLINE void StripSums(DstStor* __restrict d, const SrcStor* __restrict tap0, long long step,
                                    const KerStor* __restrict k, long long n, MulT mul, AddT add)
{
    DstStor acc[kStripWidth];
    for (long long i = 0; i < kStripWidth; ++i)
        acc[i] = 0.0;
    for (long long t = 0; t < n; ++t)
    {
        const KerStor kt = k[t];
        const SrcStor* __restrict s = tap0 + t * step;
        for (long long i = 0; i < kStripWidth; ++i)
            add(acc[i], mul(kt, s[i]));
    }
    for (long long i = 0; i < kStripWidth; ++i)
        d[i] = acc[i];
}

// The double form with the sums in explicit vectors of four, so that they surely stay
// in registers; the same products and additions in the same order.
typedef double StripVector __attribute__((vector_size(32)));

TAVLIN_ALWAYS_INLINE void StripSums(double* __restrict d, const double* __restrict tap0, long long step,
                                    const double* __restrict k, long long n, Trait::BpoMul<double, double, double>,
                                    Trait::BpoAddAssign<double, double>)
{
    const int kVectors = kStripWidth / 4;
    StripVector acc[kVectors];
    for (int i = 0; i < kVectors; ++i)
        acc[i] = StripVector{0.0, 0.0, 0.0, 0.0};
    for (long long t = 0; t < n; ++t)
    {
        const double kt = k[t];
        const StripVector kv = {kt, kt, kt, kt};
        const double* s = tap0 + t * step;
        for (int i = 0; i < kVectors; ++i)
        {
            StripVector v;
            std::memcpy(&v, s + 4 * i, sizeof(v));
            acc[i] += kv * v;
        }
    }
    std::memcpy(d, acc, sizeof(acc));
}

// The vertical pass of doubles over four result rows at once, eight columns wide: each
// source vector loaded serves every row of the block that has it as a tap, so the rows
// are read a quarter as often. Each result still adds its taps in order from 0.0.
// tap0 is the first tap of the block's first row; needs n >= 4.
TAVLIN_ALWAYS_INLINE void BlockSums4x8(double* d, long long dStride, const double* tap0, long long step,
                                       const double* k, long long n)
{
    StripVector acc[4][2];
    for (int j = 0; j < 4; ++j)
        acc[j][0] = acc[j][1] = StripVector{0.0, 0.0, 0.0, 0.0};
    // Source row r is tap r - j of result row j.
    auto add = [&](long long r, int j) {
        const double kt = k[r - j];
        const StripVector kv = {kt, kt, kt, kt};
        StripVector v0, v1;
        std::memcpy(&v0, tap0 + r * step, sizeof(v0));
        std::memcpy(&v1, tap0 + r * step + 4, sizeof(v1));
        acc[j][0] += kv * v0;
        acc[j][1] += kv * v1;
    };
    for (long long r = 0; r < 3; ++r)
        for (int j = 0; j <= r; ++j)
            add(r, j);
    for (long long r = 3; r < n; ++r)
    {
        const double* s = tap0 + r * step;
        StripVector v0, v1;
        std::memcpy(&v0, s, sizeof(v0));
        std::memcpy(&v1, s + 4, sizeof(v1));
        for (int j = 0; j < 4; ++j)
        {
            const double kt = k[r - j];
            const StripVector kv = {kt, kt, kt, kt};
            acc[j][0] += kv * v0;
            acc[j][1] += kv * v1;
        }
    }
    for (long long r = n; r < n + 3; ++r)
        for (int j = static_cast<int>(r - n) + 1; j < 4; ++j)
            add(r, j);
    for (int j = 0; j < 4; ++j)
        std::memcpy(d + j * dStride, acc[j], sizeof(acc[j]));
}

// The same for the `count` results left over at a row's end, one at a time.
template <class DstStor, class SrcStor, class KerStor, class MulT, class AddT>
TAVLIN_ALWAYS_INLINE void TailSums(DstStor* d, const SrcStor* tap0, long long step, const KerStor* k, long long n,
                                   long long count, MulT mul, AddT add)
{
    for (long long i = 0; i < count; ++i)
    {
        DstStor acc = 0.0;
        for (long long t = 0; t < n; ++t)
            add(acc, mul(k[t], tap0[t * step + i]));
        d[i] = acc;
    }
}

// The loops shared by both passes: result pixel (x, y) is the sum over taps t of
// kernel[t] x tap0(x, y)[t step]. With `blocksOfRows` (the vertical pass, whose taps
// are rows) four result rows are made together.
template <class DstT, class KerT, class MulT, class AddT, class Tap0T>
TAVLIN_ALWAYS_INLINE void ConvolveRows(DstT* dst, KerT* kernel, MulT mul, AddT add, Tap0T tap0, long long step,
                                       bool blocksOfRows)
{
    const long long n = kernel->mWidth;
    const long long width = dst->mWidth;
    const long long height = dst->mHeight;
    const long long full = width - width % kStripWidth;
    const typename KerT::StorType* k = kernel->PixelPtr(0, 0);
    long long y = 0;
    if (blocksOfRows && n >= 4)
    {
        const long long blockFull = width - width % 8;
        const long long dStride = dst->RowStride();
        for (; y + 4 <= height; y += 4)
        {
            for (long long x = 0; x < blockFull; x += 8)
                BlockSums4x8(dst->PixelPtr(x, y), dStride, tap0(x, y), step, k, n);
            for (long long j = 0; j < 4 && blockFull < width; ++j)
                TailSums(dst->PixelPtr(blockFull, y + j), tap0(blockFull, y + j), step, k, n, width - blockFull, mul,
                         add);
        }
    }
    for (; y < height; ++y)
    {
        for (long long x = 0; x < full; x += kStripWidth)
            StripSums(dst->PixelPtr(x, y), tap0(x, y), step, k, n, mul, add);
        if (full < width)
            TailSums(dst->PixelPtr(full, y), tap0(full, y), step, k, n, width - full, mul, add);
    }
}

template <class DstT, class KerT, class MulT, class AddT, class Tap0T>
TAVLIN_TARGET_AVX2 void ConvolveRowsAvx2(DstT* dst, KerT* kernel, MulT mul, AddT add, Tap0T tap0, long long step,
                                         bool blocksOfRows)
{
    ConvolveRows(dst, kernel, mul, add, tap0, step, blocksOfRows);
}

template <class DstT, class KerT, class MulT, class AddT, class Tap0T>
void ConvolveByTaps(DstT* dst, KerT* kernel, MulT mul, AddT add, int dispatchId, Tap0T tap0, long long step,
                    bool blocksOfRows)
{
    if (dispatchId < 0 || dispatchId > 2)
        return;
    if (CpuHasAvx2())
        ConvolveRowsAvx2(dst, kernel, mul, add, tap0, step, blocksOfRows);
    else
        ConvolveRows(dst, kernel, mul, add, tap0, step, blocksOfRows);
}

template <class DstT, class SrcT, class KerT, class MulT, class AddT>
void FuncGenConv2dSepDispatch_H(DstT* dst, SrcT* src, KerT* kernel, MulT mul, AddT add, int dispatchId)
{
    const long long h = kernel->mWidth / 2;
    ConvolveByTaps(
        dst, kernel, mul, add, dispatchId,
        [src, h](long long x, long long y) { return static_cast<const typename SrcT::StorType*>(src->PixelPtr(x - h, y)); },
        SrcT::ElemSize, false);
}

template <class DstT, class SrcT, class KerT, class MulT, class AddT>
void FuncGenConv2dSepDispatch_V(DstT* dst, SrcT* src, KerT* kernel, MulT mul, AddT add, int dispatchId)
{
    const long long h = kernel->mWidth / 2;
    ConvolveByTaps(
        dst, kernel, mul, add, dispatchId,
        [src, h](long long x, long long y) { return static_cast<const typename SrcT::StorType*>(src->PixelPtr(x, y - h)); },
        src->RowStride(), true);
}

} // namespace Pattern
} // namespace Array
} // namespace Core
} // namespace Tavlin

#endif
