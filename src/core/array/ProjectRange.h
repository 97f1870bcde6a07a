// Extraction of one channel of a colour array into a double plane.
#ifndef TAVLIN_CORE_ARRAY_PROJECTRANGE_H
#define TAVLIN_CORE_ARRAY_PROJECTRANGE_H

#include "core/array/Array2dTem.h"
#include "core/array/ArrayFactories.h"

namespace Tavlin
{
namespace Core
{
namespace Array
{

// dimension counts from 1 (1, 2, 3 pick channels 0, 1, 2, cyclically); a negative
// dimension picks channel 0. Values are converted without scaling.
template <class DstT, class SrcT>
void ProjectRange(DstT*& dst, SrcT* src, int dimension)
{
    if (!dst)
        dst = ArrayClone<DstT, SrcT>(src, 0, 0);
    const int channel = dimension < 0 ? 0 : (dimension - 1) % 3;
    const int elemSize = SrcT::ElemSize;
    const long long width = dst->mWidth;
    for (long long y = 0; y < dst->mHeight; ++y)
    {
        typename DstT::StorType* d = dst->PixelPtr(0, y);
        const typename SrcT::StorType* s = src->PixelPtr(0, y) + channel;
        for (long long x = 0; x < width; ++x)
            d[x] = static_cast<typename DstT::StorType>(s[x * elemSize]);
    }
}

extern template void ProjectRange<Array2dReal64, Array2dVec3UInt8>(Array2dReal64*&, Array2dVec3UInt8*, int);
extern template void ProjectRange<Array2dReal64, Array2dVec3Real64>(Array2dReal64*&, Array2dVec3Real64*, int);

} // namespace Array
} // namespace Core
} // namespace Tavlin

#endif
