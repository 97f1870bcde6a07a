// Fills the border with the mirror image of the image, the edge pixel repeated (pixel
// -1 equals pixel 0). Rows first, over the image columns; then columns over all rows,
// so the corners are mirrors of mirrors. The border must be at least that wide; when
// the mirror reaches past the image the copies read whatever stands in the frame, so
// the order of the copies below is the definition of the result.
#ifndef TAVLIN_CORE_ARRAY_FUNCBORDERMIRROR2D_H
#define TAVLIN_CORE_ARRAY_FUNCBORDERMIRROR2D_H

#include <cstring>

#include "core/array/Array2dTem.h"

namespace Tavlin
{
namespace Core
{
namespace Array
{
namespace Pattern
{

template <class ArrayT>
void FuncBorderMirror2d(ArrayT* a, long long numX, long long numY)
{
    typedef typename ArrayT::StorType StorType;
    const int e = ArrayT::ElemSize;
    const long long width = a->mWidth;
    const long long height = a->mHeight;
    if (numY >= 1)
    {
        const size_t rowBytes = static_cast<size_t>(width) * e * sizeof(StorType);
        for (long long i = 0; i < numY; ++i)
            std::memcpy(a->PixelPtr(0, -1 - i), a->PixelPtr(0, i), rowBytes);
        for (long long i = 0; i < numY; ++i)
            std::memcpy(a->PixelPtr(0, height + i), a->PixelPtr(0, height - 1 - i), rowBytes);
    }
    if (numX >= 1 && height + 2 * numY >= 1)
    {
        for (long long y = -numY; y < height + numY; ++y)
        {
            StorType* row = a->PixelPtr(0, y);
            for (long long i = 0; i < numX; ++i)
                for (int c = 0; c < e; ++c)
                    row[(-1 - i) * e + c] = row[i * e + c];
        }
        for (long long y = -numY; y < height + numY; ++y)
        {
            StorType* row = a->PixelPtr(0, y);
            for (long long i = 0; i < numX; ++i)
                for (int c = 0; c < e; ++c)
                    row[(width + i) * e + c] = row[(width - 1 - i) * e + c];
        }
    }
}

extern template void FuncBorderMirror2d<Array2dVec3UInt8>(Array2dVec3UInt8*, long long, long long);
extern template void FuncBorderMirror2d<Array2dReal64>(Array2dReal64*, long long, long long);

} // namespace Pattern
} // namespace Array
} // namespace Core
} // namespace Tavlin

#endif
