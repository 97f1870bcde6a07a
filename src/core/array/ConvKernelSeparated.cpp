#include "core/array/ConvKernelSeparated.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>

#include "core/array/ArrayFactories.h"
#include "core/array/FuncBorderMirror2d.h"
#include "core/array/FuncGenConv2dSepDispatch.h"

namespace Tavlin
{
namespace Core
{
namespace Array
{

namespace
{

// Horizontal pass from work into a scratch plane, vertical pass from it into dst (which
// may be work: the horizontal pass is done with it by then).
void BothPasses(Array2dReal64* dst, Array2dReal64* work, Array2dReal64* kernelX, Array2dReal64* kernelY,
                int dispatchId)
{
    const long long hx = kernelX->mWidth / 2;
    const long long hy = kernelY->mWidth / 2;
    Pattern::FuncBorderMirror2d(work, hx, 0);
    std::unique_ptr<Array2dReal64> temp(ArrayClone<Array2dReal64>(work, 0, 0));
    Trait::BpoMul<double, double, double> mul;
    Trait::BpoAddAssign<double, double> add;
    Pattern::FuncGenConv2dSepDispatch_H(temp.get(), work, kernelX, mul, add, dispatchId);
    Pattern::FuncBorderMirror2d(temp.get(), 0, hy);
    Pattern::FuncGenConv2dSepDispatch_V(dst, temp.get(), kernelY, mul, add, dispatchId);
}

// The same passes without a plane-sized scratch: the rows of the horizontal pass that
// one band of result rows needs are made into a buffer and read by the vertical pass
// while still in the cache; the rows two bands share move to the buffer's top. Rows
// past the image edges are copies of the rows they mirror, as the mirrored scratch
// plane has them; that needs hy <= height. dst may be work: the rows of work still to
// be read lie below the band being written. With `mirrorEachRow` work's border is left
// alone and each row is mirrored into a line of its own before its pass (needs
// hx <= width), so that a source with a narrow border needs no widened copy.
void BothPassesInBands(Array2dReal64* dst, Array2dReal64* work, Array2dReal64* kernelX, Array2dReal64* kernelY,
                       bool mirrorEachRow)
{
    const long long nx = kernelX->mWidth;
    const long long ny = kernelY->mWidth;
    const long long hx = nx / 2;
    const long long hy = ny / 2;
    const long long width = work->mWidth;
    const long long height = work->mHeight;
    std::unique_ptr<double[]> line;
    if (mirrorEachRow)
        line.reset(new double[static_cast<size_t>(width + 2 * hx)]);
    else
        Pattern::FuncBorderMirror2d(work, hx, 0);
    const long long bandRows = 48;
    const long long shared = ny - 1;
    const size_t rowBytes = static_cast<size_t>(width) * sizeof(double);
    // Buffer rows start on cache lines and lie an odd number of lines apart, so that the
    // column pass reads whole vectors and a column spreads over all sets of the cache.
    const long long stride = 8 * (((width + 7) / 8) | 1);
    std::unique_ptr<double[]> storage(new double[static_cast<size_t>((bandRows + shared) * stride + 8)]);
    double* buffer = storage.get() + (8 - (reinterpret_cast<uintptr_t>(storage.get()) / sizeof(double)) % 8) % 8;
    auto row = [&](long long y, long long first) { return buffer + (y - first) * stride; };
    for (long long y0 = 0; y0 < height; y0 += bandRows)
    {
        const long long count = std::min(bandRows, height - y0);
        const long long first = y0 - hy;
        const long long last = y0 + count + hy;
        long long have = first;
        if (y0 > 0)
        {
            std::memmove(buffer, row(first + bandRows, first), static_cast<size_t>(shared * stride) * sizeof(double));
            have = first + shared;
        }
        const long long from = std::max(have, 0LL);
        const long long to = std::min(last, height);
        if (from < to && !mirrorEachRow)
            Pattern::DoublePassByCpu({row(from, first), stride, work->PixelPtr(-hx, from), work->RowStride(), width,
                                      to - from, kernelX->PixelPtr(0, 0), nx},
                                     false);
        for (long long y = from; y < to && mirrorEachRow; ++y)
        {
            const double* s = work->PixelPtr(0, y);
            double* m = line.get() + hx;
            std::memcpy(m, s, rowBytes);
            for (long long i = 0; i < hx; ++i)
            {
                m[-1 - i] = s[i];
                m[width + i] = s[width - 1 - i];
            }
            Pattern::DoublePassByCpu({row(y, first), stride, line.get(), 0, width, 1, kernelX->PixelPtr(0, 0), nx},
                                     false);
        }
        for (long long y = have; y < last; ++y)
            if (y < 0 || y >= height)
                std::memcpy(row(y, first), row(y < 0 ? -1 - y : 2 * height - 1 - y, first), rowBytes);
        Pattern::DoublePassByCpu({dst->PixelPtr(0, y0), dst->RowStride(), row(first, first), stride, width, count,
                                  kernelY->PixelPtr(0, 0), ny},
                                 true);
    }
}

} // namespace

void ConvKernelSeparated(Array2dReal64*& dst, Array2dReal64* src, Array2dReal64* kernelX, Array2dReal64* kernelY,
                         int dispatchId, Util::TimePlot*)
{
    if (dispatchId == 6)
        dispatchId = 0;
    const long long hx = kernelX->mWidth / 2;
    const long long hy = kernelY->mWidth / 2;

    const bool narrow = hx > src->mBorderWidth || hy > src->mBorderHeight;
    if (narrow && dispatchId >= 0 && dispatchId <= 2 && hx <= src->mWidth && hy <= src->mHeight)
    {
        // Bordered like the widened copy it replaces.
        if (!dst)
            dst = ArrayClone<Array2dReal64>(src, hx, hy);
        BothPassesInBands(dst, src, kernelX, kernelY, true);
        return;
    }
    std::unique_ptr<Array2dReal64> copy;
    Array2dReal64* work = src;
    if (narrow)
    {
        copy.reset(ArrayClone<Array2dReal64>(src, hx, hy));
        CopyImageRows(copy.get(), src);
        work = copy.get();
    }
    if (dispatchId < 0 || dispatchId > 2)
    {
        Pattern::FuncBorderMirror2d(work, hx, hy);
        return;
    }
    if (!dst || dst == work)
        dst = ArrayClone<Array2dReal64>(work, 0, 0);
    if (hy <= work->mHeight)
        BothPassesInBands(dst, work, kernelX, kernelY, false);
    else
        BothPasses(dst, work, kernelX, kernelY, dispatchId);
}

void ConvKernelSeparatedInPlace(Array2dReal64*& a, Array2dReal64* kernelX, Array2dReal64* kernelY)
{
    const long long hx = kernelX->mWidth / 2;
    const long long hy = kernelY->mWidth / 2;
    if (hx > a->mBorderWidth || hy > a->mBorderHeight)
    {
        Array2dReal64* copy = ArrayClone<Array2dReal64>(a, hx, hy);
        CopyImageRows(copy, a);
        delete a;
        a = copy;
    }
    if (hy <= a->mHeight)
        BothPassesInBands(a, a, kernelX, kernelY, false);
    else
        BothPasses(a, a, kernelX, kernelY, 0);
}

} // namespace Array
} // namespace Core
} // namespace Tavlin
