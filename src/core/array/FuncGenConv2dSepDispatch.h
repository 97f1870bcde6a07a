// The generic one-dimensional passes of separable convolution, horizontal (_H) and
// vertical (_V), with the multiply and accumulate handed in as trait objects. Each
// result pixel is sum over k of kernel[k] x source(x - n/2 + k) along the axis, added in
// the order of k from 0.0: a correlation, the kernel is not flipped. The result array
// drives the loops over its image; the source must carry a border of n/2 along the
// axis, filled by the caller. Dispatch ids 0 to 2 give the same result; any other id
// writes nothing.
//
// Each row is computed with the kernel loop outside and the pixel loop inside,
// accumulating into the result row, four taps per sweep: every pixel's sum keeps its
// order, and the independent pixels of a row go through the vector unit together. The
// loops are compiled twice, the second time for AVX2, taken where the processor has it.
#ifndef TAVLIN_CORE_ARRAY_FUNCGENCONV2DSEPDISPATCH_H
#define TAVLIN_CORE_ARRAY_FUNCGENCONV2DSEPDISPATCH_H

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

// d[x] += k[0] s[0][x], then k[1] s[1][x], ... for `count` (1 to 4) taps: up to four
// terms per load and store of the running sums, in the order of the taps. With `first`
// the sums start from 0.0 instead of reading d.
template <class DstStor, class SrcStor, class KerStor, class MulT, class AddT>
TAVLIN_ALWAYS_INLINE void AccumulateTaps(DstStor* __restrict d, const SrcStor* const* taps, const KerStor* k,
                                         long long count, long long width, MulT mul, AddT add, bool first)
{
    const SrcStor* __restrict s0 = taps[0];
    const KerStor k0 = k[0];
    if (count == 4)
    {
        const SrcStor* __restrict s1 = taps[1];
        const SrcStor* __restrict s2 = taps[2];
        const SrcStor* __restrict s3 = taps[3];
        const KerStor k1 = k[1];
        const KerStor k2 = k[2];
        const KerStor k3 = k[3];
        if (first)
        {
            for (long long x = 0; x < width; ++x)
            {
                DstStor acc = 0.0;
                add(acc, mul(k0, s0[x]));
                add(acc, mul(k1, s1[x]));
                add(acc, mul(k2, s2[x]));
                add(acc, mul(k3, s3[x]));
                d[x] = acc;
            }
            return;
        }
        for (long long x = 0; x < width; ++x)
        {
            DstStor acc = d[x];
            add(acc, mul(k0, s0[x]));
            add(acc, mul(k1, s1[x]));
            add(acc, mul(k2, s2[x]));
            add(acc, mul(k3, s3[x]));
            d[x] = acc;
        }
        return;
    }
    long long j = 0;
    if (first)
    {
        for (long long x = 0; x < width; ++x)
        {
            DstStor acc = 0.0;
            add(acc, mul(k0, s0[x]));
            d[x] = acc;
        }
        j = 1;
    }
    for (; j < count; ++j)
    {
        const SrcStor* __restrict sj = taps[j];
        const KerStor kj = k[j];
        for (long long x = 0; x < width; ++x)
            add(d[x], mul(kj, sj[x]));
    }
}

// The row loop shared by both passes: result row y is the sum over taps t of
// kernel[t] x row tapRow(y, t) of the source.
template <class DstT, class KerT, class MulT, class AddT, class TapRowT>
TAVLIN_ALWAYS_INLINE void ConvolveRows(DstT* dst, KerT* kernel, MulT mul, AddT add, TapRowT tapRow)
{
    typedef typename DstT::StorType DstStor;
    const long long n = kernel->mWidth;
    const long long width = dst->mWidth;
    const long long height = dst->mHeight;
    const typename KerT::StorType* k = kernel->PixelPtr(0, 0);
    for (long long y = 0; y < height; ++y)
    {
        DstStor* __restrict d = dst->PixelPtr(0, y);
        decltype(tapRow(y, 0)) taps[4];
        for (long long i = 0; i < n; i += 4)
        {
            for (long long j = 0; j < 4 && i + j < n; ++j)
                taps[j] = tapRow(y, i + j);
            AccumulateTaps(d, taps, k + i, n - i < 4 ? n - i : 4, width, mul, add, i == 0);
        }
    }
}

template <class DstT, class KerT, class MulT, class AddT, class TapRowT>
TAVLIN_TARGET_AVX2 void ConvolveRowsAvx2(DstT* dst, KerT* kernel, MulT mul, AddT add, TapRowT tapRow)
{
    ConvolveRows(dst, kernel, mul, add, tapRow);
}

template <class DstT, class KerT, class MulT, class AddT, class TapRowT>
void ConvolveByTapRows(DstT* dst, KerT* kernel, MulT mul, AddT add, int dispatchId, TapRowT tapRow)
{
    if (dispatchId < 0 || dispatchId > 2)
        return;
    if (CpuHasAvx2())
        ConvolveRowsAvx2(dst, kernel, mul, add, tapRow);
    else
        ConvolveRows(dst, kernel, mul, add, tapRow);
}

template <class DstT, class SrcT, class KerT, class MulT, class AddT>
void FuncGenConv2dSepDispatch_H(DstT* dst, SrcT* src, KerT* kernel, MulT mul, AddT add, int dispatchId)
{
    const long long h = kernel->mWidth / 2;
    ConvolveByTapRows(dst, kernel, mul, add, dispatchId, [src, h](long long y, long long t) {
        return static_cast<const typename SrcT::StorType*>(src->PixelPtr(-h, y) + t);
    });
}

template <class DstT, class SrcT, class KerT, class MulT, class AddT>
void FuncGenConv2dSepDispatch_V(DstT* dst, SrcT* src, KerT* kernel, MulT mul, AddT add, int dispatchId)
{
    const long long h = kernel->mWidth / 2;
    ConvolveByTapRows(dst, kernel, mul, add, dispatchId, [src, h](long long y, long long t) {
        return static_cast<const typename SrcT::StorType*>(src->PixelPtr(0, y - h + t));
    });
}

} // namespace Pattern
} // namespace Array
} // namespace Core
} // namespace Tavlin

#endif
