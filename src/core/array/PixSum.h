// Sum of all image pixels of a plane: one running sum from zero, rows top to bottom,
// each row left to right, border excluded.
#ifndef TAVLIN_CORE_ARRAY_PIXSUM_H
#define TAVLIN_CORE_ARRAY_PIXSUM_H

#include "core/array/Array2dTem.h"

namespace Tavlin
{
namespace Core
{
namespace Array
{

template <class ArrayT>
typename ArrayT::ArithType PixSum(ArrayT* a)
{
    typename ArrayT::ArithType sum = 0.0;
    for (long long y = 0; y < a->mHeight; ++y)
    {
        const typename ArrayT::StorType* p = a->PixelPtr(0, y);
        for (long long x = 0; x < a->mWidth; ++x)
            sum += p[x];
    }
    return sum;
}

extern template double PixSum<Array2dReal64>(Array2dReal64*);

} // namespace Array
} // namespace Core
} // namespace Tavlin

#endif
