// Cuts a rectangle out of an array into a new array without border. The rectangle
// may reach into the border, whose content must have been filled by the caller.
#ifndef TAVLIN_CORE_ARRAY_MAKEROI_H
#define TAVLIN_CORE_ARRAY_MAKEROI_H

#include <cstring>
#include <iostream>

#include "core/array/Array2dTem.h"
#include "core/geometry/Rectangle.h"

namespace Tavlin
{
namespace Core
{
namespace Array
{

// Null, with a line on the standard error stream, when the rectangle leaves the frame.
template <class ArrayT>
ArrayT* MakeRoi(ArrayT* src, const Geometry::Rectangle& rect)
{
    const long long left = rect.left;
    const long long top = rect.top;
    const long long right = rect.right;
    const long long bottom = rect.bottom;
    if (left < -src->mBorderWidth || top < -src->mBorderHeight || right >= src->mBorderWidth + src->mWidth ||
        bottom >= src->mBorderHeight + src->mHeight)
    {
        std::cerr << "[ERROR] Segfault highly likely due to too small border in MakeRoi (therefore aborted): "
                  << "left=" << left << "; limit=" << -src->mBorderWidth << "; top=" << top
                  << "; limit=" << -src->mBorderHeight << "; right=" << right
                  << "; limit=" << src->mBorderWidth + src->mWidth << "; bottom=" << bottom
                  << "; limit=" << src->mBorderHeight + src->mHeight << std::endl;
        return nullptr;
    }
    const long long width = right + 1 - left;
    const long long height = bottom + 1 - top;
    ArrayT* roi = new ArrayT(width, height, 0, 0, nullptr, false, false);
    const size_t rowBytes = static_cast<size_t>(width) * ArrayT::ElemSize * sizeof(typename ArrayT::StorType);
    for (long long y = 0; width >= 1 && y < height; ++y)
        std::memcpy(roi->PixelPtr(0, y), src->PixelPtr(left, top + y), rowBytes);
    return roi;
}

extern template Array2dVec3UInt8* MakeRoi<Array2dVec3UInt8>(Array2dVec3UInt8*, const Geometry::Rectangle&);

} // namespace Array
} // namespace Core
} // namespace Tavlin

#endif
