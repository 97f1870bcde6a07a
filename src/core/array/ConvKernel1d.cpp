#include "core/array/ConvKernel1d.h"

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

void ConvKernel1d(Array2dReal64*& dst, Array2dReal64* src, int dimension, Array2dReal64* kernel)
{
    const long long h = kernel->mWidth / 2;
    const bool horizontal = dimension == 1;
    std::unique_ptr<Array2dReal64> copy;
    Array2dReal64* work = src;
    if ((horizontal ? src->mBorderWidth : src->mBorderHeight) < h)
    {
        copy.reset(horizontal ? ArrayClone<Array2dReal64>(src, h, 0) : ArrayClone<Array2dReal64>(src, 0, h));
        CopyImageRows(copy.get(), src);
        work = copy.get();
    }
    if (!dst || dst == work)
        dst = ArrayClone<Array2dReal64>(work, 0, 0);
    Trait::BpoMul<double, double, double> mul;
    Trait::BpoAddAssign<double, double> add;
    if (horizontal)
    {
        Pattern::FuncBorderMirror2d(work, h, 0);
        Pattern::FuncGenConv2dSepDispatch_H(dst, work, kernel, mul, add, 0);
    }
    else
    {
        Pattern::FuncBorderMirror2d(work, 0, h);
        Pattern::FuncGenConv2dSepDispatch_V(dst, work, kernel, mul, add, 0);
    }
}

} // namespace Array
} // namespace Core
} // namespace Tavlin
