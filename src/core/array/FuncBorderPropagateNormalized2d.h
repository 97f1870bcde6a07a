// Fills the border by replicating the edge pixels of the image outwards. The left and
// top borders are scaled by their norms; the right and bottom borders receive plain
// copies, whatever their norms say.
#ifndef TAVLIN_CORE_ARRAY_FUNCBORDERPROPAGATENORMALIZED2D_H
#define TAVLIN_CORE_ARRAY_FUNCBORDERPROPAGATENORMALIZED2D_H

#include "core/array/Array2dTem.h"

namespace Tavlin
{
namespace Core
{
namespace Array
{
namespace Pattern
{

// Columns first over the image rows, then whole border rows over x = -numX ..
// width + numX - 1, so the corners come from the already extended edge rows.
template <class ArrayT, class NormT>
void FuncBorderPropagateNormalized2d(ArrayT* a, long long numX, long long numY, NormT leftNorm, NormT rightNorm,
                                     NormT topNorm, NormT bottomNorm)
{
    (void)rightNorm;
    (void)bottomNorm;
    typedef typename ArrayT::StorType StorType;
    const int e = ArrayT::ElemSize;
    const long long width = a->mWidth;
    const long long height = a->mHeight;
    const double left = static_cast<double>(leftNorm);
    const double top = static_cast<double>(topNorm);
    if (numX >= 1 && height >= 1)
    {
        for (long long y = 0; y < height; ++y)
        {
            StorType* row = a->PixelPtr(0, y);
            for (long long x = -numX; x < 0; ++x)
                for (int c = 0; c < e; ++c)
                    row[x * e + c] = static_cast<StorType>(left * row[c]);
            const StorType* last = row + (width - 1) * e;
            for (long long x = width; x < width + numX; ++x)
                for (int c = 0; c < e; ++c)
                    row[x * e + c] = last[c];
        }
    }
    if (numY >= 1)
    {
        const long long count = (width + 2 * numX) * e;
        const StorType* first = a->PixelPtr(-numX, 0);
        const StorType* last = a->PixelPtr(-numX, height - 1);
        for (long long y = 1; y <= numY; ++y)
        {
            StorType* above = a->PixelPtr(-numX, -y);
            for (long long i = 0; i < count; ++i)
                above[i] = static_cast<StorType>(top * first[i]);
        }
        for (long long y = height; y < height + numY; ++y)
        {
            StorType* below = a->PixelPtr(-numX, y);
            for (long long i = 0; i < count; ++i)
                below[i] = last[i];
        }
    }
}

extern template void FuncBorderPropagateNormalized2d<Array2dReal64, double>(Array2dReal64*, long long, long long,
                                                                            double, double, double, double);
extern template void FuncBorderPropagateNormalized2d<Array2dReal64, int>(Array2dReal64*, long long, long long, int,
                                                                         int, int, int);

} // namespace Pattern
} // namespace Array
} // namespace Core
} // namespace Tavlin

#endif
