// Fills the border frame of an array before a filter reads it: with a constant, or by
// normalised propagation of the edge pixels. Types 1 and 2 leave the array as it is.
#ifndef TAVLIN_CORE_ARRAY_PATSETBORDER_H
#define TAVLIN_CORE_ARRAY_PATSETBORDER_H

#include "core/array/Array2dTem.h"
#include "core/array/FuncBorderPropagateNormalized2d.h"

namespace Tavlin
{
namespace Core
{
namespace Array
{
namespace Pattern
{

enum BorderType
{
    BorderConstant = 0,
    BorderReserved1 = 1,
    BorderReserved2 = 2,
    BorderPropagateNormalized = 3
};

template <class ArrayT, class ValueT>
void PatSetBorder(ArrayT* a, int numX, int numY, BorderType type, ValueT value, ValueT leftNorm, ValueT rightNorm,
                  ValueT topNorm, ValueT bottomNorm)
{
    typedef typename ArrayT::StorType StorType;
    if (type == BorderPropagateNormalized)
    {
        FuncBorderPropagateNormalized2d(a, numX, numY, leftNorm, rightNorm, topNorm, bottomNorm);
        return;
    }
    if (type != BorderConstant)
        return;
    const int e = ArrayT::ElemSize;
    const long long width = a->mWidth;
    const long long height = a->mHeight;
    const StorType v = static_cast<StorType>(value);
    if (numX >= 1 && height >= 1)
    {
        for (long long y = 0; y < height; ++y)
        {
            StorType* row = a->PixelPtr(0, y);
            for (long long i = -numX * e; i < 0; ++i)
                row[i] = v;
            for (long long i = width * e; i < (width + numX) * e; ++i)
                row[i] = v;
        }
    }
    if (numY >= 1)
    {
        const long long count = (width + 2 * static_cast<long long>(numX)) * e;
        for (long long y = 1; y <= numY; ++y)
        {
            StorType* above = a->PixelPtr(-numX, -y);
            StorType* below = a->PixelPtr(-numX, height - 1 + y);
            for (long long i = 0; i < count; ++i)
            {
                above[i] = v;
                below[i] = v;
            }
        }
    }
}

extern template void PatSetBorder<Array2dReal64, double>(Array2dReal64*, int, int, BorderType, double, double,
                                                         double, double, double);

} // namespace Pattern
} // namespace Array
} // namespace Core
} // namespace Tavlin

#endif
