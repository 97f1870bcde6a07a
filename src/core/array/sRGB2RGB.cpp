#include "core/array/sRGB2RGB.h"

#include <cmath>

#include "core/array/ArrayFactories.h"

namespace Tavlin
{
namespace Core
{
namespace Array
{

void sRGB2RGB(Array2dVec3Real64*& dst, Array2dVec3UInt8* src)
{
    double table[256];
    for (int i = 0; i < 256; ++i)
        table[i] = std::pow(i / 255.0, 2.2) * 255.0;
    if (!dst)
        dst = ArrayClone<Array2dVec3Real64>(src, 0, 0);
    const long long count = dst->mWidth * 3;
    for (long long y = 0; y < dst->mHeight; ++y)
    {
        double* d = dst->PixelPtr(0, y);
        const unsigned char* s = src->PixelPtr(0, y);
        for (long long i = 0; i < count; ++i)
            d[i] = table[s[i]];
    }
}

} // namespace Array
} // namespace Core
} // namespace Tavlin
