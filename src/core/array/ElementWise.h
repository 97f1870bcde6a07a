// Pixel-by-pixel arithmetic over the image rectangle of arrays; the border is never
// touched. Result convention: a null dst is created shaped like the first source (at
// least its border); a given dst is used as it stands and drives the loops, and the
// sources are read at the same coordinates without any check.
#ifndef TAVLIN_CORE_ARRAY_ELEMENTWISE_H
#define TAVLIN_CORE_ARRAY_ELEMENTWISE_H

#include <cmath>
#include <cstring>

#include "core/array/Array2dTem.h"
#include "core/array/ArrayFactories.h"

namespace Tavlin
{
namespace Core
{
namespace Array
{

namespace ElementWiseDetail
{

inline double ValComponent(double v, int) { return v; }
inline double ValComponent(const Vec3Real64& v, int c) { return v[c]; }
inline int32_t ValComponent(const Vec3Int32& v, int c) { return v[c]; }

inline double Scale(double s, double v) { return s * v; }
// A 32-bit integer product that wraps around instead of overflowing.
inline int32_t Scale(unsigned char s, int32_t v)
{
    return static_cast<int32_t>(static_cast<uint32_t>(s) * static_cast<uint32_t>(v));
}

// op(d, s, c) for every stored value of the image, c the channel.
template <class DstT, class SrcT, class Op>
void UnaryLoop(DstT*& dst, SrcT* src, Op op)
{
    if (!dst)
        dst = ArrayClone<DstT, SrcT>(src, 0, 0);
    const long long width = dst->mWidth;
    const long long height = dst->mHeight;
    const int elemSize = DstT::ElemSize;
    for (long long y = 0; y < height; ++y)
    {
        typename DstT::StorType* d = dst->PixelPtr(0, y);
        const typename SrcT::StorType* s = src->PixelPtr(0, y);
        for (long long x = 0; x < width; ++x)
            for (int c = 0; c < elemSize; ++c)
                op(d[x * elemSize + c], s[x * elemSize + c], c);
    }
}

template <class DstT, class SrcT, class Op>
void BinaryLoop(DstT*& dst, SrcT* a, SrcT* b, Op op)
{
    if (!dst)
        dst = ArrayClone<DstT, SrcT>(a, 0, 0);
    const long long count = dst->mWidth * DstT::ElemSize;
    const long long height = dst->mHeight;
    for (long long y = 0; y < height; ++y)
    {
        typename DstT::StorType* d = dst->PixelPtr(0, y);
        const typename SrcT::StorType* pa = a->PixelPtr(0, y);
        const typename SrcT::StorType* pb = b->PixelPtr(0, y);
        for (long long i = 0; i < count; ++i)
            d[i] = op(pa[i], pb[i]);
    }
}

} // namespace ElementWiseDetail

template <class DstT, class SrcT>
void Set(DstT*& dst, SrcT* src)
{
    if (!dst)
        dst = ArrayClone<DstT, SrcT>(src, 0, 0);
    const size_t rowBytes = static_cast<size_t>(dst->mWidth) * DstT::ElemSize * sizeof(typename DstT::StorType);
    for (long long y = 0; y < dst->mHeight; ++y)
        std::memmove(dst->PixelPtr(0, y), src->PixelPtr(0, y), rowBytes);
}

template <class DstT, class SrcT>
void Add(DstT*& dst, SrcT* a, SrcT* b)
{
    ElementWiseDetail::BinaryLoop(dst, a, b, [](double u, double v) { return u + v; });
}

template <class DstT, class SrcT>
void Sub(DstT*& dst, SrcT* a, SrcT* b)
{
    ElementWiseDetail::BinaryLoop(dst, a, b, [](double u, double v) { return u - v; });
}

template <class DstT, class SrcT>
void Mul(DstT*& dst, SrcT* a, SrcT* b)
{
    ElementWiseDetail::BinaryLoop(dst, a, b, [](double u, double v) { return u * v; });
}

// atan2(a, b); a NaN result becomes 0.0.
template <class DstT, class SrcT>
void Atan2(DstT*& dst, SrcT* a, SrcT* b)
{
    ElementWiseDetail::BinaryLoop(dst, a, b, [](double u, double v) {
        const double r = std::atan2(u, v);
        return std::isnan(r) ? 0.0 : r;
    });
}

template <class DstT, class SrcT>
void AddVal(DstT*& dst, SrcT* src, double v)
{
    ElementWiseDetail::UnaryLoop(dst, src, [v](double& d, double s, int) { d = s + v; });
}

// Channel by channel; a Vec3Int32 factor multiplies 8-bit values as 32-bit integers,
// wrapping around on overflow.
template <class DstT, class SrcT, class ValT>
void MulVal(DstT*& dst, SrcT* src, const ValT& v)
{
    ElementWiseDetail::UnaryLoop(dst, src, [&v](typename DstT::StorType& d, const typename SrcT::StorType& s, int c) {
        d = static_cast<typename DstT::StorType>(ElementWiseDetail::Scale(s, ElementWiseDetail::ValComponent(v, c)));
    });
}

template <class DstT, class SrcT>
void DivVal(DstT*& dst, SrcT* src, double v)
{
    ElementWiseDetail::UnaryLoop(dst, src, [v](double& d, double s, int) { d = s / v; });
}

template <class DstT, class SrcT>
void Sqrt(DstT*& dst, SrcT* src)
{
    ElementWiseDetail::UnaryLoop(dst, src, [](double& d, double s, int) { d = std::sqrt(s); });
}

// Each channel raised to e.
template <class DstT, class SrcT>
void Pow(DstT*& dst, SrcT* src, double e)
{
    ElementWiseDetail::UnaryLoop(dst, src, [e](double& d, double s, int) { d = std::pow(s, e); });
}

extern template void Set<Array2dReal64, Array2dReal64>(Array2dReal64*&, Array2dReal64*);
extern template void Add<Array2dReal64, Array2dReal64>(Array2dReal64*&, Array2dReal64*, Array2dReal64*);
extern template void Sub<Array2dReal64, Array2dReal64>(Array2dReal64*&, Array2dReal64*, Array2dReal64*);
extern template void Mul<Array2dReal64, Array2dReal64>(Array2dReal64*&, Array2dReal64*, Array2dReal64*);
extern template void Atan2<Array2dReal64, Array2dReal64>(Array2dReal64*&, Array2dReal64*, Array2dReal64*);
extern template void AddVal<Array2dReal64, Array2dReal64>(Array2dReal64*&, Array2dReal64*, double);
extern template void MulVal<Array2dReal64, Array2dReal64, double>(Array2dReal64*&, Array2dReal64*,
                                                                  const double&);
extern template void MulVal<Array2dVec3Real64, Array2dVec3Real64, Vec3Real64>(Array2dVec3Real64*&,
                                                                              Array2dVec3Real64*,
                                                                              const Vec3Real64&);
extern template void MulVal<Array2dVec3Real64, Array2dVec3UInt8, Vec3Int32>(Array2dVec3Real64*&,
                                                                            Array2dVec3UInt8*,
                                                                            const Vec3Int32&);
extern template void DivVal<Array2dReal64, Array2dReal64>(Array2dReal64*&, Array2dReal64*, double);
extern template void Sqrt<Array2dReal64, Array2dReal64>(Array2dReal64*&, Array2dReal64*);
extern template void Pow<Array2dVec3Real64, Array2dVec3Real64>(Array2dVec3Real64*&, Array2dVec3Real64*, double);

} // namespace Array
} // namespace Core
} // namespace Tavlin

#endif
