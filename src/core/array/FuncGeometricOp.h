// The pixel loop of the geometric operation: every destination pixel is mapped back
// into the source by a 3x3 matrix and sampled there, nearest or bilinear. Positions
// that would need a pixel outside the source get the background value; pixel
// centres are not shifted, so destination x samples source position x / s.
#ifndef TAVLIN_CORE_ARRAY_FUNCGEOMETRICOP_H
#define TAVLIN_CORE_ARRAY_FUNCGEOMETRICOP_H

#include "core/array/Array2dTem.h"
#include "core/geometry/GeoIntType.h"

namespace Tavlin
{
namespace Core
{
namespace Array
{
namespace Pattern
{

// inverse maps (x + offset0, y + offset1, 1 + offset2) of dst to homogeneous source
// coordinates. Single-channel arrays only.
template <class DstT, class SrcT>
void FuncGeometricOp(DstT* dst, SrcT* src, Array2dReal64* inverse, Geometry::GeoIntType interpolation,
                     Vec3Real64 offset, typename DstT::ArithType background)
{
    static_assert(DstT::ElemSize == 1 && SrcT::ElemSize == 1, "single-channel arrays only");
    typedef typename DstT::StorType DstStor;
    typedef typename SrcT::StorType SrcStor;
    const bool linear = interpolation == Geometry::GeoIntLinear;
    const double margin = linear ? 1.0 : 0.5;
    const double limitX = static_cast<double>(src->mWidth) - margin;
    const double limitY = static_cast<double>(src->mHeight) - margin;
    const double* m = inverse->PixelPtr(0, 0);
    const long long srcStride = src->RowStride();
    const SrcStor* origin = src->PixelPtr(0, 0);
    const DstStor back = static_cast<DstStor>(background);
    for (long long y = 0; y < dst->mHeight; ++y)
    {
        DstStor* d = dst->PixelPtr(0, y);
        const double vy = y + offset[1];
        const double vz = 1 + offset[2];
        for (long long x = 0; x < dst->mWidth; ++x)
        {
            const double vx = x + offset[0];
            const double p0 = 0.0 + m[0] * vx + m[1] * vy + m[2] * vz;
            const double p1 = 0.0 + m[3] * vx + m[4] * vy + m[5] * vz;
            const double p2 = 0.0 + m[6] * vx + m[7] * vy + m[8] * vz;
            const double sx = p0 / p2;
            const double sy = p1 / p2;
            // Written so that a NaN position also falls outside.
            if (!(sx >= 0.0 && sx < limitX && sy >= 0.0 && sy < limitY))
            {
                d[x] = back;
                continue;
            }
            if (!linear)
            {
                d[x] = static_cast<DstStor>(
                    origin[static_cast<long long>(sy + 0.5) * srcStride + static_cast<long long>(sx + 0.5)]);
                continue;
            }
            const long long i = static_cast<long long>(sx);
            const long long j = static_cast<long long>(sy);
            const double a = sx - i;
            const double b = sy - j;
            const SrcStor* s = origin + j * srcStride + i;
            const double p00 = s[0];
            const double p10 = s[1];
            const double p01 = s[srcStride];
            const double p11 = s[srcStride + 1];
            d[x] = static_cast<DstStor>(p00 + (p10 - p00) * a + (p01 - p00) * b + a * b * (p00 - p10 - p01 + p11));
        }
    }
}

} // namespace Pattern
} // namespace Array
} // namespace Core
} // namespace Tavlin

#endif
