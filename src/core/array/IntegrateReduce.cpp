#include "core/array/IntegrateReduce.h"

#include <algorithm>
#include <memory>

#include "core/array/ArrayFactories.h"
#include "core/array/FuncBorderMirror2d.h"

namespace Tavlin
{
namespace Core
{
namespace Array
{

namespace
{

// dst of the reduced size with a zeroed image; an array of another size is replaced.
void PrepareResult(Array2dReal64*& dst, Array2dReal64* src, int factor)
{
    const long long width = src->mWidth / factor;
    const long long height = src->mHeight / factor;
    if (dst && (dst->mWidth != width || dst->mHeight != height))
    {
        delete dst;
        dst = nullptr;
    }
    if (!dst)
        dst = ArrayCreate<Array2dReal64>(width, height, 0, 0);
    for (long long y = 0; y < height; ++y)
        std::fill(dst->PixelPtr(0, y), dst->PixelPtr(0, y) + width, 0.0);
}

} // namespace

void IntegrateReduceLine(Array2dReal64*& dst, Array2dReal64* src, int factor, int srcRow)
{
    const long long width = src->mWidth / factor;
    const double* s = src->PixelPtr(0, srcRow);
    double* d = dst->PixelPtr(0, srcRow / factor);
    for (long long i = 0; i < width; ++i, s += factor)
    {
        double sum = 0.0;
        for (int k = 0; k < factor; ++k)
            sum += s[k];
        d[i] += sum;
    }
}

void IntegrateReduce(Array2dReal64*& dst, Array2dReal64* src, int factor)
{
    PrepareResult(dst, src, factor);
    for (long long start = 0; start <= src->mHeight - factor; start += factor)
        for (long long y = start; y < start + factor; ++y)
            IntegrateReduceLine(dst, src, factor, static_cast<int>(y));
}

void IntegrateReduceLineWeighted(Array2dReal64*& dst, Array2dReal64* src, int factor, int dstRow, int srcRow,
                                 double rowWeight)
{
    const long long width = dst->mWidth;
    const double* s = src->PixelPtr(0, srcRow);
    double* d = dst->PixelPtr(0, dstRow);
    for (long long i = 0; i < width; ++i, s += factor)
    {
        double v = 0.67 * s[0] + (0.33 * s[-1] + 0.0);
        for (int k = 1; k <= factor - 2; ++k)
            v += s[k];
        d[i] += (0.33 * s[factor] + (0.67 * s[factor - 1] + v)) * rowWeight;
    }
}

void IntegrateReduceWeighted(Array2dReal64*& dst, Array2dReal64* src, int factor)
{
    PrepareResult(dst, src, factor);

    std::unique_ptr<Array2dReal64> copy;
    Array2dReal64* work = src;
    if (src->mBorderWidth < 1 || src->mBorderHeight < 1)
    {
        copy.reset(ArrayClone<Array2dReal64>(src, 1, 1));
        CopyImageRows(copy.get(), src);
        work = copy.get();
    }
    Pattern::FuncBorderMirror2d(work, 1, 1);

    for (long long r = 0; r < dst->mHeight; ++r)
    {
        const int b = static_cast<int>(r * factor);
        const int row = static_cast<int>(r);
        IntegrateReduceLineWeighted(dst, work, factor, row, b - 1, 0.33);
        IntegrateReduceLineWeighted(dst, work, factor, row, b, 0.67);
        for (int y = b + 1; y <= b + factor - 2; ++y)
            IntegrateReduceLineWeighted(dst, work, factor, row, y, 1.0);
        IntegrateReduceLineWeighted(dst, work, factor, row, b + factor - 1, 0.67);
        IntegrateReduceLineWeighted(dst, work, factor, row, b + factor, 0.33);
    }
}

} // namespace Array
} // namespace Core
} // namespace Tavlin
